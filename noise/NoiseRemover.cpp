#include "noise/NoiseRemover.h"

#include <algorithm>
#include <cmath>

namespace quietfloor {
namespace {

constexpr double levelOffset = 1.6982436524617444; // levelOffsetDb as a linear factor
constexpr double gateDb = -110.0;                  // mean level that starts the tracking
constexpr double lossDb = -140.0;                  // mean floor that ends it
constexpr double riseMs = 10.0;                    // time in which a rising reference moves by 60 dB
constexpr double boostDecayTime = 40.0;
constexpr double boostScale = 3.0;
constexpr double boostTrigger = 0.7;
constexpr double deviationExponent = 0.08;
constexpr double holdSmoothing = 0.8;
constexpr double spreading = 0.2;   // of reference, floor and gains to neighbouring bins
constexpr double noFloor = 1e-6;    // linear magnitude
constexpr double clearedSum = 1e-5; // a running sum below this is accumulated rounding

double FromDb(double levelDb) { return std::pow(10.0, levelDb / 20.0); }

} // namespace

CNoiseRemover::CNoiseRemover(int halfSize, int sampleRate, int hop)
    : HalfSize(halfSize), FFTSize(2 * halfSize), HopSize(hop), SampleRate(sampleRate),
      Kernels(&FftEngine::SelectedPerBinKernels()) {}

void CNoiseRemover::SetSettings(const NoiseRemoverSettings &given) noexcept {
    Given = given;
    Settings = Derived(given);
    if (Initialized)
        UpdateDerived();
}

void CNoiseRemover::Reset() {
    const std::size_t count = FftEngine::WholeVectors(HalfSize + 1);
    for (FftEngine::Row<double> *row :
         {&Reference, &Gain, &SquaredDeviation, &Hold, &Excess, &FloorGains, &NextHold})
        row->assign(count, 0.0);
    Floor.assign(count, noFloor);
    Tracker.emplace(HalfSize, *Kernels);
    UpdateDerived();
    FloorValid = false;
    FirstFrame = true;
    SamplePosition = 0.0;
    Initialized = true;
    Tracking = false;
}

void CNoiseRemover::UpdateDerived() noexcept {
    Overlap = static_cast<float>(2.0 * HalfSize / HopSize);
    FloorGain = FromDb(-Settings.ReductionDb);
    ExcessBase = FromDb(3.0 - Settings.KneeDb - levelOffsetDb);
    KneeRatio = FromDb(-50.0 - Settings.KneeDb) / std::pow(10.0, -2.5);
    const double hopMs = (FFTSize / static_cast<double>(Overlap)) * 1000.0 / SampleRate;
    FallCoef = std::pow(0.001, 1.0 / (Settings.ReleaseMs / hopMs));
    RiseCoef = std::pow(0.001, 1.0 / (riseMs / hopMs));
    BoostDb = 0.0;
    const double bandCount = Settings.BandWidthHz != 0.0f ? SampleRate * 0.5 / Settings.BandWidthHz : 0.0;
    BandCount = static_cast<int>(std::clamp(bandCount, -1e9, 1e9));
    UpdateOutputCurve();
    LimitGains();
    UpdateTracker();
}

void CNoiseRemover::UpdateTracker() noexcept {
    NoiseTrackerSettings settings;
    settings.SampleRate = SampleRate;
    settings.EvidenceTarget = static_cast<int>(SampleRate * 0.25 / (2.0 * HopSize));
    settings.TrackerThreshold =
        Settings.OffsetDb + 8.5 - 0.5 * (std::log(FFTSize) / std::log(2.0)) + 6.8 + 0.6 * Settings.KneeDb;
    settings.TrackerRate = Settings.TrackerRate;
    settings.Sensitivity = Settings.Sensitivity;
    Tracker->SetSettings(settings);
    Tracker->ApplyDecisionLevel();
}

// In single precision, which the gains at its corners show. Exponents are limited to what a float holds.
void CNoiseRemover::UpdateOutputCurve() noexcept {
    const auto gain = [](float levelDb) { return std::pow(10.0f, std::min(levelDb / 20.0f, 37.0f)); };
    const float reduction = Settings.ReductionDb, strength = Settings.Strength;
    const float extra =
        strength > 33.0f ? std::pow((strength - 33.0f) / 67.0f, 1.2f) * (reduction + 40.0f) : 0.0f;
    const float weight = reduction < 20.0f ? (reduction / 20.0f) * (reduction / 20.0f) : 1.0f;
    Curve.floorOut = gain(-reduction);
    Curve.minOut = gain(-(reduction + weight * extra));
    Curve.high = std::clamp(gain(-reduction * 0.5f), 0.15f, 1.0f);
    Curve.low = std::clamp(gain((-reduction - 8.0f * weight) * 0.5f), 0.15f, 1.0f);
}

// A negative reduction amplifies, and a held gain may fall arbitrarily slowly, so gains that the new
// settings could not give must not outlive the old ones. Noise gets at most 3.1 times the reduction.
void CNoiseRemover::LimitGains() noexcept {
    const double highest = std::max(1.0, FromDb(-3.1 * Settings.ReductionDb));
    for (double &gain : Gain)
        gain = std::min(gain, highest);
}

void CNoiseRemover::ProcessFrame(const double *mag, const double *db, double *gainOut,
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
    SamplePosition += HopSize;
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
    Kernels->SpreadUp(Reference.data() + 2, spreading, HalfSize - 2);
    Kernels->SpreadDown(Reference.data() + HalfSize - 2, spreading, HalfSize - 2);
}

// The rms excess over the floor in a window of twice the band width around each bin. The first and
// last bins, whose window does not fit, take the value of the nearest that does.
void CNoiseRemover::MeasureDeviation(const double *mag) noexcept {
    if (BandCount == 0 || !FloorValid)
        return;
    const auto half = static_cast<std::size_t>(HalfSize);
    const double bins = std::max(1.0, static_cast<double>(HalfSize) / BandCount + 0.5);
    const auto window = static_cast<std::size_t>(bins);
    if (2 * window < half) {
        Kernels->SquaredExcess(mag, Floor.data(), ExcessBase, Excess.data(), HalfSize);
        AverageExcess(window);
    }
    const auto bin = [this](std::size_t k) {
        return SquaredDeviation.begin() + static_cast<std::ptrdiff_t>(k);
    };
    std::fill(bin(1), bin(window), SquaredDeviation[window]);
    if (window < half)
        std::fill(bin(half - window), bin(half), SquaredDeviation[half - window - 1]);
}

// A running sum, since its cost must not grow with the window. The excess counts as a share of its
// limit, 3 dB.
void CNoiseRemover::AverageExcess(std::size_t window) noexcept {
    const double scale = 1.0 / (2.0 * static_cast<double>(window) * 3.0 * 3.0);
    double sum = 0.0;
    for (std::size_t k = 1; k < 2 * window; ++k)
        sum += Excess[k];
    for (std::size_t k = 2 * window; k < static_cast<std::size_t>(HalfSize); ++k) {
        sum += Excess[k];
        SquaredDeviation[k - window] = sum * scale;
        sum -= Excess[k - 2 * window + 1];
        if (sum < clearedSum)
            sum = 0.0;
    }
}

void CNoiseRemover::SmoothGains() noexcept {
    const FftEngine::GainRows rows{Reference.data(),
                                   Floor.data(),
                                   Tracker->BinScore.data(),
                                   Tracker->BinActivity.data(),
                                   SquaredDeviation.data(),
                                   Hold.data(),
                                   Gain.data(),
                                   FloorGains.data(),
                                   NextHold.data()};
    const FftEngine::GainStep step{FloorGain,     Settings.ReductionDb, KneeRatio,     Tracker->BinLevel,
                                   holdSmoothing, deviationExponent,    BandCount != 0};
    Kernels->SmoothGain(rows, step, HalfSize);
    // The ends take part in the spreading: the last gain is never below a fifth.
    Gain.front() = 0.0;
    Gain[static_cast<std::size_t>(HalfSize)] = 1.0;
    Kernels->SpreadUp(Gain.data() + 1, spreading, HalfSize - 1);
    Kernels->SpreadDown(Gain.data() + HalfSize - 1, spreading, HalfSize - 1);
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
    for (std::size_t k = 1; k < static_cast<std::size_t>(HalfSize); ++k)
        Floor[k] = noFloor + Tracker->NoiseFloor[k];
    Kernels->SpreadUp(Floor.data() + 2, spreading, HalfSize - 2);
    Kernels->SpreadDown(Floor.data() + HalfSize - 2, spreading, HalfSize - 2);
    FloorValid = true;
}

void CNoiseRemover::DecayBoost() noexcept {
    if (BoostDb == 0.0)
        return;
    const int wholeOverlap = FFTSize / HopSize;
    const double framesPerSecond = static_cast<double>(SampleRate) / wholeOverlap;
    BoostDb = std::max(0.0, BoostDb - 60000.0 / boostDecayTime / framesPerSecond);
}

} // namespace quietfloor
