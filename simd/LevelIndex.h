// SPDX-License-Identifier: MIT
/// Which processor level runs: one index, by which every layer chooses its table of kernels.
#ifndef QUIETFLOOR_SIMD_LEVELINDEX_H
#define QUIETFLOOR_SIMD_LEVELINDEX_H

#include "simd/ProcessorLevel.h"

namespace quietfloor {

/// Which of the six slots is called. 0 until this file's statics are constructed, at load; from then on the
/// best slot that the machine runs and the build allows. What was prepared before keeps the level it was
/// prepared for.
extern constinit std::int32_t CpuDispatchIndex;

/// The best slot that the machine runs and the build allows.
std::int32_t HighestSlot();

/// The name of the level behind a slot: "portable", "avx2" or "avx512".
const char *NameOfSlot(std::int32_t slot);

/// Sets the index for its life, for tests and benchmarks: the library itself never does. `slot` is at most
/// HighestSlot(), and no other thread uses the library meanwhile.
class DispatchScope {
public:
    explicit DispatchScope(std::int32_t slot) : slotBefore(CpuDispatchIndex) { CpuDispatchIndex = slot; }
    ~DispatchScope() { CpuDispatchIndex = slotBefore; }
    DispatchScope(const DispatchScope &) = delete;
    DispatchScope &operator=(const DispatchScope &) = delete;

private:
    std::int32_t slotBefore;
};

/// A layer's kernel tables by slot. On processors without levels of their own every slot holds the portable
/// one, and the other two do not exist.
#if defined(QUIETFLOOR_HAS_AVX_LEVELS)
#define QUIETFLOOR_BY_SLOT(portable, avx2, avx512)                                                           \
    { &(portable), &(portable), &(portable), &(portable), &(avx2), &(avx512) }
#else
#define QUIETFLOOR_BY_SLOT(portable, avx2, avx512)                                                           \
    { &(portable), &(portable), &(portable), &(portable), &(portable), &(portable) }
#endif

} // namespace quietfloor

#endif
