// SPDX-License-Identifier: MIT
#include "noise/LogSpectralEstimator.h"

#include <algorithm>
#include <cmath>

#include "noise/Tuning.h"

namespace quietfloor {
namespace {

using namespace tuning;

constexpr int mostFrames = 1 << 30; // a count without end would overflow

double PowerFromDb(double levelDb) { return std::pow(10.0, levelDb / 10.0); }

} // namespace

// Bin 1 has no floor, and a constant offset of the sound shows in it: it does not count. Four sums run side
// by side, since each addition waits for the one before.
void LogSpectralEstimator::Sums::Take(const double *values, int count) noexcept {
    const int quarter = count / 4;
    double *sums = Values.data() + Margin;
    double running[4] = {-values[0], 0.0, 0.0, 0.0};
    for (int k = 0; k < quarter; ++k)
        for (int q = 0; q < 4; ++q) {
            running[q] += values[q * quarter + k];
            sums[q * quarter + k] = running[q];
        }
    double before = running[0];
    for (int q = 1; q < 4; ++q) {
        for (int k = q * quarter; k < (q + 1) * quarter; ++k)
            sums[k] += before;
        before += running[q];
    }
    std::fill(sums + count, Values.end(), before);
}

void LogSpectralEstimator::Window::SetReach(double widthHz, double binHz) noexcept {
    const int bins = Inverse.size();
    Reach = static_cast<int>(std::clamp(widthHz / binHz + 0.5, 1.0, bins / 2.0));
    for (int k = 0; k < bins; ++k) {
        const int first = std::max(1, k - Reach), last = std::min(bins - 1, k + Reach);
        Inverse[k] = 1.0 / (last - first + 1);
    }
}

LogSpectralEstimator::LogSpectralEstimator(int bins, int sampleRate, int hop, const NoiseKernels &kernels)
    : Bins(bins), HopMs(hop * 1000.0 / sampleRate), BinHz(sampleRate * 0.5 / bins), Kernels(&kernels),
      PriorSum(bins), LogGainSum(bins), PresenceSum(bins) {
    for (Row<double> *row :
         {&Level, &Minimum, &PastMinimum, &FloorAge, &FloorPower, &NoisePower, &SpeechPresence,
          &SmoothedPrior, &CleanPower, &PastLogGain, &Posterior, &Prior, &LogGain, &Presence, &Gain})
        row->assign(bins, 0.0);
    for (Window *window : {&Local, &Wide, &Blend, &Noise})
        window->Inverse.assign(bins, 1.0);
}

void LogSpectralEstimator::SetSettings(const LogSpectralSettings &settings) noexcept {
    LowestLogGain = -std::max(settings.ReductionDb, 0.0) / 20.0;
    FloorScale = PowerFromDb(noiseOverFloorDb - settings.ThresholdDb) / (levelOffset * levelOffset);
    Local.SetReach(localShare * settings.BandWidthHz, BinHz);
    Wide.SetReach(wideHz, BinHz);
    Blend.SetReach(blendHz, BinHz);
    Noise.SetReach(noiseBandHz * 0.5, BinHz);
}

void LogSpectralEstimator::Restart() noexcept {
    for (Row<double> *row :
         {&Level, &FloorAge, &NoisePower, &SpeechPresence, &SmoothedPrior, &CleanPower, &PastLogGain})
        std::fill(row->begin(), row->end(), 0.0);
    Frames = 0;
}

// Weight of what is new in a mean over about so long a time.
double LogSpectralEstimator::WeightOf(double milliseconds) const noexcept {
    return 1.0 - std::exp(-HopMs / milliseconds);
}

NoiseStep LogSpectralEstimator::NextStep(bool teaches) noexcept {
    const int start = std::max(2, static_cast<int>(provisionalStartMs / HopMs));
    const int length = std::max(1, static_cast<int>(provisionalMs / HopMs));
    NoiseStep step;
    step.stretch = Frames <= start                   ? NoiseStretch::first
                   : teaches && Frames % length == 0 ? NoiseStretch::begins
                                                     : NoiseStretch::goesOn;
    step.hasMinimum = Frames > start;
    step.levelWeight = std::max(WeightOf(provisionalLevelMs), 1.0 / (Frames + 1));
    step.floorWeight = WeightOf(floorSmoothingMs);
    step.noiseWeight = WeightOf(noiseSmoothingMs);
    step.presenceWeight = 1.0 - std::pow(presenceAt16Ms, HopMs / 16.0);
    step.smoothingWeight = 1.0 - std::pow(smoothingAt8Ms, HopMs / 8.0);
    step.priorWeight = std::pow(priorWeightAt8Ms, HopMs / 8.0);
    step.minimumFactor = provisionalFactor;
    step.floorScale = FloorScale;
    step.startAge = step.hasMinimum ? takeOverMs / HopMs : 1e6;
    step.youngAge = youngFloorMs / HopMs;
    step.teaches = teaches;
    if (teaches && Frames < mostFrames)
        ++Frames;
    return step;
}

double LogSpectralEstimator::FramePresence() const noexcept {
    const int top = std::clamp(static_cast<int>(framePresenceHz / BinHz), 1, Bins - 1);
    const double ratio = PriorSum.data()[top] / top / presenceRatio;
    return ratio * ratio / (1.0 + ratio * ratio);
}

void LogSpectralEstimator::ComputeGains(const double *mag, const double *noiseFloor, bool teaches,
                                        double *gainOut) noexcept {
    const double heardMs = Frames * HopMs;
    Kernels->FollowNoise({mag, noiseFloor, CleanPower.data(), Level.data(), Minimum.data(),
                          PastMinimum.data(), FloorAge.data(), FloorPower.data(), NoisePower.data(),
                          SpeechPresence.data(), SmoothedPrior.data(), Posterior.data(), Prior.data()},
                         NextStep(teaches), Bins);
    PriorSum.Take(SmoothedPrior.data(), Bins);
    const double rise = std::clamp((heardMs - provisionalStartMs) / provisionalRiseMs, 0.0, 1.0);
    Kernels->EstimateGain(
        {mag, noiseFloor, Posterior.data(), Prior.data(), PriorSum.data(), Local.Inverse.data(),
         Wide.Inverse.data(), CleanPower.data(), LogGain.data(), Presence.data()},
        {Local.Reach, Wide.Reach, FramePresence(), LowestLogGain, rise * LowestLogGain}, Bins);
    LogGainSum.Take(LogGain.data(), Bins);
    PresenceSum.Take(Presence.data(), Bins);
    Kernels->BlendGain({LogGain.data(), LogGainSum.data(), PresenceSum.data(), Blend.Inverse.data(),
                        Noise.Inverse.data(), PastLogGain.data(), Gain.data()},
                       {Blend.Reach, Noise.Reach}, Bins);
    std::copy(Gain.begin() + 1, Gain.end(), gainOut + 2);
    gainOut[0] = gainOut[1] = gainOut[2];
    gainOut[Bins] = gainOut[Bins - 1];
}

} // namespace quietfloor
