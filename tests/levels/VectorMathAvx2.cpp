// SPDX-License-Identifier: MIT
#include "simd/Vector.h"

namespace {
using VectorD = Vector<double, 4>;
} // namespace

#include "tests/levels/VectorMathBody.h"

constinit const VectorMathTable avx2VectorMath = thisLevel;
