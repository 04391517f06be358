// SPDX-License-Identifier: MIT
#include "tools/command/ParameterText.h"

#include <charconv>
#include <cmath>
#include <cstdio>

#include "dsp/Estimators.h"
#include "dsp/Presets.h"
#include "tools/command/JsonWriter.h"
#include "tools/command/UsageError.h"

namespace quietfloor {
namespace {

// -0 shows as 0.
float LowestForPeople(const ParameterInfo &parameter) { return std::ceil(parameter.lowerBound) + 0.0f; }
float HighestForPeople(const ParameterInfo &parameter) { return std::floor(parameter.upperBound); }

std::string WithUnit(const std::string &number, const ParameterInfo &parameter) {
    return *parameter.unit ? number + ' ' + parameter.unit : number;
}

std::string Padded(const std::string &text, std::size_t width) {
    return text + std::string(text.size() < width ? width - text.size() : 1, ' ');
}

JsonObject AsJson(const ParameterInfo &parameter) {
    JsonObject object;
    object.Add("name", parameter.name);
    object.Add("unit", parameter.unit);
    object.AddToken("default", NumberText(parameter.defaultValue));
    object.AddToken("lowest", NumberText(LowestForPeople(parameter)));
    object.AddToken("highest", NumberText(HighestForPeople(parameter)));
    object.Add("description", parameter.description);
    return object;
}

JsonObject AsJson(const Preset &preset) {
    JsonObject values, object;
    for (int i = 0; i < parameterCount; ++i)
        if (ParameterAt(i).isSettable)
            values.AddToken(ParameterAt(i).name, NumberText(preset.values[static_cast<std::size_t>(i)]));
    object.Add("name", preset.name);
    object.Add("description", preset.description);
    object.Add("estimator", NameOf(preset.estimator));
    object.AddToken("values", values.Text());
    return object;
}

std::string SettingsText(const Preset &preset) {
    std::string text = std::string("estimator ") + NameOf(preset.estimator);
    for (int i = 0; i < parameterCount; ++i) {
        const ParameterInfo &parameter = ParameterAt(i);
        const float value = preset.values[static_cast<std::size_t>(i)];
        if (parameter.isSettable && value != parameter.defaultValue)
            text += std::string(", ") + parameter.name + ' ' + WithUnit(NumberText(value), parameter);
    }
    return text;
}

} // namespace

std::string RangeText(const ParameterInfo &parameter) {
    return WithUnit(NumberText(LowestForPeople(parameter)) + " to " + NumberText(HighestForPeople(parameter)),
                    parameter);
}

std::string NumberText(float value) {
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

void CheckRange(const ParameterInfo &parameter, float value, const std::string &where) {
    if (value >= parameter.lowerBound && value <= parameter.upperBound)
        return;
    throw UsageError(where + parameter.name + ": " + NumberText(value) + " is not in " +
                     RangeText(parameter));
}

std::string ParameterList(bool isJson) {
    JsonArray array;
    std::string table = Padded("PARAMETER", 14) + Padded("RANGE", 22) + Padded("DEFAULT", 9) + "WHAT IT IS\n";
    for (int i = 0; i < parameterCount; ++i) {
        const ParameterInfo &parameter = ParameterAt(i);
        if (!parameter.isSettable)
            continue;
        array.Add(AsJson(parameter));
        table += Padded(parameter.name, 14) + Padded(RangeText(parameter), 22) +
                 Padded(NumberText(parameter.defaultValue), 9) + parameter.description + '\n';
    }
    return isJson ? array.Text() : table;
}

std::string PresetList(bool isJson) {
    JsonArray array;
    std::string table;
    for (const Preset &preset : Presets()) {
        array.Add(AsJson(preset));
        table += Padded(preset.name, 9) + preset.description + '\n' + std::string(9, ' ') +
                 SettingsText(preset) + '\n';
    }
    return isJson ? array.Text() : table;
}

} // namespace quietfloor
