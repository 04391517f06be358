// SPDX-License-Identifier: MIT
/// Settings of the noise reduction in a file: lines "name = value", comments from '#' or ';' on, as both TOML
/// and INI files have them. There are no sections.
#ifndef QUIETFLOOR_TOOLS_COMMAND_CONFIGURATION_H
#define QUIETFLOOR_TOOLS_COMMAND_CONFIGURATION_H

#include <filesystem>

#include "tools/denoise/DenoiseSettings.h"

namespace quietfloor {

/// `settings` but for what the file gives. Throws UsageError with the file and the line: for a file that
/// cannot be read, a name that neither a settable parameter nor a word option has, a name given twice, a
/// value out of bounds, another word.
DenoiseSettings ReadConfiguration(const std::filesystem::path &file, DenoiseSettings settings);

/// Every settable parameter and every word in effect, with a comment each; "-" is standard output. Writes
/// the file whole or not at all; throws FileError, also if it exists, unless the settings overwrite.
void WriteConfiguration(const std::filesystem::path &file, const DenoiseSettings &settings);

} // namespace quietfloor

#endif
