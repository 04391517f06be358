#include "plugins/ReducerGroup.h"

namespace quietfloor {
namespace {

using Object = dsp::SingleChannelAdaptiveNoise;

// The filter's first block begins half a hop into the stream; after one latency of silence nothing of
// the sound is lost.
void PushLeadIn(Object &reducer) {
    if (reducer.GetParameter(Object::kFilterMode) == 0.0f)
        return;
    std::vector<float> silence(static_cast<std::size_t>(reducer.GetLatency()));
    reducer.Process(silence.data(), silence.data(), reducer.GetLatency());
}

} // namespace

bool TakesRebuild(int parameter) noexcept {
    return parameter == Object::kFftSize || parameter == Object::kFilterMode || parameter == Object::kKneeDb;
}

ReducerGroup::ReducerGroup(int channels, int sampleRate, const ParameterValues &given)
    : reducers(static_cast<std::size_t>(channels)), values(given) {
    for (Object &reducer : reducers) {
        for (int i = 0; i < parameterCount; ++i)
            if (ParameterAt(i).isSettable)
                reducer.SetParameter(i, values[static_cast<std::size_t>(i)]);
        reducer.SetSampleRate(sampleRate);
        reducer.Resume();
        PushLeadIn(reducer);
    }
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
        for (Object &reducer : reducers)
            reducer.SetParameter(static_cast<int>(i), wanted[i]);
    }
}

} // namespace quietfloor
