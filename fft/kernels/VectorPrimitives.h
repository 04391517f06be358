// SPDX-License-Identifier: MIT
/// Magnitudes and moments of float arrays over a vector type, in double inside: squares then neither
/// overflow nor vanish, whatever the finite input.
#ifndef QUIETFLOOR_FFT_KERNELS_VECTORPRIMITIVES_H
#define QUIETFLOOR_FFT_KERNELS_VECTORPRIMITIVES_H

#include "fft/kernels/EngineKernels.h"
#include "simd/Inline.h"

namespace {

template <class F, class D>
QUIETFLOOR_INLINE void MagnitudeOfLanes(const float *re, const float *im, float *dst) {
    D lowRe, highRe, lowIm, highIm;
    Widen(F::LoadU(re), lowRe, highRe);
    Widen(F::LoadU(im), lowIm, highIm);
    Narrow(Sqrt(MulAdd(lowRe, lowRe, lowIm * lowIm)), Sqrt(MulAdd(highRe, highRe, highIm * highIm)))
        .StoreU(dst);
}

template <class F, class D>
void Magnitude(const float *re, const float *im, float *dst, std::int32_t len) {
    std::int32_t i = 0;
    for (; i <= len - F::lanes; i += F::lanes)
        MagnitudeOfLanes<F, D>(re + i, im + i, dst + i);
    if (i == len)
        return;
    float restRe[F::lanes] = {}, restIm[F::lanes] = {}, rest[F::lanes];
    for (std::int32_t j = i; j < len; ++j) {
        restRe[j - i] = re[j];
        restIm[j - i] = im[j];
    }
    MagnitudeOfLanes<F, D>(restRe, restIm, rest);
    for (std::int32_t j = i; j < len; ++j)
        dst[j] = rest[j - i];
}

template <class F, class D>
FftEngine::Moments MomentsAround(const float *src, std::int32_t len, float origin) {
    const D originD = static_cast<double>(origin);
    D sum = 0.0, squares = 0.0;
    std::int32_t i = 0;
    for (; i <= len - F::lanes; i += F::lanes) {
        D low, high;
        Widen(F::LoadU(src + i), low, high);
        low = low - originD;
        high = high - originD;
        sum = sum + (low + high);
        squares = squares + MulAdd(low, low, high * high);
    }
    FftEngine::Moments moments = {Sum(sum), Sum(squares)};
    for (; i < len; ++i) {
        const double distance = static_cast<double>(src[i]) - static_cast<double>(origin);
        moments.sum += distance;
        moments.squares += distance * distance;
    }
    return moments;
}

} // namespace

#endif
