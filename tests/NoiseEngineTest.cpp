// SPDX-License-Identifier: MIT
#include "noise/NoiseRemover.h"

#include <gtest/gtest.h>

#include <random>
#include <tuple>

#include "tests/LevelTesting.h"
#include "tests/PlainNoiseEngine.h"

using namespace quietfloor;

namespace {

// Frames as the stream hands them over: noise whose neighbouring frames overlap, more or less uneven, a tone
// that moves from bin to bin, and bursts. Entries 0 and H of the levels are -200.
class SpectrumSource {
public:
    SpectrumSource(int halfSize, double unevenness)
        : mag(halfSize + 1), db(halfSize + 1), previousMag(halfSize + 1), previousDb(halfSize + 1),
          half(halfSize), depth(unevenness), noise(halfSize + 1) {}

    void Next(double levelDb) {
        previousMag = mag;
        previousDb = db;
        std::normal_distribution<double> normal;
        const bool isBurst = depth > 0.1 && frame / 15 % 10 == 8;
        for (int k = 0; k <= half; ++k) {
            noise[k] = 0.95 * noise[k] + 0.3122499 * std::complex<double>(normal(random), normal(random));
            const double steady = std::abs(1 - depth + depth * noise[k]);
            const double tone = k == frame / 50 % half ? 100 : 0;
            mag[k] = (steady * (isBurst && k % 7 < 4 ? 30 : 1) + tone) * plain::FromDb(levelDb);
            db[k] = plain::Db(mag[k]) + 4.6;
        }
        db[0] = db[half] = -200;
        if (frame++ == 0) {
            previousMag = mag;
            previousDb = db;
        }
    }

    plain::Doubles mag, db, previousMag, previousDb;
    std::mt19937 random{7};

private:
    int half, frame = 0;
    double depth;
    plain::Array<std::complex<double>> noise;
};

float Draw(std::mt19937 &generator, double low, double high) {
    return static_cast<float>(std::uniform_real_distribution(low, high)(generator));
}

NoiseRemoverSettings DrawSettings(std::mt19937 &g, bool hasBoost) {
    NoiseRemoverSettings s;
    s.OffsetDb = Draw(g, -10, 10);
    s.ReductionDb = Draw(g, 0, 40);
    s.ReleaseMs = Draw(g, 20, 750);
    s.KneeDb = Draw(g, 0, 20);
    s.Sensitivity = Draw(g, -5, 15);
    s.Strength = Draw(g, 0, 100);
    const float widths[] = {0, 50, 270, 1000, 6000, 12000, 20000}; // the last windows span the spectrum
    s.BandWidthHz = widths[g() % 7];
    s.TransientBoost = hasBoost;
    return s;
}

struct Case {
    int half, hop, rate;
    double unevenness;
    bool isDefault, hasBoost;
    double middleDb; // level of frames 400 to 799
    int frames;
};

// How two engines compare over a run, and that the run shows something.
struct Comparison {
    int gains = 0, unequalGains = 0, unequalFloors = 0, boosted = 0, reduced = 0, losses = 0, restarts = 0;
    double worst = 0, worstFloor = 0; // relative

    void Add(const CNoiseRemover &engine, const plain::Engine &expected, const plain::Doubles &out,
             const plain::Doubles &expectedOut) {
        for (int k = 1; k < expected.half; ++k) {
            const double error = std::fabs(out[k] / expectedOut[k] - 1);
            const double floor = expected.tracker.floor[k];
            worst = std::max(worst, error);
            ++gains;
            unequalGains += error > 1e-5;
            unequalFloors += std::fabs(engine.Tracker->NoiseFloor.data()[k] - floor) > 1e-6 * floor;
            worstFloor = std::max(worstFloor, std::fabs(engine.Floor.data()[k] / expected.floor[k] - 1));
            reduced += expectedOut[k] < 0.5;
        }
        boosted += expected.boostDb > 0;
        losses += expected.tracker.meanLevelDb == -150;
        restarts += losses > 0 && expected.tracker.isFirst;
    }
};

// An engine that gets flat spectra.
struct FlatEngine {
    CNoiseRemover engine;
    std::vector<double> mag, db, gain;

