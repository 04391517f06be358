// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

#include "simd/DenormalScope.h"
#include "tests/Geometries.h"
#include "tests/Signals.h"
#include "tests/StreamInspector.h"

using dsp::StreamInspector;
using namespace quietfloor;

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float quietNan = std::numeric_limits<float>::quiet_NaN();
constexpr std::size_t ditherPeriod = 4096;

bool IsFinite(const Samples &x) {
    return std::all_of(x.begin(), x.end(), [](float sample) { return std::isfinite(sample); });
}

Samples NoisySpeech(std::size_t count) {
    Samples x = Syllables(count + 160'000, -20);
    x.erase(x.begin(), x.begin() + 160'000);
    const Samples noise = WhiteNoise(count, -40);
    for (std::size_t i = 0; i < count; ++i)
        x[i] += noise[i];
    return x;
}

// -0 and 0 differ, and so do two NaNs: every bit counts.
bool IsSameBits(const Samples &a, const Samples &b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

// An object that knows its noise, at 8000 Hz since that takes less time.
Reducer AtLowRate(Reducer::Estimator estimator, bool filterMode) {
    Reducer reducer;
    reducer.SetEstimator(estimator);
    reducer.SetSampleRate(8000);
    Configure(reducer, 256, filterMode);
    Through(reducer, WhiteNoise(24'000, -40));
    return reducer;
}

// Of noise in the seventh second. The log-spectral estimator's means of the noise take longer than that.
// Before it comes a louder one, which nothing that is left may amplify.
double LevelAfterwards(Reducer &reducer) {
    EXPECT_LT(LevelDb(Through(reducer, WhiteNoise(2000, -10)), 1000, 2000), -9);
    const Samples y = Through(reducer, WhiteNoise(56'000, -40, 2));
    EXPECT_TRUE(IsFinite(y));
    return LevelDb(y, 48'000, 56'000);
}

} // namespace

TEST(Stream, GeometryIsTheOneOfTheTable) {
    for (const Geometry &row : geometries) {
        Reducer reducer;
        Configure(reducer, row.fftSize, row.filterMode);
        const dsp::FrameGeometry &g = StreamInspector::Record(reducer).geometry;
        EXPECT_EQ(row,
                  (Geometry{g.fftSize, g.filterMode, g.overlap, g.hopSize, g.analysisLength, g.analysisOffset,
                            g.writePos, g.readOffset, g.FrameEnd(), reducer.GetLatency()}))
            << row.fftSize << row.filterMode;
        EXPECT_EQ(reducer.GetParameter(Reducer::kOverlap), static_cast<float>(row.overlap));
    }
}

// Too quiet for any tracking, so every sample comes out as it came in, dither included: the overlapping
// windows add up to one at every size. In filter mode the input before the first block is not filtered.
TEST(Stream, PassesThroughExactlyItsLatencyLater) {
    for (const Geometry &g : geometries) {
        Reducer reducer;
        Configure(reducer, g.fftSize, g.filterMode);
        const auto latency = static_cast<std::size_t>(g.latency);
        const auto silent = static_cast<std::ptrdiff_t>(g.readOffset - g.writePos);
        const auto lost = static_cast<std::size_t>(g.filterMode ? g.analysisLength - g.hop - g.writePos : 0);
        Samples x = WhiteNoise(4 * static_cast<std::size_t>(g.fftSize) + 1000, -170);
        x[x.size() / 3] = 1e-6f;
        for (const int block : {1, 7, 512, 0}) {
            reducer.Resume();
            const auto &record = StreamInspector::Record(reducer);
            const Samples y = Through(reducer, x, block);
            ASSERT_FALSE(record.noiseRemover->Tracking);
            double worst = 0;
            for (std::size_t i = 0; i < y.size(); ++i) {
                const std::size_t from = i - latency;
                const float expected =
                    i < latency + lost ? 0 : x[from] + record.DitherTable[from % ditherPeriod];
                worst = std::max(worst, std::fabs(static_cast<double>(y[i]) - expected));
            }
            EXPECT_LT(worst, 2e-13) << g.fftSize << g.filterMode << block; // the impulse in float precision
            EXPECT_TRUE(IsSameBits(Samples(y.begin(), y.begin() + silent),
                                   Samples(static_cast<std::size_t>(silent))));
        }
    }
}

// In the place of digital silence comes noise of at most 1e-9 of full scale, uniform in 30 000 steps and as
// white as 4096 values can be; no two objects have the same.
TEST(Stream, DitherIsUniformAndFarBelowHearing) {
    // Where RAND_MAX is small, the lowest of the 30 000 steps come up once more often than the rest.
    double mean = 0, power = 0;
    for (int step = 0; step < 30'000; ++step) {
        const double chance = (RAND_MAX / 30'000 + (step <= RAND_MAX % 30'000 ? 1 : 0)) / (RAND_MAX + 1.0);
        const double value = (step - 15'000) / 15'000.0 * 1e-9;
        mean += chance * value;
        power += chance * value * value;
    }
    for (const Geometry &g : {GeometryOf(64, false), GeometryOf(256, true)}) {
        Reducer reducer, second;
        Configure(reducer, g.fftSize, g.filterMode);
        const auto first = 2 * static_cast<std::size_t>(g.latency), end = first + ditherPeriod;
        const Samples y = Through(reducer, Samples(end + ditherPeriod));
        double sum = 0, neighbours = 0, peak = 0;
        for (std::size_t i = first; i < end; ++i) {
            sum += y[i];
            neighbours += y[i] * static_cast<double>(y[i + 1]);
            peak = std::max(peak, std::fabs(static_cast<double>(y[i])));
            const double step = y[i] / 1e-9 * 15'000;
            ASSERT_NEAR(step, std::round(step), 0.01);
            ASSERT_NEAR(y[i], y[i + ditherPeriod], 1e-15) << i;
        }
        EXPECT_NEAR(LevelDb(y, first, end), 10 * std::log10(power), 0.2);
        EXPECT_NEAR(sum / ditherPeriod, mean, 4e-11); // within four standard deviations
        EXPECT_NEAR(neighbours / ditherPeriod, mean * mean, 2e-20);
        EXPECT_NEAR(peak, 1e-9, 1e-11);
        EXPECT_NE(StreamInspector::Record(reducer).DitherTable, StreamInspector::Record(second).DitherTable);
    }
}

TEST(Stream, CutsMakeNoDifference) {
    for (const int size : {64, 512, 2048})
        for (const int turn : {0, 1, 2, 3}) {
            const bool filterMode = turn % 2 != 0;
            Reducer whole;
            whole.SetEstimator(estimators[turn / 2]);
            Configure(whole, size, filterMode);
            const Samples x = NoisySpeech(60'000);
            Reducer apart(whole);
            std::vector<Reducer> cut(4, whole);
            const Samples expected = Through(whole, x, 60'000);
            Samples in = x, out(x.size());
            apart.Process(in.data(), out.data(), 1000);
            apart.Process(in.data() + 1000, out.data() + 1000, 59'000);
            EXPECT_TRUE(IsSameBits(out, expected) && IsSameBits(in, x)) << size << filterMode;
            EXPECT_TRUE(IsSameBits(Through(cut[0], x, 1), expected)) << size << filterMode;
            EXPECT_TRUE(IsSameBits(Through(cut[1], x, 7), expected)) << size << filterMode;
            EXPECT_TRUE(IsSameBits(Through(cut[2], x, 992), expected)) << size << filterMode;
            EXPECT_TRUE(IsSameBits(Through(cut[3], x, 0), expected)) << size << filterMode;
        }
}

TEST(Stream, CountsOfZeroAndBelowOnlyDoWhatIsPending) {
    Reducer reducer;
    reducer.SetParameter(Reducer::kFftSize, 1024);
    EXPECT_EQ(reducer.GetLatency(), 512);
    float sample = 3;
    reducer.Process(&sample, &sample, -5);
    EXPECT_EQ(reducer.GetLatency(), 1024);
    reducer.SetParameter(Reducer::kFilterMode, 1);
    reducer.Process(nullptr, nullptr, 0);
    EXPECT_TRUE(StreamInspector::Record(reducer).geometry.filterMode);
    EXPECT_EQ(sample, 3.0f);
}

// Whatever an object has been through, after a rebuild it is a new one, when the dither is drawn alike. The
// settings change one by one while it runs, so forwarding them gives what a rebuild gives.
TEST(Stream, RebuiltIsNew) {
    const Samples x = NoisySpeech(40'000);
    const auto set = [](Reducer &reducer, Reducer::Estimator estimator) {
        reducer.SetEstimator(estimator);
        const std::pair<int, float> parameters[] = {
            {Reducer::kStrength, 50.0f},     {Reducer::kReductionDb, 30.0f}, {Reducer::kOffsetDb, -3.0f},
            {Reducer::kBandWidthHz, 300.0f}, {Reducer::kReleaseMs, 70.0f},   {Reducer::kKneeDb, 9.0f},
            {Reducer::kSensitivity, 6.0f},   {Reducer::kReserved, 1.0f},     {Reducer::kTrackerRate, 2.0f}};
        for (const auto &[index, value] : parameters)
            reducer.SetParameter(index, value);
    };
    for (const int size : {512, 4096})
        for (const int turn : {0, 1, 2, 3}) {
            const bool filterMode = turn % 2 != 0;
            const Reducer::Estimator estimator = estimators[turn / 2];
            Reducer used;
            Through(used, x);
            set(used, estimator);
            Through(used, x);
            used.SetParameter(Reducer::kFftSize, static_cast<float>(size)); // takes effect amid the stream
            used.SetParameter(Reducer::kFilterMode, filterMode ? 1.0f : 0.0f);
            std::srand(7);
            const Samples changed = Through(used, x);
            std::srand(7);
            used.Resume();
            const Samples resumed = Through(used, x);
            used.SetSampleRate(8000);
            used.SetSampleRate(44100);
            EXPECT_EQ(used.GetLatency(), 0);
            std::srand(7);
            const Samples onDemand = Through(used, x);

            Reducer fresh;
            set(fresh, estimator);
            fresh.SetParameter(Reducer::kFftSize, static_cast<float>(size));
            fresh.SetParameter(Reducer::kFilterMode, filterMode ? 1.0f : 0.0f);
            std::srand(7);
            fresh.Resume();
            const Samples expected = Through(fresh, x);
            EXPECT_TRUE(IsSameBits(changed, expected)) << size << filterMode;
            EXPECT_TRUE(IsSameBits(resumed, expected)) << size << filterMode;
            EXPECT_TRUE(IsSameBits(onDemand, expected)) << size << filterMode;
        }
    Reducer used;
    Through(used, x);
    std::srand(7);
    used.Resume();
    std::srand(7);
    Reducer constructed;
    EXPECT_TRUE(IsSameBits(Through(used, x), Through(constructed, x)));
}

TEST(Stream, CopiesGoOnAsTheOriginal) {
    const Samples x = NoisySpeech(50'000);
    for (const bool filterMode : {false, true}) {
        auto original = std::make_unique<Reducer>();
        original->SetEstimator(estimators[filterMode ? 0 : 1]);
        Configure(*original, 256, filterMode);
        Through(*original, x);
        auto copied = std::make_unique<Reducer>(*original);
        Reducer assigned, pending(*original);
        Configure(assigned, 2048, !filterMode);
        Through(assigned, x);
        assigned = *original;
        assigned = *&assigned;
        const Samples expected = Through(*original, x, 333);
        original.reset();
        EXPECT_TRUE(IsSameBits(Through(assigned, x), expected));
        Reducer copyOfCopy(*copied);
        copied.reset();
        EXPECT_TRUE(IsSameBits(Through(copyOfCopy, x, 0), expected));

        pending.SetParameter(Reducer::kFftSize, 1024); // what is pending is copied too
        Reducer other(pending);
        EXPECT_EQ(Through(other, x).size(), x.size());
        EXPECT_EQ(other.GetLatency() == 1024, !filterMode);
        EXPECT_EQ(other.GetParameter(Reducer::kFftSize), 1024.0f);
        float lower = 0, upper = 0;
        other.GetBounds(Reducer::kReleaseMs, lower, upper);
        EXPECT_TRUE(lower == 20 && upper == 750);
        for (const float offsetDb : {9.0f, quietNan})
            other.SetParameter(Reducer::kOffsetDb, offsetDb);
        other.SetSampleRate(8000); // what a rebuild needs is copied, too
        Reducer withoutRecord(other);
        assigned = other;
        EXPECT_EQ(withoutRecord.GetLatency(), 0);
        const auto rebuilt = [&x](Reducer &reducer) {
            std::srand(7);
            return Through(reducer, x);
        };
        const Samples expectedNow = rebuilt(other);
        EXPECT_TRUE(IsFinite(expectedNow));
        EXPECT_TRUE(IsSameBits(rebuilt(withoutRecord), expectedNow));
        EXPECT_TRUE(IsSameBits(rebuilt(assigned), expectedNow));
    }
}

TEST(Stream, RunsAtAnySampleRate) {
    const Samples noise = WhiteNoise(80'000, -40);
    for (const int rate : {1, 8000, 44100, 384'000, std::numeric_limits<int>::max()}) {
        Reducer reducer;
        reducer.SetSampleRate(0);
        reducer.SetSampleRate(-44100);
        EXPECT_EQ(reducer.GetLatency(), 512); // ignored
        reducer.SetSampleRate(rate);
        EXPECT_EQ(reducer.GetLatency(), 0); // at the rate that it has, too
        const Samples y = Through(reducer, noise);
        EXPECT_TRUE(IsFinite(y)) << rate;
        EXPECT_EQ(reducer.GetLatency(), 512);
        if (rate == 8000) {
            EXPECT_NEAR(LevelDb(y, 70'000, 80'000), -58, 1);
        }
    }
}

TEST(Stream, SilenceStaysSilentAndEnds) {
    for (const int turn : {0, 1, 2, 3}) {
        Reducer reducer;
        reducer.SetEstimator(estimators[turn / 2]);
        Configure(reducer, 512, turn % 2 != 0);
        const Samples before = Through(reducer, WhiteNoise(10 * 44100, -40));
        const Samples silence = Through(reducer, Samples(60 * 44100));
        for (std::size_t i = 44100; i < silence.size(); ++i)
            ASSERT_LT(std::fabs(silence[i]), 5e-9f) << i;
        const Samples y = Through(reducer, WhiteNoise(10 * 44100, -40));
        EXPECT_NEAR(LevelDb(y, 8 * 44100, 10 * 44100), LevelDb(before, 8 * 44100, 10 * 44100), 0.6);
    }
}

// From the first frame of the other estimator on the noise stays down, so no floor was lost.
TEST(Stream, EstimatorsChangeLive) {
    for (const bool filterMode : {false, true}) {
        Reducer reducer(AtLowRate(Reducer::kGate, filterMode));
        const auto frames = StreamInspector::Record(reducer).frameCount;
        for (const int number : {1, 0, 1, 2, -1}) {
            const Reducer::Estimator before = reducer.GetEstimator();
            reducer.SetEstimator(static_cast<Reducer::Estimator>(number));
            EXPECT_EQ(reducer.GetEstimator(), number == 0 || number == 1 ? number : before);
            const Samples y = Through(reducer, WhiteNoise(2000, -40, 7));
            for (std::size_t at = 0; at < y.size(); at += 200)
                EXPECT_LT(LevelDb(y, at, at + 200), -50) << number << ' ' << at << filterMode;
        }
        EXPECT_GT(StreamInspector::Record(reducer).frameCount, frames) << "nothing is rebuilt";
    }
}

// What remains of noise after something odd, against an object that was spared it.
TEST(Stream, NoInputDamagesLaterOutput) {
    const Samples mixed{1e30f, -1e30f, quietNan, 0, infinity, 1e-40f, -infinity, 3e38f, -0.0f, 1e15f};
    const Samples kinds[] = {{0},      {quietNan},      {infinity}, {-infinity}, {1e30f},
                             {-1e30f}, {1e30f, -1e30f}, {1e-40f},   {0.5f},      mixed};
    for (const int turn : {0, 1, 2, 3}) {
        Reducer learnt(AtLowRate(estimators[turn / 2], turn % 2 != 0)), spared(learnt);
        const double usual = LevelAfterwards(spared);
        for (const Samples &kind : kinds) {
            Reducer reducer(learnt);
            Samples x(12'000);
            for (std::size_t i = 0; i < x.size(); ++i)
                x[i] = kind[i % kind.size()];
            EXPECT_TRUE(IsFinite(Through(reducer, x))) << kind[0] << ' ' << turn;
            EXPECT_NEAR(LevelAfterwards(reducer), usual, turn < 2 ? 0.5 : 2.0) << kind[0] << ' ' << turn;
        }
    }
}

TEST(Stream, BadSamplesCountAsGoodOnes) {
    const std::pair<float, float> pairs[] = {
        {quietNan, 0}, {infinity, 0}, {-infinity, 0}, {1e30f, 1e15f}, {-1e30f, -1e15f}};
    for (const auto &[bad, good] : pairs) {
        Reducer reducer, spared(reducer);
        Samples x = WhiteNoise(3000, -40), y = x;
        x[1000] = bad, y[1000] = good;
        EXPECT_TRUE(IsSameBits(Through(reducer, x), Through(spared, y))) << bad;
    }
}

// Both estimators, each in both modes.
class StreamVariant : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(, StreamVariant, testing::Values(0, 1, 2, 3));

// Zeros, subnormals, bounds and their neighbours, the largest values, infinities and NaN: with each the
// output stays finite, after a rebuild too, and with the value put back noise falls as far as it did.
TEST_P(StreamVariant, NoParameterDamagesLaterOutput) {
    using Limits = std::numeric_limits<float>;
    const Samples noise = WhiteNoise(8000, -40);
    const int turn = GetParam();
    Reducer learnt(AtLowRate(estimators[turn / 2], turn % 2 != 0)), spared(learnt);
    const double usual = LevelAfterwards(spared);
    for (int index = 0; index < Reducer::kParamCount; ++index) {
        float lower = 0, upper = 0;
        learnt.GetBounds(index, lower, upper);
        std::vector<float> values{0, Limits::denorm_min(), Limits::min(), 1, Limits::max(), infinity};
        for (const float bound : {lower, upper})
            values.insert(values.end(),
                          {bound, std::nextafter(bound, -infinity), std::nextafter(bound, infinity)});
        for (std::size_t i = values.size(); i-- > 0;)
            values.push_back(-values[i]);
        values.push_back(quietNan);
        for (const float value : values) {
            Reducer reducer(learnt);
            reducer.SetParameter(index, value);
            EXPECT_TRUE(IsFinite(Through(reducer, noise))) << index << " " << value;
            Reducer rebuilt(reducer);
            rebuilt.Resume();
            EXPECT_TRUE(IsFinite(Through(rebuilt, noise))) << index << " " << value;
            reducer.SetParameter(index, learnt.GetParameter(index));
            EXPECT_NEAR(LevelAfterwards(reducer), usual, turn < 2 ? 0.5 : 2.0)
                << index << " " << value << " " << turn;
        }
    }
}

// Other processors have no such mode.
#if defined(__x86_64__) || defined(__aarch64__)
TEST(Stream, DenormalsAreOffAndTheCallersModeComesBack) {
#if defined(__x86_64__)
    constexpr FloatMode usual = 0x1f80, downwards = 1u << 13, towardsZero = 3u << 13;
#else
    constexpr FloatMode usual = 0, downwards = 2u << 22, towardsZero = 3u << 22;
#endif
    constexpr FloatMode whatHappened = 0x3f; // x86 keeps that in the same register
    const FloatMode before = GetFloatMode();
    Reducer reducer;
    StreamInspector::Record(reducer).DitherTable.assign(dsp::ditherLength, 0.0f);
    const Samples x(1000, 1e-40f);
    for (const FloatMode mode : {usual, usual | kWithoutDenormals, usual | downwards, usual | towardsZero}) {
        SetFloatMode(mode);
        const Samples y = Through(reducer, x);
        const FloatMode after = GetFloatMode();
        SetFloatMode(before);
        EXPECT_EQ(after & ~whatHappened, mode);
        EXPECT_EQ(y, Samples(x.size())); // meanwhile denormals are 0
    }
}

// Results and operands: an operand that is not 0 costs as much, and only speed would show it.
TEST(DenormalScope, TakesSubnormalsAsZero) {
    const volatile float subnormal = 1e-40f, large = 1e30f, least = std::numeric_limits<float>::min();
    EXPECT_GT(subnormal * large, 0.0f);
    const quietfloor::DenormalScope scope;
    const volatile float ofOperand = subnormal * large, ofResult = least * 0.5f;
    EXPECT_TRUE(ofOperand == 0.0f && ofResult == 0.0f);
}
#endif
