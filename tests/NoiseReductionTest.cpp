// SPDX-License-Identifier: MIT
// What a listener gets, in decibels, with the default settings if nothing else is said. Steady figures are
// those of the last quarter of 30 s.
#include <gtest/gtest.h>

#include "tests/Signals.h"
#include "tests/StreamInspector.h"

namespace {

constexpr std::size_t second = 44100;
constexpr std::size_t length = 30 * second, lastQuarter = length * 3 / 4;

// The stream without its latency.
Samples Aligned(Reducer &reducer, Samples x) {
    const auto latency = static_cast<std::size_t>(reducer.GetLatency());
    x.resize(x.size() + latency);
    x = Through(reducer, x);
    x.erase(x.begin(), x.begin() + static_cast<std::ptrdiff_t>(latency));
    return x;
}

Samples Reduced(const Samples &x, int fftSize, bool filterMode) {
    Reducer reducer;
    Configure(reducer, fftSize, filterMode);
    return Aligned(reducer, x);
}

Samples Sum(Samples x, const Samples &y) {
    for (std::size_t i = 0; i < x.size(); ++i)
        x[i] += y[i];
    return x;
}

bool IsPause(std::size_t i) { return SinceSyllable(i) > 0.4 && SinceSyllable(i) < 0.75; }
bool IsSyllable(std::size_t i) { return SinceSyllable(i) < 0.3; }

} // namespace

// From 8192 on neighbouring frames overlap so far that noise looks less even, and a few bins in a hundred
// pass at any time.
TEST(NoiseReduction, WhiteNoiseFalls) {
    const std::pair<int, double> falls[] = {{256, 17},    {512, 18.2},  {1024, 19},   {2048, 19.4},
                                            {4096, 19.5}, {8192, 18.3}, {16384, 17.5}};
    const Samples noise = WhiteNoise(length, -40);
    for (const auto &[size, fall] : falls)
        for (const bool filterMode : {false, true}) {
            const Samples y = Reduced(noise, size, filterMode);
            EXPECT_NEAR(LevelDb(y, lastQuarter, length), -40 - fall, 0.6) << size << filterMode;
            if (size == 512) {
                EXPECT_NEAR(LevelDb(y, 2 * second, 5 * second / 2), -40 - fall, 0.6) << filterMode;
            }
        }
}

TEST(NoiseReduction, PausesFallAndSpeechStays) {
    const Samples noisy = Sum(WhiteNoise(length, -40), Syllables(length, -20));
    for (const int size : {256, 512, 1024, 2048, 4096})
        for (const bool filterMode : {false, true}) {
            const Samples y = Reduced(noisy, size, filterMode);
            EXPECT_NEAR(LevelDb(y, lastQuarter, length, IsPause), -57, 1.2) << size << filterMode;
            EXPECT_NEAR(LevelDb(y, lastQuarter, length, IsSyllable),
                        LevelDb(noisy, lastQuarter, length, IsSyllable), 0.3)
                << size << filterMode;
        }
}

TEST(NoiseReduction, DepthFollowsStrengthAndReduction) {
    const Samples noise = WhiteNoise(length, -40);
    Reducer strong;
    strong.SetParameter(Reducer::kStrength, 60);
    Configure(strong, 2048, false);
    EXPECT_NEAR(LevelDb(Aligned(strong, noise), lastQuarter, length), -68, 0.6);

    const Samples brief(noise.begin(), noise.begin() + 6 * second);
    const std::pair<float, double> falls[] = {{0, 0}, {6, 5.9}, {12, 11.7}}; // dB after 4 s
    for (const auto &[reductionDb, fall] : falls)
        for (const bool filterMode : {false, true}) {
            Reducer reducer;
            reducer.SetParameter(Reducer::kReductionDb, reductionDb);
            Configure(reducer, 512, filterMode);
            const double level = LevelDb(Aligned(reducer, brief), 4 * second, 6 * second);
            EXPECT_NEAR(level, LevelDb(brief, 4 * second, 6 * second) - fall, fall / 50 + 0.001)
                << reductionDb << filterMode;
        }
}

