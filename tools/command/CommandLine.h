// SPDX-License-Identifier: MIT
/// What the program is asked to do.
#ifndef QUIETFLOOR_TOOLS_COMMAND_COMMANDLINE_H
#define QUIETFLOOR_TOOLS_COMMAND_COMMANDLINE_H

#include <filesystem>
#include <string>
#include <vector>

#include "tools/denoise/DenoiseSettings.h"

namespace quietfloor {

struct CommandLine {
    std::string answer; // what --help and the like print; unless empty, nothing else is asked for

    std::vector<std::filesystem::path> sources; // files, or folders where `folder` is given
    std::filesystem::path target;               // of the one source; empty where `folder` is given
    std::filesystem::path folder;               // of all targets; empty where `target` is given
    std::filesystem::path spectrogram;          // a picture, or a folder of them where `folder` is given
    std::filesystem::path savedConfiguration;   // to be written first; empty for none

    DenoiseSettings settings;
    int jobs = 1; // files at once
    bool printsJson = false, isQuiet = false, isVerbose = false, isDryRun = false;
};

/// Takes the arguments after the program's name. Parameters are, the strongest last: the defaults, the
/// preset, the configuration file, the options. Throws UsageError.
CommandLine ParseCommandLine(const std::vector<std::string> &arguments);

} // namespace quietfloor

#endif
