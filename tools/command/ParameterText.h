// SPDX-License-Identifier: MIT
/// Parameters and presets as text for people and for scripts.
#ifndef QUIETFLOOR_TOOLS_COMMAND_PARAMETERTEXT_H
#define QUIETFLOOR_TOOLS_COMMAND_PARAMETERTEXT_H

#include <string>

#include "dsp/Parameters.h"

namespace quietfloor {

/// "0 to 40 dB". For people the range ends at whole numbers: some bounds leave room for a slider's
/// rounding.
std::string RangeText(const ParameterInfo &parameter);

/// The shortest decimal that reads back as the same value.
std::string NumberText(float value);

/// Throws UsageError, which says `where` the value stands, unless it is inside the bounds. NaN is not.
void CheckRange(const ParameterInfo &parameter, float value, const std::string &where);

/// All parameters that can be set: a table, or a JSON array of objects.
std::string ParameterList(bool isJson);

/// All presets with their estimator and the values that differ from the defaults. Only lines that begin with
/// a preset's name are not indented.
std::string PresetList(bool isJson);

} // namespace quietfloor

#endif
