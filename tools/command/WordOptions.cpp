// SPDX-License-Identifier: MIT
#include "tools/command/WordOptions.h"

#include <charconv>

#include "dsp/Estimators.h"
#include "tools/command/ParameterText.h"
#include "tools/command/UsageError.h"

namespace quietfloor {
namespace {

bool TakeEstimator(DenoiseSettings &settings, std::string_view word) {
    const EstimatorInfo *found = FindEstimator(word);
    if (found != nullptr)
        settings.estimator = found->estimator;
    return found != nullptr;
}

std::string EstimatorText(const DenoiseSettings &settings) { return NameOf(settings.estimator); }

bool TakeLink(DenoiseSettings &settings, std::string_view word) {
    if (word != "on" && word != "off")
        return false;
    settings.linksChannels = word == "on";
    return true;
}

std::string LinkText(const DenoiseSettings &settings) {
    return !settings.linksChannels ? "" : *settings.linksChannels ? "on" : "off";
}

// 0 s is off.
bool TakeLearn(DenoiseSettings &settings, std::string_view word) {
    constexpr float mostSeconds = 60.0f;
    using Amount = Learning::Amount;
    float seconds = 0.0f;
    if (word != "auto" && word != "off") {
        const auto [end, status] = std::from_chars(word.data(), word.data() + word.size(), seconds);
        if (status != std::errc() || end != word.data() + word.size() ||
            !(seconds >= 0.0f && seconds <= mostSeconds))
            return false;
    }
    const Amount amount = seconds > 0.0f ? Amount::seconds : Amount::nothing;
    settings.learning = {word == "auto" ? Amount::automatic : amount, seconds};
    return true;
}

std::string LearnText(const DenoiseSettings &settings) {
    const auto &[amount, seconds] = settings.learning;
    if (amount == Learning::Amount::seconds)
        return NumberText(static_cast<float>(seconds));
    return amount == Learning::Amount::automatic ? "auto" : "off";
}

constexpr WordOption options[] = {
    {"estimator", "--estimator", "gate or log-spectral",
     "how gains follow from the learnt noise (gate or log-spectral; default gate)", TakeEstimator,
     EstimatorText},
    {"learn", "--learn,--prime", "auto, off or 0 to 60 s",
     "learn the noise before cleaning: auto, off, or from so many seconds of the beginning (0 to 60; "
     "default: auto)",
     TakeLearn, LearnText},
    {"link", "--link", "on or off",
     "the same gains for all channels (on or off; default: on for two channels)", TakeLink, LinkText},
};

} // namespace

std::span<const WordOption> WordOptions() { return options; }

void TakeWord(const WordOption &option, std::string_view word, DenoiseSettings &settings,
              const std::string &where) {
    if (!option.take(settings, word))
        throw UsageError(where + option.name + ": '" + std::string(word) + "' is not " + option.words);
}

} // namespace quietfloor
