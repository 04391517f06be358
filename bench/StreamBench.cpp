// SPDX-License-Identifier: MIT
// What the stream costs: time of a frame, processor time per sample beside speexdsp's preprocessor on
// the same samples, memory per object, and the modulation transforms beside FFTW's.
//
// The two take turns second by second, so that what else the machine does hits both; a ratio is the
// median over the seconds.
#include <benchmark/benchmark.h>
#include <fftw3.h>
#include <speex/speex_preprocess.h>

#include <malloc.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <ctime>
#include <memory>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "dsp/ChannelGroup.h"
#include "dsp/FrameGeometry.h"
#include "dsp/Parameters.h"
#include "noise/ModulationAnalysis.h"
#include "simd/LevelIndex.h"

namespace {

using dsp::ChannelGroup;

constexpr int seconds = 8; // the first two teach the noise and are not counted
constexpr int learning = 2;

enum Signal : int { noiseWithSpeech, silence, fullScale, subnormal, signalCount };
constexpr const char *signalNames[signalCount] = {"noise with speech", "silence", "full scale", "subnormal"};

// Noise at -40 dBFS all the time, and over it syllables of a rough voice: 0.3 s each, 0.2 s apart.
std::vector<float> NoiseWithSpeech(int rateHz) {
    std::mt19937 generator(1);
    std::normal_distribution<double> noise(0.0, 0.01);
    std::vector<float> signal(static_cast<std::size_t>(seconds * rateHz));
    for (std::size_t i = 0; i < signal.size(); ++i) {
        const double time = static_cast<double>(i) / rateHz;
        const double phase = std::fmod(time, 0.5) / 0.3;
        double voice = 0.0;
        for (int harmonic = 1; phase < 1.0 && harmonic <= 20; ++harmonic)
            voice += std::sin(2.0 * std::numbers::pi * 140.0 * harmonic * time) / harmonic;
        const double envelope = phase < 1.0 ? std::sin(std::numbers::pi * phase) : 0.0;
        signal[i] = static_cast<float>(0.1 * envelope * voice + noise(generator));
    }
    return signal;
}

std::vector<float> MakeSignal(Signal kind, int rateHz) {
    if (kind == noiseWithSpeech)
        return NoiseWithSpeech(rateHz);
    std::vector<float> signal(static_cast<std::size_t>(seconds * rateHz), 0.0f);
    std::mt19937 generator(2);
    std::uniform_real_distribution<float> full(-1.0f, 1.0f);
    if (kind != silence)
        std::generate(signal.begin(), signal.end(),
                      [&] { return kind == subnormal ? 1e-39f * full(generator) : full(generator); });
    return signal;
}

double ProcessorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// The q-th part of the values in rising order.
double Quantile(std::vector<double> values, double q) {
    std::sort(values.begin(), values.end());
    return values[static_cast<std::size_t>(q * static_cast<double>(values.size() - 1))];
}

// speexdsp's noise suppressor alone, in blocks of 10 ms, as it is meant to be used.
class SpeexStream {
public:
    explicit SpeexStream(int rateHz)
        : blockLength(rateHz / 100),
          state(speex_preprocess_state_init(rateHz / 100, rateHz), speex_preprocess_state_destroy) {
        int on = 1, off = 0;
        speex_preprocess_ctl(state.get(), SPEEX_PREPROCESS_SET_DENOISE, &on);
        speex_preprocess_ctl(state.get(), SPEEX_PREPROCESS_SET_AGC, &off);
        speex_preprocess_ctl(state.get(), SPEEX_PREPROCESS_SET_DEREVERB, &off);
    }

