// SPDX-License-Identifier: MIT
/// The estimators by name: what the program, the plug-ins and the tables of the pages call them.
#ifndef QUIETFLOOR_DSP_ESTIMATORS_H
#define QUIETFLOOR_DSP_ESTIMATORS_H

#include <span>
#include <string_view>

#include "dsp/SingleChannelAdaptiveNoise.h"

namespace quietfloor {

struct EstimatorInfo {
    dsp::SingleChannelAdaptiveNoise::Estimator estimator;
    const char *name;  // as an option's value: lower case with hyphens
    const char *title; // for people
};

/// All estimators; each stands at the place of its number.
std::span<const EstimatorInfo> Estimators() noexcept;

/// Null if no estimator has the number.
const EstimatorInfo *FindEstimator(int number) noexcept;

/// Null if no estimator has the name.
const EstimatorInfo *FindEstimator(std::string_view name) noexcept;

/// The name of an estimator of the list.
const char *NameOf(dsp::SingleChannelAdaptiveNoise::Estimator estimator) noexcept;

} // namespace quietfloor

#endif
