// SPDX-License-Identifier: MIT
/// What the plug-ins let people control, and how.
#ifndef QUIETFLOOR_PLUGINS_CONTROLS_H
#define QUIETFLOOR_PLUGINS_CONTROLS_H

#include <string>
#include <vector>

#include "dsp/Parameters.h"
#include "dsp/Presets.h"

namespace quietfloor {

/// The estimator's place, behind those of the parameters.
inline constexpr int estimatorControl = parameterCount;
inline constexpr int controlCount = parameterCount + 1;

struct Choice {
    float value;
    std::string label;
};

struct Control {
    int place = 0;                 // row of the parameter table, or `estimatorControl`
    std::string symbol;            // unique, a C identifier: hosts save values under it
    std::string title;             // for people, without the unit
    std::string unit, description; // as in the parameter table
    float defaultValue = 0;
    float lowest = 0, highest = 0; // the published bounds, rounded inwards to whole numbers
    bool isLogarithmic = false;
    std::vector<Choice> choices; // if not empty, the only values that make sense
};

/// One for each settable parameter in the order of the table, then the estimator. Hosts save values by this
/// order, too, so what is new goes to the end. Allocates.
std::vector<Control> Controls();

/// What a preset sets a control to.
float ValueIn(const Preset &preset, const Control &control) noexcept;

/// "A word or two" for "a-word-or-two".
std::string TitleOf(const std::string &name);

} // namespace quietfloor

#endif
