/// Eight floats in an AVX register: the floats of the AVX2 level, and of the AVX-512 level where
/// sixteen are too many.
#ifndef QUIETFLOOR_FFT_ENGINE_VECTORFLOAT256_H
#define QUIETFLOOR_FFT_ENGINE_VECTORFLOAT256_H

// GCC 12 takes the deliberately undefined operands inside its own header for mistakes.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

namespace {

struct MaskF256 {
    __m256 v;
    friend MaskF256 operator&(MaskF256 a, MaskF256 b) { return {_mm256_and_ps(a.v, b.v)}; }
    friend MaskF256 operator|(MaskF256 a, MaskF256 b) { return {_mm256_or_ps(a.v, b.v)}; }
    friend bool Any(MaskF256 a) { return _mm256_movemask_ps(a.v) != 0; }
};

struct VectorF256 {
    using Scalar = float;
    using Mask = MaskF256;
    static constexpr int lanes = 8;
    __m256 v;

    static VectorF256 Load(const float *p) { return {_mm256_load_ps(p)}; }
    static VectorF256 LoadU(const float *p) { return {_mm256_loadu_ps(p)}; }
    static VectorF256 Broadcast(float x) { return {_mm256_set1_ps(x)}; }
    void Store(float *p) const { _mm256_store_ps(p, v); }
    void StoreU(float *p) const { _mm256_storeu_ps(p, v); }

    friend VectorF256 operator+(VectorF256 a, VectorF256 b) { return {_mm256_add_ps(a.v, b.v)}; }
    friend VectorF256 operator-(VectorF256 a, VectorF256 b) { return {_mm256_sub_ps(a.v, b.v)}; }
    friend VectorF256 operator*(VectorF256 a, VectorF256 b) { return {_mm256_mul_ps(a.v, b.v)}; }
    friend VectorF256 operator/(VectorF256 a, VectorF256 b) { return {_mm256_div_ps(a.v, b.v)}; }
    friend VectorF256 operator-(VectorF256 a) { return {_mm256_xor_ps(a.v, _mm256_set1_ps(-0.0f))}; }
    friend VectorF256 MulAdd(VectorF256 a, VectorF256 b, VectorF256 c) {
        return {_mm256_fmadd_ps(a.v, b.v, c.v)};
    }
    friend VectorF256 MulSub(VectorF256 a, VectorF256 b, VectorF256 c) {
        return {_mm256_fmsub_ps(a.v, b.v, c.v)};
    }
    friend VectorF256 NegMulAdd(VectorF256 a, VectorF256 b, VectorF256 c) {
        return {_mm256_fnmadd_ps(a.v, b.v, c.v)};
    }
    friend VectorF256 Min(VectorF256 a, VectorF256 b) { return {_mm256_min_ps(a.v, b.v)}; }
    friend VectorF256 Max(VectorF256 a, VectorF256 b) { return {_mm256_max_ps(a.v, b.v)}; }
    friend VectorF256 Sqrt(VectorF256 a) { return {_mm256_sqrt_ps(a.v)}; }

    friend MaskF256 operator<(VectorF256 a, VectorF256 b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_LT_OQ)}; }
    friend MaskF256 operator>(VectorF256 a, VectorF256 b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_GT_OQ)}; }
    friend MaskF256 operator>=(VectorF256 a, VectorF256 b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_GE_OQ)}; }
    friend VectorF256 Select(MaskF256 m, VectorF256 a, VectorF256 b) {
        return {_mm256_blendv_ps(b.v, a.v, m.v)};
    }

    friend void Interleave(VectorF256 a, VectorF256 b, VectorF256 &low, VectorF256 &high) {
        const __m256 even = _mm256_unpacklo_ps(a.v, b.v), odd = _mm256_unpackhi_ps(a.v, b.v);
        low = {_mm256_permute2f128_ps(even, odd, 0x20)};
        high = {_mm256_permute2f128_ps(even, odd, 0x31)};
    }
    friend void Transpose(VectorF256 (&rows)[8]) {
        __m256 columns[8]; // of four rows each, in both halves of the register
        for (int g = 0; g < 8; g += 4) {
            const __m256 low01 = _mm256_unpacklo_ps(rows[g].v, rows[g + 1].v);
            const __m256 high01 = _mm256_unpackhi_ps(rows[g].v, rows[g + 1].v);
            const __m256 low23 = _mm256_unpacklo_ps(rows[g + 2].v, rows[g + 3].v);
            const __m256 high23 = _mm256_unpackhi_ps(rows[g + 2].v, rows[g + 3].v);
            columns[g] = _mm256_shuffle_ps(low01, low23, 0x44);
            columns[g + 1] = _mm256_shuffle_ps(low01, low23, 0xee);
            columns[g + 2] = _mm256_shuffle_ps(high01, high23, 0x44);
            columns[g + 3] = _mm256_shuffle_ps(high01, high23, 0xee);
        }
        for (int j = 0; j < 4; ++j) {
            rows[j] = {_mm256_permute2f128_ps(columns[j], columns[4 + j], 0x20)};
            rows[4 + j] = {_mm256_permute2f128_ps(columns[j], columns[4 + j], 0x31)};
        }
    }
};

} // namespace

#endif
