// SPDX-License-Identifier: MIT
#include "simd/ProcessorLevel.h"

#if defined(QUIETFLOOR_HAS_AVX_LEVELS)
#include <cpuid.h>
#include <immintrin.h>
#endif

namespace quietfloor {

#if defined(QUIETFLOOR_HAS_AVX_LEVELS)

namespace {

struct Registers {
    std::uint32_t eax, ebx, ecx, edx;
};

Registers Cpuid(std::uint32_t leaf) {
    Registers words = {};
    __cpuid_count(leaf, 0, words.eax, words.ebx, words.ecx, words.edx);
    return words;
}

// The instruction is named for this function alone: the file is compiled for every processor.
__attribute__((target("xsave"))) std::uint64_t SavedState() { return static_cast<std::uint64_t>(_xgetbv(0)); }

} // namespace

ProcessorWords ReadProcessorWords() {
    constexpr std::uint32_t canReadSavedState = 1u << 27; // of leaf 1, ECX; the instruction faults without
    const std::uint32_t highestLeaf = Cpuid(0).eax;
    ProcessorWords words = {};
    if (highestLeaf >= 1)
        words.leaf1Ecx = Cpuid(1).ecx;
    if (highestLeaf >= 7)
        words.leaf7Ebx = Cpuid(7).ebx;
    if ((words.leaf1Ecx & canReadSavedState) != 0)
        words.savedState = SavedState();
    return words;
}

#else

ProcessorWords ReadProcessorWords() { return {}; }

#endif

} // namespace quietfloor