    FlatEngine(int half, int rate, int hop, const NoiseRemoverSettings &settings = {})
        : engine(half, rate, hop) {
        const auto entries = static_cast<std::size_t>(half) + 1;
        mag.resize(entries);
        db.resize(entries);
        gain.assign(entries, 0.5);
        engine.SetSettings(settings);
        engine.Reset();
    }
    void Feed(double levelDb, int frames = 1) {
        std::fill(mag.begin(), mag.end(), plain::FromDb(levelDb - 4.6));
        std::fill(db.begin() + 1, db.end() - 1, levelDb);
        db.front() = db.back() = -200;
        for (int i = 0; i < frames; ++i)
            engine.ProcessFrame(mag.data(), db.data(), gain.data(), mag.data());
    }
};

class NoiseEngineLevel : public EachLevelTest {};
INSTANTIATE_TEST_SUITE_P(, NoiseEngineLevel, AtEachLevel(), LevelName);

} // namespace

// Scores are compared with levels, so where two evaluations round differently a bin may once decide
// otherwise.
TEST_P(NoiseEngineLevel, MeansWhatThePlainEngineSays) {
    for (const Case &c :
         {Case{32, 16, 8000, 0.02, true, true, -200, 2500}, Case{256, 128, 44100, 1, false, true, -40, 1200},
          Case{128, 64, 8000, 1, false, false, -80, 1200},
          Case{512, 409, 48000, 0.5, false, true, -50, 1200}}) {
        SCOPED_TRACE(c.half);
        CNoiseRemover engine(c.half, c.rate, c.hop);
        plain::Engine expected(c.half, c.rate, c.hop);
        SpectrumSource source(c.half, c.unevenness);
        engine.Reset();
        plain::Doubles out(c.half + 1, 0.5), expectedOut = out;
        Comparison comparison;
        for (int frame = 0; frame < c.frames; ++frame) {
            if (!c.isDefault && frame % 60 == 0) {
                const NoiseRemoverSettings settings = DrawSettings(source.random, c.hasBoost);
                engine.SetSettings(settings);
                expected.Set(settings);
            }
            source.Next(frame < 5 ? -130 : frame / 400 == 1 ? c.middleDb : -50);
            engine.ProcessFrame(source.mag.data(), source.db.data(), out.data(), source.previousMag.data());
            expected.ProcessFrame(source.mag.data(), source.db.data(), expectedOut.data(),
                                  source.previousDb.data());
            ASSERT_EQ(engine.Tracking, expected.isTracking) << frame;
            ASSERT_NEAR(engine.BoostDb, expected.boostDb, 1e-9) << frame;
            ASSERT_NEAR(engine.Tracker->MeanLevelDb, expected.tracker.meanLevelDb, 0.01) << frame;
            comparison.Add(engine, expected, out, expectedOut);
        }
        EXPECT_LT(comparison.unequalGains, comparison.gains / 200);
        EXPECT_LT(comparison.unequalFloors, comparison.gains / 200);
        EXPECT_LT(comparison.worst, 0.2);
        EXPECT_LT(comparison.worstFloor, 0.01);
        EXPECT_GT(comparison.reduced, 1000);
        EXPECT_EQ(comparison.boosted > 100, c.hasBoost);
        EXPECT_EQ(comparison.losses > 10, c.middleDb < -150);
        EXPECT_EQ(comparison.restarts > 0, c.middleDb < -150);
    }
}

// A constant, slow and fast modulation, noise, and magnitudes that floats or the analysis cannot hold; the
// last two go on as a constant, after which all is well again.
TEST_P(NoiseEngineLevel, ModulationScoresAreThoseOfTheDefinition) {
    constexpr int bins = 16;
    BinAnalysis analysis(bins, quietfloor::SelectedNoiseKernels());
    std::vector<plain::Bin> expected(bins);
    std::mt19937 random(3);
    double x[bins] = {};
    for (int frame = 0; frame < 1600; ++frame) {
        for (int k = 1; k <= 10; ++k)
            x[k] = std::pow(10.0, -k) * (1 + 0.5 * std::sin(plain::twoPi * frame * k / 64.0));
        x[11] = 0.01;
        x[12] = std::exponential_distribution(1.0)(random);
        x[13] = 1e-9 * std::exponential_distribution(1.0)(random);
        x[14] = frame < 100 ? 1e30 : 0.01;
        x[15] = frame % 200 < 100 ? 0 : 1e-30;
        const bool isNew = analysis.Analyze(x);
        ASSERT_EQ(isNew, frame % 8 == 7);
        for (int k = 1; k < bins; ++k) {
            plain::Bin &bin = expected[static_cast<std::size_t>(k)];
            bin.Analyze(k == 14 ? 0.01 : x[k]);
            if (k == 14 && frame < 1500)
                continue;
            const auto i = static_cast<std::size_t>(k);
            ASSERT_NEAR(analysis.Score[i], bin.score, 2e-5f * bin.score) << frame << " bin " << k;
            ASSERT_NEAR(analysis.Activity[i], bin.activity, 2e-5f * bin.activity + 1e-6f)
                << frame << " bin " << k;
        }
    }
    EXPECT_FLOAT_EQ(analysis.Score[11], 0.0001f * 0.25f); // as even and as steady as can be
    EXPECT_EQ(analysis.Score[0], 0.0f);
}

