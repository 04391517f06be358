// SPDX-License-Identifier: MIT
#include "dsp/LevelCompander.h"
#include "tests/Signals.h"
#include "tests/StreamInspector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

using namespace quietfloor;

namespace {

// Noise whose level wanders between -70 and 0 dB, so that gains change all the time.
std::vector<float> WanderingNoise(std::size_t count, unsigned seed) {
    std::vector<float> x = WhiteNoise(count, 0, seed);
    for (std::size_t i = 0; i < count; ++i)
        x[i] *=
            std::pow(10.0f, 1.75f * std::sin(static_cast<float>(i) / 500 + static_cast<float>(seed)) - 1.75f);
    return x;
}

struct Geometry {
    int latency, hop;
};
// Runs the stage around a pure delay as a stream does: each hop is compressed when it is complete, and
// outputs are expanded in uneven pieces as they are handed out.
std::vector<float> ThroughDelay(LevelCompander &stage, const std::vector<float> &x, Geometry g) {
    const auto channels = static_cast<std::size_t>(stage.channels);
    const int count = static_cast<int>(x.size() / channels);
    std::vector<float> y = x, out(x.size());
    std::mt19937 generator(1);
    for (int at = 0, hopStart = 0; at < count;) {
        const int drawn = std::uniform_int_distribution<int>(1, 2 * g.hop)(generator);
        const int n = std::min({drawn, count - at, hopStart + g.hop - at});
        for (int i = at * stage.channels; i < (at + n) * stage.channels; ++i)
            if (i >= g.latency * stage.channels)
                out[static_cast<std::size_t>(i)] =
                    y[static_cast<std::size_t>(i - g.latency * stage.channels)];
        stage.ExpandBlock(&out[static_cast<std::size_t>(at) * channels], at - g.latency, n);
        at += n;
        if (at == hopStart + g.hop) {
            stage.CompressBlock(&y[static_cast<std::size_t>(hopStart) * channels], hopStart, g.hop);
            hopStart = at;
        }
    }
    return out;
}

CompanderSettings Settings(double ratio) {
    CompanderSettings settings;
    settings.ratio = ratio;
    settings.releaseMs = 3;
    settings.attackMs = 0.2;
    return settings;
}

void ExpectDelayed(const std::vector<float> &out, const std::vector<float> &x, int delay) {
    for (std::size_t i = 0; i + static_cast<std::size_t>(delay) < x.size(); ++i)
        ASSERT_NEAR(out[i + static_cast<std::size_t>(delay)], x[i], 3e-7f * std::fabs(x[i])) << i;
}

} // namespace

TEST(LevelCompander, WindowSlidesForMinutes) {
    const Geometry g{704, 128};
    LevelCompander stage = BuildLevelCompander(Settings(0.5), g.latency, g.hop);
    const auto x = WanderingNoise(44100 * 120, 3);
    ExpectDelayed(ThroughDelay(stage, x, g), x, g.latency);
    EXPECT_EQ(stage.expandedCount, static_cast<std::int64_t>(x.size()));
}

// The level above the threshold is divided by the ratio once the envelope stands; a lowered level stays.
TEST(LevelCompander, RatioHoldsAboveTheThresholdAndLoweringIsKept) {
    CompanderSettings settings;
    settings.attackMs = 0;
    settings.releaseMs = 1e9;
    const std::pair<double, double> levels[] = {{-50, -50}, {-40.001, -40.001}, {-36, -39}, {-4, -31}};
    settings.ratio = 4;
    for (const auto &[in, out] : levels) {
        LevelCompander stage = BuildLevelCompander(settings, 100, 50);
        std::vector<float> x(50);
        for (std::size_t i = 0; i < x.size(); ++i)
            x[i] = static_cast<float>((i % 2 == 0 ? 1 : -1) * std::pow(10.0, in / 20));
        const auto dry = x;
        EXPECT_EQ(stage.CompressBlock(x.data(), 7, 50), 50);
        for (const float sample : x)
            ASSERT_NEAR(20 * std::log10(std::fabs(sample)), out, 1e-4);
        EXPECT_TRUE(std::equal(dry.begin(), dry.end(), stage.dryBuffer[0].begin()));
        const auto compressed = x;
        EXPECT_EQ(stage.ExpandBlock(x.data(), 7, 50), 50);
        EXPECT_EQ(x, compressed);
    }
}

// A step up reaches 63 % in the attack time; after the peak the envelope falls to 37 % in the release time,
// whatever the samples below it are.
TEST(LevelCompander, TimesAreThoseOfTheEnvelope) {
    CompanderSettings settings;
    settings.attackMs = 10;
    settings.releaseMs = 20;
    settings.sampleRate = 48000;
    LevelCompander stage = BuildLevelCompander(settings, 1000, 1000);
    std::vector<float> x(960, 1.0f);
    stage.CompressBlock(x.data(), 0, 480);
    EXPECT_NEAR(stage.envelope[0], 1 - std::exp(-1.0), 1e-9);
    const double peak = stage.envelope[0];
    std::fill(x.begin(), x.end(), 0.1f);
    stage.CompressBlock(x.data(), 480, 960);
    EXPECT_NEAR(stage.envelope[0], peak * std::exp(-1.0), 1e-9);
    stage.envelope[0] = x[0] = 0.5f; // an equal sample does not exceed the envelope
    stage.CompressBlock(x.data(), 1440, 1);
    EXPECT_EQ(stage.envelope[0], 0.5 * stage.release);
}

