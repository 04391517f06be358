// SPDX-License-Identifier: MIT
/// Logarithm, exponential and power of a vector of doubles, written over the level's `VectorD`.
///
/// Each is accurate to a few units in the last place over the whole range of a double, subnormal
/// arguments included, and answers 0, infinity and NaN as the C library does. The polynomials are
/// Chebyshev fits whose errors lie below 3e-17 of the result. Vectors of ordinary arguments take a
/// short path; one argument out of the ordinary sends its vector down the long one.
#ifndef QUIETFLOOR_SIMD_VECTORMATH_H
#define QUIETFLOOR_SIMD_VECTORMATH_H

#include "simd/Inline.h"
#include <cstdint>

namespace {

constexpr double smallestNormal = 0x1p-1022;
constexpr std::int64_t infinityBits = 0x7ff0000000000000;
constexpr std::int64_t nanBits = 0x7ff8000000000000;
constexpr std::int64_t upperHalfBits = -(std::int64_t(1) << 27); // keeps 26 significant bits

// To the nearest integer, for |x| < 2^51.
template <class V>
QUIETFLOOR_INLINE V RoundToInteger(V x) {
    const V magic = 0x1.8p52;
    return (x + magic) - magic;
}

// x = 2^exponent (1 + fraction), 1 + fraction from sqrt(1/2) to sqrt(2), for normal x > 0. The fraction
// is exact.
template <class V>
struct Decomposed {
    V exponent, fraction;
};

template <class V>
QUIETFLOOR_INLINE Decomposed<V> Decompose(V x) {
    constexpr std::int64_t one = 0x3ff0000000000000;
    constexpr std::int64_t rootHalf = 0x3fe6a09e667f3bcd;
    const V shifted = AddBits(x, V::FromBits(one - rootHalf));
    const V exponentBits = BitOr(ShiftRightBits<52>(shifted), 0x1p52);
    const V mantissa = AddBits(BitAnd(shifted, V::FromBits(0x000fffffffffffff)), V::FromBits(rootHalf));
    return {exponentBits - (0x1p52 + 1023.0), mantissa - 1.0};
}

// The same for subnormal x too.
template <class V>
Decomposed<V> DecomposeAny(V x) {
    const auto isSubnormal = x < smallestNormal;
    const Decomposed<V> scaled = Decompose(Select(isSubnormal, x * 0x1p54, x));
    return {scaled.exponent - Select(isSubnormal, 54.0, 0.0), scaled.fraction};
}

template <class V>
QUIETFLOOR_INLINE bool AllNormal(V x) { // positive, neither subnormal nor infinite nor NaN
    return !Any((x < smallestNormal) | (x == V::FromBits(infinityBits)) | (x != x));
}

// (atanh(s) / s - 1) / s^2 for z = s^2, s = f / (2 + f): the tail of the series of log(1 + f).
template <class V>
QUIETFLOOR_INLINE V AtanhTail(V z) {
    const V z2 = z * z;
    const V z4 = z2 * z2;
    const V p01 = MulAdd(z, 0.2000000000000044, 0.3333333333333333);
    const V p23 = MulAdd(z, 0.11111111195857083, 0.14285714285401804);
    const V p45 = MulAdd(z, 0.07693119852131504, 0.09090897820053138);
    const V p67 = MulAdd(z, 0.06543313276741329, 0.06634386549934398);
    return MulAdd(z4, MulAdd(z2, p67, p45), MulAdd(z2, p23, p01));
}

// log(1 + f) = f - s (f - 2 z tail): f is exact, so only the small second term rounds.
template <class V>
QUIETFLOOR_INLINE V LogOfFraction(V f) {
    const V s = f / (f + 2.0);
    const V z = s * s;
    return NegMulAdd(s, NegMulAdd(z + z, AtanhTail(z), f), f);
}

// The upper part of log10(2) has few enough bits that its product with an exponent is exact.
constexpr double log10Of2High = 0x1.34413509f6000p-2, log10Of2Low = 3.694239077158931e-13;

template <class V>
QUIETFLOOR_INLINE V Log10Of(Decomposed<V> x) {
    const V logarithm = LogOfFraction(x.fraction) * 0.4342944819032518;
    const V low = MulAdd(x.exponent, log10Of2Low, logarithm);
    return MulAdd(x.exponent, log10Of2High, low);
}

template <class V>
V Log10AtLimits(V x) {
    const V infinity = V::FromBits(infinityBits);
    V result = Select(x == 0.0, -infinity, Log10Of(DecomposeAny(x)));
    result = Select(x == infinity, x, result);
    return Select(x >= 0.0, result, V::FromBits(nanBits));
}

template <class V>
QUIETFLOOR_INLINE V Log10(V x) {
    return AllNormal(x) ? Log10Of(Decompose(x)) : Log10AtLimits(x);
}

// 2^u for |u| <= 0.5.
template <class V>
QUIETFLOOR_INLINE V Exp2OfFraction(V u) {
    const V u2 = u * u;
    const V u4 = u2 * u2;
    const V p01 = MulAdd(u, 0.24022650695910097, 0.6931471805599453);
    const V p23 = MulAdd(u, 0.009618129107606715, 0.0555041086648216);
    const V p45 = MulAdd(u, 0.0001540353044202707, 0.0013333558146416842);
    const V p67 = MulAdd(u, 1.3215442410711872e-06, 1.525273382999124e-05);
    const V p89 = MulAdd(u, 7.072621356539349e-09, 1.0178062351388103e-07);
    const V high = MulAdd(u4, MulAdd(u2, 4.4549794711760616e-10, p89), MulAdd(u2, p67, p45));
    return MulAdd(u, MulAdd(u4, high, MulAdd(u2, p23, p01)), 1.0);
}

// 2^n for an integer n from -1022 to 1023.
template <class V>
QUIETFLOOR_INLINE V PowerOf2(V n) {
    return ShiftLeftBits<52>(n + (0x1.8p52 + 1023.0));
}

// 2^(n + u) for an integer n from -1100 to 1100, in two steps, since 2^n alone may be out of range.
template <class V>
V ScaledInSteps(V n, V u) {
    const V half = RoundToInteger(n * 0.5);
    return Exp2OfFraction(u) * PowerOf2(half) * PowerOf2(n - half);
}

template <class V>
QUIETFLOOR_INLINE bool AllWithin(V x, double limit) {
    return !Any((x > limit) | (x < -limit) | (x != x));
}

// The argument of 2^u that is left of 10^x once 2^n has been taken out.
template <class V>
QUIETFLOOR_INLINE V Exp10Fraction(V x, V n) {
    const V r = NegMulAdd(n, log10Of2Low, NegMulAdd(n, log10Of2High, x));
    return r * 3.321928094887362;
}

template <class V>
V Exp10AtLimits(V x) {
    // Beyond these the result is infinity or 0 anyway. The order of operands lets a NaN pass.
    const V limited = Max(-330.0, Min(310.0, x));
    const V n = RoundToInteger(limited * 3.321928094887362);
    return ScaledInSteps(n, Exp10Fraction(limited, n));
}

// 10^x for -300 <= x <= 300.
template <class V>
QUIETFLOOR_INLINE V Exp10InRange(V x) {
    const V n = RoundToInteger(x * 3.321928094887362);
    return Exp2OfFraction(Exp10Fraction(x, n)) * PowerOf2(n);
}

template <class V>
QUIETFLOOR_INLINE V Exp10(V x) {
    return AllWithin(x, 300.0) ? Exp10InRange(x) : Exp10AtLimits(x);
}

// log2 of x^y in two parts. The exponent's product with y is exact, so that only the logarithm of the
// fraction rounds, whatever the size of x.
template <class V>
struct PowerLog2 {
    V whole, rest;
};

template <class V>
QUIETFLOOR_INLINE PowerLog2<V> Log2OfPower(Decomposed<V> x, double y) {
    const V power = y, powerHigh = BitAnd(power, V::FromBits(upperHalfBits));
    const V fraction = LogOfFraction(x.fraction) * (1.4426950408889634 * y);
    return {powerHigh * x.exponent, MulAdd(power - powerHigh, x.exponent, fraction)};
}

template <class V>
V PowAtLimits(V x, double y) {
    const PowerLog2<V> log2 = Log2OfPower(DecomposeAny(x), y);
    // Beyond these the result is infinity or 0 anyway.
    const V n = RoundToInteger(Max(-1100.0, Min(1030.0, log2.whole + log2.rest)));
    const V u = Max(-0.5005, Min(0.5005, (log2.whole - n) + log2.rest));
    V result = Select(x == 0.0, x, ScaledInSteps(n, u));
    result = Select(x == V::FromBits(infinityBits), x, result);
    return Select(x >= 0.0, result, V::FromBits(nanBits));
}

// x^y for 2^-500 <= x <= 2^500 and 0 < y <= 2, where no result leaves the range of normal numbers.
template <class V>
QUIETFLOOR_INLINE V PowInRange(V x, double y) {
    const PowerLog2<V> log2 = Log2OfPower(Decompose(x), y);
    const V n = RoundToInteger(log2.whole + log2.rest);
    return Exp2OfFraction((log2.whole - n) + log2.rest) * PowerOf2(n);
}

// x^y for x >= 0 and 0 < y <= 2.
template <class V>
QUIETFLOOR_INLINE V Pow(V x, double y) {
    const auto isBeyond = (x < 0x1p-500) | (x > 0x1p500) | (x != x);
    return Any(isBeyond) ? PowAtLimits(x, y) : PowInRange(x, y);
}

// x^1.25 for x from 0 (which counts as 1e-60) to 1, as x^2 times the third power of x^-0.25: that by Newton's
// method from a guess that quarters the exponent; to ten units in the last place. Square roots and divisions
// would keep the divider busy four times as long.
template <class V>
QUIETFLOOR_INLINE V PowFiveQuarters(V x) {
    constexpr std::int64_t guess = 0x4feb100000000000; // a quarter of x's bits off it: x^-0.25 to 3 %
    x = Max(x, 1e-60);
    const V quarter = 0.25 * x;
    V root = SubtractBits(V::FromBits(guess), ShiftRightBits<2>(x));
    for (int step = 0; step < 4; ++step) {
        const V square = root * root;
        root = root * NegMulAdd(quarter, square * square, 1.25);
    }
    return (x * x) * (root * root * root);
}

} // namespace

#endif
