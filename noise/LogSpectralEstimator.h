// SPDX-License-Identifier: MIT
/// From magnitudes and noise floors to gains that keep the logarithm of the spectrum right.
#ifndef QUIETFLOOR_NOISE_LOGSPECTRALESTIMATOR_H
#define QUIETFLOOR_NOISE_LOGSPECTRALESTIMATOR_H

#include "noise/kernels/NoiseKernels.h"
#include "simd/AlignedRow.h"

namespace quietfloor {

struct LogSpectralSettings {
    double ReductionDb = 24.0;  // most that noise is turned down; below 0 counts as 0
    double ThresholdDb = 0.0;   // dB by which the tracker's floor lies above a bin's minimum level
    double BandWidthHz = 100.0; // width of the neighbourhood that decides on presence
};

/// The second way from noise floors to gains: a statistical estimate of the clean spectrum's logarithm, after
/// Ephraim and Malah (1985), weighted by the probability that there is more than noise. The steps and their
/// sources stand in kernels/LogSpectral.h.
///
/// Entry k of the rows belongs to bin k + 1, as everywhere in the noise engine; here a bin's gain comes from
/// its own level. A copy is independent. One thread at a time.
class LogSpectralEstimator {
public:
    /// `bins` is H, half the FFT size, a multiple of 16; `hop` in samples, `sampleRate` in Hz. Allocates;
    /// throws std::bad_alloc.
    LogSpectralEstimator(int bins, int sampleRate, int hop, const NoiseKernels &kernels);

    /// Takes effect with the next frame. Never allocates.
    void SetSettings(const LogSpectralSettings &settings) noexcept;

    /// Forgets all sound. Never allocates.
    void Restart() noexcept;

    /// One frame: linear magnitudes and the tracker's floors (0: none), H entries each. Noise is learnt from
    /// it only if it `teaches`. Writes the gains of bins 0 to H; DC, bin 1 and Nyquist take their
    /// neighbours'. Never allocates.
    void ComputeGains(const double *mag, const double *noiseFloor, bool teaches, double *gainOut) noexcept;

private:
    /// Running sums over the bins, readable a window's reach beyond both ends.
    class Sums {
    public:
        explicit Sums(int bins) : Margin(bins), Values(3 * bins + 16, 0.0) {}
        void Take(const double *values, int count) noexcept;
        const double *data() const noexcept { return Values.data() + Margin; }

    private:
        int Margin;
        Row<double> Values;
    };

    /// A window of bins around each, with one over the number of bins in it that there are.
    struct Window {
        int Reach = 1;
        Row<double> Inverse;
        void SetReach(double widthHz, double binHz) noexcept;
    };

    NoiseStep NextStep(bool teaches) noexcept;
    double FramePresence() const noexcept;
    double WeightOf(double milliseconds) const noexcept;

    int Bins;
    double HopMs, BinHz;
    const NoiseKernels *Kernels;

    // Derived from the settings.
    double LowestLogGain = 0.0; // log10
    double FloorScale = 1.0;    // from squared floors to mean power
    Window Local, Wide, Blend, Noise;

    // Carried from frame to frame.
    int Frames = 0; // that taught, since the restart
    Row<double> Level, Minimum, PastMinimum;
    Row<double> FloorAge, FloorPower;
    Row<double> NoisePower, SpeechPresence;
    Row<double> SmoothedPrior, CleanPower, PastLogGain;

    // Scratch of one frame.
    Row<double> Posterior, Prior, LogGain, Presence, Gain;
    Sums PriorSum, LogGainSum, PresenceSum;
};

} // namespace quietfloor

#endif
