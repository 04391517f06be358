// SPDX-License-Identifier: MIT
/// How loud the quiet parts of a sound are.
#ifndef QUIETFLOOR_TOOLS_DENOISE_NOISEFLOORMETER_H
#define QUIETFLOOR_TOOLS_DENOISE_NOISEFLOORMETER_H

#include <array>
#include <cstdint>

namespace quietfloor {

/// The 10th percentile of the levels of blocks of 50 ms, in memory that does not grow: each block is the rms
/// over all channels together in dBFS (0 dB is an rms of 1), to 0.01 dB. A part of a block at the end counts
/// only where there is no whole one.
class NoiseFloorMeter {
public:
    static constexpr double lowest = -200.0; // dBFS: what digital silence and no sound at all read

    NoiseFloorMeter(int sampleRate, int channels);

    void Push(const float *interleaved, std::int64_t frames);

    double FloorDb() const;

private:
    static constexpr int stepsPerDb = 100, highest = 100; // dBFS

    static std::size_t StepOf(double meanSquare);

    std::int64_t blockFrames;
    int channels;
    std::int64_t filled = 0; // frames of the present block
    double energy = 0.0;     // of them, all channels
    std::int64_t blocks = 0;
    std::array<std::int64_t, (highest - static_cast<int>(lowest)) * stepsPerDb + 1> counts{};
};

} // namespace quietfloor

#endif
