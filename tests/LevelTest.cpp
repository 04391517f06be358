// SPDX-License-Identifier: MIT
#include "fft/engine/FftEngine.h"
#include "tests/LevelTesting.h"
#include "tests/Signals.h"

#include <cstdlib>

using namespace FftEngine;
using namespace quietfloor;

namespace {

TEST(ProcessorLevel, NeedsEveryFeatureAndItsRegistersSaved) {
    constexpr ProcessorWords all = {1u << 12 | 1u << 27 | 1u << 28,                  // FMA, OSXSAVE, AVX
                                    1u << 5 | 1u << 16 | 1u << 17 | 1u << 31, 0xe7}; // AVX2, F, DQ, VL
    EXPECT_EQ(BestSlot(all), kAvx512Slot);
    EXPECT_EQ(BestSlot({}), kPortableSlot);
    for (int bit : {12, 28})
        EXPECT_EQ(BestSlot({all.leaf1Ecx & ~(1u << bit), all.leaf7Ebx, all.savedState}), kPortableSlot)
            << bit;
    for (int bit : {5, 16, 17, 31})
        EXPECT_EQ(BestSlot({all.leaf1Ecx, all.leaf7Ebx & ~(1u << bit), all.savedState}),
                  bit == 5 ? kPortableSlot : kAvx2Slot)
            << bit;
    for (int bit : {1, 2, 5, 6, 7})
        EXPECT_EQ(BestSlot({all.leaf1Ecx, all.leaf7Ebx, all.savedState & ~(1ull << bit)}),
                  bit <= 2 ? kPortableSlot : kAvx2Slot)
            << bit;
    const std::int32_t here = BestSlot(ReadProcessorWords());
#if defined(QUIETFLOOR_HAS_AVX_LEVELS)
    EXPECT_EQ(here >= kAvx2Slot, __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"));
    EXPECT_EQ(here == kAvx512Slot, __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                                       __builtin_cpu_supports("avx512vl"));
#else
    EXPECT_EQ(here, kPortableSlot);
#endif
}

Reducer MakeReducer() {
    std::srand(1); // the same dither each time
    return {};
}

// Before the library's own constructors: some linkers put those of a program first, others last.
#if defined(__GNUC__)
#define QUIETFLOOR_FIRST_AT_LOAD __attribute__((init_priority(101)))
#else
#define QUIETFLOOR_FIRST_AT_LOAD
#endif

struct MadeAtLoad {
    std::int32_t slot = CpuDispatchIndex;
    FftSpec64f *spec = nullptr;
    EngineStatus status = FFTInitComplex64f(&spec, 10, kScaleNone, kHintAccurate);
    Reducer reducer = MakeReducer();
    ~MadeAtLoad() { FFTFreeComplex64f(spec); }
};
MadeAtLoad madeAtLoad QUIETFLOOR_FIRST_AT_LOAD;

Samples Transformed(const FftSpec64f *spec, const Samples &x) {
    std::vector<double> re(x.begin(), x.end()), im(x.rbegin(), x.rend());
    FFTForwardComplex64f(re.data(), im.data(), re.data(), im.data(), spec, nullptr);
    return Samples(re.begin(), re.end());
}

TEST(Dispatch, WhatWasMadeBeforeTheChoiceOfLevelStaysGeneric) {
    ASSERT_EQ(madeAtLoad.slot, kPortableSlot);
    EXPECT_EQ(CpuDispatchIndex, HighestSlot());
    ASSERT_EQ(madeAtLoad.status, kEngineOk);
    const Samples block = WhiteNoise(1024, -20), stream = WhiteNoise(44100, -20);
    const Samples spectrum = Transformed(madeAtLoad.spec, block);
    Reducer copy(madeAtLoad.reducer);
    const Samples out = Through(madeAtLoad.reducer, stream);
    EXPECT_EQ(Through(copy, stream), out);
    const DispatchScope portable(kPortableSlot);
    FftSpec64f *spec = nullptr;
    FFTInitComplex64f(&spec, 10, kScaleNone, kHintAccurate);
    EXPECT_EQ(Transformed(spec, block), spectrum);
    FFTFreeComplex64f(spec);
    Reducer reducer = MakeReducer();
    EXPECT_EQ(Through(reducer, stream), out);
}

class Level : public EachLevelTest {};
INSTANTIATE_TEST_SUITE_P(, Level, testing::Values(kAvx2Slot, kAvx512Slot), LevelName);

// A decision that rounding tips over, such as when a floor's evidence is complete, falls one frame
// earlier or later and is forgotten by the next: it may fill a moment, not thirty seconds.
TEST_P(Level, GivesTheStreamOfTheGenericOne) {
    Samples x = Syllables(30 * 44100, -20);
    const Samples noise = WhiteNoise(x.size(), -45);
    std::transform(x.begin(), x.end(), noise.begin(), x.begin(), std::plus<>());
    for (const auto &[fftSize, filterMode] : {std::pair{512, false}, {1024, true}}) {
        Reducer here = MakeReducer();
        Configure(here, fftSize, filterMode);
        Samples difference = Through(here, x);
        const DispatchScope portable(kPortableSlot);
        Reducer reference = MakeReducer();
        Configure(reference, fftSize, filterMode);
        const Samples expected = Through(reference, x);
        std::transform(difference.begin(), difference.end(), expected.begin(), difference.begin(),
                       std::minus<>());
        EXPECT_LT(LevelDb(difference, 0, x.size()) - LevelDb(expected, 0, x.size()), -100) << fftSize;
    }
}

} // namespace
