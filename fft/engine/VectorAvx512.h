/// The vector types of the AVX-512 level (F, DQ, VL); see VectorSse2.h for what each operation means.
#ifndef QUIETFLOOR_FFT_ENGINE_VECTORAVX512_H
#define QUIETFLOOR_FFT_ENGINE_VECTORAVX512_H

#include "fft/engine/VectorFloat256.h"
#include <cstdint>

namespace {

constexpr int vectorRegisters = 32;

struct MaskD {
    __mmask8 v;
    friend MaskD operator&(MaskD a, MaskD b) { return {_kand_mask8(a.v, b.v)}; }
    friend MaskD operator|(MaskD a, MaskD b) { return {_kor_mask8(a.v, b.v)}; }
    friend MaskD AndNot(MaskD a, MaskD b) { return {_kandn_mask8(b.v, a.v)}; }
    friend bool Any(MaskD a) { return a.v != 0; }
};

struct VectorD {
    using Scalar = double;
    using Mask = MaskD;
    static constexpr int lanes = 8;
    __m512d v;

    static VectorD Load(const double *p) { return {_mm512_load_pd(p)}; }
    static VectorD LoadU(const double *p) { return {_mm512_loadu_pd(p)}; }
    static VectorD Broadcast(double x) { return {_mm512_set1_pd(x)}; }
    static VectorD FromBits(std::int64_t bits) { return {_mm512_castsi512_pd(_mm512_set1_epi64(bits))}; }
    static VectorD LoadFloats(const float *p) { return {_mm512_cvtps_pd(_mm256_loadu_ps(p))}; }
    void Store(double *p) const { _mm512_store_pd(p, v); }
    void StoreU(double *p) const { _mm512_storeu_pd(p, v); }
    void StoreFloats(float *p) const { _mm256_storeu_ps(p, _mm512_cvtpd_ps(v)); }

    friend VectorD operator+(VectorD a, VectorD b) { return {_mm512_add_pd(a.v, b.v)}; }
    friend VectorD operator-(VectorD a, VectorD b) { return {_mm512_sub_pd(a.v, b.v)}; }
    friend VectorD operator*(VectorD a, VectorD b) { return {_mm512_mul_pd(a.v, b.v)}; }
    friend VectorD operator/(VectorD a, VectorD b) { return {_mm512_div_pd(a.v, b.v)}; }
    friend VectorD operator-(VectorD a) { return {_mm512_xor_pd(a.v, _mm512_set1_pd(-0.0))}; }
    friend VectorD MulAdd(VectorD a, VectorD b, VectorD c) { return {_mm512_fmadd_pd(a.v, b.v, c.v)}; }
    friend VectorD MulSub(VectorD a, VectorD b, VectorD c) { return {_mm512_fmsub_pd(a.v, b.v, c.v)}; }
    friend VectorD NegMulAdd(VectorD a, VectorD b, VectorD c) { return {_mm512_fnmadd_pd(a.v, b.v, c.v)}; }
    friend VectorD Min(VectorD a, VectorD b) { return {_mm512_min_pd(a.v, b.v)}; }
    friend VectorD Max(VectorD a, VectorD b) { return {_mm512_max_pd(a.v, b.v)}; }
    friend VectorD Sqrt(VectorD a) { return {_mm512_sqrt_pd(a.v)}; }

    friend MaskD operator<(VectorD a, VectorD b) { return {_mm512_cmp_pd_mask(a.v, b.v, _CMP_LT_OQ)}; }
    friend MaskD operator<=(VectorD a, VectorD b) { return {_mm512_cmp_pd_mask(a.v, b.v, _CMP_LE_OQ)}; }
    friend MaskD operator>(VectorD a, VectorD b) { return {_mm512_cmp_pd_mask(a.v, b.v, _CMP_GT_OQ)}; }
    friend MaskD operator>=(VectorD a, VectorD b) { return {_mm512_cmp_pd_mask(a.v, b.v, _CMP_GE_OQ)}; }
    friend MaskD operator==(VectorD a, VectorD b) { return {_mm512_cmp_pd_mask(a.v, b.v, _CMP_EQ_OQ)}; }
    friend MaskD operator!=(VectorD a, VectorD b) { return {_mm512_cmp_pd_mask(a.v, b.v, _CMP_NEQ_UQ)}; }
    friend VectorD Select(MaskD m, VectorD a, VectorD b) { return {_mm512_mask_blend_pd(m.v, b.v, a.v)}; }

