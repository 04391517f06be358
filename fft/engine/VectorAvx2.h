/// The vector types of the AVX2 + FMA level; see VectorSse2.h for what each operation means.
#ifndef QUIETFLOOR_FFT_ENGINE_VECTORAVX2_H
#define QUIETFLOOR_FFT_ENGINE_VECTORAVX2_H

#include "fft/engine/VectorFloat256.h"
#include <cstdint>

namespace {

constexpr int vectorRegisters = 16;

using VectorF = VectorF256;

struct MaskD {
    __m256d v;
    friend MaskD operator&(MaskD a, MaskD b) { return {_mm256_and_pd(a.v, b.v)}; }
    friend MaskD operator|(MaskD a, MaskD b) { return {_mm256_or_pd(a.v, b.v)}; }
    friend MaskD AndNot(MaskD a, MaskD b) { return {_mm256_andnot_pd(b.v, a.v)}; }
    friend bool Any(MaskD a) { return _mm256_movemask_pd(a.v) != 0; }
};

struct VectorD {
    using Scalar = double;
    using Mask = MaskD;
    static constexpr int lanes = 4;
    __m256d v;

    static VectorD Load(const double *p) { return {_mm256_load_pd(p)}; }
    static VectorD LoadU(const double *p) { return {_mm256_loadu_pd(p)}; }
    static VectorD Broadcast(double x) { return {_mm256_set1_pd(x)}; }
    static VectorD FromBits(std::int64_t bits) { return {_mm256_castsi256_pd(_mm256_set1_epi64x(bits))}; }
    static VectorD LoadFloats(const float *p) { return {_mm256_cvtps_pd(_mm_loadu_ps(p))}; }
    void Store(double *p) const { _mm256_store_pd(p, v); }
    void StoreU(double *p) const { _mm256_storeu_pd(p, v); }
    void StoreFloats(float *p) const { _mm_storeu_ps(p, _mm256_cvtpd_ps(v)); }

    friend VectorD operator+(VectorD a, VectorD b) { return {_mm256_add_pd(a.v, b.v)}; }
    friend VectorD operator-(VectorD a, VectorD b) { return {_mm256_sub_pd(a.v, b.v)}; }
    friend VectorD operator*(VectorD a, VectorD b) { return {_mm256_mul_pd(a.v, b.v)}; }
    friend VectorD operator/(VectorD a, VectorD b) { return {_mm256_div_pd(a.v, b.v)}; }
    friend VectorD operator-(VectorD a) { return {_mm256_xor_pd(a.v, _mm256_set1_pd(-0.0))}; }
    friend VectorD MulAdd(VectorD a, VectorD b, VectorD c) { return {_mm256_fmadd_pd(a.v, b.v, c.v)}; }
    friend VectorD MulSub(VectorD a, VectorD b, VectorD c) { return {_mm256_fmsub_pd(a.v, b.v, c.v)}; }
    friend VectorD NegMulAdd(VectorD a, VectorD b, VectorD c) { return {_mm256_fnmadd_pd(a.v, b.v, c.v)}; }
    friend VectorD Min(VectorD a, VectorD b) { return {_mm256_min_pd(a.v, b.v)}; }
    friend VectorD Max(VectorD a, VectorD b) { return {_mm256_max_pd(a.v, b.v)}; }
    friend VectorD Sqrt(VectorD a) { return {_mm256_sqrt_pd(a.v)}; }

    friend MaskD operator<(VectorD a, VectorD b) { return {_mm256_cmp_pd(a.v, b.v, _CMP_LT_OQ)}; }
    friend MaskD operator<=(VectorD a, VectorD b) { return {_mm256_cmp_pd(a.v, b.v, _CMP_LE_OQ)}; }
    friend MaskD operator>(VectorD a, VectorD b) { return {_mm256_cmp_pd(a.v, b.v, _CMP_GT_OQ)}; }
    friend MaskD operator>=(VectorD a, VectorD b) { return {_mm256_cmp_pd(a.v, b.v, _CMP_GE_OQ)}; }
    friend MaskD operator==(VectorD a, VectorD b) { return {_mm256_cmp_pd(a.v, b.v, _CMP_EQ_OQ)}; }
    friend MaskD operator!=(VectorD a, VectorD b) { return {_mm256_cmp_pd(a.v, b.v, _CMP_NEQ_UQ)}; }
    friend VectorD Select(MaskD m, VectorD a, VectorD b) { return {_mm256_blendv_pd(b.v, a.v, m.v)}; }

