// SPDX-License-Identifier: MIT
#include <initializer_list>

#include "fft/FFT.h"

namespace {

// Each bin and its mirror are read before either is written, so that a channel may be the source.
// Terms are halved one by one: a sum that would overflow does not.
template <class Real>
void Split(const Real *zRe, const Real *zIm, int channel, Real **channelRe, Real **channelIm, int n) {
    Real *lRe = channelRe[channel], *lIm = channelIm[channel];
    Real *rRe = channelRe[channel + 1], *rIm = channelIm[channel + 1];
    const int half = n / 2;
    constexpr Real h = Real(0.5);

    for (const int k : {0, half}) {
        const Real re = zRe[k], im = zIm[k];
        lRe[k] = re;
        rRe[k] = im;
        lIm[k] = rIm[k] = Real(0);
    }
    for (int k = 1; k < half; ++k) {
        const int m = n - k;
        const Real re = zRe[k] * h, im = zIm[k] * h, mirrorRe = zRe[m] * h, mirrorIm = zIm[m] * h;
        lRe[k] = lRe[m] = mirrorRe + re;
        rRe[k] = rRe[m] = mirrorIm + im;
        lIm[k] = im - mirrorIm;
        lIm[m] = -lIm[k];
        rIm[k] = mirrorRe - re;
        rIm[m] = -rIm[k];
    }
}

} // namespace

void SplitComplexSpectrumToLR(float *zRe, float *zIm, int channel, float **channelRe, float **channelIm,
                              int n) {
    Split(zRe, zIm, channel, channelRe, channelIm, n);
}

void SplitComplexSpectrumToLR(double *zRe, double *zIm, int channel, double **channelRe, double **channelIm,
                              int n) {
    Split(zRe, zIm, channel, channelRe, channelIm, n);
}

void CombineLRSpectrumToComplex(int channel, float **channelRe, float **channelIm, float *zRe, float *zIm,
                                int n) {
    const float *lRe = channelRe[channel], *lIm = channelIm[channel];
    const float *rRe = channelRe[channel + 1], *rIm = channelIm[channel + 1];
    const int half = n / 2;

    for (const int k : {0, half}) {
        const float re = lRe[k], im = rRe[k];
        zRe[k] = re;
        zIm[k] = im;
    }
    for (int k = 1; k < half; ++k) {
        const float leftRe = lRe[k], leftIm = lIm[k], rightRe = rRe[k], rightIm = rIm[k];
        zRe[k] = leftRe - rightIm;
        zIm[k] = leftIm + rightRe;
        zRe[n - k] = leftRe + rightIm;
        zIm[n - k] = rightRe - leftIm;
    }
}
