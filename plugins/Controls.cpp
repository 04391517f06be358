// SPDX-License-Identifier: MIT
#include "plugins/Controls.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "dsp/SingleChannelAdaptiveNoise.h"

namespace quietfloor {
namespace {

using Object = dsp::SingleChannelAdaptiveNoise;

std::vector<Choice> ChoicesFor(const Control &control) {
    std::vector<Choice> choices;
    if (control.parameter == Object::kFftSize)
        for (float size = control.lowest; size <= control.highest; size *= 2)
            choices.push_back({size, std::to_string(std::lround(size))});
    if (control.parameter == Object::kFilterMode)
        choices = {{0.0f, "Gain per band"}, {1.0f, "Linear-phase filter"}};
    return choices;
}

Control MakeControl(int parameter) {
    const ParameterInfo &info = ParameterAt(parameter);
    Control control;
    control.parameter = parameter;
    control.symbol = info.name;
    std::replace(control.symbol.begin(), control.symbol.end(), '-', '_');
    control.title = TitleOf(info.name);
    control.lowest = std::ceil(info.lowerBound) + 0.0f; // makes -0 plain 0
    control.highest = std::floor(info.upperBound);
    control.isLogarithmic = parameter == Object::kFftSize || parameter == Object::kReleaseMs;
    control.choices = ChoicesFor(control);
    return control;
}

} // namespace

std::vector<Control> Controls() {
    std::vector<Control> controls;
    for (int i = 0; i < parameterCount; ++i)
        if (ParameterAt(i).isSettable)
            controls.push_back(MakeControl(i));
    return controls;
}

std::string TitleOf(const std::string &name) {
    std::string title = name;
    std::replace(title.begin(), title.end(), '-', ' ');
    if (title.starts_with("fft")) // an acronym
        title.replace(0, 3, "FFT");
    else if (!title.empty())
        title[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(title[0])));
    return title;
}

} // namespace quietfloor
