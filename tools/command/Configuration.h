// SPDX-License-Identifier: MIT
/// Parameter values in a file: lines "name = value", comments from '#' or ';' on, as both TOML and INI
/// files have them. There are no sections.
#ifndef QUIETFLOOR_TOOLS_COMMAND_CONFIGURATION_H
#define QUIETFLOOR_TOOLS_COMMAND_CONFIGURATION_H

#include <filesystem>

#include "dsp/Parameters.h"

namespace quietfloor {

/// `values` but for what the file gives. Throws UsageError with the file and the line: for a file that
/// cannot be read, a name that no settable parameter has, a name given twice, a value out of bounds.
ParameterValues ReadConfiguration(const std::filesystem::path &file, ParameterValues values);

/// Every settable parameter, with a comment each; "-" is standard output. Writes the file whole or not at
/// all; throws FileError, also if it exists, unless it `overwrites`.
void WriteConfiguration(const std::filesystem::path &file, const ParameterValues &values, bool overwrites);

} // namespace quietfloor

#endif
