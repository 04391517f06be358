/// Tests that run once at each processor level.
#ifndef QUIETFLOOR_TESTS_LEVELTESTING_H
#define QUIETFLOOR_TESTS_LEVELTESTING_H

#include "fft/engine/Dispatch.h"
#include "fft/engine/ProcessorLevel.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

inline constexpr std::int32_t levelSlots[] = {FftEngine::kGenericSlot, FftEngine::kAvx2Slot,
                                              FftEngine::kAvx512Slot};

/// Runs each test at one level, or has it skipped where the machine or the build lacks that level.
class PinnedTest : public testing::Test {
protected:
    void Pin(std::int32_t slot) {
        if (slot > FftEngine::HighestSlot())
            GTEST_SKIP() << "no level " << FftEngine::KernelsOfSlot(slot).name << " here";
        pinned.emplace(slot);
    }

private:
    std::optional<FftEngine::DispatchScope> pinned;
};

/// Instantiate with AtEachLevel() or some of the slots.
class EachLevelTest : public PinnedTest, public testing::WithParamInterface<std::int32_t> {
protected:
    void SetUp() override { Pin(GetParam()); }
};

inline auto AtEachLevel() { return testing::ValuesIn(levelSlots); }

inline std::string LevelName(const testing::TestParamInfo<std::int32_t> &info) {
    return FftEngine::KernelsOfSlot(info.param).name;
}

#endif