// The noise rises by 10 dB after 6 s; its floor follows, and falls again with it.
TEST(NoiseReduction, FollowsSteps) {
    Samples noise = WhiteNoise(16 * second, -50);
    for (std::size_t i = 6 * second; i < 12 * second; ++i)
        noise[i] *= std::sqrt(10.0f);
    for (const bool filterMode : {false, true}) {
        const Samples y = Reduced(noise, 512, filterMode);
        for (const std::size_t t : {5u, 11u, 15u}) {
            const std::size_t from = t * second, to = from + second;
            EXPECT_NEAR(LevelDb(y, from, to) - LevelDb(noise, from, to), -18.1, 0.6) << t << filterMode;
        }
    }
}

TEST(NoiseReduction, SpeechIsNotLearnt) {
    Reducer alone, together;
    const Samples noise = WhiteNoise(12 * second, -40);
    Through(alone, noise);
    Through(together, Sum(noise, Syllables(noise.size(), -10)));
    double sum = 0, most = -100;
    for (std::size_t k = 1; k < 256; ++k) {
        const auto floor = [k](Reducer &r) {
            return dsp::StreamInspector::Record(r).noiseRemover->Tracker->NoiseFloor[k];
        };
        const double difference = 20 * std::log10(floor(together) / floor(alone));
        sum += difference;
        most = std::max(most, difference);
    }
    EXPECT_NEAR(sum / 255, 0, 1);
    EXPECT_LT(most, 1);
}

// From a cold start, without a jump where the tracker's floors come, and as far at a level 80 dB lower.
TEST(NoiseReduction, LogSpectralHasNoiseDownSoon) {
    constexpr std::size_t rate = 48'000;
    const Samples noise = WhiteNoise(6 * rate, -40);
    Samples faint = noise;
    for (float &sample : faint)
        sample *= 1e-4f;
    for (const int size : {512, 2048})
        for (const bool filterMode : {false, true}) {
            SCOPED_TRACE(testing::Message() << size << filterMode);
            Samples streams[] = {noise, faint};
            for (Samples &x : streams) {
                Reducer reducer;
                reducer.SetEstimator(Reducer::kLogSpectral);
                reducer.SetSampleRate(rate);
                Configure(reducer, size, filterMode);
                x = Aligned(reducer, x);
            }
            const Samples &y = streams[0];
            EXPECT_LT(LevelDb(y, rate * 3 / 10, rate / 2), -46);
            for (std::size_t at = rate / 2; at < y.size(); at += rate / 20)
                EXPECT_LT(LevelDb(y, at, at + rate / 20), LevelDb(y, at - rate / 2, at) + 1.5) << at;
            for (std::size_t at = rate; at < y.size(); at += rate)
                EXPECT_NEAR(LevelDb(streams[1], at, at + rate) + 80, LevelDb(y, at, at + rate), 0.5) << at;
        }
}

// Sounds that come before the noise is known lose little more than later. A voice from the very first sample
// on counts as noise until it pauses.
TEST(NoiseReduction, LogSpectralKeepsWhatComesFirst) {
    constexpr std::ptrdiff_t voiceStart = 141'120; // of `Syllables`
    const Samples noise = WhiteNoise(6 * second, -40), voice = Syllables(noise.size() + voiceStart, -20);
    Samples sweep(noise.size());
    double phase = 0;
    for (std::size_t i = 0; i < sweep.size(); ++i) {
        phase += 0.04 + 0.2 * static_cast<double>(i % second) / second;
        sweep[i] = static_cast<float>(0.1 * std::sin(phase));
    }
    const std::pair<Samples, double> sounds[] = {
        {sweep, 1},
        {Samples(voice.begin() + voiceStart - second / 10, voice.end() - second / 10), 1},
        {Samples(voice.begin() + voiceStart, voice.end()), 2}};
    for (const int size : {512, 2048})
        for (const auto &[sound, mostDb] : sounds) {
            Reducer reducer;
            reducer.SetEstimator(Reducer::kLogSpectral);
            Configure(reducer, size, false);
            const Samples x = Sum(sound, noise), y = Aligned(reducer, x);
            const auto gainDb = [&](std::size_t from, std::size_t to) {
                return LevelDb(y, from, to) - LevelDb(x, from, to);
            };
            EXPECT_GT(gainDb(0, second / 2), gainDb(2 * second, 6 * second) - mostDb) << size;
        }
}
