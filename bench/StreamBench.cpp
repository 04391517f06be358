// What the stream costs: processor time per sample, and as a multiple of real time at 44.1 kHz.
#include <benchmark/benchmark.h>

#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "dsp/SingleChannelAdaptiveNoise.h"

namespace {

using dsp::SingleChannelAdaptiveNoise;

constexpr double rateHz = 44100.0;
constexpr int blockLength = 512;

// Noise at -40 dBFS all the time, and over it syllables of a rough voice: 0.3 s each, 0.2 s apart.
std::vector<float> NoiseWithSpeechLikeBursts(double seconds) {
    std::mt19937 generator(1);
    std::normal_distribution<double> noise(0.0, 0.01);
    std::vector<float> signal(static_cast<std::size_t>(seconds * rateHz));
    for (std::size_t i = 0; i < signal.size(); ++i) {
        const double time = static_cast<double>(i) / rateHz;
        const double phase = std::fmod(time, 0.5) / 0.3;
        double voice = 0.0;
        if (phase < 1.0)
            for (int harmonic = 1; harmonic <= 20; ++harmonic)
                voice += std::sin(2.0 * std::numbers::pi * 140.0 * harmonic * time) / harmonic;
        const double envelope = phase < 1.0 ? std::sin(std::numbers::pi * phase) : 0.0;
        signal[i] = static_cast<float>(0.1 * envelope * voice + noise(generator));
    }
    return signal;
}

// Goes round and round a signal of 4 s whose first pass is not timed: the noise has been learnt.
void Stream(benchmark::State &state) {
    static const std::vector<float> signal = NoiseWithSpeechLikeBursts(4.0);
    std::vector<float> in(signal), out(blockLength);
    SingleChannelAdaptiveNoise reducer;
    reducer.SetParameter(SingleChannelAdaptiveNoise::kFftSize, static_cast<float>(state.range(0)));
    reducer.SetParameter(SingleChannelAdaptiveNoise::kFilterMode, static_cast<float>(state.range(1)));
    reducer.Resume();
    std::size_t at = 0;
    const auto ProcessBlock = [&] {
        if (at + blockLength > in.size())
            at = 0;
        reducer.Process(in.data() + at, out.data(), blockLength);
        at += blockLength;
    };
    for (std::size_t warmUp = 0; warmUp < in.size(); warmUp += blockLength)
        ProcessBlock();
    for ([[maybe_unused]] auto step : state) {
        ProcessBlock();
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    const double samples = static_cast<double>(state.iterations()) * blockLength;
    using benchmark::Counter;
    state.counters["time/sample"] = Counter(samples, Counter::kIsRate | Counter::kInvert);
    state.counters["xRealTime"] = Counter(samples / rateHz, Counter::kIsRate);
}

} // namespace

BENCHMARK(Stream)
    ->ArgNames({"size", "filter"})
    ->ArgsProduct({benchmark::CreateRange(64, 16384, 2), {0, 1}})
    ->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
