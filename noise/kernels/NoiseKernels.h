// SPDX-License-Identifier: MIT
/// What the noise engine does bin by bin, as one table of functions per processor level.
///
/// Rows are arrays over all bins, best on a 64-byte line. A kernel runs over whole vectors: `count` is
/// a multiple of 16, or the rows are readable and writable up to the next one. In each struct the
/// sources stand first, what is carried or written last.
#ifndef QUIETFLOOR_NOISE_KERNELS_NOISEKERNELS_H
#define QUIETFLOOR_NOISE_KERNELS_NOISEKERNELS_H

#include "noise/Tuning.h"

namespace quietfloor {

struct ReferenceRows {
    const double *magnitude; // of the spectrum to which the gains will apply
    double *reference;       // smoothed and scaled
};
struct ReferenceStep {
    double scale;              // on the magnitudes
    double fallCoef, riseCoef; // weight of the old value where the level is below or above it
    bool isFirst;              // take the level as it is
};

struct GainRows {
    const double *reference, *floor; // linear magnitudes
    const double *binScore, *binActivity;
    const double *squaredDeviation; // 0 .. 1
    double *hold;                   // weight of the old gain where gains fall
    double *gain;                   // linear
    double *floorGain, *nextHold;   // scratch
};
struct GainStep {
    double floorGain;   // linear gain of noise
    double reductionDb; // dB
    double kneeRatio;   // lower end of the knee as a fraction of the floor
    double binLevel;    // decision level of the bins' scores
    bool usesDeviation;
};

/// Break points of the output curve, linear gains.
struct OutputCurve {
    float floorOut, minOut, high, low;
};

struct LevelRows {
    const double *levelDb;
    const float *activity;
    double *prevDb, *levelState, *minLevelDb, *binActivity;
    double *smoothedDb;
};

struct EvidenceRows {
    const float *score;
    const double *smoothedDb, *minLevelDb;
    // Shares of this frame, with one readable entry before the first bin and one after the last.
    const double *signalShare, *noiseShare;
    double *evidence, *signalCount, *lastUpdatePos;
    double *noiseFloor, *floorDb; // linear, and 20 log10 of it
    double *binScore;
    double *isUpdated; // scratch: 1 where a floor is updated
};
struct EvidenceStep {
    double binLevel, evidenceTarget, countLimit;
    double thresholdDb, trackerRate;
    double position, sampleRate;
    // The first frame: each bin's evidence is zeroed when it is reached, which discards its lower neighbour's
    // share.
    bool isFirst;
};
struct FloorChange {
    bool wasUpdated; // some bin's evidence moved its floor
    bool hasMoved;   // some floor is another one, by update or cap
};

/// The bins with an audible floor and the sum of their levels, and the bins without any.
struct FloorCensus {
    double sumDb;
    int audible, absent;
};

/// What the analysis of 64 values needs, n = 0 .. 63.
struct ModulationTables {
    float window[tuning::ringLength];
    float windowCosine[tuning::ringLength],
        windowSine[tuning::ringLength];                         // window times cos and sin of 2 pi n / 64
    float cosine[tuning::ringLength], sine[tuning::ringLength]; // of 2 pi n / 64
};

/// The modulation of all bins over their last 64 frames; every array is [entry][bin], entries `stride`
/// apart.
struct ModulationSpectrumRows {
    const float *levelRing, *residualRing; // [64], the oldest at entry ringPos
    float *slowMagnitude;                  // [2]: bins 0 and 1 of the level's windowed transform
    float *magnitude;                      // [32]: bins 0 to 31 of the residual's
};
struct ModulationScoreRows {
    const float *slowMagnitude, *magnitude;
    float *slowLevel;    // [2]: smoothed slow magnitudes
    float *levelHistory; // [12]: sums of the slow levels; entry historyPos is written
    float *profile;      // [32]: smoothed magnitudes
    float *activity, *score;
};

/// Noise power and signal-to-noise ratios of the log-spectral estimator.
struct NoiseRows {
    const double *magnitude, *noiseFloor;  // linear; a floor of 0 is none
    const double *cleanPower;              // of the frame before
    double *level, *minimum, *pastMinimum; // smoothed power and its minima
    double *floorAge, *floorPower;         // frames since the floor came; smoothed
    double *noise, *presence;              // mean power of the noise; smoothed probability of speech
    double *smoothedPrior;                 // a-priori ratio, smoothed over frames
    double *posterior, *prior;             // ratios of this frame, linear powers
};
enum class NoiseStretch { first, begins, goesOn };
struct NoiseStep {
    NoiseStretch stretch; // of the minimum
    bool hasMinimum;      // a floor that comes can begin there
    bool teaches;         // the frame says something of the noise
    double levelWeight, floorWeight, noiseWeight, presenceWeight, smoothingWeight; // of what is new
    double priorWeight;                                                            // of what is old
    double minimumFactor, floorScale; // from minimum and squared floor to mean power
    double youngAge;                  // frames until the noise may lie below its floor
    double startAge;                  // frames that the minimum counts as
};

/// Gains before their smoothing over frequency. Sums are running ones, readable a window's reach beyond the
/// bins.
struct EstimateRows {
    const double *magnitude, *noiseFloor, *posterior, *prior;
    const double *priorSum, *localInverse, *wideInverse;
    double *cleanPower, *logGain, *presence; // linear, log10 of linear, 0 .. 1
};
struct EstimateStep {
    int localReach, wideReach;                // bins on each side
    double framePresence;                     // 0 .. 1
    double lowestLogGain, provisionalLogGain; // log10, with a floor and without
};

struct BlendRows {
    const double *logGain, *logGainSum, *presenceSum, *blendInverse, *noiseInverse;
    double *pastLogGain; // of the frame before, after the smoothing
    double *gain;        // linear
};
struct BlendStep {
    int blendReach, noiseReach; // bins on each side
};

struct NoiseKernels {
    void (*FollowReference)(const ReferenceRows &rows, const ReferenceStep &step, int count);
    /// Raises each of `count` values to at least `spreading` times the one before it (after it), starting
    /// at `first` and going up (down). The value before the first is read.
    void (*SpreadUp)(double *first, int count);
    void (*SpreadDown)(double *first, int count);
    /// Square of the level's excess in dB over `lowest` times the floor, the excess limited to 0 .. 3.
    void (*SquaredExcess)(const double *magnitude, const double *floor, double lowest, double *squares,
                          int count);
    void (*SmoothGain)(const GainRows &rows, const GainStep &step, int count);
    void (*ShapeOutput)(const double *gain, const OutputCurve &curve, double *gainOut, int count);
    /// Returns the sum of squared rises of the level since the previous frame.
    double (*FollowLevel)(const LevelRows &rows, int count);
    void (*ShareEvidence)(const float *score, double binLevel, double *signalShare, double *noiseShare,
                          int count);
    FloorChange (*MoveFloors)(const EvidenceRows &rows, const EvidenceStep &step, int count);
    FloorCensus (*CountFloors)(const double *noiseFloor, const double *floorDb, int count);
    /// Takes one frame's magnitudes into row `position` of the rings.
    void (*FeedModulation)(const double *magnitude, bool isFirst, double *filterState, float *levels,
                           float *residuals, int count);
    void (*TransformModulation)(const ModulationSpectrumRows &rows, const ModulationTables &tables,
                                int ringPos, int stride, int count);
    void (*ScoreModulation)(const ModulationScoreRows &rows, int historyPos, int stride, int count);
    void (*FollowNoise)(const NoiseRows &rows, const NoiseStep &step, int count);
    void (*EstimateGain)(const EstimateRows &rows, const EstimateStep &step, int count);
    void (*BlendGain)(const BlendRows &rows, const BlendStep &step, int count);
};

extern const NoiseKernels kPortableNoiseKernels, kAvx2NoiseKernels, kAvx512NoiseKernels;

/// The kernels of the level that `CpuDispatchIndex` names.
const NoiseKernels &SelectedNoiseKernels();

} // namespace quietfloor

#endif
