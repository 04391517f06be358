// SPDX-License-Identifier: MIT
/// How sounds are to be cleaned.
#ifndef QUIETFLOOR_TOOLS_DENOISE_DENOISESETTINGS_H
#define QUIETFLOOR_TOOLS_DENOISE_DENOISESETTINGS_H

#include <optional>

#include "dsp/Parameters.h"

namespace quietfloor {

/// What is the same for every file of a run. Values must be inside the parameter table's bounds.
struct DenoiseSettings {
    ParameterValues parameters = DefaultValues(); // those that cannot be set are ignored
    std::optional<bool> linksChannels = {}; // the same gains for all; not given: only where there are two
    bool keepsLatency = false;              // the target is late by the latency, cut at the source's length
    bool writesResidual = false;            // the target gets what was removed: target + cleaned = source
    double mix = 1.0;                       // share of the cleaned sound, 0 to 1; the rest is the source
    double primeSeconds = 0.0;              // how much of the beginning is learnt from before the real pass
    int container = 0;                      // SF_FORMAT_TYPEMASK bits; 0 keeps the source's
    int sampleFormat = 0;                   // SF_FORMAT_SUBMASK bits; 0 keeps the source's
    bool overwrites = false;                // else a target that exists is an error
};

} // namespace quietfloor

#endif
