// SPDX-License-Identifier: MIT
/// Named settings, an estimator and values of all parameters: what the program and the plug-ins offer.
#ifndef QUIETFLOOR_DSP_PRESETS_H
#define QUIETFLOOR_DSP_PRESETS_H

#include <span>
#include <string_view>

#include "dsp/Parameters.h"
#include "dsp/SingleChannelAdaptiveNoise.h"

namespace quietfloor {

struct Preset {
    const char *name;        // lower case, one word
    const char *description; // one line for people: what it is for and what it trades
    dsp::SingleChannelAdaptiveNoise::Estimator estimator;
    ParameterValues values;
};

/// All presets: the object's own defaults, then the others, the gentlest first.
std::span<const Preset> Presets() noexcept;

/// Null if no preset has the name.
const Preset *FindPreset(std::string_view name) noexcept;

} // namespace quietfloor

#endif
