#include "bench/Contenders.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include <speex/speex_preprocess.h>

#include "dsp/SingleChannelAdaptiveNoise.h"

namespace quietfloor {
namespace {

using Reducer = dsp::SingleChannelAdaptiveNoise;

Reducer MakeReducer(const ParameterValues &values, int rateHz) {
    Reducer reducer;
    for (int i = 0; i < parameterCount; ++i)
        if (ParameterAt(i).isSettable)
            reducer.SetParameter(i, values[static_cast<std::size_t>(i)]);
    reducer.SetSampleRate(rateHz);
    reducer.Resume();
    return reducer;
}

// `noisy` with silence around it, so that the whole of it comes out of something `delay` samples late.
Signal Padded(SignalView noisy, std::size_t before, std::size_t after) {
    Signal padded(before + noisy.size() + after, 0.0f);
    std::copy(noisy.begin(), noisy.end(), padded.begin() + static_cast<std::ptrdiff_t>(before));
    return padded;
}

} // namespace

Signal RunReducer(const ParameterValues &values, SignalView noisy, int rateHz) {
    Reducer reducer = MakeReducer(values, rateHz);
    const auto delay = static_cast<std::size_t>(reducer.GetLatency());
    // The filter's first block begins half a hop into the stream: silence goes ahead of the signal.
    const std::size_t ahead = reducer.GetParameter(Reducer::kFilterMode) != 0.0f ? delay : 0;
    Signal signal = Padded(noisy, ahead, delay);
    reducer.Process(signal.data(), signal.data(), static_cast<int>(signal.size()));
    signal.erase(signal.begin(), signal.begin() + static_cast<std::ptrdiff_t>(ahead + delay));
    return signal;
}

int LatencyOf(const ParameterValues &values, int rateHz) { return MakeReducer(values, rateHz).GetLatency(); }

Signal RunSpeex(int suppressDb, SignalView noisy, int rateHz) {
    const int frame = rateHz / 50;
    const auto delay = static_cast<std::size_t>(frame); // of its overlapping windows
    const std::unique_ptr<SpeexPreprocessState, void (*)(SpeexPreprocessState *)> state(
        speex_preprocess_state_init(frame, rateHz), speex_preprocess_state_destroy);
    int on = 1, off = 0;
    speex_preprocess_ctl(state.get(), SPEEX_PREPROCESS_SET_DENOISE, &on);
    speex_preprocess_ctl(state.get(), SPEEX_PREPROCESS_SET_AGC, &off);
    speex_preprocess_ctl(state.get(), SPEEX_PREPROCESS_SET_DEREVERB, &off);
    speex_preprocess_ctl(state.get(), SPEEX_PREPROCESS_SET_NOISE_SUPPRESS, &suppressDb);

    const Signal padded = Padded(noisy, 0, 2 * delay); // whole frames, and the last one pushed out
    std::vector<spx_int16_t> block(delay);
    Signal processed;
    for (std::size_t at = 0; at + delay <= padded.size(); at += delay) {
        std::transform(padded.begin() + static_cast<std::ptrdiff_t>(at),
                       padded.begin() + static_cast<std::ptrdiff_t>(at + delay), block.begin(), [](float x) {
                           return static_cast<spx_int16_t>(std::lrint(32767.0f * std::clamp(x, -1.0f, 1.0f)));
                       });
        speex_preprocess_run(state.get(), block.data());
        for (const spx_int16_t sample : block)
            processed.push_back(static_cast<float>(sample) / 32767.0f);
    }
    processed.erase(processed.begin(), processed.begin() + frame);
    processed.resize(noisy.size());
    return processed;
}

} // namespace quietfloor
