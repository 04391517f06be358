#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <xmmintrin.h>

#include "tests/Signals.h"
#include "tests/StreamInspector.h"

using dsp::StreamInspector;

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float quietNan = std::numeric_limits<float>::quiet_NaN();

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
Reducer AtLowRate(bool filterMode) {
    Reducer reducer;
    reducer.SetSampleRate(8000);
    Configure(reducer, 256, filterMode);
    Through(reducer, WhiteNoise(24'000, -40));
    return reducer;
}

// Of noise in the seventh second. Before it comes a louder one, which nothing that is left may amplify.
double LevelAfterwards(Reducer &reducer) {
    EXPECT_LT(LevelDb(Through(reducer, WhiteNoise(2000, -10)), 1000, 2000), -9);
    const Samples y = Through(reducer, WhiteNoise(56'000, -40, 2));
    EXPECT_TRUE(IsFinite(y));
    return LevelDb(y, 48'000, 56'000);
}

} // namespace

TEST(Stream, GeometryIsTheOneOfTheTable) {
    using Row =
        std::array<int, 10>; // size, mode, overlap, hop, analysis length and offset, positions, latency
    const Row rows[] = {{64, 0, 4, 16, 64, 0, 32, 48, 64, 64},
                        {512, 0, 4, 128, 512, 0, 256, 384, 512, 512},
                        {1024, 0, 4, 256, 1024, 0, 512, 768, 1024, 1024},
                        {4096, 0, 8, 512, 4096, 0, 2048, 3072, 4096, 3584},
                        {16384, 0, 20, 819, 16384, 0, 8192, 12288, 16384, 13107},
                        {512, 1, 2, 128, 256, 384, 64, 448, 640, 704},
                        {2048, 1, 4, 256, 1024, 768, 640, 1408, 1792, 1920},
                        {4096, 1, 8, 256, 2048, 512, 1664, 2176, 2560, 2688}};
    for (const Row &row : rows) {
        Reducer reducer;
        Configure(reducer, row[0], row[1] == 1);
        const dsp::FrameGeometry &g = StreamInspector::Record(reducer).geometry;
        EXPECT_EQ(row, (Row{g.fftSize, g.filterMode, g.overlap, g.hopSize, g.analysisLength, g.analysisOffset,
                            g.writePos, g.readOffset, g.FrameEnd(), reducer.GetLatency()}));
        EXPECT_EQ(reducer.GetParameter(Reducer::kOverlap), static_cast<float>(row[2]));
    }
}

// Too quiet for any tracking, so every sample comes out as it came in, dither included: the overlapping
// windows add up to one at every size. In filter mode the input before the first block is not filtered.
TEST(Stream, PassesThroughExactlyItsLatencyLater) {
    for (int size = 64; size <= 16384; size *= 2)
        for (const bool filterMode : {false, true}) {
            Reducer reducer;
            Configure(reducer, size, filterMode);
            const dsp::FrameGeometry g = StreamInspector::Record(reducer).geometry;
            const auto latency = static_cast<std::size_t>(reducer.GetLatency());
            const auto silent = static_cast<std::size_t>(g.readOffset - g.writePos);
            const auto lost =
                static_cast<std::size_t>(filterMode ? g.analysisLength - g.hopSize - g.writePos : 0);
            Samples x = WhiteNoise(4 * static_cast<std::size_t>(size) + 1000, -170);
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
                        i < latency + lost ? 0
                                           : x[from] + record.DitherTable[from % record.DitherTable.size()];
                    worst = std::max(worst, std::fabs(static_cast<double>(y[i]) - expected));
                }
                EXPECT_LT(worst, 2e-13) << size << filterMode << block; // the impulse in float precision
                EXPECT_TRUE(IsSameBits(Samples(y.begin(), y.begin() + static_cast<std::ptrdiff_t>(silent)),
                                       Samples(silent)));
            }
        }
}

TEST(Stream, CutsMakeNoDifference) {
    for (const int size : {64, 512, 2048})
        for (const bool filterMode : {false, true}) {
            Reducer whole;
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
    const auto set = [](Reducer &reducer) {
        const std::pair<int, float> parameters[] = {
            {Reducer::kStrength, 50.0f},     {Reducer::kReductionDb, 30.0f}, {Reducer::kOffsetDb, -3.0f},
            {Reducer::kBandWidthHz, 300.0f}, {Reducer::kReleaseMs, 70.0f},   {Reducer::kKneeDb, 9.0f},
            {Reducer::kSensitivity, 6.0f},   {Reducer::kReserved, 1.0f},     {Reducer::kTrackerRate, 2.0f}};
        for (const auto &[index, value] : parameters)
            reducer.SetParameter(index, value);
    };
    for (const int size : {512, 4096})
        for (const bool filterMode : {false, true}) {
            Reducer used;
            Through(used, x);
            set(used);
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
            set(fresh);
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
            EXPECT_LT(LevelDb(y, 70'000, 80'000), -57);
        }
    }
}

TEST(Stream, SilenceStaysSilentAndEnds) {
    for (const bool filterMode : {false, true}) {
        Reducer reducer;
        Configure(reducer, 512, filterMode);
        const Samples noise = WhiteNoise(5 * 44100, -40);
        Through(reducer, noise);
        const Samples silence = Through(reducer, Samples(60 * 44100));
        for (std::size_t i = 44100; i < silence.size(); ++i)
            ASSERT_LT(std::fabs(silence[i]), 5e-9f) << i;
        const Samples y = Through(reducer, WhiteNoise(10 * 44100, -40));
        EXPECT_LT(LevelDb(y, 8 * 44100, 10 * 44100), -57.5);
    }
}

// What remains of noise after something odd, against an object that was spared it.
TEST(Stream, NoInputDamagesLaterOutput) {
    const Samples mixed{1e30f, -1e30f, quietNan, 0, infinity, 1e-40f, -infinity, 3e38f, -0.0f, 1e15f};
    const Samples kinds[] = {{0},      {quietNan},      {infinity}, {-infinity}, {1e30f},
                             {-1e30f}, {1e30f, -1e30f}, {1e-40f},   {0.5f},      mixed};
    for (const bool filterMode : {false, true}) {
        Reducer learnt(AtLowRate(filterMode)), spared(learnt);
        const double usual = LevelAfterwards(spared);
        for (const Samples &kind : kinds) {
            Reducer reducer(learnt);
            Samples x(12'000);
            for (std::size_t i = 0; i < x.size(); ++i)
                x[i] = kind[i % kind.size()];
            EXPECT_TRUE(IsFinite(Through(reducer, x))) << kind[0];
            EXPECT_NEAR(LevelAfterwards(reducer), usual, 0.5) << kind[0];
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

TEST(Stream, NoParameterDamagesLaterOutput) {
    const Samples noise = WhiteNoise(8000, -40);
    for (const bool filterMode : {false, true}) {
        Reducer learnt(AtLowRate(filterMode)), spared(learnt);
        const double usual = LevelAfterwards(spared);
        for (int index = 0; index < Reducer::kParamCount; ++index)
            for (const float value : {-1e30f, -1.0f, 0.0f, 1e30f, quietNan, infinity, -infinity}) {
                Reducer reducer(learnt);
                reducer.SetParameter(index, value);
                EXPECT_TRUE(IsFinite(Through(reducer, noise))) << index << " " << value;
                Reducer rebuilt(reducer);
                rebuilt.Resume();
                EXPECT_TRUE(IsFinite(Through(rebuilt, noise))) << index << " " << value;
                reducer.SetParameter(index, learnt.GetParameter(index));
                EXPECT_NEAR(LevelAfterwards(reducer), usual, 0.5) << index << " " << value << filterMode;
            }
    }
}

TEST(Stream, DenormalsAreOffAndTheCallersModeComesBack) {
    const unsigned before = _mm_getcsr();
    Reducer reducer;
    StreamInspector::Record(reducer).DitherTable.assign(dsp::ditherLength, 0.0f);
    const Samples x(1000, 1e-40f);
    for (const unsigned mode :
         {0x1f80u, 0x9fc0u, 0x3f80u, 0x1f80u | 0x6000u}) { // denormals off; rounding modes
        _mm_setcsr(mode);
        const Samples y = Through(reducer, x);
        const unsigned after = _mm_getcsr();
        _mm_setcsr(before);
        EXPECT_EQ(after & ~0x3fu, mode);
        EXPECT_EQ(y, Samples(x.size())); // meanwhile denormals are 0
    }
}