    // Processor time of `count` samples, a whole number of blocks.
    double Run(const float *samples, int count) {
        std::vector<spx_int16_t> rounded(static_cast<std::size_t>(count));
        std::transform(samples, samples + count, rounded.begin(),
                       [](float x) { return static_cast<spx_int16_t>(std::lrint(32767.0f * x)); });
        const double start = ProcessorSeconds();
        for (int at = 0; at < count; at += blockLength)
            speex_preprocess_run(state.get(), rounded.data() + at);
        return ProcessorSeconds() - start;
    }

private:
    int blockLength;
    std::unique_ptr<SpeexPreprocessState, void (*)(SpeexPreprocessState *)> state;
};

// One channel.
ChannelGroup MakeReducer(int size, int filterMode, int rateHz) {
    ChannelGroup::Values values = quietfloor::DefaultValues();
    values[dsp::SingleChannelAdaptiveNoise::kFftSize] = static_cast<float>(size);
    values[dsp::SingleChannelAdaptiveNoise::kFilterMode] = static_cast<float>(filterMode);
    return {1, rateHz, values};
}

// In place.
void ProcessBlock(ChannelGroup &reducer, float *block, int length) {
    reducer.Process(&block, &block, length);
}

// One second of ours in blocks of 10 ms; processor time.
double RunBlocks(ChannelGroup &reducer, const float *samples, int rateHz) {
    std::vector<float> block(samples, samples + rateHz);
    const int length = rateHz / 100;
    const double start = ProcessorSeconds();
    for (int at = 0; at < rateHz; at += length)
        ProcessBlock(reducer, block.data() + at, length);
    return ProcessorSeconds() - start;
}

// Times of single frames in microseconds, each block one hop long.
std::vector<double> FrameTimes(ChannelGroup &reducer, std::vector<float> signal, int hop, int skip) {
    using Clock = std::chrono::steady_clock;
    std::vector<double> times;
    for (int at = 0; at + hop <= static_cast<int>(signal.size()); at += hop) {
        const Clock::time_point start = Clock::now();
        ProcessBlock(reducer, signal.data() + at, hop);
        const std::chrono::duration<double, std::micro> spent = Clock::now() - start;
        if (at >= skip)
            times.push_back(spent.count());
    }
    return times;
}

// Every eighth frame analyses the modulation. The median of each of the eight, so that an interruption
// does not pass for a slow frame; the largest of them over the median of all.
double SlowestOverMedian(const std::vector<double> &frames) {
    std::array<std::vector<double>, 8> byTurn;
    for (std::size_t i = 0; i < frames.size(); ++i)
        byTurn[i % 8].push_back(frames[i]);
    double slowest = 0.0;
    for (const std::vector<double> &turn : byTurn)
        slowest = std::max(slowest, Quantile(turn, 0.5));
    return slowest / Quantile(frames, 0.5);
}

std::size_t AllocatedBytes() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void Stream(benchmark::State &state) {
    const quietfloor::DispatchScope level(static_cast<std::int32_t>(state.range(0)));
    const int size = static_cast<int>(state.range(1)), filterMode = static_cast<int>(state.range(2));
    const int rateHz = static_cast<int>(state.range(3));
    const auto kind = static_cast<Signal>(state.range(4));
    const std::vector<float> signal = MakeSignal(kind, rateHz);
    const std::size_t before = AllocatedBytes();
    ChannelGroup reducer = MakeReducer(size, filterMode, rateHz);
    state.counters["KiB"] = static_cast<double>(AllocatedBytes() - before) / 1024.0;

    SpeexStream speex(rateHz);
    std::vector<double> ours, ratios;
    for ([[maybe_unused]] auto pass : state) {
        double total = 0.0;
        for (int second = 0; second < seconds; ++second) {
            const float *samples = signal.data() + second * rateHz;
            const double spent = RunBlocks(reducer, samples, rateHz);
            const double theirs = speex.Run(samples, rateHz);
            total += spent;
            if (second < learning)
                continue;
            ours.push_back(spent / rateHz);
            ratios.push_back(spent / theirs);
        }
        state.SetIterationTime(total);
    }
    const int hop = dsp::MakeFrameGeometry(size, filterMode != 0).hopSize;
    const std::vector<double> frames = FrameTimes(reducer, signal, hop, learning * rateHz);
    state.counters["ns/sample"] = 1e9 * Quantile(ours, 0.5);
    state.counters["xRealTime"] = 1.0 / (Quantile(ours, 0.5) * rateHz);
    state.counters["vsSpeex"] = Quantile(ratios, 0.5);
    state.counters["us/frame"] = Quantile(frames, 0.5);
    state.counters["slowest"] = SlowestOverMedian(frames);
    state.counters["p99"] = Quantile(frames, 0.99);
    state.counters["worst"] = Quantile(frames, 1.0);
    state.SetLabel(std::string(quietfloor::NameOfSlot(quietfloor::CpuDispatchIndex)) + ", " +
                   signalNames[kind]);
}

// A frame after an hour of stream beside one of a new object.
void FrameAfterAnHour(benchmark::State &state) {
    const std::vector<float> signal = MakeSignal(noiseWithSpeech, 44100);
    std::vector<double> aged, fresh;
    for ([[maybe_unused]] auto pass : state) {
        ChannelGroup old(1, 44100), young(1, 44100);
        for (int second = 0; second < 3600; second += seconds) {
            std::vector<float> passing(signal);
            ProcessBlock(old, passing.data(), static_cast<int>(passing.size()));
        }
        for (int turn = 0; turn < 5; ++turn) {
            aged.push_back(Quantile(FrameTimes(old, signal, 128, 0), 0.5));
            fresh.push_back(Quantile(FrameTimes(young, signal, 128, learning * 44100), 0.5));
        }
        state.SetIterationTime(1e-6 * aged.back());
    }
    state.counters["us/frame"] = Quantile(aged, 0.5);
    state.counters["vsFresh"] = Quantile(aged, 0.5) / Quantile(fresh, 0.5);
}

// The modulation transforms of all bins, spread over the eight frames that share them, beside as many
// 64-point transforms in float.
void ModulationTransforms(benchmark::State &state) {
    const quietfloor::DispatchScope level(static_cast<std::int32_t>(state.range(0)));
    constexpr int bins = 256, stride = quietfloor::BinAnalysis::RowStride(bins);
    const quietfloor::NoiseKernels &kernels = quietfloor::SelectedNoiseKernels();
    const quietfloor::ModulationAnalyzer analyzer;
    std::mt19937 generator(3);
    std::normal_distribution<float> value(0.0f, 1.0f);
    quietfloor::Row<float> rings(2 * 64 * stride), results(34 * stride);
    std::generate(rings.begin(), rings.end(), [&] { return value(generator); });
    // Interleaved and out of place, in which FFTW is fastest.
    std::array<fftwf_complex, 64> in{}, out{};
    const fftwf_plan plan = fftwf_plan_dft_1d(64, in.data(), out.data(), FFTW_FORWARD, FFTW_MEASURE);
    constexpr int repeats = 64;
    std::vector<double> ratios, times;
    for ([[maybe_unused]] auto pass : state) {
        double start = ProcessorSeconds();
        for (int i = 0; i < repeats; ++i)
            kernels.TransformModulation(
                {rings.data(), rings.data() + 64 * stride, results.data(), results.data() + 2 * stride},
                analyzer.Tables, 0, stride, bins);
        const double ours = (ProcessorSeconds() - start) / repeats / 8;
        start = ProcessorSeconds();
        for (int i = 0; i < repeats * 2 * (bins - 1) / 8; ++i)
            fftwf_execute(plan);
        const double theirs = (ProcessorSeconds() - start) / repeats;
        times.push_back(ours);
        ratios.push_back(ours / theirs);
        state.SetIterationTime(ours * repeats * 8);
    }
    fftwf_destroy_plan(plan);
    state.counters["us/frame"] = 1e6 * Quantile(times, 0.5);
    state.counters["vsFFTW"] = Quantile(ratios, 0.5);
    state.SetLabel(quietfloor::NameOfSlot(quietfloor::CpuDispatchIndex));
}

// Every level that the machine runs, at the sizes and modes that the promises name; all sizes, rates and
// signals at the level that the library chooses.
void Register() {
    const std::int64_t best = quietfloor::HighestSlot();
    auto *stream = benchmark::RegisterBenchmark("Stream", Stream);
    stream->ArgNames({"level", "size", "filter", "rate", "signal"})->UseManualTime()->Iterations(1);
    auto *modulation = benchmark::RegisterBenchmark("ModulationTransforms", ModulationTransforms);
    modulation->ArgName("level")->UseManualTime()->Iterations(60);
    for (const std::int32_t level : quietfloor::kLevelSlots) {
        if (level > best)
            continue;
        modulation->Arg(level);
        for (std::int64_t size : {512, 4096, 16384})
            for (std::int64_t filter : {0, 1})
                stream->Args({level, size, filter, 44100, noiseWithSpeech});
    }
    for (std::int64_t size : {64, 128, 256, 1024, 2048, 8192})
        for (std::int64_t filter : {0, 1})
            stream->Args({best, size, filter, 44100, noiseWithSpeech});
    stream->Args({best, 512, 0, 48000, noiseWithSpeech});
    for (std::int64_t signal : {silence, fullScale, subnormal})
        stream->Args({best, 512, 0, 44100, signal});
    benchmark::RegisterBenchmark("FrameAfterAnHour", FrameAfterAnHour)->UseManualTime()->Iterations(1);
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    Register();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
