// SPDX-License-Identifier: MIT
#include "noise/NoiseTracker.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "noise/Tuning.h"

namespace quietfloor {
namespace {

using namespace tuning;

constexpr double settledState = 1.0 / (lowPassB0 + lowPassB1); // low-pass at rest at 1
constexpr int firstShare = 8; // the entry before bin 0 belongs to the row, and bin 0 starts a cache line

} // namespace

CNoiseTracker::CNoiseTracker(int bins, const NoiseKernels &kernels)
    : Bins(bins), Kernels(&kernels), Records(bins, kernels) {
    const int count = WholeVectors(bins);
    for (Row<double> *row : {&NoiseFloor, &BinScore, &BinActivity, &LevelState, &MinLevelDb, &Evidence,
                             &SignalCount, &LastUpdatePos, &SmoothedDb, &IsUpdated})
        row->assign(count, 0.0);
    PrevDb.assign(count, startLevelDb);
    FloorDb.assign(count, -std::numeric_limits<double>::infinity());
    SignalShare.assign(count + 2 * firstShare, 0.0);
    NoiseShare.assign(count + 2 * firstShare, 0.0);
}

void CNoiseTracker::SetSettings(const NoiseTrackerSettings &settings) noexcept { Settings = settings; }

void CNoiseTracker::ApplyDecisionLevel() noexcept {
    BinLevel = Settings.DecisionLevel / decisionScale;
    ShareEvidence();
}

// Holds from one analysis to the next, so it is not done again in every frame.
void CNoiseTracker::ShareEvidence() noexcept {
    Kernels->ShareEvidence(Records.Score.data(), BinLevel, SignalShare.data() + firstShare,
                           NoiseShare.data() + firstShare, Bins);
}

void CNoiseTracker::StartLevels(const double *db) noexcept {
    ApplyDecisionLevel();
    std::fill(NoiseFloor.begin(), NoiseFloor.end(), 0.0);
    std::fill(FloorDb.begin(), FloorDb.end(), -std::numeric_limits<double>::infinity());
    std::fill(Evidence.begin(), Evidence.end(), 0.0);
    std::fill(SignalCount.begin(), SignalCount.end(), 0.0);
    SilentFrames = 0;
    for (int k = 0; k < Bins; ++k) {
        const double level = std::clamp(db[k], lowestLevelDb, highestLevelDb);
        LevelState[k] = level * settledState;
        MinLevelDb[k] = level - minStartDb;
    }
}

void CNoiseTracker::Update(double position, const double *mag, const double *db) noexcept {
    Position = position;
    if (FirstUpdate)
        StartLevels(db);
    if (Records.Analyze(mag))
        ShareEvidence();

    const LevelRows rows{db,
                         Records.Activity.data(),
                         PrevDb.data(),
                         LevelState.data(),
                         MinLevelDb.data(),
                         BinActivity.data(),
                         SmoothedDb.data()};
    const double flux = Kernels->FollowLevel(rows, Bins);
    DeviationScore = std::sqrt(flux / (Bins - 1)) - fluxOffsetDb;
    const FloorChange change = MoveFloors();
    FloorMoved = FirstUpdate || change.hasMoved;
    FirstUpdate = false;
    if (change.wasUpdated)
        MeasureMeanLevel();
}

FloorChange CNoiseTracker::MoveFloors() noexcept {
    const EvidenceRows rows{Records.Score.data(),
                            SmoothedDb.data(),
                            MinLevelDb.data(),
                            SignalShare.data() + firstShare,
                            NoiseShare.data() + firstShare,
                            Evidence.data(),
                            SignalCount.data(),
                            LastUpdatePos.data(),
                            NoiseFloor.data(),
                            FloorDb.data(),
                            BinScore.data(),
                            IsUpdated.data()};
    const double target = Settings.EvidenceTarget;
    const EvidenceStep step{BinLevel,
                            target,
                            std::trunc(target * signalCountFactor + 0.5),
                            Settings.TrackerThreshold,
                            Settings.TrackerRate,
                            Position,
                            static_cast<double>(Settings.SampleRate),
                            FirstUpdate};
    return Kernels->MoveFloors(rows, step, Bins);
}

// The mean level of the bins with an audible floor. Without any it becomes a number near 0 dB, which
// keeps the noise remover going, and after more than three updates without a floor in nearly all bins
// -150, which stops it; the first audible floor after that starts the tracker over.
void CNoiseTracker::MeasureMeanLevel() noexcept {
    FloorCensus census = Kernels->CountFloors(NoiseFloor.data(), FloorDb.data(), Bins);
    --census.absent; // bin 0, which has none
    if (census.audible > 0) {
        SilentFrames = 0;
        FirstUpdate = MeanLevelDb == silentLevelDb;
        MeanLevelDb = FirstUpdate ? audibleFloor : census.sumDb / census.audible;
        return;
    }
    MeanLevelDb = audibleFloor;
    if (census.absent >= Bins - 2 && SilentFrames <= patience) // a count without end would overflow
        ++SilentFrames;
    if (SilentFrames > patience)
        MeanLevelDb = silentLevelDb;
}

} // namespace quietfloor
