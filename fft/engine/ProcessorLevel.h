/// Which of the engine's levels a processor and its operating system can run.
#ifndef QUIETFLOOR_FFT_ENGINE_PROCESSORLEVEL_H
#define QUIETFLOOR_FFT_ENGINE_PROCESSORLEVEL_H

#include <cstdint>

namespace FftEngine {

inline constexpr std::int32_t kGenericSlot = 0; // also slots 1 to 3
inline constexpr std::int32_t kAvx2Slot = 4;
inline constexpr std::int32_t kAvx512Slot = 5;

/// What a processor says of itself; 0 where it has no such answer.
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
        return kGenericSlot;
    return has(words.leaf7Ebx, avx512) && has(words.savedState, zmmState) ? kAvx512Slot : kAvx2Slot;
}

} // namespace FftEngine

#endif