TEST(NoiseEngine, DerivesItsSettingsFromThoseGiven) {
    NoiseRemoverSettings given;
    EXPECT_EQ(given.Sensitivity, 12.0f);
    given.OffsetDb = 2;
    given.KneeDb = 0.2f;
    given.Sensitivity = 2.5f;
    given.TrackerRate = 99;
    const DerivedSettings derived = Derived(given);
    EXPECT_EQ(derived.OffsetDb, 2.5f);
    EXPECT_EQ(derived.KneeDb, 0.5f);
    EXPECT_FLOAT_EQ(derived.DecisionLevel, 28.897734f); // 2^(1/4) 24.3
    EXPECT_EQ(derived.TrackerRate, 8.0f);
    EXPECT_EQ(derived.BandWidthHz, 270.0f);

    using Settings = NoiseRemoverSettings; // what is beyond a limit counts as the limit
    const std::tuple<float Settings::*, float DerivedSettings::*, float> limits[] = {
        {&Settings::OffsetDb, &DerivedSettings::OffsetDb, -100.0f},
        {&Settings::OffsetDb, &DerivedSettings::OffsetDb, 100.0f},
        {&Settings::ReductionDb, &DerivedSettings::ReductionDb, -200.0f},
        {&Settings::ReductionDb, &DerivedSettings::ReductionDb, 1000.0f},
        {&Settings::KneeDb, &DerivedSettings::KneeDb, 1000.0f},
        {&Settings::Sensitivity, &DerivedSettings::DecisionLevel, -1000.0f},
        {&Settings::Sensitivity, &DerivedSettings::DecisionLevel, 1000.0f},
        {&Settings::Strength, &DerivedSettings::Strength, -10000.0f},
        {&Settings::Strength, &DerivedSettings::Strength, 10000.0f}};
    for (const auto &[slot, result, limit] : limits) {
        Settings limited, beyond;
        limited.*slot = limit;
        beyond.*slot = 2 * limit;
        EXPECT_EQ(Derived(limited).*result, Derived(beyond).*result) << limit;
    }
}

// Both end levels of -200 dB count in the sum, and the divisor is one less than the number of entries.
TEST(NoiseEngine, OpensAtAMeanLevelOfMinus110) {
    const std::pair<double, bool> levels[] = {
        {-109.5, true}, {-109.70, true}, {-109.73, false}, {-130, false}};
    for (const auto &[level, opens] : levels) {
        FlatEngine flat(1024, 44100, 512);
        flat.Feed(level);
        EXPECT_EQ(flat.engine.Tracking, opens) << level;
        EXPECT_EQ(flat.gain, [] {
            std::vector<double> ones(1025, 1.0);
            ones.front() = ones.back() = 0.5; // never written
            return ones;
        }());
    }
}

// A magnitude of exactly 0 has the level -infinity; neither it nor one that overflows a float may stay.
TEST(NoiseEngine, ComesBackFromLevelsWithoutBounds) {
    for (const double extreme : {0.0, 1e-300, 1e30}) {
        FlatEngine hurt(64, 8000, 32), whole(64, 8000, 32);
        hurt.Feed(-50, 100);
        whole.Feed(-50, 100);
        hurt.Feed(plain::Db(extreme), 70);
        for (const double g : hurt.gain)
            ASSERT_TRUE(std::isfinite(g));
        hurt.Feed(-50, 3000);
        whole.Feed(-50, 3070);
        for (std::size_t k = 1; k < 63; ++k) {
            ASSERT_NEAR(hurt.gain[k], whole.gain[k], 1e-3) << extreme;
            ASSERT_NEAR(plain::Db(hurt.engine.Tracker->NoiseFloor[k] / whole.engine.Tracker->NoiseFloor[k]),
                        0, 0.5);
        }
    }
}

