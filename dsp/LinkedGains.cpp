// SPDX-License-Identifier: MIT
#include "dsp/LinkedGains.h"

#include <algorithm>

#include "dsp/SingleChannelAdaptiveNoiseParams.h"

namespace dsp {
namespace {

// Nothing but dither in all that this frame analyses and puts out. Its floors may still be those of the
// noise before, and its gains those of whatever sounded last.
bool IsSilent(const SingleChannelAdaptiveNoiseParams &channel) noexcept {
    const float *const samples = channel.inputBuffer.data();
    return std::all_of(samples, samples + channel.geometry.FrameEnd(),
                       [](float sample) { return sample >= -highestDither && sample <= highestDither; });
}

} // namespace

LinkedGains::LinkedGains(double *gainRow, double *floorRow, int count) noexcept
    : gain(gainRow), floor(floorRow), half(count) {
    std::fill_n(gain, half, 0.0);
    std::fill_n(floor, half, 0.0);
}

// Every value is read in every bin, or the compiler makes no vectors of these loops.
void LinkedGains::Hear(const SingleChannelAdaptiveNoiseParams &channel) noexcept {
    const quietfloor::CNoiseRemover &engine = *channel.noiseRemover;
    if (!engine.Tracking || IsSilent(channel))
        return;
    const double *const own = channel.gain.data();
    for (int k = 1; k < half; ++k) {
        const double ownFloor = engine.LearntFloor(k), ownGain = own[k];
        const double highest = gain[k], highestFloor = floor[k], higher = std::max(ownGain, highest);
        gain[k] = ownFloor > 0.0 ? higher : highest;
        floor[k] = std::max(ownFloor, highestFloor);
    }
}

void LinkedGains::Give(SingleChannelAdaptiveNoiseParams &channel) const noexcept {
    const quietfloor::CNoiseRemover &engine = *channel.noiseRemover;
    double *const own = channel.gain.data();
    for (int k = 1; k < half; ++k) {
        const double ownGain = own[k], linkedGain = gain[k], highestFloor = floor[k];
        // By where the level lies against the highest floor; below it, it is taken for noise without a floor,
        // too.
        const double below = highestFloor > 0.0 ? linkedGain : ownGain;
        const double above = engine.LearntFloor(k) > 0.0 ? below : ownGain;
        own[k] = engine.HeldLevel(k) > highestFloor ? above : below;
    }
}

} // namespace dsp