    friend VectorD BitAnd(VectorD a, VectorD b) { return {_mm512_and_pd(a.v, b.v)}; }
    friend VectorD BitOr(VectorD a, VectorD b) { return {_mm512_or_pd(a.v, b.v)}; }
    friend VectorD AddBits(VectorD a, VectorD b) {
        return {_mm512_castsi512_pd(_mm512_add_epi64(_mm512_castpd_si512(a.v), _mm512_castpd_si512(b.v)))};
    }
    friend VectorD SubtractBits(VectorD a, VectorD b) {
        return {_mm512_castsi512_pd(_mm512_sub_epi64(_mm512_castpd_si512(a.v), _mm512_castpd_si512(b.v)))};
    }
    template <int count>
    friend VectorD ShiftLeftBits(VectorD a) {
        return {_mm512_castsi512_pd(_mm512_slli_epi64(_mm512_castpd_si512(a.v), count))};
    }
    template <int count>
    friend VectorD ShiftRightBits(VectorD a) {
        return {_mm512_castsi512_pd(_mm512_srli_epi64(_mm512_castpd_si512(a.v), count))};
    }

    friend double Sum(VectorD a) { return _mm512_reduce_add_pd(a.v); }
    template <int count>
    friend VectorD ShiftUp(VectorD a) {
        return {_mm512_castsi512_pd(
            _mm512_alignr_epi64(_mm512_castpd_si512(a.v), _mm512_setzero_si512(), 8 - count))};
    }
    friend VectorD BroadcastLast(VectorD a) { return {_mm512_permutexvar_pd(_mm512_set1_epi64(7), a.v)}; }
    friend VectorD Reverse(VectorD a) {
        return {_mm512_permutexvar_pd(_mm512_set_epi64(0, 1, 2, 3, 4, 5, 6, 7), a.v)};
    }
    friend void Interleave(VectorD a, VectorD b, VectorD &low, VectorD &high) {
        const __m512i lowOrder = _mm512_set_epi64(11, 3, 10, 2, 9, 1, 8, 0);
        const __m512i highOrder = _mm512_set_epi64(15, 7, 14, 6, 13, 5, 12, 4);
        low = {_mm512_permutex2var_pd(a.v, lowOrder, b.v)};
        high = {_mm512_permutex2var_pd(a.v, highOrder, b.v)};
    }
    friend void Transpose(VectorD (&rows)[8]) {
        __m512d pairs[8]; // entry p of `first`: the even columns of rows 2p and 2p + 1, then the odd ones
        for (int p = 0; p < 4; ++p) {
            pairs[p] = _mm512_unpacklo_pd(rows[2 * p].v, rows[2 * p + 1].v);
            pairs[4 + p] = _mm512_unpackhi_pd(rows[2 * p].v, rows[2 * p + 1].v);
        }
        for (int odd = 0; odd < 2; ++odd) {
            const __m512d *pair = pairs + 4 * odd;
            const __m512d low0 = _mm512_shuffle_f64x2(pair[0], pair[1], 0x88);
            const __m512d high0 = _mm512_shuffle_f64x2(pair[0], pair[1], 0xdd);
            const __m512d low1 = _mm512_shuffle_f64x2(pair[2], pair[3], 0x88);
            const __m512d high1 = _mm512_shuffle_f64x2(pair[2], pair[3], 0xdd);
            rows[odd] = {_mm512_shuffle_f64x2(low0, low1, 0x88)};
            rows[2 + odd] = {_mm512_shuffle_f64x2(high0, high1, 0x88)};
            rows[4 + odd] = {_mm512_shuffle_f64x2(low0, low1, 0xdd)};
            rows[6 + odd] = {_mm512_shuffle_f64x2(high0, high1, 0xdd)};
        }
    }
};

struct MaskF {
    __mmask16 v;
    friend MaskF operator&(MaskF a, MaskF b) { return {_kand_mask16(a.v, b.v)}; }
    friend MaskF operator|(MaskF a, MaskF b) { return {_kor_mask16(a.v, b.v)}; }
    friend bool Any(MaskF a) { return a.v != 0; }
};

struct VectorF {
    using Scalar = float;
    using Mask = MaskF;
    static constexpr int lanes = 16;
    __m512 v;

    static VectorF Load(const float *p) { return {_mm512_load_ps(p)}; }
    static VectorF LoadU(const float *p) { return {_mm512_loadu_ps(p)}; }
    static VectorF Broadcast(float x) { return {_mm512_set1_ps(x)}; }
    void Store(float *p) const { _mm512_store_ps(p, v); }
    void StoreU(float *p) const { _mm512_storeu_ps(p, v); }

