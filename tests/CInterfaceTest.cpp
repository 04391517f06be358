// The C interface beside the object that it wraps, and what it says when memory runs out.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "fft/engine/Allocator.h"
#include "lib/quietfloor.h"
#include "tests/Signals.h"

namespace {

using FftEngine::EngineAllocatorTable;

int allocationsLeft = -1; // below 0: as many as are asked for

bool IsRefused() { return allocationsLeft >= 0 && allocationsLeft-- == 0; }

void *LimitedMalloc(std::size_t size) { return IsRefused() ? nullptr : std::malloc(size); }

using Handle = std::unique_ptr<quietfloor_reducer, void (*)(quietfloor_reducer *)>;
Handle Owned(quietfloor_reducer *reducer) { return {reducer, quietfloor_destroy}; }

// Runs the call with ever more memory until it succeeds; returns how often it failed.
template <class Call>
int FailuresUntilItWorks(Call call) {
    EngineAllocatorTable.malloc = LimitedMalloc;
    int failures = 0;
    for (bool worked = false; !worked; failures += worked ? 0 : 1) {
        allocationsLeft = failures;
        worked = call();
        allocationsLeft = -1;
    }
    EngineAllocatorTable.malloc = std::malloc;
    return failures;
}

} // namespace

void *operator new(std::size_t size) {
    if (void *block = LimitedMalloc(size + !size))
        return block;
    throw std::bad_alloc();
}
void *operator new(std::size_t size, std::align_val_t alignment) {
    const auto step = static_cast<std::uintptr_t>(alignment);
    const auto whole = reinterpret_cast<std::uintptr_t>(operator new(size + 2 * step));
    const auto block = reinterpret_cast<std::uintptr_t *>((whole / step + 2) * step);
    block[-1] = whole;
    return block;
}
void operator delete(void *block) noexcept { EngineAllocatorTable.free(block); }
void operator delete(void *block, std::size_t) noexcept { EngineAllocatorTable.free(block); }
void operator delete(void *block, std::align_val_t) noexcept {
    if (block)
        EngineAllocatorTable.free(reinterpret_cast<void *>(static_cast<std::uintptr_t *>(block)[-1]));
}
void operator delete(void *block, std::size_t, std::align_val_t alignment) noexcept {
    operator delete(block, alignment);
}

// Through each change that a host may make; both start from the same dither.
TEST(CInterface, GivesTheSameBitsAsTheObject) {
    Samples x = WhiteNoise(60000, -40), y = x, z = x;
    std::srand(3);
    Reducer reducer;
    Configure(reducer, 1024, true);
    std::srand(3);
    Handle handle = Owned(quietfloor_create());
    quietfloor_set_parameter(handle.get(), QUIETFLOOR_FFT_SIZE, 1024);
    quietfloor_set_parameter(handle.get(), QUIETFLOOR_FILTER_MODE, 1);
    EXPECT_EQ(quietfloor_resume(handle.get()), QUIETFLOOR_OK);
    EXPECT_EQ(quietfloor_latency(handle.get()), reducer.GetLatency());
    const auto half = static_cast<int>(x.size() / 2);
    EXPECT_EQ(quietfloor_process(handle.get(), x.data(), y.data(), half), QUIETFLOOR_OK);
    handle = Owned(quietfloor_copy(handle.get()));
    EXPECT_EQ(quietfloor_process(handle.get(), y.data() + half, y.data() + half, half), QUIETFLOOR_OK);
    reducer.Process(z.data(), z.data(), 2 * half);
    EXPECT_EQ(std::memcmp(y.data(), z.data(), y.size() * sizeof(float)), 0);
}

// What fails leaves no mark: no output, the parameters as they were, and the next call works.
TEST(CInterface, RunsOutOfMemoryAtAnyPointAndRecovers) {
    Handle handle = Owned(nullptr), copy = Owned(nullptr);
    EXPECT_GT(FailuresUntilItWorks([&] { return (handle = Owned(quietfloor_create())) != nullptr; }), 10);
    EXPECT_EQ(quietfloor_set_parameter(handle.get(), QUIETFLOOR_OFFSET, 5), QUIETFLOOR_OK);
    EXPECT_GT(FailuresUntilItWorks([&] { return (copy = Owned(quietfloor_copy(handle.get()))) != nullptr; }),
              10);
    for (const bool isResume : {false, true}) {
        EXPECT_EQ(quietfloor_set_sample_rate(copy.get(), 96000), QUIETFLOOR_OK);
        float sample = 7;
        bool isUntouched = true;
        EXPECT_GT(FailuresUntilItWorks([&] {
                      const int status = isResume ? quietfloor_resume(copy.get())
                                                  : quietfloor_process(copy.get(), &sample, &sample, 1);
                      if (status == QUIETFLOOR_OUT_OF_MEMORY)
                          isUntouched &= sample == 7 && quietfloor_latency(copy.get()) == 0;
                      return status == QUIETFLOOR_OK;
                  }),
                  10);
        EXPECT_TRUE(isUntouched);
        EXPECT_EQ(quietfloor_latency(copy.get()), 512);
        EXPECT_EQ(quietfloor_get_parameter(copy.get(), QUIETFLOOR_OFFSET), 5);
        EXPECT_EQ(quietfloor_sample_rate(copy.get()), 96000);
    }
}

TEST(CInterface, RefusesWhatMakesNoSense) {
    float x = 3, lower = 7;
    const Handle handle = Owned(quietfloor_create());
    const int count = quietfloor_parameter_count();
    quietfloor_destroy(nullptr);
    quietfloor_suspend(nullptr);
    EXPECT_EQ(quietfloor_copy(nullptr), nullptr);
    EXPECT_EQ(quietfloor_latency(nullptr) + quietfloor_sample_rate(nullptr), 0);
    for (const int status :
         {quietfloor_process(nullptr, &x, &x, 1), quietfloor_process(handle.get(), nullptr, &x, 1),
          quietfloor_process(handle.get(), &x, nullptr, 1), quietfloor_set_sample_rate(nullptr, 8000),
          quietfloor_set_sample_rate(handle.get(), 0), quietfloor_resume(nullptr),
          quietfloor_set_parameter(nullptr, 0, 1), quietfloor_set_parameter(handle.get(), count, 1),
          quietfloor_parameter_bounds(-1, &lower, &lower),
          quietfloor_parameter_bounds(count, &lower, &lower)})
        EXPECT_EQ(status, QUIETFLOOR_BAD_ARGUMENT);
    EXPECT_TRUE(x == 3 && lower == 7 && quietfloor_sample_rate(handle.get()) == 44100);
    EXPECT_EQ(quietfloor_parameter_bounds(QUIETFLOOR_RELEASE, &lower, nullptr), QUIETFLOOR_OK);
    EXPECT_EQ(lower, 20);
    EXPECT_STREQ(quietfloor_parameter_unit(QUIETFLOOR_BANDWIDTH), "Hz");
    EXPECT_EQ(quietfloor_parameter_name(count), nullptr);
}
