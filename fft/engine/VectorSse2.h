/// The vector types of the generic level: SSE2, which every 64-bit x86 processor has.
///
/// Each level has one header of this shape, with the same names over wider registers; everything
/// stands in an unnamed namespace so that no two levels share a function. Kernels are templates over
/// `VectorD` and `VectorF` and see nothing else of the processor.
///   vectorRegisters how many vectors a kernel can hold at once
///   Load/Store      memory aligned to the vector; LoadU/StoreU any
///   MulAdd(a,b,c)   a b + c, fused where the level can; MulSub a b - c; NegMulAdd c - a b
///   Min/Max(a,b)    b where either is NaN, as the processor does it
///   comparisons     give masks; NaN compares false (!= true)
#ifndef QUIETFLOOR_FFT_ENGINE_VECTORSSE2_H
#define QUIETFLOOR_FFT_ENGINE_VECTORSSE2_H

#include <cstdint>
#include <emmintrin.h>

namespace {

constexpr int vectorRegisters = 16;

struct MaskD {
    __m128d v;
    friend MaskD operator&(MaskD a, MaskD b) { return {_mm_and_pd(a.v, b.v)}; }
    friend MaskD operator|(MaskD a, MaskD b) { return {_mm_or_pd(a.v, b.v)}; }
    friend MaskD AndNot(MaskD a, MaskD b) { return {_mm_andnot_pd(b.v, a.v)}; } // a and not b
    friend bool Any(MaskD a) { return _mm_movemask_pd(a.v) != 0; }
};

struct VectorD {
    using Scalar = double;
    using Mask = MaskD;
    static constexpr int lanes = 2;
    __m128d v;

    static VectorD Load(const double *p) { return {_mm_load_pd(p)}; }
    static VectorD LoadU(const double *p) { return {_mm_loadu_pd(p)}; }
    static VectorD Broadcast(double x) { return {_mm_set1_pd(x)}; }
    static VectorD FromBits(std::int64_t bits) { return {_mm_castsi128_pd(_mm_set1_epi64x(bits))}; }
    static VectorD LoadFloats(const float *p) { // any alignment
        return {_mm_cvtps_pd(_mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(p))))};
    }
    void Store(double *p) const { _mm_store_pd(p, v); }
    void StoreU(double *p) const { _mm_storeu_pd(p, v); }
    void StoreFloats(float *p) const { _mm_storel_pi(reinterpret_cast<__m64 *>(p), _mm_cvtpd_ps(v)); }

    friend VectorD operator+(VectorD a, VectorD b) { return {_mm_add_pd(a.v, b.v)}; }
    friend VectorD operator-(VectorD a, VectorD b) { return {_mm_sub_pd(a.v, b.v)}; }
    friend VectorD operator*(VectorD a, VectorD b) { return {_mm_mul_pd(a.v, b.v)}; }
    friend VectorD operator/(VectorD a, VectorD b) { return {_mm_div_pd(a.v, b.v)}; }
    friend VectorD operator-(VectorD a) { return {_mm_xor_pd(a.v, _mm_set1_pd(-0.0))}; }
    friend VectorD MulAdd(VectorD a, VectorD b, VectorD c) { return a * b + c; }
    friend VectorD MulSub(VectorD a, VectorD b, VectorD c) { return a * b - c; }
    friend VectorD NegMulAdd(VectorD a, VectorD b, VectorD c) { return c - a * b; }
    friend VectorD Min(VectorD a, VectorD b) { return {_mm_min_pd(a.v, b.v)}; }
    friend VectorD Max(VectorD a, VectorD b) { return {_mm_max_pd(a.v, b.v)}; }
    friend VectorD Sqrt(VectorD a) { return {_mm_sqrt_pd(a.v)}; }

    friend MaskD operator<(VectorD a, VectorD b) { return {_mm_cmplt_pd(a.v, b.v)}; }
    friend MaskD operator<=(VectorD a, VectorD b) { return {_mm_cmple_pd(a.v, b.v)}; }
    friend MaskD operator>(VectorD a, VectorD b) { return {_mm_cmplt_pd(b.v, a.v)}; }
    friend MaskD operator>=(VectorD a, VectorD b) { return {_mm_cmple_pd(b.v, a.v)}; }
    friend MaskD operator==(VectorD a, VectorD b) { return {_mm_cmpeq_pd(a.v, b.v)}; }
    friend MaskD operator!=(VectorD a, VectorD b) { return {_mm_cmpneq_pd(a.v, b.v)}; }
    friend VectorD Select(MaskD m, VectorD a, VectorD b) { // m ? a : b
        return {_mm_or_pd(_mm_and_pd(m.v, a.v), _mm_andnot_pd(m.v, b.v))};
    }

    friend VectorD BitAnd(VectorD a, VectorD b) { return {_mm_and_pd(a.v, b.v)}; }
    friend VectorD BitOr(VectorD a, VectorD b) { return {_mm_or_pd(a.v, b.v)}; }
    friend VectorD AddBits(VectorD a, VectorD b) { // as 64-bit integers
        return {_mm_castsi128_pd(_mm_add_epi64(_mm_castpd_si128(a.v), _mm_castpd_si128(b.v)))};
    }
    friend VectorD SubtractBits(VectorD a, VectorD b) {
        return {_mm_castsi128_pd(_mm_sub_epi64(_mm_castpd_si128(a.v), _mm_castpd_si128(b.v)))};
    }
    template <int count>
    friend VectorD ShiftLeftBits(VectorD a) {
        return {_mm_castsi128_pd(_mm_slli_epi64(_mm_castpd_si128(a.v), count))};
    }
    template <int count>
    friend VectorD ShiftRightBits(VectorD a) {
        return {_mm_castsi128_pd(_mm_srli_epi64(_mm_castpd_si128(a.v), count))};
    }

    friend double Sum(VectorD a) { return _mm_cvtsd_f64(_mm_add_sd(a.v, _mm_unpackhi_pd(a.v, a.v))); }
    template <int count>
    friend VectorD ShiftUp(VectorD a) { // lanes move up by 1, zeros come in
        static_assert(count == 1);
        return {_mm_unpacklo_pd(_mm_setzero_pd(), a.v)};
    }
    friend VectorD BroadcastLast(VectorD a) { return {_mm_unpackhi_pd(a.v, a.v)}; }
    friend VectorD Reverse(VectorD a) { return {_mm_shuffle_pd(a.v, a.v, 1)}; }
    friend void Interleave(VectorD a, VectorD b, VectorD &low, VectorD &high) { // a0 b0 a1 b1 ...
        low = {_mm_unpacklo_pd(a.v, b.v)};
        high = {_mm_unpackhi_pd(a.v, b.v)};
    }
    friend void Transpose(VectorD (&rows)[2]) { Interleave(rows[0], rows[1], rows[0], rows[1]); }
};

