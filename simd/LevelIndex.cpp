// SPDX-License-Identifier: MIT
#include "simd/LevelIndex.h"

#include <algorithm>

// A build may name a lower slot than the last.
#ifndef QUIETFLOOR_SLOT_LIMIT
#define QUIETFLOOR_SLOT_LIMIT kAvx512Slot
#endif

namespace quietfloor {

constinit std::int32_t CpuDispatchIndex = kPortableSlot;

namespace {

const struct LevelChoice {
    LevelChoice() { CpuDispatchIndex = HighestSlot(); }
} choiceAtLoad;

} // namespace

std::int32_t HighestSlot() {
    return std::min<std::int32_t>(BestSlot(ReadProcessorWords()), QUIETFLOOR_SLOT_LIMIT);
}

const char *NameOfSlot(std::int32_t slot) {
    return slot == kAvx512Slot ? "avx512" : slot == kAvx2Slot ? "avx2" : "portable";
}

} // namespace quietfloor
