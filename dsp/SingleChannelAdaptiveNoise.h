// SPDX-License-Identifier: MIT
/// @file
/// The noise reducer for one channel of audio: the one object that a host holds.
#ifndef QUIETFLOOR_DSP_SINGLECHANNELADAPTIVENOISE_H
#define QUIETFLOOR_DSP_SINGLECHANNELADAPTIVENOISE_H

#include "../base/Export.h"

namespace dsp {

struct SingleChannelAdaptiveNoiseParams;

/// Takes steady background noise out of one channel of 32-bit float audio while it streams through.
///
/// It learns the noise from the signal itself, bin by bin and all the time; there is no noise print to
/// capture. Full scale is +-1. Levels matter in two ways: nothing is tracked until the mean level of the bins
/// has once exceeded -110 dB, and a loud bin must be a little evener than a soft one to be taken for noise.
///
/// @par Use
/// Construct the object; it is ready at once (44100 Hz, FFT size 512). For another sample rate call
/// `SetSampleRate` and then `Resume`. Call `Process` block after block, blocks of any length, and
/// `SetParameter` between two of them. Read `GetLatency` after a change of the FFT size or the filter mode,
/// once `Process` or `Resume` has rebuilt.
///
/// @par Latency
/// `Process` gives back as many samples as it takes, `GetLatency()` samples late. How the stream is cut into
/// blocks does not change a single bit of the output.
///
/// @par Threads
/// One object is used by one thread at a time. Different objects share no state of ours. A rebuild fills the
/// dither from the C library's `rand()`, whose state belongs to the whole process.
///
/// @par Memory
/// A rebuild allocates. These rebuild: the constructor, a copy, `Resume`, and the first `Process` after
/// `kFftSize` changed, `kFilterMode` was set or `SetSampleRate` was called. Hosts that change these live do
/// so by `SetParameter` and `Resume` off the audio thread. Any other `Process` never allocates, locks, throws
/// or calls the system.
///
/// @par Failure
/// If memory runs out in a rebuild, the call that caused it throws `std::bad_alloc`. The object keeps its
/// parameters, reports latency 0 and tries again at the next `Process` or `Resume`. Copying can fail too and
/// then leaves its target unchanged. Nothing else fails.
///
/// @par Bad input
/// A NaN or infinite sample is taken as 0, a finite one beyond +-1e15 as +-1e15. No input damages later
/// output.
///
/// @par Subnormal numbers
/// On x86-64 and 64-bit ARM `Process` flushes them to zero while it runs and restores the caller's
/// floating-point mode on the way out.
///
/// @par Parameters
/// Values are stored as given, even outside the bounds, which are what a host should offer. The engine uses
/// any finite value as far as its formulas stay finite and saturates beyond: reduction -200 to 1000 dB,
/// offset
/// +-100 dB, knee 0.5 to 1000 dB, sensitivity +-1000, strength +-10000 %. A NaN or an infinity is stored, but
/// processing goes on with the last finite value.
class SingleChannelAdaptiveNoise {
public:
    /// The parameters, by index. "At once" means from the next frame on. "Rebuild" means at the next
    /// `Process` or `Resume`, which forgets all sound and all learnt noise. "Waits" means at the next
    /// rebuild, without causing one.
    ///
    /// `kFftSize` snaps to the nearest power of two from 64 to 16384, to the smaller of two equally near
    /// ones; a value that no size is near (huge, hugely negative, NaN) is ignored. `kFilterMode` becomes 0
    /// below 0.5 and 1 otherwise, and causes a rebuild even if it does not change.
    enum Parameter : int {
        // generated: object-parameters
        /// Most that noise is turned down.
        /// (dB, 0 to 40, default 20; at once)
        kReductionDb = 0,
        /// Shift of the threshold below which sound counts as noise.
        /// (dB, -10 to 10, default 2; at once)
        kOffsetDb = 1,
        /// How uneven a sound may be and still be learnt as noise.
        /// (-20 to 20, default 2.5; at once)
        kSensitivity = 2,
        /// No effect; follows from strength.
        /// (1 to 20, default 6)
        kTrackerRate = 3,
        /// Strength of the whole reduction.
        /// (%, 0 to 100, default 30; at once)
        kStrength = 4,
        /// No effect.
        /// (0 to 20, default 8)
        kReserved = 5,
        /// Width of the local comparison with the noise floor; 0 turns it off.
        /// (Hz, 0 to 500, default 100; at once)
        kBandWidthHz = 6,
        /// FFT size; the nearest power of two is taken.
        /// (samples, 127.5 to 16384.5, default 512; rebuild)
        kFftSize = 7,
        /// Read back: frames per FFT size.
        /// (1.5 to 8.5)
        kOverlap = 8,
        /// Width of the knee between kept and reduced.
        /// (dB, 1 to 20, default 14; waits)
        kKneeDb = 9,
        /// Fall time of the level smoothing.
        /// (ms, 20 to 750, default 140; at once)
        kReleaseMs = 10,
        /// 1: reduce by a linear-phase filter, 0: by a gain per bin.
        /// (-0.5 to 1.49, default 0; rebuild)
        kFilterMode = 11,
        /// No effect.
        /// (-0.5 to 1.49, default 0)
        kUnused = 12,
        /// Read back: 1 after resume, 0 after suspend.
        /// (-0.5 to 1.49)
        kActive = 13,
        // end
    };

