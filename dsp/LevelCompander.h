// SPDX-License-Identifier: MIT
/// An optional stage around the spectral processing: it changes the level of the input by its
/// envelope and takes every raise of it back in the output, on the very samples that were raised.
#ifndef QUIETFLOOR_DSP_LEVELCOMPANDER_H
#define QUIETFLOOR_DSP_LEVELCOMPANDER_H

#include <cstdint>
#include <vector>

namespace quietfloor {

/// A peak follower with a smoothed attack and an exponential fall drives a gain above a threshold.
/// The reciprocal of each gain is recorded under the sample's absolute position, that is the count
/// of input samples before it. The output side passes the position of the input that a sample stems
/// from (outputs handed out before it, less the latency), and only reciprocals below 1 are applied: a
/// raised level is restored, a lowered one stays lowered.
///
/// Samples   Finite. Two channels are interleaved; counts and positions are per channel.
/// Records   A sliding window of `capacity` positions without gaps. What was expanded is dropped
///           first; a longer block or a late reader loses the oldest records, and a jump in position
///           starts anew. A position without a record passes unchanged.
/// Memory    Only `BuildLevelCompander` and copies allocate. A copy is independent.
struct LevelCompander {
    // Fixed when built.
    double slope = 0.0;        // dB of gain per unit of shaped excess; negative compresses
    double exponent = 1.0;     // shapes the scaled excess
    double excessScale = 1.0;  // per dB above the threshold
    double threshold = 0.0;    // dB; 0 is an amplitude of 1
    double attack = 0.0;       // share of the old envelope kept on a rising sample, 0 .. 1
    double release = 0.0;      // factor on the envelope at any other sample, 0 .. 1
    std::int32_t channels = 1; // 1, or 2 interleaved
    std::int32_t capacity = 0; // positions that each buffer holds; with 0 nothing is compressed
    bool expandEnabled = true; // ExpandBlock applies what is recorded
    bool enabled = true;       // both block operations work

    // Carried from block to block.
    double envelope[2] = {};             // linear amplitude
    std::vector<float> gainBuffer[2];    // reciprocal gains, from basePosition on
    std::vector<float> dryBuffer[2];     // the samples before compression, alongside
    std::int64_t basePosition = 0;       // of the first record
    std::int32_t fillCount = 0;          // records held
    std::int64_t nextExpandPosition = 0; // just past the last block expanded
    std::int64_t compressedCount = 0;    // samples passed through CompressBlock
    std::int64_t expandedCount = 0;      // samples passed through ExpandBlock
    bool started = false;                // basePosition is set

    /// Compresses `count` samples of each channel in place and records them at `position`. To be
    /// called once for every input sample, in order. Returns `count`; 0 if disabled.
    std::int32_t CompressBlock(float *samples, std::int64_t position, std::int32_t count);

    /// Multiplies `count` samples of each channel by the recorded reciprocals of the positions from
    /// `position` on, where these are below 1. `samples` may be null to pass them over. Returns
    /// `count`; 0 if disabled.
    std::int32_t ExpandBlock(float *samples, std::int64_t position, std::int32_t count);

    /// Compresses `count` samples, `stride` apart, with the envelope of `channel`, and writes one
    /// reciprocal gain and one copy of the sample before for each. Returns `count`.
    std::int32_t CompressChannel(float *samples, std::int32_t count, std::int32_t stride,
                                 std::int32_t channel, float *gainsOut, float *dryOut);

    std::int32_t ChannelCount() const { return channels == 1 ? 1 : 2; }

private:
    void MakeRoom(std::int64_t position, std::int32_t count);
    float GainAt(double level) const;
};

struct CompanderSettings {
    double ratio = 2.0;          // dB in per dB out above the threshold; below 1 raises, 1 does nothing
    double thresholdDb = -40.0;  // 0 dB is an amplitude of 1
    double attackMs = 5.0;       // to 63 % of a step upward; 0 is at once
    double releaseMs = 100.0;    // to 37 % of the envelope
    double sampleRate = 44100.0; // Hz
    std::int32_t channels = 1;
};

/// A stage for a stream whose output comes `latency` samples late, in frames of `hopSize`: large
/// enough for every position that is compressed and not yet expanded, whatever the blocks.
/// Throws std::bad_alloc.
LevelCompander BuildLevelCompander(const CompanderSettings &settings, std::int32_t latency,
                                   std::int32_t hopSize);

} // namespace quietfloor

#endif
