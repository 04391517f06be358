// SPDX-License-Identifier: MIT
// One frame: analysis, gains, synthesis into the output accumulator.
//
// The analysis frame and the frame that gets the gains are both real, so they share one complex
// transform, as real and imaginary part; the result is real, so a transform of half the length gives it back.
#include <algorithm>

#include "dsp/SingleChannelAdaptiveNoise.h"
#include "dsp/SingleChannelAdaptiveNoiseParams.h"
#include "noise/Tuning.h"

namespace dsp {
namespace {

constexpr double endLevelDb = -200.0; // at both ends of a level spectrum, whatever the bins hold

// With the filter the hop that lies `analysisOffset` behind the newest input, as it is, else the whole
// frame, windowed.
void LoadSynthesisFrame(SingleChannelAdaptiveNoiseParams &record) noexcept {
    const FrameGeometry &g = record.geometry;
    if (!g.filterMode) {
        record.kernels->ApplyWindow(record.inputBuffer.data(), record.frameWindow.data(),
                                    record.frameImag.data(), g.fftSize);
        return;
    }
    const auto end = record.inputBuffer.begin() + g.analysisLength;
    const auto rest = std::copy(end - g.hopSize, end, record.frameImag.begin());
    std::fill(rest, record.frameImag.end(), 0.0);
}

// Leaves the magnitudes and levels of the analysis frame, one bin down, and the other frame's spectrum.
void TransformFrames(SingleChannelAdaptiveNoiseParams &record) noexcept {
    const int half = record.geometry.fftSize / 2;
    record.fftData->Forward(record.frameData.data(), record.frameImag.data());
    record.kernels->SplitPackedSpectrum({record.frameData.data(), record.frameImag.data(),
                                         record.magnitude.data(), record.spectrumReal.data(),
                                         record.spectrumImag.data()},
                                        1.0 / (record.geometry.fftSize * 0.25), half);
    record.kernels->LevelsDb(record.magnitude.data(), quietfloor::tuning::levelOffsetDb,
                             record.levelSpectrum.data(), half);
    record.levelSpectrum.front() = record.levelSpectrum.back() = endLevelDb;
}

// Moves the accumulator on by one hop; what a frame has not reached yet is 0.
void AdvanceOutput(SingleChannelAdaptiveNoiseParams &record) noexcept {
    const FrameGeometry &g = record.geometry;
    const auto output = record.outputBuffer.begin();
    std::copy(output + g.hopSize, output + g.fftSize, output);
    std::fill(output + g.fftSize - g.hopSize, output + g.fftSize, 0.0f);
}

// Back to N real samples in `frameData`, N times too large, by a complex transform of half the length
// whose real parts are the even samples and imaginary parts the odd ones.
void InvertSpectrum(SingleChannelAdaptiveNoiseParams &record, const double *factor) noexcept {
    const int half = record.geometry.fftSize / 2;
    double *even = record.frameImag.data(), *odd = even + half;
    record.kernels->PackRealInverse({record.spectrumReal.data(), record.spectrumImag.data(), factor,
                                     record.twiddleReal.data(), record.twiddleImag.data(), even, odd},
                                    half);
    record.halfFftData->Inverse(even, odd);
    record.kernels->InterleaveSamples(even, odd, record.frameData.data(), half);
}

} // namespace

void SingleChannelAdaptiveNoise::WindowData(const Record *record, const float *src, double *dst) {
    const FrameGeometry &g = record->geometry;
    record->kernels->ApplyWindow(src, record->analysisWindow.data(), dst, g.analysisLength);
    std::fill(dst + g.analysisLength, dst + g.fftSize, 0.0);
}

// The gains are for the spectrum of `historyCount` frames ago, in the first frame for its own.
void SingleChannelAdaptiveNoise::EstimateGains(Record *record) {
    const unsigned count = record->historyCount;
    if (record->frameCount == 0)
        std::fill_n(record->historySpectra.begin(), count, record->magnitude);
    Record::Row<double> *past =
        count != 0 ? &record->historySpectra[record->frameCount % count] : &record->magnitude;
    if (record->noiseRemover)
        record->noiseRemover->ProcessFrame(record->magnitude.data(), record->levelSpectrum.data(),
                                           record->gain.data(), past->data());
    *past = record->magnitude;
    ++record->frameCount;
}

void SingleChannelAdaptiveNoise::AnalyseFrame(Record *record) {
    WindowData(record, record->inputBuffer.data() + record->geometry.analysisOffset,
               record->frameData.data());
    LoadSynthesisFrame(*record);
    TransformFrames(*record);
    if (record->adaptEnabled)
        EstimateGains(record);
}

// Filter mode adds the filtered hop and its tail, which overlaps the next ones. The other mode adds the
// two hops in the middle of the frame, bin k with the gain of entry k, whose level came from bin k + 1.
void SingleChannelAdaptiveNoise::Convolve(Record *record) {
    const FrameGeometry &g = record->geometry;
    AdvanceOutput(*record);
    if (g.filterMode) {
        ComputeXfms(record, record->gain.data());
        InvertSpectrum(*record, record->xfmReal.data());
    } else {
        if (record->noiseRemover->GetEstimator() == quietfloor::Estimator::gate)
            record->gain.front() = record->gain.back() = 1.0; // DC and Nyquist pass unchanged
        InvertSpectrum(*record, record->gain.data());
    }
    const int start = g.filterMode ? 0 : g.fftSize / 2 - g.hopSize;
    const int count = g.filterMode ? g.fftSize : 2 * g.hopSize;
    record->kernels->AddWeighted(record->frameData.data() + start, record->outputWeight.data(),
                                 record->outputBuffer.data() + start, count);
}

} // namespace dsp
