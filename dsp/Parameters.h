// SPDX-License-Identifier: MIT
/// The parameter table: one row per parameter, used by the object, the program and the plug-ins. The lists of
/// parameters in the public headers and in the pages are made from it (scripts/check-docs --renew).
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
    bool isSettable;       // false where a value has no effect or is only read back
    const char *effective; // "at once", "rebuild" or "waits", as the object's header says; "" if not settable
    const char *description; // one line for people
    const char *advice;      // for the pages: what turning it does
    const char *excess;      // for the pages: what is heard when it is turned too far up
};

inline constexpr int parameterCount = 14;

/// Row `index` of the table, 0 to 13 in the order of dsp::SingleChannelAdaptiveNoise::Parameter.
const ParameterInfo &ParameterAt(int index) noexcept;

/// One value per row of the table.
using ParameterValues = std::array<float, parameterCount>;

ParameterValues DefaultValues() noexcept;

} // namespace quietfloor

#endif
