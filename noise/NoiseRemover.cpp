// SPDX-License-Identifier: MIT
#include "noise/NoiseRemover.h"

#include <algorithm>
#include <cmath>

#include "noise/Tuning.h"

namespace quietfloor {
namespace {

using namespace tuning;

double FromDb(double levelDb) { return std::pow(10.0, levelDb / 20.0); }

} // namespace

CNoiseRemover::CNoiseRemover(int halfSize, int sampleRate, int hop)
    : HalfSize(halfSize), FFTSize(2 * halfSize), HopSize(hop), SampleRate(sampleRate),
      Kernels(&SelectedNoiseKernels()) {}

void CNoiseRemover::SetSettings(const NoiseRemoverSettings &given) noexcept {
    Given = given;
    Settings = Derived(given);
    if (Initialized)
        UpdateDerived();
}

void CNoiseRemover::SetEstimator(Estimator estimator) noexcept {
    if (estimator == Rule)
        return;
    Rule = estimator;
    if (!Initialized)
        return;
    LogSpectral->Restart();
    FirstFrame = true; // the gate's reference is an old one
    FloorValid = false;
    RebuildFloor();
}

void CNoiseRemover::Reset() {
    const int count = WholeVectors(HalfSize + 1);
    for (Row<double> *row : {&Reference, &Gain, &SquaredDeviation, &Hold, &Excess, &FloorGains, &NextHold})
        row->assign(count, 0.0);
    Floor.assign(count, noFloor);
    Tracker.emplace(HalfSize, *Kernels);
    LogSpectral.emplace(HalfSize, SampleRate, HopSize, *Kernels);
    UpdateDerived();
    FloorValid = false;
    FirstFrame = true;
    SamplePosition = 0.0;
    SoundFrames = 0;
    Initialized = true;
    Tracking = false;
}

void CNoiseRemover::UpdateDerived() noexcept {
    Overlap = static_cast<float>(2.0 * HalfSize / HopSize);
    FloorGain = FromDb(-Settings.ReductionDb);
    ExcessBase = FromDb(excessLimitDb - Settings.KneeDb - levelOffsetDb);
    KneeRatio = FromDb(kneeShiftDb - Settings.KneeDb) / std::pow(10.0, kneeShiftExponent);
    const double hopMs = (FFTSize / static_cast<double>(Overlap)) * 1000.0 / SampleRate;
    FallCoef = std::pow(remainder60Db, 1.0 / (Settings.ReleaseMs / hopMs));
    RiseCoef = std::pow(remainder60Db, 1.0 / (riseMs / hopMs));
    BoostDb = 0.0;
    const double bandCount = Settings.BandWidthHz != 0.0f ? SampleRate * 0.5 / Settings.BandWidthHz : 0.0;
    BandCount = static_cast<int>(std::clamp(bandCount, -1e9, 1e9));
    UpdateOutputCurve();
    LimitGains();
    UpdateTracker();
    LogSpectral->SetSettings(
        {Settings.ReductionDb, TrackerThresholdDb() - Settings.NoiseShiftDb, Settings.BandWidthHz});
}

// From a bin's minimum level to its floor.
double CNoiseRemover::TrackerThresholdDb() const noexcept {
    const double octaves = std::log(FFTSize) / std::log(2.0);
    return Settings.OffsetDb + thresholdBaseDb - thresholdPerOctave * octaves + thresholdOverMinimumDb +
           thresholdPerKneeDb * Settings.KneeDb;
}

void CNoiseRemover::UpdateTracker() noexcept {
    NoiseTrackerSettings settings;
    settings.SampleRate = SampleRate;
    settings.EvidenceTarget = static_cast<int>(SampleRate * evidenceSeconds / (2.0 * HopSize));
    settings.TrackerThreshold = TrackerThresholdDb();
    settings.TrackerRate = Settings.TrackerRate;
    settings.DecisionLevel = Settings.DecisionLevel;
    Tracker->SetSettings(settings);
    Tracker->ApplyDecisionLevel();
}

// In single precision: gains at the curve's corners depend on it.
void CNoiseRemover::UpdateOutputCurve() noexcept {
    const auto gain = [](float levelDb) {
        return std::pow(10.0f, std::min(levelDb / 20.0f, highestGainDecades));
    };
    const float reduction = Settings.ReductionDb, strength = Settings.Strength;
    const float depth = std::max((strength - deepStrength) / deepStrengthSpan, 0.0f);
    const float extra = std::pow(depth, deepExponent) * (reduction + deepExtraDb);
    const float share = reduction / fullReductionDb;
    const float weight = share < 1.0f ? share * share : 1.0f;
    Curve.floorOut = gain(-reduction);
    Curve.minOut = gain(-(reduction + weight * extra));
    Curve.high = std::clamp(gain(-reduction * 0.5f), lowestCorner, 1.0f);
    Curve.low = std::clamp(gain((-reduction - curveWidthDb * weight) * 0.5f), lowestCorner, 1.0f);
}

// A negative reduction amplifies, and a held gain may fall arbitrarily slowly, so gains that the new
// settings could not give must not outlive the old ones.
void CNoiseRemover::LimitGains() noexcept {
    const double highest = std::max(1.0, FromDb(-mostReductionFactor * Settings.ReductionDb));
    for (double &gain : Gain)
        gain = std::min(gain, highest);
}

void CNoiseRemover::ProcessFrame(const double *mag, const double *db, double *gainOut,
                                 const double *refMag) noexcept {
    if (Rule == Estimator::gate)
        Gate(mag, db, gainOut, refMag);
    else if (HoldsSound(mag))
        EstimateLogSpectral(mag, db, gainOut);
    else
        SoundFrames = 0;
    SamplePosition += HopSize;
}

// At any level: nothing opens or closes the estimator. Digital silence teaches nothing and leaves the gains
// as they are. Nor does a frame teach that is silent in part: its levels are those of its window.
void CNoiseRemover::EstimateLogSpectral(const double *mag, const double *db, double *gainOut) noexcept {
    const bool isWhole = SoundFrames == FFTSize / HopSize;
    if (isWhole)
        Tracker->Update(SamplePosition, mag, db);
    else
        ++SoundFrames;
    Tracking = true;
    for (int k = 1; k < HalfSize; ++k)
        Reference[k] = levelOffset * mag[k - 1];
    LogSpectral->ComputeGains(mag, Tracker->NoiseFloor.data(), isWhole, gainOut);
}

bool CNoiseRemover::HoldsSound(const double *mag) const noexcept {
    return std::any_of(mag + 1, mag + HalfSize, [](double bin) { return bin > ditherMagnitude; });
}

void CNoiseRemover::Gate(const double *mag, const double *db, double *gainOut,
                         const double *refMag) noexcept {
    if (Tracking) {
        FollowReference(refMag, FollowTracker(mag, db));
        MeasureDeviation(mag);
        SmoothGains();
        ShapeOutput(gainOut);
        FirstFrame = false;
    } else {
        OpenGate(mag, db);
        std::fill(gainOut + 1, gainOut + HalfSize, 1.0);
    }
    RebuildFloor();
    DecayBoost();
}

// The end bins count in the sum but not in the divisor.
void CNoiseRemover::OpenGate(const double *mag, const double *db) noexcept {
    double sum = 0.0;
    for (int k = 0; k <= HalfSize; ++k)
        sum += db[k];
    if (sum / HalfSize > gateDb) {
        Tracker->Update(SamplePosition, mag, db);
        Tracking = true;
    }
}

// Returns the linear factor by which a transient lifts the reference.
double CNoiseRemover::FollowTracker(const double *mag, const double *db) noexcept {
    if (!FirstFrame) { // the frame that opened the gate has been taken already
        Tracker->Update(SamplePosition, mag, db);
        if (Tracker->MeanLevelDb < lossDb)
            Tracking = false; // from the next frame on
        if (Settings.TransientBoost && Tracker->DeviationScore > boostTrigger)
            BoostDb = Tracker->DeviationScore * boostScale;
    }
    return Settings.TransientBoost ? FromDb(BoostDb) : 1.0;
}

void CNoiseRemover::FollowReference(const double *refMag, double boostFactor) noexcept {
    const double scale = levelOffset * boostFactor;
    Kernels->FollowReference({refMag, Reference.data()}, {scale, FallCoef, RiseCoef, FirstFrame}, HalfSize);
    Kernels->SpreadUp(Reference.data() + 2, HalfSize - 2);
    Kernels->SpreadDown(Reference.data() + HalfSize - 2, HalfSize - 2);
}

// The rms excess over the floor in a window of twice the bandwidth around each bin. The first and
// last bins, whose window does not fit, take the value of the nearest that does.
void CNoiseRemover::MeasureDeviation(const double *mag) noexcept {
    if (BandCount == 0 || !FloorValid)
        return;
    const int window = static_cast<int>(std::max(1.0, 1.0 * HalfSize / BandCount + 0.5)); // bins
    if (2 * window < HalfSize) {
        Kernels->SquaredExcess(mag, Floor.data(), ExcessBase, Excess.data(), HalfSize);
        AverageExcess(window);
    }
    double *deviation = SquaredDeviation.data();
    std::fill(deviation + 1, deviation + window, deviation[window]);
    if (window < HalfSize)
        std::fill(deviation + HalfSize - window, deviation + HalfSize, deviation[HalfSize - window - 1]);
}

// A running sum, since its cost must not grow with the window. The excess counts as a share of its limit.
void CNoiseRemover::AverageExcess(int window) noexcept {
    const double scale = 1.0 / (2.0 * window * excessLimitDb * excessLimitDb);
    double sum = 0.0;
    for (int k = 1; k < 2 * window; ++k)
        sum += Excess[k];
    for (int k = 2 * window; k < HalfSize; ++k) {
        sum += Excess[k];
        SquaredDeviation[k - window] = sum * scale;
        sum -= Excess[k - 2 * window + 1];
        if (sum < clearedSum)
            sum = 0.0;
    }
}

void CNoiseRemover::SmoothGains() noexcept {
    const GainRows rows{Reference.data(),
                        Floor.data(),
                        Tracker->BinScore.data(),
                        Tracker->BinActivity.data(),
                        SquaredDeviation.data(),
                        Hold.data(),
                        Gain.data(),
                        FloorGains.data(),
                        NextHold.data()};
    const GainStep step{FloorGain, Settings.ReductionDb, KneeRatio, Tracker->BinLevel, BandCount != 0};
    Kernels->SmoothGain(rows, step, HalfSize);
    // The ends take part in the spreading: the last gain is never below a fifth.
    Gain.front() = 0.0;
    Gain[HalfSize] = 1.0;
    Kernels->SpreadUp(Gain.data() + 1, HalfSize - 1);
    Kernels->SpreadDown(Gain.data() + HalfSize - 1, HalfSize - 1);
}

void CNoiseRemover::ShapeOutput(double *gainOut) const noexcept {
    const double first = gainOut[0], last = gainOut[HalfSize - 1];
    Kernels->ShapeOutput(Gain.data(), Curve, gainOut, HalfSize);
    gainOut[0] = first;
    gainOut[HalfSize - 1] = last;
}

void CNoiseRemover::RebuildFloor() noexcept {
    if (!Tracking) {
        std::fill(Floor.begin(), Floor.end(), noFloor);
        FloorValid = false;
        return;
    }
    if (FloorValid && !Tracker->FloorMoved)
        return;
    for (int k = 1; k < HalfSize; ++k)
        Floor[k] = noFloor + Tracker->NoiseFloor[k];
    Kernels->SpreadUp(Floor.data() + 2, HalfSize - 2);
    Kernels->SpreadDown(Floor.data() + HalfSize - 2, HalfSize - 2);
    FloorValid = true;
}

// 60 dB in 40 ms would be 1500 dB/s over the frame rate, which is the sample rate over the hop. The step is
// over the sample rate over the overlap instead, and with it the sound was tuned.
void CNoiseRemover::DecayBoost() noexcept {
    if (BoostDb == 0.0)
        return;
    const int wholeOverlap = FFTSize / HopSize;
    const double overlapRate = 1.0 * SampleRate / wholeOverlap;
    BoostDb = std::max(0.0, BoostDb - boostDecayDb / boostDecayTime / overlapRate);
}

} // namespace quietfloor
