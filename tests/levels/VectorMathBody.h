// SPDX-License-Identifier: MIT
#ifndef QUIETFLOOR_TESTS_LEVELS_VECTORMATHBODY_H
#define QUIETFLOOR_TESTS_LEVELS_VECTORMATHBODY_H

#include "simd/VectorMath.h"
#include "tests/levels/VectorMathTable.h"

namespace {

template <class Function>
void OverArray(const double *x, double *y, int count, Function function) {
    for (int i = 0; i < count; i += VectorD::lanes)
        function(VectorD::LoadU(x + i)).StoreU(y + i);
}

void Log10OverArray(const double *x, double *y, int count) {
    OverArray(x, y, count, [](VectorD v) { return Log10(v); });
}
void Exp10OverArray(const double *x, double *y, int count) {
    OverArray(x, y, count, [](VectorD v) { return Exp10(v); });
}
void SqrtOverArray(const double *x, double *y, int count) {
    OverArray(x, y, count, [](VectorD v) { return Sqrt(v); });
}
void PowOverArray(const double *x, double exponent, double *y, int count) {
    OverArray(x, y, count, [exponent](VectorD v) { return Pow(v, exponent); });
}
void PowFiveQuartersOverArray(const double *x, double *y, int count) {
    OverArray(x, y, count, [](VectorD v) { return PowFiveQuarters(v); });
}

constexpr VectorMathTable thisLevel = {Log10OverArray, Exp10OverArray, SqrtOverArray,
                                       PowFiveQuartersOverArray, PowOverArray};

} // namespace

#endif
