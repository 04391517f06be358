// SPDX-License-Identifier: MIT
/// Tells steady noise from modulated sound by the spectrum of each bin's magnitude over 64 frames.
#ifndef QUIETFLOOR_NOISE_MODULATIONANALYSIS_H
#define QUIETFLOOR_NOISE_MODULATIONANALYSIS_H

#include "noise/kernels/NoiseKernels.h"
#include "simd/AlignedRow.h"

namespace quietfloor {

/// The 4-term Blackman-Harris window (symmetric) and the twiddle factors of a 64-point transform.
class ModulationAnalyzer {
public:
    ModulationAnalyzer();

    ModulationTables Tables;
};

/// The modulation of all bins. Every row holds one entry per bin; rings hold one row per frame. Bin 0
/// is never analysed: its score and activity stay 0.
class BinAnalysis {
public:
    /// Entries from one row to the next: one cache line more than the bins, so that rows do not lie a power
    /// of two apart and share a few cache sets.
    static constexpr int RowStride(int bins) { return WholeVectors(bins) + 16; }

    /// `bins` is a multiple of 16. Allocates; throws std::bad_alloc.
    BinAnalysis(int bins, const NoiseKernels &kernels);

    /// Takes the linear magnitudes of one frame. On every eighth call it analyses the last 64 and
    /// returns true: scores and activities are new.
    bool Analyze(const double *magnitude) noexcept;

    Row<float> Score;    // unevenness of the modulation spectrum; low for noise, peak-held
    Row<float> Activity; // variability of the slow level

private:
    int Bins;
    int Stride;
    const NoiseKernels *Kernels;
    ModulationAnalyzer Analyzer;

    // Carried from frame to frame; only a new object clears them.
    bool Started = false;
    Row<double> FilterState;      // of the low-pass whose output is the trend
    Row<float> LevelRing;         // 64 rows: magnitudes
    Row<float> ResidualRing;      // 64 rows: magnitude minus trend
    Row<float> ModulationProfile; // 32 rows: smoothed modulation magnitudes
    Row<float> LevelHistory;      // 12 rows: sums of the slow levels
    Row<float> SlowLevel;         // 2 rows: smoothed magnitudes of modulation bins 0 and 1
    int RingPos = 0;              // next row of both rings
    int Decimation = 0;           // calls modulo 8
    int HistoryPos = 0;           // next row of LevelHistory

    // Scratch of one analysis.
    Row<float> SlowMagnitude; // 2 rows
    Row<float> Magnitude;     // 32 rows
};

} // namespace quietfloor

#endif
