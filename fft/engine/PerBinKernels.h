/// The work that a frame does bin by bin, as one table of functions per processor level.
///
/// Rows are arrays over all bins, best on a 64-byte line. A kernel runs over whole vectors: `count` is
/// a multiple of 16, or the rows are readable and writable up to the next one. In each struct the
/// sources stand first, what is carried or written last.
#ifndef QUIETFLOOR_FFT_ENGINE_PERBINKERNELS_H
#define QUIETFLOOR_FFT_ENGINE_PERBINKERNELS_H

#include <cstdint>

namespace FftEngine {

/// Levels beyond these, in dB, count as these in the floor tracker.
inline constexpr double lowestLevelDb = -400.0;
inline constexpr double highestLevelDb = 400.0;

/// Magnitudes beyond this count as this in the modulation analysis, whose squares are floats.
inline constexpr double highestMagnitude = 1e16;

/// Two real frames that went through one complex transform as a + i b.
struct PackedSpectrumRows {
    const double *packedRe, *packedIm; // 2 halfSize bins
    double *magnitude;                 // |A[k]| scale at index k - 1, k = 1 .. halfSize
    double *re, *im;                   // B[k], k = 0 .. halfSize; no alignment needed
};

/// Half a spectrum of a real signal and the complex transform of half its length that gives it back.
struct RealInverseRows {
    const double *re, *im;               // X[k], k = 0 .. halfSize
    const double *factor;                // real, on each X[k]
    const double *twiddleRe, *twiddleIm; // e^(2 pi i k / (2 halfSize)), k < halfSize
    double *packedRe, *packedIm;         // halfSize bins, whose inverse is x[2n] + i x[2n + 1]
};

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
    double holdSmoothing, deviationExponent;
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
struct LevelStep {
    double minRise, minFall; // weight of the old minimum
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
    bool isFirst; // evidence starts at 0 as each bin's turn comes, so its lower neighbour's share is lost
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
    float window[64];
    float windowCosine[64], windowSine[64]; // window times cos and sin of 2 pi n / 64
    float cosine[64], sine[64];             // of 2 pi n / 64
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
struct ModulationScoreStep {
    int historyPos;
    float activityRef;
};

struct PerBinKernels {
    void (*ApplyWindow)(const float *samples, const double *window, double *frame, int count);
    void (*SplitPackedSpectrum)(const PackedSpectrumRows &rows, double scale, int halfSize);
    void (*PackRealInverse)(const RealInverseRows &rows, int halfSize);
    /// Even and odd values side by side, `count` of each.
    void (*InterleaveSamples)(const double *even, const double *odd, double *frame, int count);
    /// output += frame * weight, each product limited to +-1e36 and rounded first, the sum in float.
    void (*AddWeighted)(const double *frame, const double *weight, float *output, int count);
    /// 20 log10(magnitude) + offsetDb
    void (*LevelsDb)(const double *magnitude, double offsetDb, double *levelDb, int count);
    void (*FollowReference)(const ReferenceRows &rows, const ReferenceStep &step, int count);
    /// Raises each of `count` values to at least `factor` times the one before it (after it), starting
    /// at `first` and going up (down). The value before the first is read.
    void (*SpreadUp)(double *first, double factor, int count);
    void (*SpreadDown)(double *first, double factor, int count);
    /// Square of the level's excess in dB over `lowest` times the floor, the excess limited to 0 .. 3.
    void (*SquaredExcess)(const double *magnitude, const double *floor, double lowest, double *squares,
                          int count);
    void (*SmoothGain)(const GainRows &rows, const GainStep &step, int count);
    void (*ShapeOutput)(const double *gain, const OutputCurve &curve, double *gainOut, int count);
    /// Returns the sum of squared rises of the level since the previous frame.
    double (*FollowLevel)(const LevelRows &rows, const LevelStep &step, int count);
    void (*ShareEvidence)(const float *score, double binLevel, double *signalShare, double *noiseShare,
                          int count);
    FloorChange (*MoveFloors)(const EvidenceRows &rows, const EvidenceStep &step, int count);
    FloorCensus (*CountFloors)(const double *noiseFloor, const double *floorDb, double audible, double absent,
                               int count);
    /// Takes one frame's magnitudes into row `position` of the rings.
    void (*FeedModulation)(const double *magnitude, bool isFirst, double *filterState, float *levels,
                           float *residuals, int count);
    void (*TransformModulation)(const ModulationSpectrumRows &rows, const ModulationTables &tables,
                                int ringPos, int stride, int count);
    void (*ScoreModulation)(const ModulationScoreRows &rows, const ModulationScoreStep &step, int stride,
                            int count);
};

extern const PerBinKernels kGenericPerBinKernels, kAvx2PerBinKernels, kAvx512PerBinKernels;

/// The kernels of the level that `CpuDispatchIndex` names.
const PerBinKernels &SelectedPerBinKernels();

} // namespace FftEngine

#endif
