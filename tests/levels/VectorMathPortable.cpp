// SPDX-License-Identifier: MIT
#include "simd/Vector.h"

namespace {
using VectorD = Vector<double, 2>;
} // namespace

#include "tests/levels/VectorMathBody.h"

constinit const VectorMathTable portableVectorMath = thisLevel;
