// SPDX-License-Identifier: MIT
// A host in C++11, the oldest that the public headers promise, against the shared library: it names the
// exported classes, and takes constants by reference, for which they need a definition.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <vector>

#include "dsp/SingleChannelAdaptiveNoise.h"
#include "dsp/WhiteNoise.h"
#include "fft/FFT.h"
#include "lib/quietfloor.h"

typedef dsp::SingleChannelAdaptiveNoise Reducer;

// A sine that goes through an object and its copies comes out alike, and a pure delay later.
static bool DelaysAlike() {
    Reducer first;
    first.SetParameter(Reducer::kReductionDb, 0);
    first.SetEstimator(Reducer::kLogSpectral);
    first.SetSampleRate(48000);
    first.Resume();
    Reducer second(first), third;
    third = second;
    std::vector<float> in(9600), out(in.size()), same(in.size());
    for (std::size_t i = 0; i < in.size(); ++i)
        in[i] = 0.5f * static_cast<float>(std::sin(0.05 * static_cast<double>(i)));
    first.Process(in.data(), out.data(), static_cast<int>(in.size()));
    third.Process(in.data(), same.data(), static_cast<int>(in.size()));
    const std::size_t latency = static_cast<std::size_t>(first.GetLatency());
    double error = 0;
    for (std::size_t i = latency; i < in.size(); ++i)
        error = std::max(error, static_cast<double>(std::fabs(out[i] - in[i - latency])));
    return latency > 0 && error < 1e-5 && out == same;
}

// Two real channels through one transform, packed and separated, and back.
static bool TransformsBack() {
    const std::unique_ptr<FFTWORKINGDATA> single(CreateFFTWORKINGDATA_F());
    const std::unique_ptr<FFTWORKINGDATA> twice(CreateFFTWORKINGDATA_D(60)); // makes 64 points
    double re[64] = {0, 1}, im[64] = {1};
    LFFTD(re, im, 64, 1, *twice);
    LFFTD(re, im, 64, -1, *twice);
    float x[64] = {0, 1}, y[64] = {1}, xRe[64], xIm[64], yRe[64], yIm[64];
    LFFT2CF(x, y, xRe, xIm, yRe, yIm, 64, 1, *single);
    return std::fabs(re[1] - 64) < 1e-9 && std::fabs(im[0] - 64) < 1e-9 && std::fabs(yRe[5] - 1) < 1e-5f;
}

int main() {
    const int &count = Reducer::kParamCount;
    const int most = std::max(Reducer::kParamCount, 1);
    dsp::WhiteNoise noise, other;
    noise = other;
    dsp::IppFFT record, copied;
    copied = record;
    const bool counts = count == quietfloor_parameter_count() && most == count && copied.GetSize() == 0;
    const bool delays = DelaysAlike(), transforms = TransformsBack();
    std::printf("constants %d, stream %d, transforms %d\n", counts, delays, transforms);
    return counts && delays && transforms ? 0 : 1;
}
