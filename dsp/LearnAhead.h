// SPDX-License-Identifier: MIT
/// @file
/// Learns the noise of a sound that is there as a whole, before the sound is processed.
#ifndef QUIETFLOOR_DSP_LEARNAHEAD_H
#define QUIETFLOOR_DSP_LEARNAHEAD_H

#include <array>
#include <cstdint>
#include <vector>

#include "dsp/ChannelGroup.h"

namespace dsp {

/// Teaches a new ChannelGroup the noise of a sound, so that the sound is clean from its first sample on. The
/// group hears a short burst of noise, which starts its tracking however quiet or narrow the sound is; the
/// whole sound; and its quietest stretches, in which the noise is alone.
///
/// @par Use
/// Give all of the sound to `Survey`. Then `Start` says which passages of it to give to `Teach`, one after
/// the other; the caller reads or seeks. The group then goes on with the first sample of the sound, without a
/// lead-in. In the first `GetLatency()` frames that come out for it what was taught last dies away.
///
/// @par Blocks
/// How the sound is cut into blocks does not change a single bit of what is learnt.
///
/// @par Silence
/// Digital silence and fades to silence are not taken for the noise. The noise is the quietest level near
/// which the sound stays for a while; whatever is much quieter is not taught. A sound of silence has nothing
/// to teach, and neither has one that is shorter than a tenth of a second.
///
/// @par Memory
/// Does not grow with the sound. The constructor and `Start` allocate and throw std::bad_alloc; a rebuild
/// that the group has pending comes with `Start`. Everything else never allocates, locks, throws or calls the
/// system.
///
/// @par Threads
/// One thread at a time, which also is the one that uses the group.
class LearnAhead {
public:
    /// A part of the sound, in frames.
    struct Passage {
        std::int64_t first, count;
    };

    /// The group must outlive this object. `sampleRate` is in Hz, 1 or above.
    LearnAhead(ChannelGroup &group, int sampleRate);

    /// Takes the next `frames` interleaved frames of the sound. Full scale is +-1. A NaN or infinity counts
    /// as 0.
    void Survey(const float *interleaved, int frames);

    /// The power of two that brings the sound, but for its loudest twentieth, to at most -20 to -14 dBFS (rms
    /// of 50 ms); 1 where there is nothing to teach. What the group takes for noise depends a little on the
    /// level. At this scale sounds that differ by a power of two alone come out alike bit for bit.
    float WorkingScale() const noexcept;

    /// What to add to `kSensitivity` for a sound that is multiplied by `scale`, so that the same is taken for
    /// noise as in the middle of the range above. With `WorkingScale()` it is within +-0.6.
    float SensitivityShift(float scale) const noexcept;

    /// After the last `Survey`. Each sample that is taught is multiplied by `scale`, as the caller then does
    /// with the sound itself. Returns what to teach, in this order: the whole sound, a short one several
    /// times, then its quietest stretches; at most a few hundred passages. Returns none where there is
    /// nothing to teach, and then the group has heard nothing.
    std::vector<Passage> Start(float scale);

    /// After `Start`: silence has no sample above this, and soon after its beginning noise has one. A silent
    /// beginning is best kept from the group, which would unlearn the noise.
    float SilencePeak() const noexcept;

    /// Takes the next frames of a passage, as `Survey` does.
    void Teach(const float *interleaved, int frames);

private:
    // Levels are counted in quarters of a doubling of the power, 0.6 to 1 dB: a factor of 2^n moves all of
    // them by exactly 8 n.
    static constexpr int levelsPerOctave = 16, lowestExponent = -60, highestExponent = 40;
    static constexpr int levelsPerFactor = 2 * levelsPerOctave; // of 2, in samples
    static constexpr int levelCount = (highestExponent - lowestExponent + 1) * levelsPerOctave;
    static constexpr int mostStretches = 20;

    // The blocks of one level.
    struct Level {
        std::int64_t blocks = 0;
        std::int64_t steady = 0;                         // those of them that may be noise
        std::array<std::int64_t, mostStretches> first{}; // frames at which the earliest of these begin
    };

    static int LevelOf(double meanSquare) noexcept;
    static double MiddleOf(int level) noexcept;
    int LoudLevel() const noexcept;
    void TakeHalf() noexcept;
    void TakeBlock() noexcept;
    std::int64_t Steady(int from, int to) const noexcept;
    int QuietestLevel() const noexcept;
    std::vector<Passage> QuietestStretches() const;
    void PushBurst();
    void PushUnlessSilent();

    ChannelGroup *reducers;
    std::size_t channels;
    std::int64_t rate;       // Hz
    std::int64_t halfFrames; // half a block

    // The survey.
    std::vector<Level> levels;
    std::int64_t surveyed = 0;      // frames
    std::int64_t blockStart = 0;    // frame at which the block under way begins
    std::array<double, 2> halves{}; // mean squares of its halves
    std::size_t halvesDone = 0;
    std::int64_t filled = 0; // frames of the half under way
    double energy = 0.0;     // of them, all channels

    // The lesson.
    float scaling = 1.0f;
    double lowestTaught = 0.0; // mean square before the scaling
    std::vector<float> piece;  // interleaved
    std::size_t pieceFrames = 0;
};

} // namespace dsp

#endif
