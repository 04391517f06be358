// Building and releasing the working record.
#include <cmath>
#include <cstdlib>
#include <memory>

#include "dsp/SingleChannelAdaptiveNoise.h"
#include "dsp/SingleChannelAdaptiveNoiseParams.h"

namespace dsp {
namespace {

constexpr double twoPi = 6.283185307179586;

std::size_t Size(int count) { return static_cast<std::size_t>(count); }

// Far below any sound, but it keeps digital silence from having no level at all. From the C
// generator, which is never seeded here.
void FillDither(FftEngine::Row<float> &table) {
    table.resize(ditherLength);
    for (float &entry : table) {
        const int r = std::rand();
        entry = static_cast<float>(r % 30000 - 15000) / 15000.0f * 1e-9f;
    }
}

void FillTwiddles(SingleChannelAdaptiveNoiseParams &record) {
    const int half = record.geometry.fftSize / 2;
    record.twiddleReal.resize(Size(half));
    record.twiddleImag.resize(Size(half));
    for (int k = 0; k < half; ++k) {
        const double angle = twoPi * k / record.geometry.fftSize;
        record.twiddleReal[Size(k)] = std::cos(angle);
        record.twiddleImag[Size(k)] = std::sin(angle);
    }
}

void SizeRows(SingleChannelAdaptiveNoiseParams &record) {
    const FrameGeometry &g = record.geometry;
    const std::size_t frame = Size(g.fftSize);
    const std::size_t bins = frame / 2 + 1;
    record.inputBuffer.assign(Size(g.BufferLength()), 0.0f);
    record.outputBuffer.assign(Size(g.BufferLength()), 0.0f);
    for (FftEngine::Row<double> *row : {&record.frameData, &record.frameImag})
        row->assign(frame, 0.0);
    for (FftEngine::Row<double> *row :
         {&record.magnitude, &record.levelSpectrum, &record.spectrumReal, &record.spectrumImag,
          &record.xfmReal, &record.historySpectra[0], &record.historySpectra[1], &record.historySpectra[2]})
        row->assign(bins, 0.0);
    record.gain.assign(bins, 1.0);
    record.filterReal.assign(bins + 2 * designMargin, 0.0);
}

} // namespace

void SingleChannelAdaptiveNoise::Initialize() {
    Deinitialize();
    auto built = std::make_unique<Record>();
    built->requestedFftSize = static_cast<int>(values[kFftSize]);
    FillDither(built->DitherTable);
    AllocateArrays(built.get());
    BuildAnalysisWindow(built.get());
    record = built.release();
    ReinitPending = false;
    XfmsPending = true;
}

void SingleChannelAdaptiveNoise::Deinitialize() {
    delete record;
    record = nullptr;
}

void SingleChannelAdaptiveNoise::AllocateArrays(Record *target) {
    FrameGeometry &g = target->geometry;
    g = MakeFrameGeometry(target->requestedFftSize, values[kFilterMode] == 1.0f);
    values[kOverlap] = finiteValues[kOverlap] = static_cast<float>(g.overlap);
    target->kernels = &FftEngine::SelectedPerBinKernels();
    target->fftData.emplace(g.fftSize);
    target->halfFftData.emplace(g.fftSize / 2);
    FillTwiddles(*target);
    SizeRows(*target);
    target->writePos = g.writePos;
    target->compOutputPos = -g.Latency(g.filterMode);

    quietfloor::NoiseRemoverSettings settings;
    settings.OffsetDb = finiteValues[kOffsetDb];
    settings.ReductionDb = finiteValues[kReductionDb];
    settings.ReleaseMs = finiteValues[kReleaseMs];
    settings.KneeDb = finiteValues[kKneeDb];
    settings.Sensitivity = finiteValues[kSensitivity];
    settings.TrackerRate = finiteValues[kTrackerRate];
    settings.Strength = finiteValues[kStrength];
    settings.Reserved = finiteValues[kReserved];
    settings.BandWidthHz = finiteValues[kBandWidthHz];
    settings.TransientBoost = false;
    target->noiseRemover.emplace(g.fftSize / 2, sampleRate, g.hopSize);
    target->noiseRemover->SetSettings(settings);
    target->noiseRemover->Reset();
}

void SingleChannelAdaptiveNoise::BuildAnalysisWindow(Record *target) {
    const FrameGeometry &g = target->geometry;
    const int length = g.analysisLength;
    target->analysisWindow.assign(Size(length), 0.0);
    for (int i = 0; i <= length / 2; ++i) {
        const double hann = 0.5 - 0.5 * std::cos(twoPi * i / (length - 1));
        target->analysisWindow[Size(i)] = target->analysisWindow[Size(length - 1 - i)] = hann;
    }
    const double scale = 1.0 / g.fftSize; // the transforms are unscaled
    if (g.filterMode) {
        target->outputWeight.assign(Size(g.fftSize), scale);
        return;
    }
    target->frameWindow.resize(Size(g.fftSize));
    for (int i = 0; i < g.fftSize; ++i) // never 0, so that it can be taken away again
        target->frameWindow[Size(i)] = 0.5001 - 0.4999 * std::cos(twoPi * i / g.fftSize);

    // Over the two hops in the middle of a frame: the frame's window is taken away, and neighbouring
    // frames cross-fade.
    const int fadeLength = 2 * g.hopSize, start = g.fftSize / 2 - g.hopSize;
    target->outputWeight.assign(FftEngine::WholeVectors(fadeLength), 0.0);
    for (int i = 0; i < fadeLength; ++i) {
        const double overlapWindow = 0.5 * (1.0 - std::cos(twoPi * i / fadeLength));
        const double synthesisWindow = 1.0 / target->frameWindow[Size(start + i)];
        target->outputWeight[Size(i)] = scale * synthesisWindow * overlapWindow;
    }
}

void SingleChannelAdaptiveNoise::InitializeParameters() {
    ComputeXfms(record, nullptr);
    XfmsPending = false;
}

} // namespace dsp
