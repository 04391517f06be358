// SPDX-License-Identifier: MIT
/// Tests that run once at each processor level.
#ifndef QUIETFLOOR_TESTS_LEVELTESTING_H
#define QUIETFLOOR_TESTS_LEVELTESTING_H

#include "simd/LevelIndex.h"
#include "simd/ProcessorLevel.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

inline constexpr std::int32_t levelSlots[] = {quietfloor::kPortableSlot, quietfloor::kAvx2Slot,
                                              quietfloor::kAvx512Slot};

/// Runs each test at one level, or has it skipped where the machine or the build lacks that level.
class PinnedTest : public testing::Test {
protected:
    void Pin(std::int32_t slot) {
        if (slot > quietfloor::HighestSlot())
            GTEST_SKIP() << "no level " << quietfloor::NameOfSlot(slot) << " here";
        pinned.emplace(slot);
    }

private:
    std::optional<quietfloor::DispatchScope> pinned;
};

/// Instantiate with AtEachLevel() or some of the slots.
class EachLevelTest : public PinnedTest, public testing::WithParamInterface<std::int32_t> {
protected:
    void SetUp() override { Pin(GetParam()); }
};

inline auto AtEachLevel() { return testing::ValuesIn(levelSlots); }

inline std::string LevelName(const testing::TestParamInfo<std::int32_t> &info) {
    return quietfloor::NameOfSlot(info.param);
}

#endif
