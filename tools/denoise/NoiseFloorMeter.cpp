// SPDX-License-Identifier: MIT
#include "tools/denoise/NoiseFloorMeter.h"

#include <algorithm>
#include <cmath>

namespace quietfloor {

NoiseFloorMeter::NoiseFloorMeter(int sampleRate, int channelCount)
    : blockFrames(std::max(1, sampleRate / 20)), channels(channelCount) {}

std::size_t NoiseFloorMeter::StepOf(double meanSquare) {
    const double level = std::clamp(10.0 * std::log10(meanSquare), lowest, static_cast<double>(highest));
    return static_cast<std::size_t>(std::lround((level - lowest) * stepsPerDb));
}

void NoiseFloorMeter::Push(const float *interleaved, std::int64_t frames) {
    while (frames > 0) {
        const std::int64_t run = std::min(frames, blockFrames - filled), samples = run * channels;
        for (std::int64_t i = 0; i < samples; ++i)
            energy += static_cast<double>(interleaved[i]) * interleaved[i];
        interleaved += samples;
        frames -= run;
        filled += run;
        if (filled < blockFrames)
            return;
        ++counts[StepOf(energy / static_cast<double>(blockFrames * channels))];
        ++blocks;
        filled = 0;
        energy = 0.0;
    }
}

double NoiseFloorMeter::FloorDb() const {
    std::size_t step = 0;
    if (blocks == 0 && filled > 0)
        step = StepOf(energy / static_cast<double>(filled * channels));
    for (std::int64_t below = counts[step]; below * 10 < blocks; below += counts[step])
        ++step;
    return lowest + static_cast<double>(step) / stepsPerDb;
}

} // namespace quietfloor
