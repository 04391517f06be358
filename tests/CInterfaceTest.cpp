// SPDX-License-Identifier: MIT
// The C interface beside the object that it wraps.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "lib/quietfloor.h"
#include "tests/Signals.h"

namespace {

using Handle = std::unique_ptr<quietfloor_reducer, void (*)(quietfloor_reducer *)>;
Handle Owned(quietfloor_reducer *reducer) { return {reducer, quietfloor_destroy}; }

} // namespace

// Through each change that a host may make; both start from the same dither.
TEST(CInterface, GivesTheSameBitsAsTheObject) {
    Samples x = WhiteNoise(60000, -40), y = x, z = x;
    std::srand(3);
    Reducer reducer;
    reducer.SetSampleRate(16000);
    reducer.SetEstimator(Reducer::kLogSpectral);
    Configure(reducer, 1024, true);
    std::srand(3);
    Handle handle = Owned(quietfloor_create());
    EXPECT_EQ(quietfloor_set_sample_rate(handle.get(), 16000), QUIETFLOOR_OK);
    quietfloor_set_parameter(handle.get(), QUIETFLOOR_FFT_SIZE, 1024);
    quietfloor_set_parameter(handle.get(), QUIETFLOOR_FILTER_MODE, 1);
    EXPECT_EQ(quietfloor_set_estimator(handle.get(), QUIETFLOOR_LOG_SPECTRAL), QUIETFLOOR_OK);
    EXPECT_EQ(quietfloor_resume(handle.get()), QUIETFLOOR_OK);
    EXPECT_EQ(quietfloor_latency(handle.get()), reducer.GetLatency());
    const auto half = static_cast<int>(x.size() / 2);
    EXPECT_EQ(quietfloor_process(handle.get(), x.data(), y.data(), half), QUIETFLOOR_OK);
    handle = Owned(quietfloor_copy(handle.get()));
    EXPECT_EQ(quietfloor_sample_rate(handle.get()), 16000);
    EXPECT_EQ(quietfloor_process(handle.get(), y.data() + half, y.data() + half, half), QUIETFLOOR_OK);
    reducer.Process(z.data(), z.data(), 2 * half);
    EXPECT_EQ(std::memcmp(y.data(), z.data(), y.size() * sizeof(float)), 0);
}

TEST(CInterface, RefusesWhatMakesNoSense) {
    float x = 3, lower = 7;
    const Handle handle = Owned(quietfloor_create());
    const int count = quietfloor_parameter_count();
    quietfloor_destroy(nullptr);
    quietfloor_suspend(nullptr);
    EXPECT_EQ(quietfloor_copy(nullptr), nullptr);
    EXPECT_EQ(quietfloor_latency(nullptr) + quietfloor_sample_rate(nullptr), 0);
    for (const int status :
         {quietfloor_process(nullptr, &x, &x, 1), quietfloor_process(handle.get(), nullptr, &x, 1),
          quietfloor_process(handle.get(), &x, nullptr, 1), quietfloor_set_sample_rate(nullptr, 8000),
          quietfloor_set_sample_rate(handle.get(), 0), quietfloor_resume(nullptr),
          quietfloor_set_parameter(nullptr, 0, 1), quietfloor_set_parameter(handle.get(), count, 1),
          quietfloor_set_estimator(nullptr, 0), quietfloor_set_estimator(handle.get(), -1),
          quietfloor_set_estimator(handle.get(), 2), quietfloor_parameter_bounds(-1, &lower, &lower),
          quietfloor_parameter_bounds(count, &lower, &lower)})
        EXPECT_EQ(status, QUIETFLOOR_BAD_ARGUMENT);
    EXPECT_EQ(quietfloor_get_estimator(handle.get()), QUIETFLOOR_GATE);
    EXPECT_EQ(quietfloor_get_estimator(nullptr), -1);
    EXPECT_TRUE(x == 3 && lower == 7 && quietfloor_sample_rate(handle.get()) == 44100);
    EXPECT_EQ(quietfloor_process(handle.get(), nullptr, nullptr, 0), QUIETFLOOR_OK);
    float upper = 0;
    EXPECT_EQ(quietfloor_parameter_bounds(QUIETFLOOR_RELEASE, &lower, nullptr), QUIETFLOOR_OK);
    EXPECT_EQ(quietfloor_parameter_bounds(QUIETFLOOR_RELEASE, nullptr, &upper), QUIETFLOOR_OK);
    EXPECT_TRUE(lower == 20 && upper == 750);
    EXPECT_STREQ(quietfloor_parameter_unit(QUIETFLOOR_BANDWIDTH), "Hz");
    EXPECT_EQ(quietfloor_parameter_name(count), nullptr);
}

TEST(CInterface, TellsWhatAnObjectIs) {
    const Handle handle = Owned(quietfloor_create());
    for (int i = 0; i < quietfloor_parameter_count(); ++i) {
        EXPECT_STRNE(quietfloor_parameter_description(i), "") << i;
        EXPECT_STRNE(quietfloor_parameter_description(i), quietfloor_parameter_name(i)) << i;
        if (quietfloor_parameter_is_settable(i)) {
            EXPECT_EQ(quietfloor_parameter_default(i), quietfloor_get_parameter(handle.get(), i)) << i;
        }
    }
    quietfloor_resume(handle.get());
    EXPECT_EQ(quietfloor_get_parameter(handle.get(), Reducer::kActive), 1);
    quietfloor_suspend(handle.get());
    EXPECT_EQ(quietfloor_get_parameter(handle.get(), Reducer::kActive), 0);
    int part[3];
    quietfloor_version_numbers(&part[0], &part[1], &part[2]);
    EXPECT_EQ(std::to_string(part[0]) + '.' + std::to_string(part[1]) + '.' + std::to_string(part[2]),
              quietfloor_version());
}