    friend VectorD BitAnd(VectorD a, VectorD b) { return {_mm256_and_pd(a.v, b.v)}; }
    friend VectorD BitOr(VectorD a, VectorD b) { return {_mm256_or_pd(a.v, b.v)}; }
    friend VectorD AddBits(VectorD a, VectorD b) {
        return {_mm256_castsi256_pd(_mm256_add_epi64(_mm256_castpd_si256(a.v), _mm256_castpd_si256(b.v)))};
    }
    friend VectorD SubtractBits(VectorD a, VectorD b) {
        return {_mm256_castsi256_pd(_mm256_sub_epi64(_mm256_castpd_si256(a.v), _mm256_castpd_si256(b.v)))};
    }
    template <int count>
    friend VectorD ShiftLeftBits(VectorD a) {
        return {_mm256_castsi256_pd(_mm256_slli_epi64(_mm256_castpd_si256(a.v), count))};
    }
    template <int count>
    friend VectorD ShiftRightBits(VectorD a) {
        return {_mm256_castsi256_pd(_mm256_srli_epi64(_mm256_castpd_si256(a.v), count))};
    }

    friend double Sum(VectorD a) {
        const __m128d halves = _mm_add_pd(_mm256_castpd256_pd128(a.v), _mm256_extractf128_pd(a.v, 1));
        return _mm_cvtsd_f64(_mm_add_sd(halves, _mm_unpackhi_pd(halves, halves)));
    }
    template <int count>
    friend VectorD ShiftUp(VectorD a) {
        static_assert(count == 1 || count == 2);
        if constexpr (count == 1)
            return {_mm256_blend_pd(_mm256_permute4x64_pd(a.v, 0x90), _mm256_setzero_pd(), 1)};
        else
            return {_mm256_permute2f128_pd(a.v, a.v, 0x08)};
    }
    friend VectorD BroadcastLast(VectorD a) { return {_mm256_permute4x64_pd(a.v, 0xff)}; }
    friend VectorD Reverse(VectorD a) { return {_mm256_permute4x64_pd(a.v, 0x1b)}; }
    friend void Interleave(VectorD a, VectorD b, VectorD &low, VectorD &high) {
        const __m256d even = _mm256_unpacklo_pd(a.v, b.v), odd = _mm256_unpackhi_pd(a.v, b.v);
        low = {_mm256_permute2f128_pd(even, odd, 0x20)};
        high = {_mm256_permute2f128_pd(even, odd, 0x31)};
    }
    friend void Transpose(VectorD (&rows)[4]) {
        const __m256d low01 = _mm256_unpacklo_pd(rows[0].v, rows[1].v);
        const __m256d high01 = _mm256_unpackhi_pd(rows[0].v, rows[1].v);
        const __m256d low23 = _mm256_unpacklo_pd(rows[2].v, rows[3].v);
        const __m256d high23 = _mm256_unpackhi_pd(rows[2].v, rows[3].v);
        rows[0] = {_mm256_permute2f128_pd(low01, low23, 0x20)};
        rows[1] = {_mm256_permute2f128_pd(high01, high23, 0x20)};
        rows[2] = {_mm256_permute2f128_pd(low01, low23, 0x31)};
        rows[3] = {_mm256_permute2f128_pd(high01, high23, 0x31)};
    }
};

inline void Widen(VectorF a, VectorD &low, VectorD &high) {
    low = {_mm256_cvtps_pd(_mm256_castps256_ps128(a.v))};
    high = {_mm256_cvtps_pd(_mm256_extractf128_ps(a.v, 1))};
}
inline VectorF Narrow(VectorD low, VectorD high) {
    return {_mm256_insertf128_ps(_mm256_castps128_ps256(_mm256_cvtpd_ps(low.v)), _mm256_cvtpd_ps(high.v), 1)};
}

} // namespace

#endif
