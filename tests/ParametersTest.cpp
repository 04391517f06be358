// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <bit>
#include <cstdlib>
#include <limits>

#include "dsp/Parameters.h"
#include "tests/Signals.h"
#include "tests/StreamInspector.h"

using dsp::StreamInspector;

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float quietNan = std::numeric_limits<float>::quiet_NaN();

const quietfloor::DerivedSettings &EngineSettings(Reducer &reducer) {
    return StreamInspector::Record(reducer).noiseRemover->Settings;
}

const quietfloor::NoiseRemoverSettings &GivenSettings(Reducer &reducer) {
    return StreamInspector::Record(reducer).noiseRemover->GivenSettings();
}

} // namespace

TEST(Parameters, DefaultsAndBoundsAreThoseOfTheTable) {
    struct Row {
        float value, lower, upper;
    };
    const float upperSwitch = std::bit_cast<float>(0x3FBEB852u);
    const Row rows[] = {
        {20, 0, 40},
        {2, -10, 10},
        {2.5f, -20, 20},
        {6, 1, 20},
        {30, 0, 100},
        {8, 0, 20},
        {100, 0, 500},
        {512, std::bit_cast<float>(0x42FF000Du), 16384.5f},
        {4, std::bit_cast<float>(0x3FC00347u), std::bit_cast<float>(0x4107FF97u)}, // 2 until built
        {14, 1, 20},
        {140, 20, 750},
        {0, -0.5f, upperSwitch},
        {0, -0.5f, upperSwitch},
        {0, -0.5f, upperSwitch}};
    Reducer reducer;
    for (int i = 0; i < Reducer::kParamCount; ++i) {
        float lower = 0, upper = 0;
        reducer.GetBounds(i, lower, upper);
        EXPECT_EQ(reducer.GetParameter(i), rows[i].value) << i;
        EXPECT_EQ(lower, rows[i].lower) << i;
        EXPECT_EQ(upper, rows[i].upper) << i;
        EXPECT_EQ(quietfloor::ParameterAt(i).defaultValue, i == Reducer::kOverlap ? 2 : rows[i].value) << i;
    }
    for (const int index : {14, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        float lower = 77, upper = 78;
        reducer.GetBounds(index, lower, upper);
        reducer.SetParameter(index, 5);
        EXPECT_TRUE(lower == 77 && upper == 78 && reducer.GetParameter(index) == 0.0f) << index;
    }
    for (int i = 0; i < Reducer::kParamCount; ++i)
        EXPECT_EQ(reducer.GetParameter(i), rows[i].value) << i;
}

TEST(Parameters, ValuesAreStoredAsGivenButForTheSnappedOnes) {
    struct Row {
        int index;
        float given, stored;
        bool isRebuilt;
    };
    const Row rows[] = {{Reducer::kFftSize, 700, 512, false},
                        {Reducer::kFftSize, 768, 512, false},
                        {Reducer::kFftSize, 768.5f, 512, false},
                        {Reducer::kFftSize, 768.51f, 1024, true},
                        {Reducer::kFftSize, 10, 64, true},
                        {Reducer::kFftSize, -5, 64, true},
                        {Reducer::kFftSize, 96, 64, true},
                        {Reducer::kFftSize, 97, 128, true},
                        {Reducer::kFftSize, 100'000, 16384, true},
                        {Reducer::kFftSize, 1e9f, 16384, true},
                        {Reducer::kFftSize, -1e9f, 64, true},
                        {Reducer::kFftSize, 2e9f, 512, false},
                        {Reducer::kFftSize, -2e9f, 512, false},
                        {Reducer::kFftSize, quietNan, 512, false},
                        {Reducer::kFftSize, infinity, 512, false},
                        {Reducer::kFilterMode, 0.49f, 0, true},
                        {Reducer::kFilterMode, 0.5f, 1, true},
                        {Reducer::kFilterMode, -infinity, 0, true},
                        {Reducer::kFilterMode, quietNan, 1, true},
                        {Reducer::kReductionDb, 1000, 1000, false},
                        {Reducer::kOffsetDb, -infinity, -infinity, false},
                        {Reducer::kOverlap, 3, 3, false},
                        {Reducer::kKneeDb, -4, -4, false},
                        {Reducer::kUnused, 9, 9, false},
                        {Reducer::kActive, 0.3f, 0.3f, false}};
    for (const Row &row : rows) {
        Reducer reducer;
        Through(reducer, Samples(1000));
        reducer.SetParameter(row.index, row.given);
        EXPECT_EQ(reducer.GetParameter(row.index), row.stored) << row.index << " " << row.given;
        reducer.Process(nullptr, nullptr, 0);
        EXPECT_EQ(StreamInspector::Record(reducer).frameCount == 0, row.isRebuilt)
            << row.index << " " << row.given;
    }
    Reducer reducer;
    reducer.SetParameter(Reducer::kOffsetDb, quietNan);
    EXPECT_TRUE(std::isnan(reducer.GetParameter(Reducer::kOffsetDb)));
    reducer.SetParameter(Reducer::kFftSize, 4096);
    reducer.SetParameter(Reducer::kOverlap, 3);
    reducer.Process(nullptr, nullptr, 0);
    EXPECT_EQ(reducer.GetParameter(Reducer::kOverlap), 8.0f);
    EXPECT_EQ(EngineSettings(reducer).OffsetDb, 2.5f); // the last that was a number
}

// The engine gets the parameters that are forwarded and keeps the others as they were at the rebuild, however
// often and in which order they change.
TEST(Parameters, ForwardingChangesNothingElse) {
    const int indices[] = {0, 1, 2, 3, 4, 5, 6, 9, 10};
    std::mt19937 random(11);
    Reducer reducer;
    for (int change = 0; change < 2000; ++change) {
        if (change == 1000) { // the rest in filter mode
            Reducer filtering;
            Configure(filtering, 512, true);
            reducer = filtering;
        }
        const int index = indices[random() % std::size(indices)];
        float lower = 0, upper = 0;
        reducer.GetBounds(index, lower, upper);
        reducer.SetParameter(index, std::uniform_real_distribution(lower - 1, upper + 1)(random));
        if (change % 10 != 0)
            continue;
        Reducer rebuilt(reducer);
        rebuilt.Resume();
        const quietfloor::DerivedSettings &s = EngineSettings(reducer), &r = EngineSettings(rebuilt);
        ASSERT_EQ(s.OffsetDb, r.OffsetDb);
        ASSERT_EQ(s.ReductionDb, r.ReductionDb);
        ASSERT_EQ(s.ReleaseMs, r.ReleaseMs);
        ASSERT_EQ(s.DecisionLevel, r.DecisionLevel);
        ASSERT_EQ(s.TrackerRate, r.TrackerRate);
        ASSERT_EQ(s.Strength, r.Strength);
        ASSERT_EQ(s.BandWidthHz, r.BandWidthHz);
        ASSERT_EQ(s.KneeDb, 14.0f);
        ASSERT_EQ(r.KneeDb, std::max(0.5f, reducer.GetParameter(Reducer::kKneeDb)));
        ASSERT_EQ(GivenSettings(reducer).Reserved, 8.0f);
        ASSERT_EQ(GivenSettings(rebuilt).Reserved, reducer.GetParameter(Reducer::kReserved));
        ASSERT_FALSE(s.TransientBoost || r.TransientBoost);
    }
}

TEST(Parameters, SomeDoNothing) {
    const Samples x = WhiteNoise(30'000, -40);
    Reducer plain;
    Through(plain, x);
    Reducer changed(plain);
    for (const int index : {Reducer::kTrackerRate, Reducer::kReserved, Reducer::kOverlap, Reducer::kKneeDb,
                            Reducer::kUnused, Reducer::kActive})
        changed.SetParameter(index, 17);
    EXPECT_EQ(Through(changed, x), Through(plain, x)); // so far, and TrackerRate after a rebuild too
    changed = plain;
    changed.SetParameter(Reducer::kTrackerRate, 17);
    std::srand(3);
    changed.Resume();
    std::srand(3);
    plain.Resume();
    EXPECT_EQ(plain.GetParameter(Reducer::kActive), 1.0f);
    plain.Suspend();
    EXPECT_EQ(plain.GetParameter(Reducer::kActive), 0.0f);
    EXPECT_EQ(Through(changed, x), Through(plain, x));
}
