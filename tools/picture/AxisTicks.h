// SPDX-License-Identifier: MIT
/// Where an axis is labelled, and how.
#ifndef QUIETFLOOR_TOOLS_PICTURE_AXISTICKS_H
#define QUIETFLOOR_TOOLS_PICTURE_AXISTICKS_H

#include <string>
#include <vector>

#include "tools/picture/FrequencyAxis.h"

namespace quietfloor {

struct Tick {
    int pixel; // from the beginning of the axis
    std::string label;
};

/// Round frequencies from 0 Hz up to half the sample rate, 1 and 5 times a power of ten before others, at
/// least `spacing` pixels apart on an axis of `length` pixels. Labels are in Hz: "500", "2k".
std::vector<Tick> FrequencyTicks(const FrequencyAxis &axis, int sampleRate, int length, int spacing);

/// Round times from 0 s to `seconds`, evenly spaced so that labels of `glyphWidth` pixels per character have
/// room for two more between them: in seconds ("0.25"), from two minutes on "2:30", from an hour on
/// "0:15:00".
std::vector<Tick> TimeTicks(double seconds, int length, int glyphWidth);

} // namespace quietfloor

#endif
