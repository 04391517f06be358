/// The parameter table: one row per parameter, used by the object, the program and whatever shows
/// parameters to people.
#ifndef QUIETFLOOR_DSP_PARAMETERS_H
#define QUIETFLOOR_DSP_PARAMETERS_H

#include <array>

namespace quietfloor {

struct ParameterInfo {
    const char *name; // long name as an option: lower case with hyphens
    const char *unit; // "dB", "Hz", "ms", "%", "samples" or ""
    float defaultValue;
    float lowerBound; // published, not enforced
    float upperBound;
    bool isSettable;         // false where a value has no effect or is only read back
    const char *description; // one line for people
};

inline constexpr int parameterCount = 14;

/// Row `index` of the table, 0 to 13 in the order of dsp::SingleChannelAdaptiveNoise::Parameter.
const ParameterInfo &ParameterAt(int index) noexcept;

/// One value per row of the table.
using ParameterValues = std::array<float, parameterCount>;

ParameterValues DefaultValues() noexcept;

} // namespace quietfloor

#endif
