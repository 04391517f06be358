// SPDX-License-Identifier: MIT
#include "simd/Vector.h"

namespace {
using VectorD = Vector<double, 8>;
} // namespace

#include "tests/levels/VectorMathBody.h"

constinit const VectorMathTable avx512VectorMath = thisLevel;