// The deviation of a bin is the mean over six bins, from the second below it to the third above, of the
// squared excess over 3 dB + floor - knee, 3 dB and more counting as 1; at the ends it is the nearest whole
// mean. The running sum is cleared below 1e-5 dB^2: of bin 120 only the first mean knows.
TEST(NoiseEngine, DeviationIsAMovingMeanOfTheExcess) {
    FlatEngine flat(256, 44100, 128); // knee 14 dB; 270 Hz are three bins
    flat.Feed(-50, 300);
    std::vector<double> excessDb(257), expected(257);
    for (const auto &[bin, db] :
         {std::pair{2, 1.5}, {60, 5}, {61, 0.02}, {90, 0.004}, {120, 0.002}, {254, 2}})
        excessDb[static_cast<std::size_t>(bin)] = db;
    for (std::size_t k = 1; k < 256; ++k) {
        const double start = plain::Db(flat.engine.Floor[k]) + 3 - 14; // levels are 4.6 dB above magnitudes
        flat.mag[k] = plain::FromDb(start + (excessDb[k] > 0 ? excessDb[k] : -20) - 4.6);
        flat.db[k] = plain::Db(flat.mag[k]) + 4.6;
    }
    flat.engine.ProcessFrame(flat.mag.data(), flat.db.data(), flat.gain.data(), flat.mag.data());
    for (std::size_t k = 3; k <= 252; ++k)
        for (std::size_t j = k - 2; j <= k + 3; ++j)
            if (j != 120 || k == 117)
                expected[k] += std::pow(std::min(excessDb[j] / 3, 1.0), 2) / 6;
    std::fill_n(expected.begin() + 1, 2, expected[3]);
    std::fill_n(expected.begin() + 253, 3, expected[252]);
    for (std::size_t k = 1; k < 256; ++k)
        EXPECT_NEAR(flat.engine.SquaredDeviation[k], expected[k], 1e-11) << k;
}

// Above the upper corner gains pass; below the lower one they are the reduction, or less only down to what
// the strength allows.
TEST(NoiseEngine, OutputCurveHasItsCorners) {
    struct Row {
        float reductionDb, strength;
        double high, low, floorOut, least;
    };
    const Row rows[] = {{24, 30, 0.251189, 0.158489, 0.0630957, 0.0630957},
                        {24, 66.5f, 0.251189, 0.158489, 0.0630957, 0.0025534}, // 27.86 dB below the reduction
                        {10, 100, 0.562341, 0.501187, 0.316228, 0.0749894},    // 12.5 dB
                        {38, 10, 0.15, 0.15, 0.0125893, 0.0125893},
                        {0, 30, 1, 1, 1, 1}};
    for (const Row &row : rows) {
        NoiseRemoverSettings settings;
        settings.ReductionDb = row.reductionDb;
        settings.Strength = row.strength;
        settings.Sensitivity = 2.5f;
        settings.TransientBoost = false;
        FlatEngine flat(256, 44100, 128, settings);
        double before = 1;
        for (int frame = 0; frame < 2000; ++frame) {
            flat.Feed(-50);
            const double gain = flat.engine.Gain[100], out = flat.gain[100];
            if (flat.engine.Gain[100] == 0)
                continue; // nothing has been tracked yet
            if (gain > row.high + 1e-5) {
                ASSERT_EQ(out, gain);
            } else if (gain < row.low - 1e-5) {
                ASSERT_NEAR(out, std::clamp(gain, row.least, row.floorOut), 2e-6) << row.reductionDb;
            } else {
                ASSERT_TRUE(out > row.floorOut - 1e-5 && out <= before + 1e-5) << gain << " " << out;
            }
            before = out;
        }
        EXPECT_NEAR(before, row.least, 1e-5) << row.reductionDb;
        EXPECT_EQ(flat.gain[255], 1.0); // keeps what it had
    }
}