struct MaskF {
    __m128 v;
    friend MaskF operator&(MaskF a, MaskF b) { return {_mm_and_ps(a.v, b.v)}; }
    friend MaskF operator|(MaskF a, MaskF b) { return {_mm_or_ps(a.v, b.v)}; }
    friend bool Any(MaskF a) { return _mm_movemask_ps(a.v) != 0; }
};

struct VectorF {
    using Scalar = float;
    using Mask = MaskF;
    static constexpr int lanes = 4;
    __m128 v;

    static VectorF Load(const float *p) { return {_mm_load_ps(p)}; }
    static VectorF LoadU(const float *p) { return {_mm_loadu_ps(p)}; }
    static VectorF Broadcast(float x) { return {_mm_set1_ps(x)}; }
    void Store(float *p) const { _mm_store_ps(p, v); }
    void StoreU(float *p) const { _mm_storeu_ps(p, v); }

    friend VectorF operator+(VectorF a, VectorF b) { return {_mm_add_ps(a.v, b.v)}; }
    friend VectorF operator-(VectorF a, VectorF b) { return {_mm_sub_ps(a.v, b.v)}; }
    friend VectorF operator*(VectorF a, VectorF b) { return {_mm_mul_ps(a.v, b.v)}; }
    friend VectorF operator/(VectorF a, VectorF b) { return {_mm_div_ps(a.v, b.v)}; }
    friend VectorF operator-(VectorF a) { return {_mm_xor_ps(a.v, _mm_set1_ps(-0.0f))}; }
    friend VectorF MulAdd(VectorF a, VectorF b, VectorF c) { return a * b + c; }
    friend VectorF MulSub(VectorF a, VectorF b, VectorF c) { return a * b - c; }
    friend VectorF NegMulAdd(VectorF a, VectorF b, VectorF c) { return c - a * b; }
    friend VectorF Min(VectorF a, VectorF b) { return {_mm_min_ps(a.v, b.v)}; }
    friend VectorF Max(VectorF a, VectorF b) { return {_mm_max_ps(a.v, b.v)}; }
    friend VectorF Sqrt(VectorF a) { return {_mm_sqrt_ps(a.v)}; }

    friend MaskF operator<(VectorF a, VectorF b) { return {_mm_cmplt_ps(a.v, b.v)}; }
    friend MaskF operator>(VectorF a, VectorF b) { return {_mm_cmplt_ps(b.v, a.v)}; }
    friend MaskF operator>=(VectorF a, VectorF b) { return {_mm_cmple_ps(b.v, a.v)}; }
    friend VectorF Select(MaskF m, VectorF a, VectorF b) { // m ? a : b
        return {_mm_or_ps(_mm_and_ps(m.v, a.v), _mm_andnot_ps(m.v, b.v))};
    }

    friend void Interleave(VectorF a, VectorF b, VectorF &low, VectorF &high) {
        low = {_mm_unpacklo_ps(a.v, b.v)};
        high = {_mm_unpackhi_ps(a.v, b.v)};
    }
    friend void Transpose(VectorF (&rows)[4]) {
        _MM_TRANSPOSE4_PS(rows[0].v, rows[1].v, rows[2].v, rows[3].v);
    }
};

// One float vector and the two double vectors of the same lanes, low half first.
inline void Widen(VectorF a, VectorD &low, VectorD &high) {
    low = {_mm_cvtps_pd(a.v)};
    high = {_mm_cvtps_pd(_mm_movehl_ps(a.v, a.v))};
}
inline VectorF Narrow(VectorD low, VectorD high) {
    return {_mm_movelh_ps(_mm_cvtpd_ps(low.v), _mm_cvtpd_ps(high.v))};
}

} // namespace

#endif
