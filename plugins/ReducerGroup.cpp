// SPDX-License-Identifier: MIT
#include "plugins/ReducerGroup.h"

namespace quietfloor {

bool TakesRebuild(int parameter) noexcept {
    using Object = dsp::SingleChannelAdaptiveNoise;
    return parameter == Object::kFftSize || parameter == Object::kFilterMode || parameter == Object::kKneeDb;
}

ReducerGroup::ReducerGroup(int channelCount, int sampleRate, const ParameterValues &given)
    : group(channelCount, sampleRate, given), values(given) {
    group.PushLeadIn();
}

bool ReducerGroup::NeedsRebuildFor(const ParameterValues &wanted) const noexcept {
    for (std::size_t i = 0; i < values.size(); ++i)
        if (TakesRebuild(static_cast<int>(i)) && values[i] != wanted[i])
            return true;
    return false;
}

void ReducerGroup::Follow(const ParameterValues &wanted) noexcept {
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (TakesRebuild(static_cast<int>(i)) || values[i] == wanted[i])
            continue;
        values[i] = wanted[i];
        group.SetParameter(static_cast<int>(i), wanted[i]);
    }
}

} // namespace quietfloor
