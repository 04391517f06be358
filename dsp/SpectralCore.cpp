// One frame: analysis, gains, synthesis into the output accumulator.
//
// The analysis frame and the frame that gets the gains are both real, so they share one complex
// transform, as real and imaginary part; the result is real, so half a transform gives it back.
#include <algorithm>
#include <cmath>

#include "dsp/SingleChannelAdaptiveNoise.h"
#include "dsp/SingleChannelAdaptiveNoiseParams.h"

namespace dsp {
namespace {

constexpr double levelOffsetDb = 4.6;
constexpr double endLevelDb = -200.0;  // at both ends of a level spectrum, whatever the bins hold
constexpr double highestOutput = 1e36; // overlapping sums of it still fit a float

void LoadAnalysisFrame(SingleChannelAdaptiveNoiseParams &record) noexcept {
    const FrameGeometry &g = record.geometry;
    const float *input = record.inputBuffer.data() + g.analysisOffset;
    const double *window = record.analysisWindow.data();
    double *frame = record.frameData.data();
    for (int i = 0; i < g.analysisLength; ++i)
        frame[i] = input[i] * window[i];
    std::fill(frame + g.analysisLength, frame + g.fftSize, 0.0);
}

// In filter mode the hop that lies `analysisOffset` behind the newest input, else the whole frame.
void LoadSynthesisFrame(SingleChannelAdaptiveNoiseParams &record) noexcept {
    const FrameGeometry &g = record.geometry;
    const int length = g.filterMode ? g.hopSize : g.fftSize;
    const float *input = record.inputBuffer.data() + g.analysisLength - length;
    const double *window = record.frameWindow.data();
    double *frame = record.frameImag.data();
    if (g.filterMode) {
        std::copy_n(input, length, frame);
        std::fill(frame + length, frame + g.fftSize, 0.0);
    } else {
        for (int i = 0; i < length; ++i)
            frame[i] = input[i] * window[i];
    }
}

// Leaves the magnitudes and levels of the analysis frame, one bin down, and the other frame's spectrum.
void TransformFrames(SingleChannelAdaptiveNoiseParams &record) noexcept {
    const int half = record.geometry.fftSize / 2;
    LoadAnalysisFrame(record);
    LoadSynthesisFrame(record);
    record.fftData->Forward(record.frameData.data(), record.frameImag.data());
    record.kernels->SplitPackedSpectrum({record.frameData.data(), record.frameImag.data(),
                                         record.magnitude.data(), record.spectrumReal.data(),
                                         record.spectrumImag.data()},
                                        1.0 / (record.geometry.fftSize * 0.25), half);
    record.kernels->LevelsDb(record.magnitude.data(), levelOffsetDb, record.levelSpectrum.data(), half);
    record.levelSpectrum.front() = record.levelSpectrum.back() = endLevelDb;
}

// Moves the accumulator on by one hop; what a frame has not reached yet is 0.
void AdvanceOutput(SingleChannelAdaptiveNoiseParams &record) noexcept {
    const FrameGeometry &g = record.geometry;
    const auto output = record.outputBuffer.begin();
    std::copy(output + g.hopSize, output + g.fftSize, output);
    std::fill(output + g.fftSize - g.hopSize, output + g.fftSize, 0.0f);
}

// DC and Nyquist pass unchanged. Bin k gets the gain of entry k, whose level came from bin k + 1.
void ApplyGains(SingleChannelAdaptiveNoiseParams &record) noexcept {
    const int half = record.geometry.fftSize / 2;
    const double *gain = record.gain.data();
    double *re = record.spectrumReal.data(), *im = record.spectrumImag.data();
    for (int k = 1; k < half; ++k) {
        re[k] *= gain[k];
        im[k] *= gain[k];
    }
}

void ApplyFilter(SingleChannelAdaptiveNoiseParams &record) noexcept {
    const int half = record.geometry.fftSize / 2;
    const double *transfer = record.xfmReal.data();
    double *re = record.spectrumReal.data(), *im = record.spectrumImag.data();
    for (int k = 0; k <= half; ++k) {
        re[k] *= transfer[k];
        im[k] *= transfer[k];
    }
}

// Back to N real samples in `frameData`, N times too large, by a complex transform of half the length
// whose real parts are the even samples and imaginary parts the odd ones.
void InvertSpectrum(SingleChannelAdaptiveNoiseParams &record) noexcept {
    const int half = record.geometry.fftSize / 2;
    double *even = record.frameImag.data(), *odd = even + half, *frame = record.frameData.data();
    record.kernels->PackRealInverse({record.spectrumReal.data(), record.spectrumImag.data(),
                                     record.twiddleReal.data(), record.twiddleImag.data(), even, odd},
                                    half);
    record.halfFftData->Inverse(even, odd);
    for (int n = 0; n < half; ++n) {
        frame[2 * n] = even[n];
        frame[2 * n + 1] = odd[n];
    }
}

float OutputSample(double sample) noexcept {
    return static_cast<float>(std::clamp(sample, -highestOutput, highestOutput));
}

// Fast convolution: the filtered hop and its tail, which overlaps the next ones.
void AddFiltered(SingleChannelAdaptiveNoiseParams &record) noexcept {
    const int n = record.geometry.fftSize;
    const double scale = 1.0 / n;
    const double *frame = record.frameData.data();
    float *output = record.outputBuffer.data();
    for (int i = 0; i < n; ++i)
        output[i] += OutputSample(frame[i] * scale);
}

// Only the two hops in the middle of the frame reach the output.
void AddCentre(SingleChannelAdaptiveNoiseParams &record) noexcept {
    const FrameGeometry &g = record.geometry;
    const int start = g.fftSize / 2 - g.hopSize;
    const double scale = 1.0 / g.fftSize;
    const double *frame = record.frameData.data() + start;
    const double *synthesis = record.synthesisWindow.data() + start;
    const double *overlap = record.overlapWindow.data();
    float *output = record.outputBuffer.data() + start;
    for (int i = 0; i < 2 * g.hopSize; ++i)
        output[i] += OutputSample(frame[i] * (scale * synthesis[i]) * overlap[i]);
}

} // namespace

void SingleChannelAdaptiveNoise::EstimateGains(Record *record) {
    record->gain.front() = record->gain.back() = 0.0;
    const auto count = static_cast<std::size_t>(record->historyCount);
    // The gains are for the level spectrum of `historyCount` frames ago, in the first frame its own.
    if (record->frameCount == 0)
        std::fill_n(record->historySpectra.begin(), count, record->levelSpectrum);
    FftEngine::Row<double> *past = count != 0 ? &record->historySpectra[record->frameCount % count] : nullptr;
    const double *reference = past != nullptr ? past->data() : record->levelSpectrum.data();
    if (record->noiseRemover)
        record->noiseRemover->ProcessFrame(record->magnitude.data(), record->levelSpectrum.data(),
                                           record->gain.data(), reference);
    if (past != nullptr && record->frameCount != 0)
        *past = record->levelSpectrum;
    if (record->geometry.filterMode)
        ComputeXfms(record, record->gain.data());
    ++record->frameCount;
}

void SingleChannelAdaptiveNoise::Convolve(Record *record) {
    TransformFrames(*record);
    if (record->adaptEnabled)
        EstimateGains(record);
    AdvanceOutput(*record);
    if (record->geometry.filterMode)
        ApplyFilter(*record);
    else
        ApplyGains(*record);
    InvertSpectrum(*record);
    if (record->geometry.filterMode)
        AddFiltered(*record);
    else
        AddCentre(*record);
}

} // namespace dsp
