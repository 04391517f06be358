// SPDX-License-Identifier: MIT
#include "tools/command/WordOptions.h"

#include "tools/command/UsageError.h"

namespace quietfloor {
namespace {

bool TakeLink(DenoiseSettings &settings, std::string_view word) {
    if (word != "on" && word != "off")
        return false;
    settings.linksChannels = word == "on";
    return true;
}

std::string LinkText(const DenoiseSettings &settings) {
    return !settings.linksChannels ? "" : *settings.linksChannels ? "on" : "off";
}

constexpr WordOption options[] = {
    {"link", "on or off", "the same gains for all channels (on or off; default: on for two channels)",
     TakeLink, LinkText},
};

} // namespace

std::span<const WordOption> WordOptions() { return options; }

void TakeWord(const WordOption &option, std::string_view word, DenoiseSettings &settings,
              const std::string &where) {
    if (!option.take(settings, word))
        throw UsageError(where + option.name + ": '" + std::string(word) + "' is not " + option.words);
}

} // namespace quietfloor