TEST(LevelCompander, StereoIsTwoSeparateChannels) {
    const Geometry g{704, 128};
    const auto left = WanderingNoise(20'000, 4), right = WanderingNoise(20'000, 5);
    std::vector<float> both;
    for (std::size_t i = 0; i < left.size(); ++i)
        both.insert(both.end(), {left[i], right[i]});
    for (double ratio : {0.5, 3.0}) {
        CompanderSettings settings = Settings(ratio);
        LevelCompander l = BuildLevelCompander(settings, g.latency, g.hop), r = l;
        settings.channels = 2;
        LevelCompander pair = BuildLevelCompander(settings, g.latency, g.hop);
        const auto outLeft = ThroughDelay(l, left, g), outRight = ThroughDelay(r, right, g);
        const auto out = ThroughDelay(pair, both, g);
        for (std::size_t i = 0; i < left.size(); ++i)
            ASSERT_TRUE(out[2 * i] == outLeft[i] && out[2 * i + 1] == outRight[i]) << i;
    }
}

// Buffers have their exact length, so that the address sanitizer sees one step too far.
TEST(LevelCompander, CallsThatDoNotFitStayInsideTheBuffersAndTheirRecords) {
    LevelCompander stage = BuildLevelCompander(Settings(0.25), 10, 5); // 30 records
    const auto original = WanderingNoise(1000, 6);
    auto x = original;
    EXPECT_EQ(stage.ExpandBlock(x.data(), -500, 1000), 1000); // nothing is recorded yet
    EXPECT_EQ(x, original);
    EXPECT_EQ(stage.CompressBlock(x.data(), 0, 1000), 1000); // the last 30 records remain
    EXPECT_TRUE(std::equal(original.end() - 30, original.end(), stage.dryBuffer[0].begin()));
    const auto raised = x;
    EXPECT_EQ(stage.ExpandBlock(x.data(), 0, 1000), 1000);
    for (std::size_t i = 0; i < 1000; ++i)
        ASSERT_NEAR(x[i], i < 970 ? raised[i] : original[i], 3e-7f * std::fabs(raised[i])) << i;
    const std::int64_t positions[] = {1000, 1000, 5, -3'000'000'000, 9'000'000'000, 9'000'000'020};
    for (const std::int64_t position : positions) // on, back and far ahead: each begins anew
        for (const int count : {0, 20}) {
            x = original;
            EXPECT_EQ(stage.CompressBlock(x.data(), position, count), count);
            stage.ExpandBlock(nullptr, position - 7, 3);
            stage.ExpandBlock(x.data(), position, count);
            for (std::size_t i = 0; i < 20; ++i)
                ASSERT_NEAR(x[i], original[i], 3e-7f * std::fabs(original[i])) << position;
        }
    stage.enabled = false;
    EXPECT_EQ(stage.CompressBlock(x.data(), 0, 5), 0);
    EXPECT_EQ(stage.ExpandBlock(x.data(), 0, 5), 0);
}

// Gains that a float cannot hold, both ways, and laws that have no real value.
TEST(LevelCompander, NoLawMakesWhatIsNotANumber) {
    const double inf = std::numeric_limits<double>::infinity();
    struct Law {
        double slope, exponent, excessScale;
    };
    for (const Law &law :
         {Law{-1e6, 1, 1}, {1e6, 1, 1}, {-inf, 1, 1}, {inf, 3, 1}, {1, 0.5, -1}, {1, -2, 0}}) {
        LevelCompander stage = BuildLevelCompander({}, 100, 50);
        stage.slope = law.slope;
        stage.exponent = law.exponent;
        stage.excessScale = law.excessScale;
        auto x = WanderingNoise(200, 7);
        x[3] = 0.0f;
        x[4] = 1e15f;
        stage.CompressBlock(x.data(), 0, 200);
        stage.ExpandBlock(x.data(), 0, 200);
        for (std::size_t i = 0; i < x.size(); ++i)
            ASSERT_TRUE(std::isfinite(x[i])) << law.slope << " sample " << i;
    }
}

// The gains are taken back on the very samples that got them, through both syntheses and at every size: one
// sample off leaves an error of -31 dB. The second half is compared, when every filter has settled.
TEST(LevelCompander, RoundTripThroughTheNoiseReducerIsAlignedToTheSample) {
    const auto x = WanderingNoise(80'000, 9);
    for (const bool filterMode : {false, true})
        for (int fftSize = 64; fftSize <= 16384; fftSize *= 2) {
            Reducer object;
            object.SetParameter(Reducer::kReductionDb, 0);
            Configure(object, fftSize, filterMode);
            auto &record = dsp::StreamInspector::Record(object);
            record.compander =
                BuildLevelCompander(Settings(0.5), object.GetLatency(), record.geometry.hopSize);
            const auto y = Through(object, x, 0);
            double error = 0, power = 0;
            for (std::size_t i = y.size() / 2; i < y.size(); ++i) {
                const double wanted = x[i - static_cast<std::size_t>(object.GetLatency())];
                error += (y[i] - wanted) * (y[i] - wanted);
                power += wanted * wanted;
            }
            EXPECT_LT(10 * std::log10(error / power), -120) << fftSize << " filter " << filterMode;
        }
}
