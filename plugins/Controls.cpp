// SPDX-License-Identifier: MIT
#include "plugins/Controls.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "dsp/Estimators.h"
#include "plugins/ReducerGroup.h"

namespace quietfloor {
namespace {

using Object = dsp::SingleChannelAdaptiveNoise;

std::vector<Choice> ChoicesFor(const Control &control) {
    std::vector<Choice> choices;
    if (control.place == Object::kFftSize)
        for (float size = control.lowest; size <= control.highest; size *= 2)
            choices.push_back({size, std::to_string(std::lround(size))});
    if (control.place == Object::kFilterMode)
        choices = {{0.0f, "Gain per bin"}, {1.0f, "Linear-phase filter"}};
    return choices;
}

Control MakeEstimatorControl() {
    Control control;
    control.place = estimatorControl;
    control.symbol = "estimator";
    control.title = TitleOf(control.symbol);
    control.description = "how gains follow from the signal and the learnt noise";
    for (const EstimatorInfo &info : Estimators())
        control.choices.push_back({static_cast<float>(info.estimator), info.title});
    control.lowest = control.choices.front().value;
    control.highest = control.choices.back().value;
    control.defaultValue = static_cast<float>(ReducerSettings().estimator);
    return control;
}

Control MakeControl(int parameter) {
    const ParameterInfo &info = ParameterAt(parameter);
    Control control;
    control.place = parameter;
    control.symbol = info.name;
    std::replace(control.symbol.begin(), control.symbol.end(), '-', '_');
    control.title = TitleOf(info.name);
    control.unit = info.unit;
    control.description = info.description;
    control.defaultValue = info.defaultValue;
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
    controls.push_back(MakeEstimatorControl());
    return controls;
}

float ValueIn(const Preset &preset, const Control &control) noexcept {
    return control.place == estimatorControl ? static_cast<float>(preset.estimator)
                                             : preset.values[static_cast<std::size_t>(control.place)];
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
