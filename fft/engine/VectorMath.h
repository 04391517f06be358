/// Logarithm, exponential and power of a vector of doubles, written over the level's `VectorD`.
///
/// Each is accurate to a few units in the last place over the whole range of a double, subnormal
/// arguments included, and answers 0, infinity and NaN as the C library does. The polynomials are
/// Chebyshev fits whose errors lie below 3e-17 of the result.
#ifndef QUIETFLOOR_FFT_ENGINE_VECTORMATH_H
#define QUIETFLOOR_FFT_ENGINE_VECTORMATH_H

#include <cstdint>

namespace {

constexpr std::int64_t infinityBits = 0x7ff0000000000000;
constexpr std::int64_t nanBits = 0x7ff8000000000000;
constexpr std::int64_t upperHalfBits = -(std::int64_t(1) << 27); // keeps 26 significant bits

// To the nearest integer, for |x| < 2^51.
template <class V>
V RoundToInteger(V x) {
    const V magic = V::Broadcast(0x1.8p52);
    return (x + magic) - magic;
}

// x = 2^exponent (1 + fraction), 1 + fraction from sqrt(1/2) to sqrt(2), for finite x > 0. The
// fraction is exact.
template <class V>
void Decompose(V x, V &exponent, V &fraction) {
    constexpr std::int64_t one = 0x3ff0000000000000;
    constexpr std::int64_t rootHalf = 0x3fe6a09e667f3bcd;
    const auto isSubnormal = x < V::Broadcast(0x1p-1022);
    const V scaled = Select(isSubnormal, x * V::Broadcast(0x1p54), x);
    const V shifted = AddBits(scaled, V::FromBits(one - rootHalf));
    const V exponentBits = BitOr(ShiftRightBits<52>(shifted), V::Broadcast(0x1p52));
    exponent = exponentBits -
               Select(isSubnormal, V::Broadcast(0x1p52 + 1023.0 + 54.0), V::Broadcast(0x1p52 + 1023.0));
    const V mantissa = AddBits(BitAnd(shifted, V::FromBits(0x000fffffffffffff)), V::FromBits(rootHalf));
    fraction = mantissa - V::Broadcast(1.0);
}

// (atanh(s) / s - 1) / s^2 for z = s^2, s = f / (2 + f): the tail of the series of log(1 + f).
template <class V>
V AtanhTail(V z) {
    const V z2 = z * z;
    const V z4 = z2 * z2;
    const V p01 = MulAdd(z, V::Broadcast(0.2000000000000044), V::Broadcast(0.3333333333333333));
    const V p23 = MulAdd(z, V::Broadcast(0.11111111195857083), V::Broadcast(0.14285714285401804));
    const V p45 = MulAdd(z, V::Broadcast(0.07693119852131504), V::Broadcast(0.09090897820053138));
    const V p67 = MulAdd(z, V::Broadcast(0.06543313276741329), V::Broadcast(0.06634386549934398));
    return MulAdd(z4, MulAdd(z2, p67, p45), MulAdd(z2, p23, p01));
}

// log(1 + f) = f - s (f - 2 z tail): f is exact, so only the small second term rounds.
template <class V>
V LogOfFraction(V f) {
    const V s = f / (f + V::Broadcast(2.0));
    const V z = s * s;
    return NegMulAdd(s, NegMulAdd(z + z, AtanhTail(z), f), f);
}

// The answers that the formulas of a logarithm do not give by themselves.
template <class V>
V LogarithmAtLimits(V x, V result) {
    const V infinity = V::FromBits(infinityBits);
    result = Select(x == V::Broadcast(0.0), -infinity, result);
    result = Select(x == infinity, x, result);
    return Select(x >= V::Broadcast(0.0), result, V::FromBits(nanBits));
}

template <class V>
V Log10(V x) {
    V exponent, f;
    Decompose(x, exponent, f);
    const V low = MulAdd(exponent, V::Broadcast(3.694239077158931e-13),
                         LogOfFraction(f) * V::Broadcast(0.4342944819032518));
    // The upper part of log10(2) has few enough bits that its product with the exponent is exact.
    return LogarithmAtLimits(x, MulAdd(exponent, V::Broadcast(0x1.34413509f6000p-2), low));
}

// 2^(n + u) for an integer n from -1100 to 1100 and |u| <= 0.5.
template <class V>
V ScaledExp2(V n, V u) {
    const V u2 = u * u;
    const V u4 = u2 * u2;
    const V p01 = MulAdd(u, V::Broadcast(0.24022650695910097), V::Broadcast(0.6931471805599453));
    const V p23 = MulAdd(u, V::Broadcast(0.009618129107606715), V::Broadcast(0.0555041086648216));
    const V p45 = MulAdd(u, V::Broadcast(0.0001540353044202707), V::Broadcast(0.0013333558146416842));
    const V p67 = MulAdd(u, V::Broadcast(1.3215442410711872e-06), V::Broadcast(1.525273382999124e-05));
    const V p89 = MulAdd(u, V::Broadcast(7.072621356539349e-09), V::Broadcast(1.0178062351388103e-07));
    const V high = MulAdd(u4, MulAdd(u2, V::Broadcast(4.4549794711760616e-10), p89), MulAdd(u2, p67, p45));
    const V power = MulAdd(u, MulAdd(u4, high, MulAdd(u2, p23, p01)), V::Broadcast(1.0));
    // In two steps, since 2^n alone may be out of range where the result is not.
    const V half = RoundToInteger(n * V::Broadcast(0.5));
    const V bias = V::Broadcast(0x1.8p52 + 1023.0);
    return power * ShiftLeftBits<52>(half + bias) * ShiftLeftBits<52>((n - half) + bias);
}

template <class V>
V Exp10(V x) {
    // Beyond these the result is infinity or 0 anyway. The order of operands lets a NaN pass.
    const V limited = Max(V::Broadcast(-330.0), Min(V::Broadcast(310.0), x));
    const V n = RoundToInteger(limited * V::Broadcast(3.321928094887362));
    const V r = NegMulAdd(n, V::Broadcast(3.694239077158931e-13),
                          NegMulAdd(n, V::Broadcast(0x1.34413509f6000p-2), limited));
    return ScaledExp2(n, r * V::Broadcast(3.321928094887362));
}

// x^y for x >= 0 and 0 < y <= 2. The exponent's integer part is multiplied exactly, so only the
// logarithm of the fraction rounds, whatever the size of x.
template <class V>
V Pow(V x, double y) {
    V exponent, f;
    Decompose(x, exponent, f);
    const V power = V::Broadcast(y);
    const V powerHigh = BitAnd(power, V::FromBits(upperHalfBits));
    const V whole = powerHigh * exponent;
    const V rest =
        MulAdd(power - powerHigh, exponent, power * (LogOfFraction(f) * V::Broadcast(1.4426950408889634)));
    // Beyond these the result is infinity or 0 anyway.
    const V n = RoundToInteger(Max(V::Broadcast(-1100.0), Min(V::Broadcast(1030.0), whole + rest)));
    const V u = Max(V::Broadcast(-0.5005), Min(V::Broadcast(0.5005), (whole - n) + rest));
    V result = ScaledExp2(n, u);
    result = Select(x == V::Broadcast(0.0), x, result);
    result = Select(x == V::FromBits(infinityBits), x, result);
    return Select(x >= V::Broadcast(0.0), result, V::FromBits(nanBits));
}

} // namespace

#endif
