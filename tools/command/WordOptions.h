// SPDX-License-Identifier: MIT
/// Settings whose value is a word, the same on the command line and in a configuration file.
#ifndef QUIETFLOOR_TOOLS_COMMAND_WORDOPTIONS_H
#define QUIETFLOOR_TOOLS_COMMAND_WORDOPTIONS_H

#include <span>
#include <string>
#include <string_view>

#include "tools/denoise/DenoiseSettings.h"

namespace quietfloor {

struct WordOption {
    const char *name;        // in a configuration file, and in what is said of a wrong word
    const char *flags;       // on the command line
    const char *words;       // what may be given, for people
    const char *description; // with the default
    /// False, and nothing changes, for any other word.
    bool (*take)(DenoiseSettings &settings, std::string_view word);
    /// The word in effect; empty where none was given and the default depends on the sound.
    std::string (*text)(const DenoiseSettings &settings);
};

std::span<const WordOption> WordOptions();

/// Throws UsageError, which says `where` the word stands, if the option does not take it.
void TakeWord(const WordOption &option, std::string_view word, DenoiseSettings &settings,
              const std::string &where);

} // namespace quietfloor

#endif
