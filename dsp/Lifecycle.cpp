// SPDX-License-Identifier: MIT
// Building and releasing the working record.
#include <cmath>
#include <cstdlib>
#include <memory>

#include "dsp/SingleChannelAdaptiveNoise.h"
#include "dsp/SingleChannelAdaptiveNoiseParams.h"

namespace dsp {
namespace {

constexpr double twoPi = 6.283185307179586;

using quietfloor::Row;

// Far below any sound, but it gives digital silence a level. From the C library's generator, which is
// never seeded here.
void FillDither(Row<float> &table) {
    table.assign(ditherLength, 0.0f);
    for (float &entry : table) {
        const int r = std::rand();
        entry = static_cast<float>(r % 30000 - 15000) / 15000.0f * highestDither;
    }
}

void FillTwiddles(SingleChannelAdaptiveNoiseParams &record) {
    const int half = record.geometry.fftSize / 2;
    record.twiddleReal.assign(half, 0.0);
    record.twiddleImag.assign(half, 0.0);
    for (int k = 0; k < half; ++k) {
        const double angle = twoPi * k / record.geometry.fftSize;
        record.twiddleReal[k] = std::cos(angle);
        record.twiddleImag[k] = std::sin(angle);
    }
}

void SizeRows(SingleChannelAdaptiveNoiseParams &record) {
    const FrameGeometry &g = record.geometry;
    const int bins = g.fftSize / 2 + 1;
    record.inputBuffer.assign(g.BufferLength(), 0.0f);
    record.outputBuffer.assign(g.BufferLength(), 0.0f);
    for (Row<double> *row : {&record.frameData, &record.frameImag})
        row->assign(g.fftSize, 0.0);
    for (Row<double> *row :
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
    built->requestedFftSize = static_cast<int>(state.values[kFftSize]);
    FillDither(built->DitherTable);
    AllocateArrays(built.get());
    BuildAnalysisWindow(built.get());
    record = built.release();
    state.ReinitPending = false;
    state.XfmsPending = true;
}

void SingleChannelAdaptiveNoise::Deinitialize() {
    delete record;
    record = nullptr;
}

void SingleChannelAdaptiveNoise::AllocateArrays(Record *target) {
    FrameGeometry &g = target->geometry;
    g = MakeFrameGeometry(target->requestedFftSize, state.values[kFilterMode] == 1.0f);
    state.values[kOverlap] = state.finiteValues[kOverlap] = static_cast<float>(g.overlap);
    target->kernels = &quietfloor::SelectedFrameKernels();
    target->fftData.emplace(g.fftSize);
    target->halfFftData.emplace(g.fftSize / 2);
    FillTwiddles(*target);
    SizeRows(*target);
    target->writePos = g.writePos;
    target->compOutputPos = -g.Latency(g.filterMode);

    quietfloor::NoiseRemoverSettings settings;
    settings.OffsetDb = state.finiteValues[kOffsetDb];
    settings.ReductionDb = state.finiteValues[kReductionDb];
    settings.ReleaseMs = state.finiteValues[kReleaseMs];
    settings.KneeDb = state.finiteValues[kKneeDb];
    settings.Sensitivity = state.finiteValues[kSensitivity];
    settings.TrackerRate = state.finiteValues[kTrackerRate];
    settings.Strength = state.finiteValues[kStrength];
    settings.Reserved = state.finiteValues[kReserved];
    settings.BandWidthHz = state.finiteValues[kBandWidthHz];
    settings.TransientBoost = false;
    target->noiseRemover.emplace(g.fftSize / 2, state.sampleRate, g.hopSize);
    target->noiseRemover->SetSettings(settings);
    target->noiseRemover->SetEstimator(EngineEstimator(state.estimator));
    target->noiseRemover->Reset();
}

void SingleChannelAdaptiveNoise::BuildAnalysisWindow(Record *target) {
    const FrameGeometry &g = target->geometry;
    const int length = g.analysisLength;
    target->analysisWindow.assign(length, 0.0);
    for (int i = 0; i <= length / 2; ++i) {
        const double hann = 0.5 - 0.5 * std::cos(twoPi * i / (length - 1));
        target->analysisWindow[i] = target->analysisWindow[length - 1 - i] = hann;
    }
    const double scale = 1.0 / g.fftSize; // the transforms are unscaled
    if (g.filterMode) {
        target->outputWeight.assign(g.fftSize, scale);
        return;
    }
    target->frameWindow.assign(g.fftSize, 0.0);
    for (int i = 0; i < g.fftSize; ++i) // never 0, so that it can be taken away again
        target->frameWindow[i] = 0.5001 - 0.4999 * std::cos(twoPi * i / g.fftSize);

    // Over the two hops in the middle of a frame: the frame's window is taken away, and neighbouring
    // frames cross-fade.
    const int fadeLength = 2 * g.hopSize, start = g.fftSize / 2 - g.hopSize;
    target->outputWeight.assign(quietfloor::WholeVectors(fadeLength), 0.0);
    for (int i = 0; i < fadeLength; ++i) {
        const double overlapWindow = 0.5 * (1.0 - std::cos(twoPi * i / fadeLength));
        const double synthesisWindow = 1.0 / target->frameWindow[start + i];
        target->outputWeight[i] = scale * synthesisWindow * overlapWindow;
    }
}

void SingleChannelAdaptiveNoise::InitializeParameters() {
    ComputeXfms(record, nullptr);
    state.XfmsPending = false;
}

} // namespace dsp
