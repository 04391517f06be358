/// The noise reducer for one channel of audio: the one object that a host holds.
#ifndef QUIETFLOOR_DSP_SINGLECHANNELADAPTIVENOISE_H
#define QUIETFLOOR_DSP_SINGLECHANNELADAPTIVENOISE_H

#include "lib/Export.h"

namespace dsp {

struct SingleChannelAdaptiveNoiseParams;

/// Takes steady background noise out of one channel of 32-bit float audio while it streams through.
/// The noise profile is learnt from the signal itself, bin by bin and continuously; there is no
/// noise print to capture. Full scale is +-1, but nothing depends on it.
///
/// Use       Construct; it is ready at once (44100 Hz, FFT size 512). For another sample rate call
///           `SetSampleRate(rate)` and then `Resume()`. Call `SetParameter` whenever no other call
///           runs, and `Process` block after block, blocks of any length. Read `GetLatency` after
///           a change of the FFT size or the filter mode, once `Process` or `Resume` has rebuilt.
/// Latency   `Process` gives back as many samples as it takes, `GetLatency()` samples late. How the
///           stream is cut into blocks makes no difference to a single bit of the output.
/// Threads   One object is used by one thread at a time. Different objects share no state of ours;
///           only a rebuild draws on the C library's `rand()` (for the dither), which is one for
///           the process.
/// Memory    A rebuild allocates: the constructor, a copy, `Resume`, and the first `Process` after
///           `kFftSize` changed, `kFilterMode` was set or `SetSampleRate` was called. Hosts that
///           change these live do so by `SetParameter` + `Resume` off the audio thread. Any other
///           `Process` never allocates, locks, throws or calls the system.
/// Failure   If memory runs out in a rebuild, `std::bad_alloc` leaves the call that caused it; the
///           object keeps its parameters, reports latency 0 and tries again at the next `Process`
///           or `Resume`. Beside copies, which leave their target as it was, no other operation
///           fails.
/// Bad input A NaN or infinite sample is taken as 0, a finite one beyond +-1e15 as +-1e15. No input
///           damages later output.
/// Floats    `Process` flushes subnormal numbers to zero while it runs and restores the caller's
///           floating-point mode on the way out.
///
/// The parameters. Values are stored as given, outside the bounds too: the bounds are what a host
/// should offer. The engine works with any finite value as far as its formulas stay finite and
/// saturates beyond: reduction -200 to 1000 dB, offset +-100 dB, knee 0.5 to 1000 dB, sensitivity
/// +-1000, strength +-10000 %. A NaN or an infinity is stored, but processing goes on with the last
/// finite value. "At once" means from the next frame on; "rebuild" means at the next `Process` (or
/// `Resume`), which forgets all sound and all learnt noise; what "waits" takes effect with the next
/// rebuild but asks for none.
///
/// | index          | role                             | unit    | default | bounds           | effective |
/// |----------------|----------------------------------|---------|---------|------------------|-----------|
/// | 0 kReductionDb | most that noise is turned down   | dB      | 20      | 0 .. 40          | at once   |
/// | 1 kOffsetDb    | shift of the detection threshold | dB      | 2       | -10 .. 10        | at once   |
/// | 2 kSensitivity | how uneven noise may be          | dB-like | 2.5     | -20 .. 20        | at once   |
/// | 3 kTrackerRate | none; follows from kStrength     | -       | 6       | 1 .. 20          | never     |
/// | 4 kStrength    | strength of the whole reduction  | percent | 30      | 0 .. 100         | at once   |
/// | 5 kReserved    | kept by the engine, unused       | -       | 8       | 0 .. 20          | never     |
/// | 6 kBandWidthHz | width of the local comparison    | Hz      | 100     | 0 .. 500         | at once   |
/// | 7 kFftSize     | FFT size, a power of two         | samples | 512     | 127.5 .. 16384.5 | rebuild   |
/// | 8 kOverlap     | read back: frames per FFT size   | -       | (4)     | 1.5 .. 8.5       | never     |
/// | 9 kKneeDb      | width of the gain knee           | dB      | 14      | 1 .. 20          | waits     |
/// | 10 kReleaseMs  | fall time of the level smoothing | ms      | 140     | 20 .. 750        | at once   |
/// | 11 kFilterMode | 1: linear-phase filter, 0: gains | -       | 0       | -0.5 .. 1.49     | rebuild   |
/// | 12 kUnused     | none                             | -       | 0       | -0.5 .. 1.49     | never     |
/// | 13 kActive     | read back: 1 resumed, 0 not      | -       | 0       | -0.5 .. 1.49     | never     |
///
/// `kFftSize` snaps to the nearest power of two from 64 to 16384, down on a tie; a value that no
/// size is near (huge, hugely negative, NaN) is ignored. `kFilterMode` becomes 0 below 0.5 and 1
/// otherwise, and asks for a rebuild even if it does not change.
class SingleChannelAdaptiveNoise {
public:
    /// Positions in the table of parameters.
    enum Parameter : int {
        kReductionDb = 0, ///< dB: most that noise is turned down
        kOffsetDb = 1,    ///< dB: shift of the detection threshold
        kSensitivity = 2, ///< how uneven noise may be
        kTrackerRate = 3, ///< without effect
        kStrength = 4,    ///< percent: strength of the whole reduction
        kReserved = 5,    ///< without effect
        kBandWidthHz = 6, ///< Hz: width of the local comparison; 0 turns it off
        kFftSize = 7,     ///< samples, snaps to a power of two from 64 to 16384; rebuilds
        kOverlap = 8,     ///< only read back: frames per FFT size
        kKneeDb = 9,      ///< dB: width of the gain knee; waits for a rebuild
        kReleaseMs = 10,  ///< ms: fall time of the level smoothing
        kFilterMode = 11, ///< 1: linear-phase filter, 0: a gain per bin; rebuilds
        kUnused = 12,     ///< without effect
        kActive = 13      ///< only read back: 1 after `Resume`, 0 after `Suspend`
    };
    static constexpr int kParamCount = 14; ///< rows of the table, those without effect among them

