// SPDX-License-Identifier: MIT
#include "plugins/ReducerGroup.h"

namespace quietfloor {

bool TakesRebuild(int parameter) noexcept {
    using Object = dsp::SingleChannelAdaptiveNoise;
    return parameter == Object::kFftSize || parameter == Object::kFilterMode || parameter == Object::kKneeDb;
}

ReducerGroup::ReducerGroup(int channelCount, int sampleRate, const ReducerSettings &settings)
    : group(channelCount, sampleRate, settings.values), values(settings.values) {
    group.SetEstimator(settings.estimator);
    group.PushLeadIn();
}

bool ReducerGroup::NeedsRebuildFor(const ReducerSettings &wanted) const noexcept {
    for (std::size_t i = 0; i < values.size(); ++i)
        if (TakesRebuild(static_cast<int>(i)) && values[i] != wanted.values[i])
            return true;
    return false;
}

void ReducerGroup::Follow(const ReducerSettings &wanted) noexcept {
    group.SetEstimator(wanted.estimator);
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (TakesRebuild(static_cast<int>(i)) || values[i] == wanted.values[i])
            continue;
        values[i] = wanted.values[i];
        group.SetParameter(static_cast<int>(i), values[i]);
    }
}

} // namespace quietfloor
