// SPDX-License-Identifier: MIT
/// Straight-line forward transforms of 1 to 32 points over any arithmetic type: a scalar, or a vector
/// whose lanes are independent columns.
///
///   Transform(re, im)   X[k] = sum x[n] e^(-2 pi i k n / N) in place, both sides in natural order,
///                       on arrays that a kernel has loaded; the butterfly of every longer transform
///   SmallTransform      the same from memory to memory, for one sequence of scalars
#ifndef QUIETFLOOR_FFT_KERNELS_SMALLTRANSFORMS_H
#define QUIETFLOOR_FFT_KERNELS_SMALLTRANSFORMS_H

#include "simd/Inline.h"
#include <cstdint>

namespace {

/// The constant x as a value of T, in every lane if T is a vector.
template <class T>
QUIETFLOOR_INLINE T Constant(double x) {
    if constexpr (requires { T::lanes; })
        return static_cast<typename T::Scalar>(x);
    else
        return static_cast<T>(x);
}

QUIETFLOOR_INLINE double MulAdd(double a, double b, double c) { return a * b + c; }
QUIETFLOOR_INLINE double MulSub(double a, double b, double c) { return a * b - c; }
QUIETFLOOR_INLINE double NegMulAdd(double a, double b, double c) { return c - a * b; }
QUIETFLOOR_INLINE float MulAdd(float a, float b, float c) { return a * b + c; }
QUIETFLOOR_INLINE float MulSub(float a, float b, float c) { return a * b - c; }
QUIETFLOOR_INLINE float NegMulAdd(float a, float b, float c) { return c - a * b; }

constexpr double sqrtHalf = 0.70710678118654752440084436210485;

// cos(2 pi j / 32) for any j from 0 to 39; the sine is the cosine a quarter of the circle back.
constexpr double Cosine32(int j) {
    constexpr double quarter[9] = {1.0,
                                   0.98078528040323044912618223613424,
                                   0.92387953251128675612818318939679,
                                   0.83146961230254523707878837761791,
                                   sqrtHalf,
                                   0.55557023301960222474283081394853,
                                   0.38268343236508977172845998403040,
                                   0.19509032201612826784828486847702,
                                   0.0};
    j %= 32;
    return j <= 8 ? quarter[j] : j <= 16 ? -quarter[16 - j] : j <= 24 ? -quarter[j - 16] : quarter[32 - j];
}

/// Multiplies by the twiddle factor e^(-2 pi i e / 32). Where its parts are 0 or equal in size, the product
/// needs fewer operations than two multiplications and two multiply-adds.
template <int e, class T>
QUIETFLOOR_INLINE void MultiplyByTwiddle(T &re, T &im) {
    constexpr double c = Cosine32(e), s = Cosine32(e + 24);
    const T a = re, b = im;
    if constexpr (e == 8) {
        re = b;
        im = -a;
    } else if constexpr (e == 4 || e == 20) {
        re = Constant<T>(c) * (a + b);
        im = Constant<T>(c) * (b - a);
    } else if constexpr (e == 12) {
        re = Constant<T>(s) * (b - a);
        im = Constant<T>(c) * (a + b);
    } else if constexpr (e != 0) {
        re = MulAdd(a, Constant<T>(c), b * Constant<T>(s));
        im = MulSub(b, Constant<T>(c), a * Constant<T>(s));
    }
}

template <class T>
QUIETFLOOR_INLINE void Transform(T (&)[1], T (&)[1]) {}

template <class T>
QUIETFLOOR_INLINE void Transform(T (&re)[2], T (&im)[2]) {
    const T differenceRe = re[0] - re[1], differenceIm = im[0] - im[1];
    re[0] = re[0] + re[1];
    im[0] = im[0] + im[1];
    re[1] = differenceRe;
    im[1] = differenceIm;
}

template <class T>
QUIETFLOOR_INLINE void Transform(T (&re)[4], T (&im)[4]) {
    const T evenSumRe = re[0] + re[2], evenSumIm = im[0] + im[2];
    const T evenDifferenceRe = re[0] - re[2], evenDifferenceIm = im[0] - im[2];
    const T oddSumRe = re[1] + re[3], oddSumIm = im[1] + im[3];
    const T oddDifferenceRe = re[1] - re[3], oddDifferenceIm = im[1] - im[3];
    re[0] = evenSumRe + oddSumRe;
    im[0] = evenSumIm + oddSumIm;
    re[1] = evenDifferenceRe + oddDifferenceIm;
    im[1] = evenDifferenceIm - oddDifferenceRe;
    re[2] = evenSumRe - oddSumRe;
    im[2] = evenSumIm - oddSumIm;
    re[3] = evenDifferenceRe - oddDifferenceIm;
    im[3] = evenDifferenceIm + oddDifferenceRe;
}

// Two transforms of four over the even and the odd values, X[k] = E[k] + w_8^k O[k], X[k + 4] = E[k] - w_8^k
// O[k]. The products with w_8 and w_8^3, whose parts are +-sqrt(1/2), are left to the multiply-adds that join
// the halves: they cost nothing there.
template <class T>
QUIETFLOOR_INLINE void Transform(T (&re)[8], T (&im)[8]) {
    T eRe[4] = {re[0], re[2], re[4], re[6]}, eIm[4] = {im[0], im[2], im[4], im[6]};
    T oRe[4] = {re[1], re[3], re[5], re[7]}, oIm[4] = {im[1], im[3], im[5], im[7]};
    Transform(eRe, eIm);
    Transform(oRe, oIm);
    const T h = Constant<T>(sqrtHalf);
    const T sum1 = oRe[1] + oIm[1], difference1 = oIm[1] - oRe[1];
    const T sum3 = oRe[3] + oIm[3], difference3 = oIm[3] - oRe[3];
    re[0] = eRe[0] + oRe[0];
    im[0] = eIm[0] + oIm[0];
    re[4] = eRe[0] - oRe[0];
    im[4] = eIm[0] - oIm[0];
    re[1] = MulAdd(h, sum1, eRe[1]);
    im[1] = MulAdd(h, difference1, eIm[1]);
    re[5] = NegMulAdd(h, sum1, eRe[1]);
    im[5] = NegMulAdd(h, difference1, eIm[1]);
    re[2] = eRe[2] + oIm[2];
    im[2] = eIm[2] - oRe[2];
    re[6] = eRe[2] - oIm[2];
    im[6] = eIm[2] + oRe[2];
    re[3] = MulAdd(h, difference3, eRe[3]);
    im[3] = NegMulAdd(h, sum3, eIm[3]);
    re[7] = NegMulAdd(h, difference3, eRe[3]);
    im[7] = MulAdd(h, sum3, eIm[3]);
}

// Inner transforms of n / 4 points over every fourth value, from the given one on.
template <int from, int n, class T>
QUIETFLOOR_INLINE void InnerTransforms(T (&re)[n], T (&im)[n]) {
    T partRe[n / 4], partIm[n / 4];
    for (int i = 0; i < n / 4; ++i) {
        partRe[i] = re[4 * i + from];
        partIm[i] = im[4 * i + from];
    }
    Transform(partRe, partIm);
    for (int i = 0; i < n / 4; ++i) {
        re[4 * i + from] = partRe[i];
        im[4 * i + from] = partIm[i];
    }
    if constexpr (from + 1 < 4)
        InnerTransforms<from + 1, n>(re, im);
}

// Multiplies the inner results of bin k by their twiddle factors w_n^k, w_n^2k and w_n^3k and joins them to
// the outputs k, k + n/4, k + n/2, k + 3n/4.
template <int k, int n, class T>
QUIETFLOOR_INLINE void OuterTransforms(const T (&re)[n], const T (&im)[n], T (&outRe)[n], T (&outIm)[n]) {
    T partRe[4] = {re[4 * k], re[4 * k + 1], re[4 * k + 2], re[4 * k + 3]};
    T partIm[4] = {im[4 * k], im[4 * k + 1], im[4 * k + 2], im[4 * k + 3]};
    MultiplyByTwiddle<k * 32 / n>(partRe[1], partIm[1]);
    MultiplyByTwiddle<k * 64 / n>(partRe[2], partIm[2]);
    MultiplyByTwiddle<k * 96 / n>(partRe[3], partIm[3]);
    Transform(partRe, partIm);
    for (int i = 0; i < 4; ++i) {
        outRe[k + n / 4 * i] = partRe[i];
        outIm[k + n / 4 * i] = partIm[i];
    }
    if constexpr (k + 1 < n / 4)
        OuterTransforms<k + 1, n>(re, im, outRe, outIm);
}

/// 16 and 32 points: four inner transforms, twiddle factors, n / 4 outer transforms of four. Radix 4 outside,
/// as a transform of four needs no multiplication.
template <int n, class T>
QUIETFLOOR_INLINE void Transform(T (&re)[n], T (&im)[n]) {
    static_assert(n == 16 || n == 32);
    T outRe[n], outIm[n];
    InnerTransforms<0, n>(re, im);
    OuterTransforms<0, n>(re, im, outRe, outIm);
    for (int i = 0; i < n; ++i) {
        re[i] = outRe[i];
        im[i] = outIm[i];
    }
}

/// One transform of 2^order values, 0 to 5; everything is read before anything is written.
template <int order, bool scaled, class Real>
void SmallTransform(const Real *srcRe, const Real *srcIm, Real *dstRe, Real *dstIm, Real scale) {
    constexpr int n = 1 << order;
    Real re[n], im[n];
    for (int i = 0; i < n; ++i) {
        re[i] = srcRe[i];
        im[i] = srcIm[i];
    }
    Transform(re, im);
    for (int i = 0; i < n; ++i) {
        dstRe[i] = scaled ? re[i] * scale : re[i];
        dstIm[i] = scaled ? im[i] * scale : im[i];
    }
}

} // namespace

#endif
