// SPDX-License-Identifier: MIT
/// Which parameters the plug-ins show to people, and how.
#ifndef QUIETFLOOR_PLUGINS_CONTROLS_H
#define QUIETFLOOR_PLUGINS_CONTROLS_H

#include <string>
#include <vector>

#include "dsp/Parameters.h"

namespace quietfloor {

struct Choice {
    float value;
    std::string label;
};

struct Control {
    int parameter = 0;             // row of the parameter table
    std::string symbol;            // unique, a C identifier: hosts save values under it
    std::string title;             // for people, without the unit
    float lowest = 0, highest = 0; // the published bounds, rounded inwards to whole numbers
    bool isLogarithmic = false;
    std::vector<Choice> choices; // if not empty, the only values that make sense

    const ParameterInfo &Info() const noexcept { return ParameterAt(parameter); }
};

/// One for each settable parameter, in the order of the table. Allocates.
std::vector<Control> Controls();

/// "A word or two" for "a-word-or-two".
std::string TitleOf(const std::string &name);

} // namespace quietfloor

#endif
