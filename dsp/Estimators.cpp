// SPDX-License-Identifier: MIT
#include "dsp/Estimators.h"

#include <algorithm>

namespace quietfloor {
namespace {

using Object = dsp::SingleChannelAdaptiveNoise;

constexpr EstimatorInfo estimators[] = {
    {Object::kGate, "gate", "Gate"},
    {Object::kLogSpectral, "log-spectral", "Log-spectral"},
};
static_assert(Object::kGate == 0 && Object::kLogSpectral == 1);

} // namespace

std::span<const EstimatorInfo> Estimators() noexcept { return estimators; }

const EstimatorInfo *FindEstimator(int number) noexcept {
    const bool isListed = number >= 0 && number < static_cast<int>(std::size(estimators));
    return isListed ? &estimators[number] : nullptr;
}

const EstimatorInfo *FindEstimator(std::string_view name) noexcept {
    const auto *const found = std::find_if(std::begin(estimators), std::end(estimators),
                                           [name](const EstimatorInfo &info) { return info.name == name; });
    return found == std::end(estimators) ? nullptr : found;
}

const char *NameOf(Object::Estimator estimator) noexcept { return estimators[estimator].name; }

} // namespace quietfloor
