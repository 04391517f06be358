// SPDX-License-Identifier: MIT
#include <algorithm>
#include <vector>

#include "fft/FFTWorkingData.h"

using namespace FftEngine;
using quietfloor::Int32;

namespace {

// The spec object of working data of the wanted kind; null if there is none or the kind is another.
template <class WorkingData>
auto SpecOf(FFTWORKINGDATA &wd) {
    const auto *typed = dynamic_cast<WorkingData *>(&wd);
    return typed != nullptr ? typed->fftSpec : nullptr;
}

bool IsInverse(Int32 dir) { return dir == -1; }

// x + i y carries both spectra: X is the conjugate-symmetric part of its transform, i Y the rest.
void SeparateSpectra(const float *re, const float *im, float *xRe, float *xIm, float *yRe, float *yIm,
                     Int32 n) {
    xRe[0] = re[0];
    xIm[0] = 0.0f;
    yRe[0] = im[0];
    yIm[0] = 0.0f;
    for (Int32 k = 1; k < n; ++k) {
        const Int32 m = n - k;
        xRe[k] = (re[k] + re[m]) * 0.5f;
        xIm[k] = (im[k] - im[m]) * 0.5f;
        yRe[k] = (im[k] + im[m]) * 0.5f;
        yIm[k] = (re[m] - re[k]) * 0.5f;
    }
}

void JoinSpectra(const float *xRe, const float *xIm, const float *yRe, const float *yIm, float *re, float *im,
                 Int32 n) {
    for (Int32 k = 0; k < n; ++k) {
        re[k] = xRe[k] - yIm[k];
        im[k] = xIm[k] + yRe[k];
    }
}

} // namespace

void LFFTF(float *re, float *im, Int32, Int32 dir, FFTWORKINGDATA &wd) {
    const auto *fft = SpecOf<FFTWORKINGDATA_F>(wd);
    if (fft == nullptr)
        return;
    const auto transform = IsInverse(dir) ? FFTInverseComplex32f : FFTForwardComplex32f;
    transform(re, im, re, im, fft->spec, fft->workBuffer);
}

void LFFTD(double *re, double *im, Int32 n, Int32 dir, FFTWORKINGDATA &wd) {
    LFFTSD(re, im, re, im, n, dir, wd);
}

void LFFTSD(double *srcRe, double *srcIm, double *dstRe, double *dstIm, Int32, Int32 dir,
            FFTWORKINGDATA &wd) {
    const auto *fft = SpecOf<FFTWORKINGDATA_D>(wd);
    if (fft == nullptr)
        return;
    const auto transform = IsInverse(dir) ? FFTInverseComplex64f : FFTForwardComplex64f;
    transform(srcRe, srcIm, dstRe, dstIm, fft->spec, fft->workBuffer);
}

void LFFT2CF(float *x, float *y, float *xRe, float *xIm, float *yRe, float *yIm, Int32 n, Int32 dir,
             FFTWORKINGDATA &wd) {
    const auto *fft = SpecOf<FFTWORKINGDATA_F>(wd);
    if (fft == nullptr || n != fft->size)
        return;
    std::vector<float> re(static_cast<std::size_t>(n)), im(static_cast<std::size_t>(n));
    // A spec that the engine could not build fails here, before any output is written.
    if (dir > 0) {
        if (FFTForwardComplex32f(x, y, re.data(), im.data(), fft->spec, fft->workBuffer) == kEngineOk)
            SeparateSpectra(re.data(), im.data(), xRe, xIm, yRe, yIm, n);
        return;
    }
    JoinSpectra(xRe, xIm, yRe, yIm, re.data(), im.data(), n);
    if (FFTInverseComplex32f(re.data(), im.data(), re.data(), im.data(), fft->spec, fft->workBuffer) !=
        kEngineOk)
        return;
    std::copy(re.begin(), re.end(), x);
    std::copy(im.begin(), im.end(), y);
}