    /// How gains follow from the signal and the learnt noise.
    enum Estimator : int {
        /// A gate per bin: closed below the noise floor, open above. The default.
        kGate = 0,
        /// The log-spectral amplitude estimator of Ephraim and Malah (1985), weighted by the probability that
        /// there is more than noise (Cohen and Berdugo 2001).
        kLogSpectral = 1,
    };

    /// How many parameters there are, those without effect among them. Not `constexpr`: before C++17 that
    /// would leave it without a definition for hosts that take it by reference.
    QUIETFLOOR_API static const int kParamCount = 14;

    /// Ready to process at 44100 Hz with the default parameters. Allocates; throws std::bad_alloc.
    QUIETFLOOR_API SingleChannelAdaptiveNoise();
    /// Frees the working storage.
    QUIETFLOOR_API ~SingleChannelAdaptiveNoise();

    /// An independent object with the same parameters and the same history: both go on bit for bit
    /// as the original would. Allocates; if that throws std::bad_alloc, the target is unchanged.
    QUIETFLOOR_API SingleChannelAdaptiveNoise(const SingleChannelAdaptiveNoise &other);
    /// Same guarantees as the copy constructor.
    QUIETFLOOR_API SingleChannelAdaptiveNoise &operator=(const SingleChannelAdaptiveNoise &other);

    /// Takes the next block of the stream. A pending rebuild is done first, even if `count` is zero or
    /// negative; such a call does nothing else. Throws std::bad_alloc only if a rebuild is pending; then
    /// nothing is written.
    /// @param in    `count` samples, only read
    /// @param out   `count` samples, written; may be `in` itself but must not overlap it otherwise
    /// @param count samples in the block; may have any value
    QUIETFLOOR_API void Process(float *in, float *out, int count);

    /// Stores a value; when it takes effect stands at the parameter. Never allocates.
    /// @param index a `Parameter`; outside 0 .. 13 the call is ignored
    /// @param value in the parameter's unit
    QUIETFLOOR_API void SetParameter(int index, float value);

    /// The stored value; 0 for an index outside 0 .. 13.
    QUIETFLOOR_API float GetParameter(int index) const;

    /// The bounds that a host should offer; for an index outside 0 .. 13 neither is written.
    QUIETFLOOR_API void GetBounds(int index, float &lower, float &upper);

    /// Chooses the estimator; any other value is ignored. It takes effect from the next frame on and keeps
    /// what was learnt, and it survives `SetSampleRate`, `Resume` and copies. Never allocates.
    QUIETFLOOR_API void SetEstimator(Estimator estimator);

    /// The estimator as chosen; `kGate` at first.
    QUIETFLOOR_API Estimator GetEstimator() const;

    /// In samples; 0 between `SetSampleRate` (or a failed rebuild) and the next `Resume` or `Process`.
    /// Another FFT size counts from the rebuild on. Between setting another mode and the rebuild the
    /// value belongs to neither mode: read it after the rebuild.
    QUIETFLOOR_API int GetLatency() const;

    /// Forgets all sound and all learnt noise and frees the working storage: `Resume` (or the next
    /// `Process`) builds it anew.
    /// @param rate in Hz; below 1 the call is ignored
    QUIETFLOOR_API void SetSampleRate(int rate);

    /// Sets `kActive` to 0 and does nothing else: a suspended object still processes.
    QUIETFLOOR_API void Suspend();

    /// Rebuilds: forgets all sound and all learnt noise, and sets `kActive` to 1. Allocates; throws
    /// std::bad_alloc.
    QUIETFLOOR_API void Resume();

private:
    friend struct StreamInspector; // the tests' way to the working record
    friend class ChannelGroup;     // runs the frames of linked channels in step

    using Record = SingleChannelAdaptiveNoiseParams;

    void Initialize();
    void Deinitialize();
    void AllocateArrays(Record *record);
    void InitializeParameters();
    void RebuildIfPending();
    void SetBounds(int index, float lower, float upper);
    void SetFFTSize(int size);
    void SetParameterValue(int index, float value);

    // A stream's steps: samples up to the next frame, and at 0 samples to it the frame in two halves, between
    // which its gains stand in the record.
    int SamplesToFrame() const;
    void PassSamples(const float *in, float *out, int count);
    void BeginFrame();
    void EndFrame();

    static void BuildAnalysisWindow(Record *record);
    static void WindowData(const Record *record, const float *src, double *dst);
    static void AnalyseFrame(Record *record);
    static void EstimateGains(Record *record);
    static void Convolve(Record *record);
    static void ComputeXfms(Record *record, double *gain);
    static void ComputeComponent(Record *record, double *outReal, double *gain);

    // Everything but the working record, so that copying cannot forget a member.
    struct State {
        bool ReinitPending = true;
        bool XfmsPending = true;
        int sampleRate = 44100; // Hz
        Estimator estimator = kGate;
        float values[kParamCount] = {};       // as stored
        float finiteValues[kParamCount] = {}; // the last finite value of each: what a rebuild uses
        float lowerBounds[kParamCount] = {};
        float upperBounds[kParamCount] = {};
    };
    State state;
    Record *record = nullptr; // owned; null before a rebuild and after a failed one
};

} // namespace dsp

#endif
