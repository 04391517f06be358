// SPDX-License-Identifier: MIT
/// The vector mathematics over arrays. The library reaches it only inside the kernels of a level, so a
/// test has these tables compiled as a level's file is.
#ifndef QUIETFLOOR_TESTS_LEVELS_VECTORMATHTABLE_H
#define QUIETFLOOR_TESTS_LEVELS_VECTORMATHTABLE_H

struct VectorMathTable {
    void (*log10)(const double *x, double *y, int count); // count: a multiple of 8
    void (*exp10)(const double *x, double *y, int count);
    void (*sqrt)(const double *x, double *y, int count);
    void (*powFiveQuarters)(const double *x, double *y, int count);
    void (*pow)(const double *x, double exponent, double *y, int count);
};

extern const VectorMathTable portableVectorMath, avx2VectorMath, avx512VectorMath;

#endif
