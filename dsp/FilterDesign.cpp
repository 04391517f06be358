// SPDX-License-Identifier: MIT
// The filter: linear phase, its response the gain curve as far as its window lets it.
//
// The gain curve, taken as a real and even spectrum, has a zero-phase impulse response. Windowing
// that by the periodic four-term Blackman-Harris window (F. J. Harris, "On the use of windows for
// harmonic analysis with the discrete Fourier transform", Proc. IEEE 66, 1978) keeps its circular
// tails small. The window has seven spectral lines, so the windowed response's spectrum is the gain
// curve smoothed over seven bins, and no transform is needed.
#include <algorithm>

#include "dsp/SingleChannelAdaptiveNoise.h"
#include "dsp/SingleChannelAdaptiveNoiseParams.h"

namespace dsp {
namespace {

// The cosine terms of the window, all of them positive once its peak is at time 0; each but the
// first is shared by two lines.
constexpr double centre = 0.35875;
constexpr double side[designMargin] = {0.48829 * 0.5, 0.14128 * 0.5, 0.01168 * 0.5};

} // namespace

void SingleChannelAdaptiveNoise::ComputeComponent(Record *record, double *outReal, double *gain) {
    const int half = record->geometry.fftSize / 2;
    if (gain == nullptr) {
        std::fill_n(outReal, half + 1, 0.0);
        return;
    }
    if (record->noiseRemover->GetEstimator() == quietfloor::Estimator::gate)
        gain[0] = gain[half] = 1.0; // DC and Nyquist pass unchanged
    double *design = record->filterReal.data() + designMargin;
    std::copy_n(gain, half + 1, design);
    for (int j = 1; j <= designMargin; ++j) {
        design[-j] = design[j];
        design[half + j] = design[half - j];
    }
    for (int k = 0; k <= half; ++k) {
        double sum = centre * design[k];
        for (int j = 1; j <= designMargin; ++j)
            sum += side[j - 1] * (design[k - j] + design[k + j]);
        outReal[k] = sum;
    }
}

// Causal by a delay of half the FFT size, which turns the sign of every other bin.
void SingleChannelAdaptiveNoise::ComputeXfms(Record *record, double *gain) {
    if (!record->adaptEnabled)
        return;
    double *transfer = record->xfmReal.data();
    ComputeComponent(record, transfer, gain);
    for (int k = 1; k <= record->geometry.fftSize / 2; k += 2)
        transfer[k] = -transfer[k];
}

} // namespace dsp
