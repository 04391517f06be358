// SPDX-License-Identifier: MIT
// A group of channels against single objects: what the group does to all, each object gets by itself, with
// the same random numbers for its dither.
#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <tuple>

#include "dsp/ChannelGroup.h"
#include "dsp/LinkedGains.h"
#include "dsp/Parameters.h"
#include "dsp/Presets.h"
#include "tests/Signals.h"
#include "tests/StreamInspector.h"

namespace {

using dsp::ChannelGroup;
using Channels = std::vector<Samples>;

constexpr std::size_t second = 44100; // samples
constexpr float nan = std::numeric_limits<float>::quiet_NaN();

ChannelGroup::Values ValuesFor(int fftSize, bool filterMode) {
    ChannelGroup::Values values = quietfloor::DefaultValues();
    values[Reducer::kFftSize] = static_cast<float>(fftSize);
    values[Reducer::kFilterMode] = filterMode ? 1.0f : 0.0f;
    return values;
}

Reducer MakeSingle(int sampleRate, const ChannelGroup::Values &values,
                   Reducer::Estimator estimator = Reducer::kGate) {
    std::srand(5);
    Reducer single;
    single.SetEstimator(estimator);
    for (int i = 0; i < Reducer::kParamCount; ++i)
        if (quietfloor::ParameterAt(i).isSettable)
            single.SetParameter(i, values[static_cast<std::size_t>(i)]);
    single.SetSampleRate(sampleRate);
    single.Resume();
    return single;
}

ChannelGroup MakeGroup(std::size_t channels, int sampleRate, const ChannelGroup::Values &values) {
    std::srand(5);
    return {static_cast<int>(channels), sampleRate, values};
}

// The last channel is the first one again.
Channels Noises(std::size_t channels, std::size_t count) {
    Channels x;
    for (std::size_t c = 0; c < channels; ++c)
        x.push_back(WhiteNoise(count, -40, c + 1 < channels ? static_cast<unsigned>(c) : 0));
    return x;
}

enum Layout { planar, planarInPlace, interleaved, interleavedInPlace, layoutCount };

Channels Process(ChannelGroup &group, Channels x, Layout layout) {
    const std::size_t width = x.size(), count = x[0].size();
    if (layout == planar || layout == planarInPlace) {
        Channels y = x;
        std::vector<const float *> in;
        std::vector<float *> out;
        for (std::size_t c = 0; c < width; ++c) {
            in.push_back(x[c].data());
            out.push_back(layout == planarInPlace ? x[c].data() : y[c].data());
        }
        group.Process(in.data(), out.data(), static_cast<int>(count));
        return layout == planarInPlace ? x : y;
    }
    Samples in(width * count), other(in);
    for (std::size_t i = 0; i < in.size(); ++i)
        in[i] = x[i % width][i / width];
    Samples &out = layout == interleavedInPlace ? in : other;
    group.ProcessInterleaved(in.data(), out.data(), static_cast<int>(count));
    for (std::size_t i = 0; i < in.size(); ++i)
        x[i % width][i / width] = out[i];
    return x;
}

// A parameter is set before each block, and now and then the other estimator; some of them rebuild, and some
// values make no sense.
constexpr std::pair<int, float> changes[] = {
    {-1, 7},    {Reducer::kReductionDb, 35}, {Reducer::kFftSize, nan},    {Reducer::kOffsetDb, 1e9f},
    {14, 7},    {Reducer::kFftSize, 700},    {Reducer::kReleaseMs, -nan}, {Reducer::kStrength, -1e30f},
    {7, 1e30f}, {Reducer::kFilterMode, 0},   {Reducer::kKneeDb, 3},       {Reducer::kBandWidthHz, nan},
    {11, nan},  {Reducer::kStrength, 60},    {Reducer::kOffsetDb, -3},    {Reducer::kReleaseMs, 50},
    {7, -1e9f}, {Reducer::kFftSize, 128},    {Reducer::kActive, 0},       {Reducer::kFilterMode, 0.2f}};

TEST(ChannelGroup, GivesTheBitsOfSingleObjectsWhateverIsSetOnTheWay) {
    for (const std::size_t width : {1u, 2u, 6u})
        for (const bool filterMode : {false, true}) {
            const ChannelGroup::Values values = ValuesFor(256, filterMode);
            ChannelGroup group = MakeGroup(width, 44100, values);
            std::vector<Reducer> singles(width, MakeSingle(44100, values));
            EXPECT_EQ(group.GetChannelCount(), static_cast<int>(width));
            unsigned turn = 1;
            for (const auto &[index, value] : changes) {
                SCOPED_TRACE(testing::Message() << width << filterMode << ' ' << index << ' ' << value);
                group.SetParameter(index, value);
                group.SetEstimator(estimators[turn / 3 % 2]);
                Channels x = Noises(width, 1 + turn * 977 % 5000);
                std::srand(turn); // of a rebuild
                const Channels y = Process(group, x, static_cast<Layout>(turn % layoutCount));
                for (std::size_t c = 0; c < width; ++c) {
                    singles[c].SetParameter(index, value);
                    singles[c].SetEstimator(estimators[turn / 3 % 2]);
                    std::srand(turn);
                    EXPECT_EQ(y[c], Through(singles[c], x[c], 100)) << c;
                }
                EXPECT_EQ(y.front(), y.back());
                EXPECT_EQ(group.GetLatency(), singles[0].GetLatency());
                for (int i = -1; i <= Reducer::kParamCount; ++i) // written as text, in which a NaN is itself
                    EXPECT_EQ(std::to_string(group.GetParameter(i)),
                              std::to_string(singles[0].GetParameter(i)));
                ++turn;
            }
        }
}

TEST(ChannelGroup, BlocksAndLayoutsChangeNoBit) {
    for (const int turn : {0, 1, 2, 3}) {
        const bool filterMode = turn % 2 != 0, isLinked = turn / 2 != 0;
        const Channels x = Noises(3, 20'000);
        ChannelGroup start = MakeGroup(3, 8000, ValuesFor(512, filterMode));
        start.SetLink(isLinked);
        ChannelGroup whole = start;
        const Channels expected = Process(whole, x, planar);
        for (int layout = planar; layout < layoutCount; ++layout)
            for (const std::size_t length : {1u, 511u, 512u, 513u, 1024u, 7001u}) {
                ChannelGroup group = start;
                Channels y(3);
                for (std::size_t at = 0; at < x[0].size(); at += length) {
                    Channels block;
                    for (const Samples &channel : x)
                        block.emplace_back(&channel[at],
                                           &channel[at] + std::min(length, channel.size() - at));
                    block = Process(group, block, static_cast<Layout>(layout));
                    for (std::size_t c = 0; c < 3; ++c)
                        y[c].insert(y[c].end(), block[c].begin(), block[c].end());
                }
                EXPECT_EQ(y, expected) << filterMode << isLinked << layout << ' ' << length;
            }
    }
}

TEST(ChannelGroup, LosesNothingOfTheBeginningAfterItsLeadIn) {
    for (int size = 64; size <= 16384; size *= 2)
        for (const bool filterMode : {false, true}) {
            SCOPED_TRACE(testing::Message() << size << filterMode);
            ChannelGroup::Values values = ValuesFor(size, filterMode);
            values[Reducer::kReductionDb] = 0;
            ChannelGroup pushed = MakeGroup(2, 48000, values), led(pushed);
            const auto late = static_cast<std::size_t>(pushed.GetLatency());
            EXPECT_EQ(pushed.GetLeadIn(), filterMode ? pushed.GetLatency() : 0);
            pushed.PushLeadIn();
            Process(led, Channels(2, Samples(static_cast<std::size_t>(led.GetLeadIn()))), interleaved);
            const Channels x = Noises(2, late + 3000), y = Process(pushed, x, planar);
            EXPECT_EQ(y, Process(led, x, planar)) << "silence from outside does the same";
            double furthest = 0;
            for (std::size_t i = 0; i < 2 * 3000; ++i)
                furthest = std::max(furthest, std::abs(0.0 + y[i % 2][i / 2 + late] - x[i % 2][i / 2]));
            EXPECT_LT(furthest, 1e-6);
        }
}

TEST(ChannelGroup, TakesPresetsByName) {
    const Channels x = Noises(2, 30'000);
    for (const quietfloor::Preset &preset : quietfloor::Presets()) {
        ChannelGroup named(2, 44100);
        named.SetEstimator(Reducer::kLogSpectral);
        ASSERT_TRUE(named.SetPreset(preset.name));
        EXPECT_EQ(named.GetEstimator(), preset.estimator) << preset.name;
        std::srand(2);
        const Channels y = Process(named, x, planar);
        std::vector<Reducer> singles(2, MakeSingle(44100, preset.values, preset.estimator));
        EXPECT_EQ(named.GetLatency(), singles[0].GetLatency()) << preset.name;
        for (std::size_t c = 0; c < 2; ++c) {
            std::srand(2);
            singles[c].Resume();
            EXPECT_EQ(y[c], Through(singles[c], x[c])) << preset.name;
        }

        ChannelGroup same = named;
        for (const char *unknown : {"", "Speech", "speec", "speech "})
            EXPECT_FALSE(same.SetPreset(unknown)) << unknown;
        EXPECT_EQ(Process(same, x, planar), Process(named, x, planar)) << "nothing changes";
    }
}

ChannelGroup MakePair(const char *preset, bool filterMode, bool isLinked) {
    ChannelGroup::Values values = quietfloor::FindPreset(preset)->values;
    values[Reducer::kFilterMode] = filterMode ? 1.0f : 0.0f;
    ChannelGroup group = MakeGroup(2, 44100, values);
    group.SetLink(isLinked);
    return group;
}

// Noise of its own in each channel, and a voice nearer to the left one.
Channels PannedVoice(std::size_t count, float left, float right) {
    Channels x = {WhiteNoise(count, -46), WhiteNoise(count, -46, 2)};
    const Samples voice = Syllables(count, -22);
    for (std::size_t i = 0; i < count; ++i) {
        x[0][i] += left * voice[i];
        x[1][i] += right * voice[i];
    }
    return x;
}

// How far left is louder than right in the pauses between syllables, dB, late enough for what sounded before
// to have closed.
double BalanceDb(const Channels &x, std::size_t delay) {
    const auto isPause = [=](std::size_t i) { return SinceSyllable(i - delay) > 0.6; };
    return LevelDb(x[0], 5 * second, x[0].size(), isPause) - LevelDb(x[1], 5 * second, x[1].size(), isPause);
}

TEST(ChannelGroup, LinkedChannelsKeepTheImageInPauses) {
    const Channels x = PannedVoice(16 * second, 0.9f, 0.25f);
    for (const char *preset : {"speech", "strong"})
        for (const bool filterMode : {false, true}) {
            double moved[2] = {};
            for (const bool isLinked : {false, true}) {
                ChannelGroup group = MakePair(preset, filterMode, isLinked);
                const auto late = static_cast<std::size_t>(group.GetLatency());
                moved[isLinked] = std::abs(BalanceDb(Process(group, x, planar), late) - BalanceDb(x, 0));
            }
            EXPECT_LT(moved[1], 0.5 * moved[0]) << preset << filterMode;
        }
}

// The other channel is silent from the start on, or falls silent while its floors are known.
TEST(ChannelGroup, ASilentChannelOpensNoOther) {
    for (const char *preset : {"speech", "strong"})
        for (const std::size_t sounding : {0 * second, 4 * second}) {
            Channels x = PannedVoice(8 * second, 1, 1);
            std::fill(&x[1][sounding], &x[1][0] + x[1].size(), 0.0f);
            ChannelGroup linked = MakePair(preset, true, true), apart = MakePair(preset, true, false);
            const Samples y = Process(linked, x, planar)[0], alone = Process(apart, x, planar)[0];
            EXPECT_NEAR(LevelDb(y, 5 * second, y.size()), LevelDb(alone, 5 * second, y.size()), 0.1)
                << preset << sounding;
        }
}

// Gains as no engine would leave them, so that each rule is seen by itself.
TEST(ChannelGroup, OnlyFloorsUnderSoundHaveASay) {
    std::vector<Reducer> channels(3);
    std::vector<dsp::SingleChannelAdaptiveNoiseParams *> records;
    for (Reducer &channel : channels) {
        Through(channel, WhiteNoise(2 * second, -40));
        records.push_back(&dsp::StreamInspector::Record(channel));
    }
    const auto [quiet, loud, silent] = std::tie(*records[0], *records[1], *records[2]);
    quiet.gain.assign(257, 0.1);
    loud.gain.assign(257, 0.5);
    silent.gain.assign(257, 0.9);
    std::fill(silent.inputBuffer.begin(), silent.inputBuffer.end(), dsp::highestDither);
    quiet.noiseRemover->Tracker->NoiseFloor[20] = 0; // and its level is far below the floor of the loud one
    loud.noiseRemover->Tracker->NoiseFloor[20] = 10;
    loud.noiseRemover->Tracker->NoiseFloor[30] = 0;
    loud.noiseRemover->Reference[30] = 10;
    quiet.noiseRemover->Tracker->NoiseFloor[40] = loud.noiseRemover->Tracker->NoiseFloor[40] = 0;
    quietfloor::Row<double> gain(256), floor(256);
    dsp::LinkedGains linked(gain.data(), floor.data(), 256);
    for (const auto *record : records)
        linked.Hear(*record);
    for (auto *record : records)
        linked.Give(*record);
    for (const int k : {10, 20, 250})
        EXPECT_EQ(std::tie(quiet.gain[k], loud.gain[k], silent.gain[k]), std::tuple(0.5, 0.5, 0.5)) << k;
    EXPECT_EQ(std::tie(quiet.gain[30], loud.gain[30]), std::tuple(0.1, 0.5)) << "louder than any noise";
    EXPECT_EQ(std::tie(quiet.gain[40], loud.gain[40]), std::tuple(0.1, 0.5)) << "nobody knows the noise";
}

TEST(ChannelGroup, ALinkTakesEffectFromTheNextFrameOnAndSurvivesARebuild) {
    const Channels x = Noises(2, 40'000), equal = {x[0], x[0]};
    ChannelGroup apart = MakeGroup(2, 8000, ValuesFor(256, false)), linked(apart), late(apart);
    linked.SetLink(true);
    EXPECT_EQ(Process(linked, equal, planar), Process(apart, equal, planar)) << "one gain of equal ones";
    Process(late, equal, planar);
    late.SetLink(true);
    EXPECT_EQ(Process(late, x, planar), Process(linked, x, planar));
    EXPECT_NE(Process(late, x, planar), Process(apart, x, planar));
    late.Resume();
    EXPECT_TRUE(late.IsLinked() && !apart.IsLinked());
}

TEST(ChannelGroup, CopiesGoOnByThemselves) {
    const Channels x = Noises(2, 5000);
    ChannelGroup original(2, 44100), other(1, 8000);
    Process(original, x, planar);
    ChannelGroup copy = original;
    other = original;
    const Channels expected = Process(original, x, planar);
    original.SetParameter(Reducer::kReductionDb, 0);
    EXPECT_EQ(Process(copy, x, planar), expected);
    EXPECT_EQ(Process(other, x, interleaved), expected);
    copy.SetParameter(Reducer::kFftSize, 64);
    other = copy;
    Process(other, Channels(2), planar);
    EXPECT_EQ(other.GetLatency(), MakeSingle(44100, ValuesFor(64, false)).GetLatency()) << "it was pending";
}

TEST(ChannelGroup, RefusesNoChannelsAndTakesWhatTheObjectTakes) {
    for (const int count : {0, -1, std::numeric_limits<int>::min()})
        EXPECT_THROW(ChannelGroup(count, 44100), std::invalid_argument) << count;
    const Channels x = Noises(1, 5000);
    ChannelGroup::Values odd;
    odd.fill(nan);
    ChannelGroup group = MakeGroup(1, -5, odd);
    Reducer single = MakeSingle(44100, odd);
    EXPECT_EQ(Process(group, x, planar)[0], Through(single, x[0]));
    EXPECT_EQ(group.GetParameter(Reducer::kReserved), single.GetParameter(Reducer::kReserved));
}

} // namespace
