// SPDX-License-Identifier: MIT
#include "noise/ModulationAnalysis.h"

#include <cmath>

#include "noise/Tuning.h"

namespace quietfloor {
namespace {

using namespace tuning;

constexpr double twoPi = 6.283185307179586;

} // namespace

ModulationAnalyzer::ModulationAnalyzer() {
    for (int n = 0; n < ringLength; ++n) {
        const double phase = twoPi * n / (ringLength - 1);
        Tables.window[n] =
            static_cast<float>(0.35875 - 0.48829 * std::cos(phase) + 0.14128 * std::cos(2.0 * phase) -
                               0.01168 * std::cos(3.0 * phase));
        const double angle = twoPi * n / ringLength;
        Tables.cosine[n] = static_cast<float>(std::cos(angle));
        Tables.sine[n] = static_cast<float>(std::sin(angle));
        Tables.windowCosine[n] = static_cast<float>(Tables.window[n] * std::cos(angle));
        Tables.windowSine[n] = static_cast<float>(Tables.window[n] * std::sin(angle));
    }
}

BinAnalysis::BinAnalysis(int bins, const NoiseKernels &kernels)
    : Bins(bins), Stride(RowStride(bins)), Kernels(&kernels) {
    for (Row<float> *row : {&Score, &Activity})
        row->assign(Stride, 0.0f);
    FilterState.assign(Stride, 0.0);
    LevelRing.assign(ringLength * Stride, 0.0f);
    ResidualRing.assign(ringLength * Stride, 0.0f);
    ModulationProfile.assign(profileLength * Stride, 0.0f);
    LevelHistory.assign(historyLength * Stride, 0.0f);
    SlowLevel.assign(2 * Stride, 0.0f);
    SlowMagnitude.assign(2 * Stride, 0.0f);
    Magnitude.assign(profileLength * Stride, 0.0f);
}

bool BinAnalysis::Analyze(const double *magnitude) noexcept {
    const int ringOffset = RingPos * Stride;
    Kernels->FeedModulation(magnitude, !Started, FilterState.data(), LevelRing.data() + ringOffset,
                            ResidualRing.data() + ringOffset, Bins);
    Started = true;
    RingPos = (RingPos + 1) % ringLength;
    Decimation = (Decimation + 1) % analysisPeriod;
    if (Decimation != 0)
        return false;

    Kernels->TransformModulation(
        {LevelRing.data(), ResidualRing.data(), SlowMagnitude.data(), Magnitude.data()}, Analyzer.Tables,
        RingPos, Stride, Bins);
    Kernels->ScoreModulation({SlowMagnitude.data(), Magnitude.data(), SlowLevel.data(), LevelHistory.data(),
                              ModulationProfile.data(), Activity.data(), Score.data()},
                             HistoryPos, Stride, Bins);
    HistoryPos = (HistoryPos + 1) % historyLength;
    Score[0] = Activity[0] = 0.0f;
    return true;
}

} // namespace quietfloor