    friend VectorF operator+(VectorF a, VectorF b) { return {_mm512_add_ps(a.v, b.v)}; }
    friend VectorF operator-(VectorF a, VectorF b) { return {_mm512_sub_ps(a.v, b.v)}; }
    friend VectorF operator*(VectorF a, VectorF b) { return {_mm512_mul_ps(a.v, b.v)}; }
    friend VectorF operator/(VectorF a, VectorF b) { return {_mm512_div_ps(a.v, b.v)}; }
    friend VectorF operator-(VectorF a) { return {_mm512_xor_ps(a.v, _mm512_set1_ps(-0.0f))}; }
    friend VectorF MulAdd(VectorF a, VectorF b, VectorF c) { return {_mm512_fmadd_ps(a.v, b.v, c.v)}; }
    friend VectorF MulSub(VectorF a, VectorF b, VectorF c) { return {_mm512_fmsub_ps(a.v, b.v, c.v)}; }
    friend VectorF NegMulAdd(VectorF a, VectorF b, VectorF c) { return {_mm512_fnmadd_ps(a.v, b.v, c.v)}; }
    friend VectorF Min(VectorF a, VectorF b) { return {_mm512_min_ps(a.v, b.v)}; }
    friend VectorF Max(VectorF a, VectorF b) { return {_mm512_max_ps(a.v, b.v)}; }
    friend VectorF Sqrt(VectorF a) { return {_mm512_sqrt_ps(a.v)}; }

    friend MaskF operator<(VectorF a, VectorF b) { return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_LT_OQ)}; }
    friend MaskF operator>(VectorF a, VectorF b) { return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_GT_OQ)}; }
    friend MaskF operator>=(VectorF a, VectorF b) { return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_GE_OQ)}; }
    friend VectorF Select(MaskF m, VectorF a, VectorF b) { return {_mm512_mask_blend_ps(m.v, b.v, a.v)}; }

    friend void Interleave(VectorF a, VectorF b, VectorF &low, VectorF &high) {
        const __m512i lowOrder = _mm512_set_epi32(23, 7, 22, 6, 21, 5, 20, 4, 19, 3, 18, 2, 17, 1, 16, 0);
        const __m512i highOrder =
            _mm512_set_epi32(31, 15, 30, 14, 29, 13, 28, 12, 27, 11, 26, 10, 25, 9, 24, 8);
        low = {_mm512_permutex2var_ps(a.v, lowOrder, b.v)};
        high = {_mm512_permutex2var_ps(a.v, highOrder, b.v)};
    }
    friend void Transpose(VectorF (&rows)[16]) {
        __m512 columns[16]; // of four rows each, in every quarter of the register
        for (int g = 0; g < 16; g += 4) {
            const __m512 low01 = _mm512_unpacklo_ps(rows[g].v, rows[g + 1].v);
            const __m512 high01 = _mm512_unpackhi_ps(rows[g].v, rows[g + 1].v);
            const __m512 low23 = _mm512_unpacklo_ps(rows[g + 2].v, rows[g + 3].v);
            const __m512 high23 = _mm512_unpackhi_ps(rows[g + 2].v, rows[g + 3].v);
            columns[g] = _mm512_shuffle_ps(low01, low23, 0x44);
            columns[g + 1] = _mm512_shuffle_ps(low01, low23, 0xee);
            columns[g + 2] = _mm512_shuffle_ps(high01, high23, 0x44);
            columns[g + 3] = _mm512_shuffle_ps(high01, high23, 0xee);
        }
        for (int j = 0; j < 4; ++j) {
            const __m512 low0 = _mm512_shuffle_f32x4(columns[j], columns[4 + j], 0x88);
            const __m512 high0 = _mm512_shuffle_f32x4(columns[j], columns[4 + j], 0xdd);
            const __m512 low1 = _mm512_shuffle_f32x4(columns[8 + j], columns[12 + j], 0x88);
            const __m512 high1 = _mm512_shuffle_f32x4(columns[8 + j], columns[12 + j], 0xdd);
            rows[j] = {_mm512_shuffle_f32x4(low0, low1, 0x88)};
            rows[4 + j] = {_mm512_shuffle_f32x4(high0, high1, 0x88)};
            rows[8 + j] = {_mm512_shuffle_f32x4(low0, low1, 0xdd)};
            rows[12 + j] = {_mm512_shuffle_f32x4(high0, high1, 0xdd)};
        }
    }
};

inline void Widen(VectorF a, VectorD &low, VectorD &high) {
    low = {_mm512_cvtps_pd(_mm512_castps512_ps256(a.v))};
    high = {_mm512_cvtps_pd(_mm512_extractf32x8_ps(a.v, 1))};
}
inline VectorF Narrow(VectorD low, VectorD high) {
    return {_mm512_insertf32x8(_mm512_castps256_ps512(_mm512_cvtpd_ps(low.v)), _mm512_cvtpd_ps(high.v), 1)};
}

} // namespace

#endif
