// SPDX-License-Identifier: MIT
// Two channels through one transform: packed, separated, changed, combined, and back.
#include "fft/FFT.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>

constexpr int n = 64; // the length of single-precision working data

int main() {
    const std::unique_ptr<FFTWORKINGDATA> transform(CreateFFTWORKINGDATA_F());
    const double turn = 2 * std::acos(-1.0) / n;

    // Left is the real part, right the imaginary part: three tones, of 5, 9 and 20 turns.
    float re[n], im[n];
    for (int i = 0; i < n; ++i) {
        re[i] = static_cast<float>(std::sin(5 * turn * i) + std::sin(20 * turn * i));
        im[i] = static_cast<float>(std::cos(9 * turn * i));
    }
    LFFTF(re, im, n, 1, *transform);

    float leftRe[n], leftIm[n], rightRe[n], rightIm[n];
    float *channelRe[] = {leftRe, rightRe}, *channelIm[] = {leftIm, rightIm};
    SplitComplexSpectrumToLR(re, im, 0, channelRe, channelIm, n);

    for (int k = 16; k <= n / 2; ++k)
        leftRe[k] = leftIm[k] = 0; // the upper tone of the left channel; mirror bins need no change
    for (int k = 0; k <= n / 2; ++k) {
        rightRe[k] *= 0.5f; // the right channel at half its level
        rightIm[k] *= 0.5f;
    }

    CombineLRSpectrumToComplex(0, channelRe, channelIm, re, im, n);
    LFFTF(re, im, n, -1, *transform);

    double error = 0;
    for (int i = 0; i < n; ++i) { // nothing scales on the way, so n is divided out here
        error = std::fmax(error, std::fabs(re[i] / n - std::sin(5 * turn * i)));
        error = std::fmax(error, std::fabs(im[i] / n - 0.5 * std::cos(9 * turn * i)));
    }
    std::printf("largest error of both channels: %.1e\n", error);
    return error < 1e-5 ? EXIT_SUCCESS : EXIT_FAILURE;
}
