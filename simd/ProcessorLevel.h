// SPDX-License-Identifier: MIT
/// Which levels a processor and its operating system can run, and which slot each level has.
#ifndef QUIETFLOOR_SIMD_PROCESSORLEVEL_H
#define QUIETFLOOR_SIMD_PROCESSORLEVEL_H

#include <cstdint>

/// Defined where the AVX levels are built; everywhere else the portable level is the only one.
#if defined(__x86_64__)
#define QUIETFLOOR_HAS_AVX_LEVELS
#endif

namespace quietfloor {

inline constexpr std::int32_t kDispatchSlots = 6;
inline constexpr std::int32_t kPortableSlot = 0; // also slots 1 to 3
inline constexpr std::int32_t kAvx2Slot = 4;
inline constexpr std::int32_t kAvx512Slot = 5;
inline constexpr std::int32_t kLevelSlots[] = {kPortableSlot, kAvx2Slot, kAvx512Slot};

/// What an x86 processor says of itself; 0 where it has no such answer, and on every other processor.
struct ProcessorWords {
    std::uint32_t leaf1Ecx, leaf7Ebx; // CPUID
    std::uint64_t savedState;         // XCR0: registers that the operating system saves
};

ProcessorWords ReadProcessorWords();

/// The best slot for such a processor. A level needs every feature that its file is compiled for, and
/// its registers saved when threads change.
constexpr std::int32_t BestSlot(const ProcessorWords &words) {
    constexpr std::uint32_t fma = 1u << 12, avx = 1u << 28;                          // leaf 1
    constexpr std::uint32_t avx2 = 1u << 5, avx512 = 1u << 16 | 1u << 17 | 1u << 31; // F, DQ, VL
    constexpr std::uint64_t ymmState = 1u << 1 | 1u << 2;                            // with xmm
    constexpr std::uint64_t zmmState = ymmState | 1u << 5 | 1u << 6 | 1u << 7;       // with masks
    const auto has = [](auto word, auto bits) { return (word & bits) == bits; };
    if (!has(words.leaf1Ecx, fma | avx) || !has(words.leaf7Ebx, avx2) || !has(words.savedState, ymmState))
        return kPortableSlot;
    return has(words.leaf7Ebx, avx512) && has(words.savedState, zmmState) ? kAvx512Slot : kAvx2Slot;
}

} // namespace quietfloor

#endif
