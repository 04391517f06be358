// SPDX-License-Identifier: MIT
/// Follows the noise floor of every bin.
#ifndef QUIETFLOOR_NOISE_NOISETRACKER_H
#define QUIETFLOOR_NOISE_NOISETRACKER_H

#include "noise/ModulationAnalysis.h"
#include "noise/Tuning.h"
#include "noise/kernels/NoiseKernels.h"
#include "simd/AlignedRow.h"

namespace quietfloor {

struct NoiseTrackerSettings {
    int SampleRate = 44100;        // Hz
    int EvidenceTarget = 250;      // evidence needed before a floor moves, roughly a number of frames
    double TrackerThreshold = 0.0; // dB from a bin's minimum level to its floor
    double TrackerRate = 0.0;      // dB per second that any floor may rise
    double DecisionLevel = 0.0;    // of the scores, times 150
};

/// Smooths each bin's level, tracks its minimum, and moves the bin's floor only where its modulation
/// says noise, and then only as fast as it is noise-like. Bins 1 to H - 1; bin 0 has no floor.
class CNoiseTracker {
public:
    /// `bins` is H, half the FFT size, a multiple of 16. Allocates; throws std::bad_alloc.
    CNoiseTracker(int bins, const NoiseKernels &kernels);

    void SetSettings(const NoiseTrackerSettings &settings) noexcept;

    /// Puts the decision level of the settings into effect.
    void ApplyDecisionLevel() noexcept;

    /// Takes one frame: `position` in samples since the start, magnitudes (linear) and levels (dB) of
    /// bins 0 to H - 1. Levels may be -infinity. Never allocates.
    void Update(double position, const double *mag, const double *db) noexcept;

    // What the last update left.
    Row<double> NoiseFloor;                   // linear magnitude; 0 while there is none
    Row<double> BinScore;                     // modulation score at the bin's last floor update
    Row<double> BinActivity;                  // smoothed activity of the bin
    double BinLevel = 0.0;                    // decision level: scores below it mean noise
    double DeviationScore = 0.0;              // rms rise of the spectrum since the last frame, dB, less 3.5
    double MeanLevelDb = tuning::startMeanDb; // mean level of the floor; see MeasureMeanLevel
    bool FloorMoved = false;                  // NoiseFloor is another one than before the last update

private:
    void StartLevels(const double *db) noexcept;
    void ShareEvidence() noexcept;
    FloorChange MoveFloors() noexcept;
    void MeasureMeanLevel() noexcept;

    int Bins;
    const NoiseKernels *Kernels;
    NoiseTrackerSettings Settings;
    BinAnalysis Records;

    // Carried from frame to frame.
    bool FirstUpdate = true;   // the next update starts the levels anew
    int SilentFrames = 0;      // updates that found no floor; goes on to 4 at most
    double Position = 0.0;     // of the current update, samples
    Row<double> PrevDb;        // level at the previous update
    Row<double> LevelState;    // filter state of the smoothed level
    Row<double> MinLevelDb;    // minimum of the smoothed level
    Row<double> Evidence;      // that the bin is noise
    Row<double> SignalCount;   // frames that looked like signal, leaking
    Row<double> LastUpdatePos; // of the last floor update or loss, 0: never
    Row<double> FloorDb;       // 20 log10 of NoiseFloor
    Row<double> SignalShare;   // what each bin's score gives itself and its neighbours;
    Row<double> NoiseShare;    // the bins begin at entry `firstShare`

    // Scratch of one update.
    Row<double> SmoothedDb;
    Row<double> IsUpdated; // 1 where the floor is updated
};

} // namespace quietfloor

#endif
