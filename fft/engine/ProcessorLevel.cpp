#include "fft/engine/ProcessorLevel.h"

#if defined(_MSC_VER)
#include <intrin.h>
#else
#include <cpuid.h>
#include <immintrin.h>
#endif

namespace FftEngine {
namespace {

struct Registers {
    std::uint32_t eax, ebx, ecx, edx;
};

#if defined(_MSC_VER)

Registers Cpuid(std::uint32_t leaf) {
    int words[4];
    __cpuidex(words, static_cast<int>(leaf), 0);
    return {static_cast<std::uint32_t>(words[0]), static_cast<std::uint32_t>(words[1]),
            static_cast<std::uint32_t>(words[2]), static_cast<std::uint32_t>(words[3])};
}

std::uint64_t SavedState() { return _xgetbv(0); }

#else

Registers Cpuid(std::uint32_t leaf) {
    Registers words = {};
    __cpuid_count(leaf, 0, words.eax, words.ebx, words.ecx, words.edx);
    return words;
}

// The instruction is named for this function alone: the file is compiled for every processor.
__attribute__((target("xsave"))) std::uint64_t SavedState() { return static_cast<std::uint64_t>(_xgetbv(0)); }

#endif

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

} // namespace FftEngine
