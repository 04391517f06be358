// SPDX-License-Identifier: MIT
/// The compilers' vectors, and the few operations on them for which the plain way does not become one
/// instruction. Whatever depends on the processor or on the compiler stands here.
#ifndef QUIETFLOOR_SIMD_REGISTERS_H
#define QUIETFLOOR_SIMD_REGISTERS_H

#include <cstdint>
#include <type_traits>
#include <utility>
#if defined(__aarch64__)
#include <arm_neon.h>
#endif

namespace {

// How many vectors a kernel can hold at once. Long butterflies need more registers and round in another
// order than short ones; with QUIETFLOOR_UNFUSED every processor rounds as the portable level of x86.
#if defined(__AVX512F__) || (defined(__aarch64__) && !defined(QUIETFLOOR_UNFUSED))
constexpr int vectorRegisters = 32;
#else
constexpr int vectorRegisters = 16;
#endif

// GCC ignores vector_size on a template's alias, not on its typedef. NOLINTBEGIN(modernize-use-using)
template <class Lane, int bytes>
struct Lanes {
    typedef Lane Native __attribute__((vector_size(bytes), may_alias));
    typedef Lane Unaligned __attribute__((vector_size(bytes), may_alias, aligned(alignof(Lane))));
};
// NOLINTEND(modernize-use-using)

template <class Lane, int count>
using Native = typename Lanes<Lane, count *static_cast<int>(sizeof(Lane))>::Native;

template <class To, class From>
inline To BitsAs(From from) {
    return __builtin_bit_cast(To, from);
}

using Double2 = Native<double, 2>;
using Double4 = Native<double, 4>;
using Double8 = Native<double, 8>;
using Float4 = Native<float, 4>;
using Float8 = Native<float, 8>;
using Float16 = Native<float, 16>;

// a b + c, rounded once where registers of this width can, else twice. Nothing else is fused:
// contraction is off.
template <class N>
inline N Fused(N a, N b, N c) {
    return a * b + c;
}
// b where either is NaN, and where both are zeros.
template <class N>
inline N Lesser(N a, N b) {
    return a < b ? a : b;
}
template <class N>
inline N Greater(N a, N b) {
    return a > b ? a : b;
}

#if defined(__AVX512F__)
constexpr unsigned char all8 = 0xff;
constexpr unsigned short all16 = 0xffff;
constexpr int currentRounding = 4;
#endif
#if defined(QUIETFLOOR_UNFUSED)
template <int>
constexpr bool isFused = false;
#else
#if defined(__aarch64__)
template <int bytes>
constexpr bool isFused = bytes == 16;
#elif defined(__FMA__)
template <int bytes>
constexpr bool isFused = bytes >= 32;
#else
template <int>
constexpr bool isFused = false;
#endif
#if defined(__FMA__)
inline Double4 Fused(Double4 a, Double4 b, Double4 c) { return __builtin_ia32_vfmaddpd256(a, b, c); }
inline Float8 Fused(Float8 a, Float8 b, Float8 c) { return __builtin_ia32_vfmaddps256(a, b, c); }
#endif
#if defined(__AVX512F__)
inline Double8 Fused(Double8 a, Double8 b, Double8 c) {
    return __builtin_ia32_vfmaddpd512_mask(a, b, c, all8, currentRounding);
}
inline Float16 Fused(Float16 a, Float16 b, Float16 c) {
    return __builtin_ia32_vfmaddps512_mask(a, b, c, all16, currentRounding);
}
#endif
#if defined(__aarch64__)
inline Double2 Fused(Double2 a, Double2 b, Double2 c) { return vfmaq_f64(c, a, b); }
inline Float4 Fused(Float4 a, Float4 b, Float4 c) { return vfmaq_f32(c, a, b); }
#endif
#endif

// GCC sees a minimum in the comparison only while neither operand is a constant.
#if defined(__SSE2__) && !defined(__clang__)
inline Double2 Lesser(Double2 a, Double2 b) { return __builtin_ia32_minpd(a, b); }
inline Double2 Greater(Double2 a, Double2 b) { return __builtin_ia32_maxpd(a, b); }
inline Float4 Lesser(Float4 a, Float4 b) { return __builtin_ia32_minps(a, b); }
inline Float4 Greater(Float4 a, Float4 b) { return __builtin_ia32_maxps(a, b); }
#if defined(__AVX__)
inline Double4 Lesser(Double4 a, Double4 b) { return __builtin_ia32_minpd256(a, b); }
inline Double4 Greater(Double4 a, Double4 b) { return __builtin_ia32_maxpd256(a, b); }
inline Float8 Lesser(Float8 a, Float8 b) { return __builtin_ia32_minps256(a, b); }
inline Float8 Greater(Float8 a, Float8 b) { return __builtin_ia32_maxps256(a, b); }
#endif
#if defined(__AVX512F__)
inline Double8 Lesser(Double8 a, Double8 b) {
    return __builtin_ia32_minpd512_mask(a, b, a, all8, currentRounding);
}
inline Double8 Greater(Double8 a, Double8 b) {
    return __builtin_ia32_maxpd512_mask(a, b, a, all8, currentRounding);
}
inline Float16 Lesser(Float16 a, Float16 b) {
    return __builtin_ia32_minps512_mask(a, b, a, all16, currentRounding);
}
inline Float16 Greater(Float16 a, Float16 b) {
    return __builtin_ia32_maxps512_mask(a, b, a, all16, currentRounding);
}
#endif
#endif

// Orders of lanes: lane i of a result is this lane of two vectors, the second's counted on from the first's.
// A `unit` is a run of lanes that stay together, a `block` a run within which the two mix.
namespace Lane {
constexpr int Same(int i) { return i; }
template <int lanes>
constexpr int UpperHalf(int i) {
    return lanes / 2 + i;
}
template <int lanes>
constexpr int Reversed(int i) {
    return lanes - 1 - i;
}
template <int lanes>
constexpr int Last(int) {
    return lanes - 1;
}
template <int lanes, int count>
constexpr int Shifted(int i) { // `count` lanes of the first, then the second's
    return i < count ? i : lanes + i - count;
}
template <int lanes, int block, int half>
constexpr int Interleaved(int i) { // a0 b0 a1 b1 ... of the lower (0) or upper (1) half of each block
    return i / block * block + half * block / 2 + i % block / 2 + i % 2 * lanes;
}
template <int unit, int odd>
constexpr int EveryOther(int i) { // the even (0) or odd (1) units of the first, then of the second
    return (2 * (i / unit) + odd) * unit + i % unit;
}
} // namespace Lane

template <int (*order)(int), class N, int... i>
inline auto Shuffled(N a, N b, std::integer_sequence<int, i...>) {
    return __builtin_shufflevector(a, b, order(i)...);
}
template <int (*order)(int), int lanes, class N>
inline auto Shuffled(N a, N b) {
    return Shuffled<order>(a, b, std::make_integer_sequence<int, lanes>());
}

// Comparisons by the number that AVX has for them; a > b is b < a.
constexpr int isEqual = 0, isNotEqual = 4, isLess = 17, isLessOrEqual = 18;

template <int comparison, class N>
inline auto Compared(N a, N b) {
    if constexpr (comparison == isEqual)
        return a == b;
    else if constexpr (comparison == isNotEqual)
        return a != b;
    else if constexpr (comparison == isLess)
        return a < b;
    else
        return a <= b;
}
template <class Bits, class N>
inline N Chosen(Bits mask, N a, N b) {
    if constexpr (sizeof(N) == 16)
        return BitsAs<N>((mask & BitsAs<Bits>(a)) | (~mask & BitsAs<Bits>(b)));
    else
        return mask ? a : b;
}

// SSE2 cannot compare 64-bit integers, and GCC would take a pair of such masks apart lane by lane.
template <class Scalar, int bytes>
struct MaskOf {
    using Lane = std::conditional_t<bytes == 16 || sizeof(Scalar) == 4, std::int32_t, std::int64_t>;
    using Bits = typename Lanes<Lane, bytes>::Native; // each lane all ones or all zeros
};
// AVX-512 keeps one bit per lane, from which GCC makes a vector, and bits again, wherever Any looks.
#if defined(__AVX512F__) && !defined(__clang__)
template <>
struct MaskOf<double, 64> {
    using Bits = unsigned char;
};
template <>
struct MaskOf<float, 64> {
    using Bits = unsigned short;
};
template <int comparison>
inline unsigned char Compared(Double8 a, Double8 b) {
    return __builtin_ia32_cmppd512_mask(a, b, comparison, all8, currentRounding);
}
template <int comparison>
inline unsigned short Compared(Float16 a, Float16 b) {
    return __builtin_ia32_cmpps512_mask(a, b, comparison, all16, currentRounding);
}
inline Double8 Chosen(unsigned char mask, Double8 a, Double8 b) {
    return __builtin_ia32_blendmpd_512_mask(b, a, mask);
}
inline Float16 Chosen(unsigned short mask, Float16 a, Float16 b) {
    return __builtin_ia32_blendmps_512_mask(b, a, mask);
}
#endif

// Whether any lane of a mask is set.
template <class Bits>
inline bool AnySet(Bits mask) {
    if constexpr (sizeof mask <= 2) {
        return mask != 0;
    } else {
        const auto words = BitsAs<Native<std::int64_t, sizeof mask / 8>>(mask);
        std::int64_t any = 0;
        for (unsigned i = 0; i < sizeof mask / 8; ++i)
            any |= words[i];
        return any != 0;
    }
}
#if defined(__SSE2__)
inline bool AnySet(Native<std::int32_t, 4> mask) {
    return __builtin_ia32_movmskps(BitsAs<Float4>(mask)) != 0;
}
#endif
#if defined(__AVX__)
inline bool AnySet(Native<std::int32_t, 8> mask) {
    return __builtin_ia32_movmskps256(BitsAs<Float8>(mask)) != 0;
}
inline bool AnySet(Native<std::int64_t, 4> mask) {
    return __builtin_ia32_movmskpd256(BitsAs<Double4>(mask)) != 0;
}
#endif

} // namespace

#endif
