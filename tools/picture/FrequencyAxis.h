// SPDX-License-Identifier: MIT
/// The spectrogram's frequency axis.
#ifndef QUIETFLOOR_TOOLS_PICTURE_FREQUENCYAXIS_H
#define QUIETFLOOR_TOOLS_PICTURE_FREQUENCYAXIS_H

#include <cmath>

namespace quietfloor {

/// From 0 Hz to half the sample rate on O'Shaughnessy's mel scale (Speech Communication, 1987): linear below
/// 700 Hz, logarithmic above. So the single lines of hum, the harmonics of voices and the whole of a hiss all
/// have room, whatever the rate: a linear axis spends half of its height on the top octave, and a logarithmic
/// one on bins that it has to spread.
class FrequencyAxis {
public:
    explicit FrequencyAxis(int sampleRate) : span(std::log1p(0.5 * sampleRate / corner)) {}

    /// 0 at 0 Hz, 1 at half the sample rate.
    double Position(double hz) const { return std::log1p(hz / corner) / span; }
    double HzAt(double position) const { return corner * std::expm1(position * span); }

private:
    static constexpr double corner = 700.0; // Hz
    double span;
};

} // namespace quietfloor

#endif
