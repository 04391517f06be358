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

void LinkedGains::Hear(const SingleChannelAdaptiveNoiseParams &channel) noexcept {
    const quietfloor::CNoiseRemover &engine = *channel.noiseRemover;
    if (!engine.Tracking || IsSilent(channel))
        return;
    const double *const own = channel.gain.data(), *const floors = engine.Tracker->NoiseFloor.data();
    for (int k = 1; k < half; ++k) {
        const bool hasFloor = engine.HasFloor(k);
        gain[k] = std::max(gain[k], hasFloor ? own[k] : 0.0);
        floor[k] = std::max(floor[k], hasFloor ? floors[k] : 0.0);
    }
}

void LinkedGains::Give(SingleChannelAdaptiveNoiseParams &channel) const noexcept {
    const quietfloor::CNoiseRemover &engine = *channel.noiseRemover;
    double *const own = channel.gain.data();
    const double *const levels = engine.Reference.data();
    for (int k = 1; k < half; ++k) {
        const bool isSound = !engine.HasFloor(k) && levels[k] > floor[k];
        own[k] = floor[k] > 0.0 && !isSound ? gain[k] : own[k];
    }
}

} // namespace dsp
