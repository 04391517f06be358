// SPDX-License-Identifier: MIT
/// How sounds are to be cleaned.
#ifndef QUIETFLOOR_TOOLS_DENOISE_DENOISESETTINGS_H
#define QUIETFLOOR_TOOLS_DENOISE_DENOISESETTINGS_H

#include <optional>

#include "dsp/Parameters.h"
#include "dsp/SingleChannelAdaptiveNoise.h"

namespace quietfloor {

/// How much of a sound is learnt from before it is cleaned.
struct Learning {
    /// All that can be read twice, and of a pipe into a file the first half minute; nothing; so many seconds
    /// of the beginning.
    enum class Amount { automatic, nothing, seconds };

    Amount amount = Amount::automatic;
    double seconds = 0.0;
};

/// What is the same for every file of a run. Values must be inside the parameter table's bounds.
struct DenoiseSettings {
    ParameterValues parameters = DefaultValues(); // those that cannot be set are ignored
    dsp::SingleChannelAdaptiveNoise::Estimator estimator = dsp::SingleChannelAdaptiveNoise::kGate;
    std::optional<bool> linksChannels = {}; // the same gains for all; not given: only where there are two
    bool keepsLatency = false;              // the target is late by the latency, cut at the source's length
    bool writesResidual = false;            // the target gets what was removed: target + cleaned = source
    double mix = 1.0;                       // share of the cleaned sound, 0 to 1; the rest is the source
    Learning learning = {};
    int container = 0;       // SF_FORMAT_TYPEMASK bits; 0 keeps the source's
    int sampleFormat = 0;    // SF_FORMAT_SUBMASK bits; 0 keeps the source's
    bool overwrites = false; // else a target that exists is an error
};

} // namespace quietfloor

#endif
