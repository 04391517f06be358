// SPDX-License-Identifier: MIT
/// Level spectra in, gain curve out: what is noise in one channel, and how much of it stays.
#ifndef QUIETFLOOR_NOISE_NOISEREMOVER_H
#define QUIETFLOOR_NOISE_NOISEREMOVER_H

#include <optional>

#include "noise/LogSpectralEstimator.h"
#include "noise/NoiseRemoverSettings.h"
#include "noise/NoiseTracker.h"
#include "noise/kernels/NoiseKernels.h"
#include "simd/AlignedRow.h"

namespace quietfloor {

/// How gains follow from levels and noise floors.
enum class Estimator { gate, logSpectral };

/// The noise engine of one channel. H is half the FFT size, P the frame advance in samples.
///
/// Construct, `SetSettings`, `Reset`; then `ProcessFrame` once per frame, with `SetSettings` between
/// frames. A copy is independent and goes on as the original would. One thread at a time.
class CNoiseRemover {
public:
    /// `halfSize` is a power of two from 16 up; `sampleRate` in Hz and `hop` in samples are positive.
    CNoiseRemover(int halfSize, int sampleRate, int hop);
    CNoiseRemover(const CNoiseRemover &) = default;
    CNoiseRemover &operator=(const CNoiseRemover &) = default;
    virtual ~CNoiseRemover() = default;

    /// Takes finite settings and derives from them. Between frames this takes effect at once.
    /// Never allocates.
    void SetSettings(const NoiseRemoverSettings &given) noexcept;

    /// The settings as last given, before any derivation.
    const NoiseRemoverSettings &GivenSettings() const noexcept { return Given; }

    /// Takes effect with the next frame, without a loss of floors. Never allocates.
    void SetEstimator(Estimator estimator) noexcept;

    Estimator GetEstimator() const noexcept { return Rule; }

    /// Forgets everything but the settings and the estimator. Allocates; throws std::bad_alloc.
    void Reset();

    /// One frame. All arrays have H + 1 entries: `mag` linear magnitudes, `db` their levels with
    /// entries 0 and H at -200, `refMag` the magnitudes of the frame to which the gains will apply.
    /// The gate writes gains to `gainOut`[1 .. H-2], and to H-1 too while it passes everything through; the
    /// log-spectral estimator writes all. Never allocates.
    void ProcessFrame(const double *mag, const double *db, double *gainOut, const double *refMag) noexcept;

    /// What entry `k` of the last gains follows from, 1 to H - 1: the learnt noise floor, 0 where there is
    /// none, and the level that is held against it. Both linear. The gate takes those of the bin above.
    double LearntFloor(int k) const noexcept {
        const double floor = Tracker->NoiseFloor[Rule == Estimator::gate ? k : k - 1];
        return Tracking && floor > tuning::noFloor ? floor : 0.0;
    }
    double HeldLevel(int k) const noexcept { return Reference[k]; }

    // State that can be watched.
    DerivedSettings Settings;
    bool Tracking = false;        // a frame above -110 dB has come; gains are computed
    double SamplePosition = 0.0;  // samples since the reset
    double BoostDb = 0.0;         // transient boost that is left, 0 when inactive
    Row<double> Reference;        // level that was held against the floor, linear; the gate smooths it
    Row<double> Floor;            // noise floor per bin, linear, spread over neighbours
    Row<double> Gain;             // smoothed gain per bin, before the output curve
    Row<double> SquaredDeviation; // of the local excess over the floor, mean square, 0 .. 1
    Row<double> Hold;             // smoothing of falling gains per bin
    std::optional<CNoiseTracker> Tracker;
    std::optional<LogSpectralEstimator> LogSpectral;

private:
    void UpdateDerived() noexcept;
    void UpdateTracker() noexcept;
    void UpdateOutputCurve() noexcept;
    void LimitGains() noexcept;
    void Gate(const double *mag, const double *db, double *gainOut, const double *refMag) noexcept;
    void EstimateLogSpectral(const double *mag, const double *db, double *gainOut) noexcept;
    bool HoldsSound(const double *mag) const noexcept;
    void OpenGate(const double *mag, const double *db) noexcept;
    double TrackerThresholdDb() const noexcept;
    double FollowTracker(const double *mag, const double *db) noexcept;
    void FollowReference(const double *refMag, double boostFactor) noexcept;
    void MeasureDeviation(const double *mag) noexcept;
    void AverageExcess(int window) noexcept;
    void SmoothGains() noexcept;
    void ShapeOutput(double *gainOut) const noexcept;
    void RebuildFloor() noexcept;
    void DecayBoost() noexcept;

    int HalfSize;
    int FFTSize;
    int HopSize;
    int SampleRate;
    const NoiseKernels *Kernels;
    NoiseRemoverSettings Given;
    Estimator Rule = Estimator::gate;

    // Derived from the settings.
    float Overlap = 0.0f;                  // FFTSize / HopSize
    double FloorGain = 1.0;                // linear gain of noise
    double KneeRatio = 0.0;                // lower end of the knee as a fraction of the floor
    double ExcessBase = 0.0;               // magnitude over floor from which the deviation counts
    double FallCoef = 0.0, RiseCoef = 0.0; // weight of the old reference
    int BandCount = 0;                     // deviation windows in the spectrum; 0: no deviation
    OutputCurve Curve{};                   // from smoothed gains to those handed out

    bool Initialized = false; // Reset has run
    bool FirstFrame = true;   // no frame has been processed with Tracking set since the reset
    int SoundFrames = 0;      // since digital silence, as far as a frame reaches
    bool FloorValid = false;  // Floor was rebuilt at the end of the previous frame

    // Scratch of one frame.
    Row<double> Excess;     // squared excess of the level per bin, dB^2
    Row<double> FloorGains; // gain of a bin that is at the floor
    Row<double> NextHold;   // Hold of the bins whose gain falls
};

} // namespace quietfloor

#endif
