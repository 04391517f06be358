// SPDX-License-Identifier: MIT
/// @file
/// The noise reducers of all channels of a sound, with one set of parameter values.
#ifndef QUIETFLOOR_DSP_CHANNELGROUP_H
#define QUIETFLOOR_DSP_CHANNELGROUP_H

#include <array>
#include <vector>

#include "dsp/SingleChannelAdaptiveNoise.h"

namespace dsp {

/// One `SingleChannelAdaptiveNoise` per channel, at one sample rate and with the same parameters. Each
/// channel learns its own noise, and reduces it by its own gains unless the channels are linked. Samples are
/// treated as by the single object: full scale is +-1, and a NaN or infinity counts as 0.
///
/// @par Channels
/// All of them are copies of one object, made anew with every rebuild. So they share its dither, and equal
/// channels stay equal bit for bit. Unless linked, each gives the same bits as a single object that gets the
/// values and the sample rate and is resumed, provided that `rand()` returns the same numbers.
///
/// @par Linked channels
/// Channels that are reduced apart let the stereo image wander: each opens and closes its bins by itself.
/// Linked channels share one gain per bin, the highest of those that have learnt a noise floor there. A
/// channel that is digitally silent raises no gain of another, nor does a bin without a floor. Where none
/// has a floor every channel keeps its own gain; so does, by itself, one without a floor that is louder
/// there than the others' noise.
///
/// @par Latency
/// `Process` gives back as many samples as it takes, `GetLatency()` samples late. How the stream is cut
/// into blocks does not change a single bit of the output.
///
/// @par Lead-in
/// With `kFilterMode` 1 the first block that is filtered begins half a hop into the stream, so the first
/// samples would be lost. A lead-in of `GetLeadIn()` frames of silence before the sound saves them. Call
/// `PushLeadIn`, which drops what comes out for it, or process the silence yourself and drop as much of the
/// output.
///
/// @par Threads
/// One group is used by one thread at a time. Different groups share no state of ours. A rebuild fills the
/// dither from the C library's `rand()`, whose state belongs to the whole process and is never seeded here.
/// For the same bits on every run call `srand` before it, while no other thread draws.
///
/// @par Memory
/// A rebuild allocates. These rebuild: the constructors, copies, `Resume`, and the first `Process`,
/// `ProcessInterleaved` or `PushLeadIn` after `kFftSize` changed or `kFilterMode` was set (a preset sets it).
/// Everything else never allocates, locks, throws or calls the system.
///
/// @par Failure
/// If memory runs out in a rebuild, the call that caused it throws `std::bad_alloc`. The group keeps its
/// parameters, reports latency 0 and tries again at the next call that processes or resumes. A failed copy
/// leaves its target unchanged. A group that was moved from may only be assigned to or destroyed.
class ChannelGroup {
public:
    /// One value per row of the parameter table, by `SingleChannelAdaptiveNoise::Parameter`.
    using Values = std::array<float, SingleChannelAdaptiveNoise::kParamCount>;

    /// Ready to process. `channelCount` is 1 or above, or std::invalid_argument is thrown; `sampleRate`
    /// is in Hz, and one below 1 leaves 44100. Of `values` the rows that can be set count, each taken as
    /// by `SetParameter`. Allocates; throws std::bad_alloc.
    ChannelGroup(int channelCount, int sampleRate, const Values &values);

    /// The same with the defaults of the parameter table.
    ChannelGroup(int channelCount, int sampleRate);

    /// An independent group with the same parameters and the same history: both go on bit for bit as the
    /// original would. Allocates; throws std::bad_alloc.
    ChannelGroup(const ChannelGroup &other) = default;
    ChannelGroup(ChannelGroup &&other) noexcept = default;
    ChannelGroup &operator=(const ChannelGroup &other) { return *this = ChannelGroup(other); }
    ChannelGroup &operator=(ChannelGroup &&other) noexcept = default;
    ~ChannelGroup() = default;

    int GetChannelCount() const noexcept { return channelCount; }

    /// Sets one parameter of all channels. Values out of bounds, special values and an index out of range
    /// are treated as by `SingleChannelAdaptiveNoise::SetParameter`, and it takes effect at the same time.
    void SetParameter(int index, float value);

    /// The stored value; 0 for an index out of range.
    float GetParameter(int index) const { return reducers.front().GetParameter(index); }

    /// Chooses the estimator of all channels, with effect from the next frame on; what is no estimator is
    /// ignored. Keeps what was learnt, and survives rebuilds and copies.
    void SetEstimator(SingleChannelAdaptiveNoise::Estimator estimator);

    SingleChannelAdaptiveNoise::Estimator GetEstimator() const { return reducers.front().GetEstimator(); }

    /// Sets the estimator and all parameters to those of a preset, such as "speech", which causes a rebuild.
    /// False if no preset has the name; then nothing changes.
    bool SetPreset(const char *name);

    /// Links the channels or sets them apart, from the next frame on; off at first. Makes no difference to
    /// one channel. Keeps what was learnt, and survives rebuilds and copies.
    void SetLink(bool linked) noexcept { isLinked = linked; }

    bool IsLinked() const noexcept { return isLinked; }

    /// Rebuilds: all channels forget all sound and all learnt noise. Allocates; throws std::bad_alloc.
    void Resume();

    /// In samples; 0 after a failed rebuild. Another FFT size counts from the rebuild on. Between setting
    /// another filter mode and the rebuild the value belongs to neither mode: read it after the rebuild.
    int GetLatency() const;

    /// In frames: as long as the latency with `kFilterMode` 1, else 0. Read it when the latency is valid.
    int GetLeadIn() const;

    /// Processes the silence that comes before a new stream, and drops what comes out for it.
    void PushLeadIn();

    /// Reads `count` samples of each channel from `in[channel]` and writes as many to `out[channel]`. A
    /// channel's output may be its own input, but overlaps no array otherwise. A pending rebuild is done
    /// first, even if `count` is 0 or below; such a call does nothing else.
    void Process(const float *const *in, float *const *out, int count);

    /// The same for `frames` frames, in each of which the channels follow one another: `frames` times
    /// `GetChannelCount()` samples. `out` may be `in` itself but must not overlap it otherwise.
    void ProcessInterleaved(const float *in, float *out, int frames);

private:
    void RebuildIfPending();
    void CopyFirst();
    template <class Pass>
    void Stream(int count, Pass pass);
    void RunFrames();
    void LinkGains() noexcept;

    int channelCount;
    bool isRebuildPending = true;
    bool isLinked = false;
    std::vector<SingleChannelAdaptiveNoise> reducers; // one per channel; fewer after a failed rebuild
};

} // namespace dsp

#endif
