#include "noise/ModulationAnalysis.h"

#include <cmath>

namespace quietfloor {
namespace {

constexpr int ringRows = 64;
constexpr int profileRows = 32;
constexpr int historyRows = 12;
constexpr int analysisPeriod = 8; // frames
constexpr double twoPi = 6.283185307179586;

} // namespace

ModulationAnalyzer::ModulationAnalyzer() {
    for (int n = 0; n < ringRows; ++n) {
        const double phase = twoPi * n / (ringRows - 1);
        Tables.window[n] =
            static_cast<float>(0.35875 - 0.48829 * std::cos(phase) + 0.14128 * std::cos(2.0 * phase) -
                               0.01168 * std::cos(3.0 * phase));
        const double angle = twoPi * n / ringRows;
        Tables.cosine[n] = static_cast<float>(std::cos(angle));
        Tables.sine[n] = static_cast<float>(std::sin(angle));
        Tables.windowCosine[n] = static_cast<float>(Tables.window[n] * std::cos(angle));
        Tables.windowSine[n] = static_cast<float>(Tables.window[n] * std::sin(angle));
    }
}

BinAnalysis::BinAnalysis(int bins, const FftEngine::PerBinKernels &kernels)
    : Bins(bins), Stride(RowStride(bins)), Kernels(&kernels) {
    const auto stride = static_cast<std::size_t>(Stride);
    for (FftEngine::Row<float> *row : {&Score, &Activity})
        row->assign(stride, 0.0f);
    FilterState.assign(stride, 0.0);
    LevelRing.assign(ringRows * stride, 0.0f);
    ResidualRing.assign(ringRows * stride, 0.0f);
    ModulationProfile.assign(profileRows * stride, 0.0f);
    LevelHistory.assign(historyRows * stride, 0.0f);
    SlowLevel.assign(2 * stride, 0.0f);
    SlowMagnitude.assign(2 * stride, 0.0f);
    Magnitude.assign(profileRows * stride, 0.0f);
}

bool BinAnalysis::Analyze(const double *magnitude) noexcept {
    const std::ptrdiff_t ringOffset = static_cast<std::ptrdiff_t>(RingPos) * Stride;
    Kernels->FeedModulation(magnitude, !Started, FilterState.data(), LevelRing.data() + ringOffset,
                            ResidualRing.data() + ringOffset, Bins);
    Started = true;
    RingPos = (RingPos + 1) % ringRows;
    Decimation = (Decimation + 1) % analysisPeriod;
    if (Decimation != 0)
        return false;

    Kernels->TransformModulation(
        {LevelRing.data(), ResidualRing.data(), SlowMagnitude.data(), Magnitude.data()}, Analyzer.Tables,
        RingPos, Stride, Bins);
    Kernels->ScoreModulation({SlowMagnitude.data(), Magnitude.data(), SlowLevel.data(), LevelHistory.data(),
                              ModulationProfile.data(), Activity.data(), Score.data()},
                             {HistoryPos, ActivityRef}, Stride, Bins);
    HistoryPos = (HistoryPos + 1) % historyRows;
    Score[0] = Activity[0] = 0.0f;
    return true;
}

} // namespace quietfloor
