// SPDX-License-Identifier: MIT
// What counts samples and frames for as long as a stream lasts may pass any bit that it can reach.
#include <gtest/gtest.h>

#include "tests/Signals.h"
#include "tests/StreamInspector.h"

TEST(Counters, MayPassTheirBits) {
    const Samples noise = WhiteNoise(60'000, -30);
    for (const bool filterMode : {false, true}) {
        Reducer young;
        Configure(young, 256, filterMode);
        Through(young, Samples(1000)); // silence, so that no floor has a position yet
        auto &record = dsp::StreamInspector::Record(young);
        record.compander = quietfloor::BuildLevelCompander({.ratio = 0.5, .thresholdDb = -30},
                                                           young.GetLatency(), record.geometry.hopSize);
        Reducer spared(young);
        const Samples expected = Through(spared, noise);
        for (const int bit : {31, 32, 52, 62}) {
            Reducer old(young);
            auto &late = dsp::StreamInspector::Record(old);
            const auto before = [](int power) { return (std::int64_t{1} << power) - 30'000; };
            late.compInputPos += before(bit);
            late.compOutputPos += before(bit);
            late.frameCount += static_cast<std::uint64_t>(before(bit) + 29'800);
            // A double counts up to 2^53, which takes 6000 years.
            late.noiseRemover->SamplePosition += static_cast<double>(before(std::min(bit, 52)));
            EXPECT_EQ(Through(old, noise), expected) << bit << filterMode;
        }
    }
}