    /// Ready to process at 44100 Hz with the defaults of the table. Allocates; throws std::bad_alloc.
    QUIETFLOOR_API SingleChannelAdaptiveNoise();
    /// Frees the working storage.
    QUIETFLOOR_API ~SingleChannelAdaptiveNoise();

    /// An independent object with the same parameters and the same history: both go on bit for bit
    /// as the original would. Allocates; if that throws std::bad_alloc, the target is unchanged.
    QUIETFLOOR_API SingleChannelAdaptiveNoise(const SingleChannelAdaptiveNoise &other);
    /// As the copy.
    QUIETFLOOR_API SingleChannelAdaptiveNoise &operator=(const SingleChannelAdaptiveNoise &other);

    /// Reads `count` samples from `in` and writes `count` samples to `out`, which may be `in` itself
    /// but must not overlap it otherwise. Pending work is done first, for a `count` of 0 or below
    /// too, which else does nothing. Throws std::bad_alloc only if a rebuild is pending.
    QUIETFLOOR_API void Process(float *in, float *out, int count);

    /// Stores a value and puts it into effect as the table says. An index outside 0 .. 13 is ignored.
    /// Never allocates.
    QUIETFLOOR_API void SetParameter(int index, float value);

    /// The stored value; 0 for an index outside 0 .. 13.
    QUIETFLOOR_API float GetParameter(int index) const;

    /// The bounds that a host should offer; for an index outside 0 .. 13 both stay untouched.
    QUIETFLOOR_API void GetBounds(int index, float &lower, float &upper);

    /// In samples; 0 between `SetSampleRate` (or a failed rebuild) and the next `Resume` or `Process`.
    /// Another FFT size counts from the rebuild on; between setting another mode and the rebuild the
    /// value is of no use.
    QUIETFLOOR_API int GetLatency() const;

    /// In Hz; below 1 it is ignored. Forgets all sound and all learnt noise and frees the working
    /// storage: `Resume` (or the next `Process`) builds it anew.
    QUIETFLOOR_API void SetSampleRate(int rate);

    /// Sets `kActive` to 0 and does nothing else: a suspended object still processes.
    QUIETFLOOR_API void Suspend();

    /// Rebuilds: forgets all sound and all learnt noise, and sets `kActive` to 1. Allocates; throws
    /// std::bad_alloc.
    QUIETFLOOR_API void Resume();

private:
    friend struct StreamInspector; // the tests' way to the working record

    using Record = SingleChannelAdaptiveNoiseParams;

    void Initialize();
    void Deinitialize();
    void AllocateArrays(Record *record);
    void InitializeParameters();
    void RebuildIfPending();
    void SetBounds(int index, float lower, float upper);
    void SetFFTSize(int size);
    void SetParameterValue(int index, float value);

    static void BuildAnalysisWindow(Record *record);
    static void WindowData(const Record *record, const float *src, double *dst);
    static void Convolve(Record *record);
    static void EstimateGains(Record *record);
    static void ComputeXfms(Record *record, double *gain);
    static void ComputeComponent(Record *record, double *outReal, double *gain);

    bool ReinitPending = true;
    bool XfmsPending = true;
    int sampleRate = 44100;               // Hz
    float values[kParamCount] = {};       // as stored
    float finiteValues[kParamCount] = {}; // the last finite value of each: what a rebuild uses
    float lowerBounds[kParamCount] = {};
    float upperBounds[kParamCount] = {};
    Record *record = nullptr; // owned; null before a rebuild and after a failed one
};

} // namespace dsp

#endif
