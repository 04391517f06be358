#include "tools/ChannelReducers.h"

#include <cstdlib>
#include <mutex>

namespace quietfloor {
namespace {

using Reducer = dsp::SingleChannelAdaptiveNoise;

// A rebuild draws the dither from the C library's generator, of which the process has only one: nobody
// else may draw meanwhile, and none is left to do when this is over.
std::vector<Reducer> MakeReducers(std::size_t channels, int sampleRate, const ParameterValues &parameters) {
    static std::mutex generator;
    const std::lock_guard<std::mutex> lock(generator);
    std::srand(1);
    Reducer reducer;
    for (int i = 0; i < parameterCount; ++i)
        if (ParameterAt(i).isSettable)
            reducer.SetParameter(i, parameters[static_cast<std::size_t>(i)]);
    reducer.SetSampleRate(sampleRate);
    reducer.Resume();
    return std::vector<Reducer>(channels, reducer);
}

} // namespace

ChannelReducers::ChannelReducers(int channels, int sampleRate, const ParameterValues &parameters)
    : reducers(MakeReducers(static_cast<std::size_t>(channels), sampleRate, parameters)) {}

sf_count_t ChannelReducers::LeadIn() const {
    return reducers.front().GetParameter(Reducer::kFilterMode) != 0.0f ? Latency() : 0;
}

void ChannelReducers::Process(float *block, sf_count_t frames) {
    const auto count = static_cast<std::size_t>(frames);
    channel.resize(count);
    for (std::size_t c = 0; c < reducers.size(); ++c) {
        for (std::size_t i = 0; i < count; ++i)
            channel[i] = block[i * reducers.size() + c];
        reducers[c].Process(channel.data(), channel.data(), static_cast<int>(count));
        for (std::size_t i = 0; i < count; ++i)
            block[i * reducers.size() + c] = channel[i];
    }
}

} // namespace quietfloor
