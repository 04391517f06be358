// SPDX-License-Identifier: MIT
// Memory runs out at every allocation of every public operation in turn, once or from there on. Nothing
// leaks, what was promised about the objects holds, and with memory they go on as if nothing had happened.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <type_traits>

#include "dsp/Parameters.h"
#include "fft/FFTWorkingData.h"
#include "fft/engine/Allocator.h"
#include "tests/CReducer.h"
#include "tests/GroupReducer.h"
#include "tests/Signals.h"
#include "tests/StreamInspector.h"

namespace {

struct Shortage {
    int from = 0;           // the first allocation that is refused
    bool isLasting = false; // so are all after it
    bool isOn = false;
    int asked = 0;
    bool wasFelt() const { return asked > from; }
} shortage;

int liveBlocks = 0;

void *CountingMalloc(std::size_t size) {
    if (shortage.isOn) {
        const int index = shortage.asked++;
        if (index == shortage.from || (shortage.isLasting && index > shortage.from))
            return nullptr;
    }
    void *block = std::malloc(size);
    liveBlocks += block != nullptr;
    return block;
}

void CountingFree(void *block) {
    liveBlocks -= block != nullptr;
    std::free(block);
}

// From before the first test on, so that no block is freed that was not counted.
const bool isInstalled = [] {
    FftEngine::EngineAllocatorTable.malloc = CountingMalloc;
    FftEngine::EngineAllocatorTable.free = CountingFree;
    return true;
}();

} // namespace

// The library and its containers use these forms alone.
void *operator new(std::size_t size) {
    if (void *block = CountingMalloc(size + !size))
        return block;
    throw std::bad_alloc();
}
void *operator new(std::size_t size, std::align_val_t alignment) {
    const auto step = static_cast<std::size_t>(alignment);
    auto *whole = static_cast<std::uint8_t *>(operator new(size + 2 * step));
    std::uint8_t *block = whole + 2 * step - reinterpret_cast<std::uintptr_t>(whole) % step;
    std::memcpy(block - sizeof whole, &whole, sizeof whole);
    return block;
}
// Through the table, lest the compiler see a block of operator new end in free.
void operator delete(void *block) noexcept { FftEngine::EngineAllocatorTable.free(block); }
void operator delete(void *block, std::size_t) noexcept { operator delete(block); }
void operator delete(void *block, std::align_val_t) noexcept {
    if (block)
        std::memcpy(&block, static_cast<std::uint8_t *>(block) - sizeof block, sizeof block);
    operator delete(block);
}
void operator delete(void *block, std::size_t, std::align_val_t alignment) noexcept {
    operator delete(block, alignment);
}

namespace {

// False if the call said that it lacks memory.
template <class Call>
bool Tries(Call call) {
    bool works = true;
    shortage.isOn = true;
    try {
        call();
    } catch (const std::bad_alloc &) {
        works = false;
    }
    shortage.isOn = false;
    return works;
}

// What is refused must be said.
template <class Call>
bool Works(Call call) {
    const bool works = Tries(call);
    EXPECT_EQ(works, !shortage.wasFelt());
    return works;
}

template <class Subject>
Samples Output(Subject &subject) {
    static const Samples noise = WhiteNoise(3000, -40);
    Samples x = noise;
    subject.Process(x.data(), x.data(), static_cast<int>(x.size()));
    return x;
}

template <class Subject>
void Constructs() {
    std::optional<Subject> made;
    std::srand(3); // the dither is drawn from it
    Works([&] { made.emplace(); });
    std::srand(3);
    Subject fresh;
    std::srand(3);
    EXPECT_EQ(Output(made ? *made : made.emplace()), Output(fresh));
}

template <class Subject>
void Copies() {
    Subject original;
    original.SetEstimator(Reducer::kLogSpectral);
    Output(original);
    Subject twin(original);
    std::optional<Subject> copy;
    Works([&] { copy.emplace(original); });
    const Samples expected = Output(twin);
    EXPECT_EQ(Output(copy ? *copy : copy.emplace(original)), expected);
    EXPECT_EQ(Output(original), expected);
}

template <class Subject>
void Assigns() {
    Subject source, target;
    Configure(target, 128, true);
    if constexpr (std::is_same_v<Subject, Reducer>)
        dsp::StreamInspector::Record(source).compander = quietfloor::BuildLevelCompander({}, 512, 128);
    Output(target);
    Subject twin(target);
    if (!Works([&] { target = source; })) {
        EXPECT_EQ(Output(target), Output(twin)) << "a failed assignment changed its target";
        target = source;
    }
    EXPECT_EQ(Output(target), Output(source));
}

constexpr int kSampleRate = -1; // beside the indices of parameters

template <class Subject, int index, bool isResumed>
void Rebuilds() {
    Subject subject, spared;
    for (Subject *each : {&subject, &spared}) {
        each->SetParameter(Reducer::kOffsetDb, 5);
        each->SetEstimator(Reducer::kLogSpectral);
        Output(*each);
        if constexpr (index == kSampleRate)
            each->SetSampleRate(8000);
        else
            each->SetParameter(index, 1024);
    }
    float sample = 7;
    const auto rebuild = [&sample](Subject &each) {
        sample = 7;
        std::srand(3);
        isResumed ? each.Resume() : each.Process(&sample, &sample, 1);
    };
    if (!Works([&] { rebuild(subject); })) {
        EXPECT_TRUE(sample == 7 && subject.GetLatency() == 0);
        for (int i = 0; i < Reducer::kParamCount; ++i)
            EXPECT_TRUE(!quietfloor::ParameterAt(i).isSettable ||
                        subject.GetParameter(i) == spared.GetParameter(i))
                << i;
        rebuild(subject);
    }
    rebuild(spared);
    EXPECT_EQ(subject.GetLatency(), spared.GetLatency());
    EXPECT_EQ(Output(subject), Output(spared));
}

// Whatever was made transforms rightly or leaves all as it was, and needs no memory then.
template <class Real, class Data, class Make, class Transform>
void Prepares(Make make, Transform transform) {
    std::unique_ptr<Data> data;
    const bool isWhole =
        Tries([&] { data.reset(make()); }) && data->fftSpec->spec && data->fftSpec->workBuffer;
    EXPECT_EQ(isWhole, !shortage.wasFelt());
    for (const bool isShort : {true, false}) {
        if (!data)
            data.reset(make());
        std::vector<Real> re(64), im(64);
        re[0] = 1;
        const Shortage before = shortage;
        shortage = {0, true, isShort, 0};
        transform(re.data(), im.data(), 64, 1, *data);
        shortage = before;
        const bool isDone = data->fftSpec->spec && (data->fftSpec->workBuffer || !isShort);
        EXPECT_TRUE(re[0] == 1 && re[1] == (isDone ? 1 : 0) && re[63] == re[1]) << isShort;
    }
}

void TransformsTwoChannels() {
    const std::unique_ptr<FFTWORKINGDATA> data(CreateFFTWORKINGDATA_F());
    std::vector<float> rows[6]; // x, y and their spectra
    for (std::vector<float> &row : rows)
        row.resize(64);
    rows[0][0] = 1;
    const auto transform = [&] {
        LFFT2CF(rows[0].data(), rows[1].data(), rows[2].data(), rows[3].data(), rows[4].data(),
                rows[5].data(), 64, 1, *data);
    };
    EXPECT_EQ(rows[2], std::vector<float>(64, Works(transform) ? 1.0f : 0.0f));
    transform();
    EXPECT_EQ(rows[2], std::vector<float>(64, 1.0f));
}

struct Operation {
    const char *name;
    void (*run)();
};

const Operation operations[] = {
    {"constructor", Constructs<Reducer>},
    {"quietfloor_create", Constructs<CReducer>},
    {"copy constructor", Copies<Reducer>},
    {"quietfloor_copy", Copies<CReducer>},
    {"assignment", Assigns<Reducer>},
    {"Process after a new size", Rebuilds<Reducer, Reducer::kFftSize, false>},
    {"Process after a new mode", Rebuilds<Reducer, Reducer::kFilterMode, false>},
    {"Process after a new rate", Rebuilds<Reducer, kSampleRate, false>},
    {"Resume", Rebuilds<Reducer, Reducer::kFftSize, true>},
    {"Resume after a new rate", Rebuilds<Reducer, kSampleRate, true>},
    {"quietfloor_process after a new size", Rebuilds<CReducer, Reducer::kFftSize, false>},
    {"quietfloor_process after a new mode", Rebuilds<CReducer, Reducer::kFilterMode, false>},
    {"quietfloor_process after a new rate", Rebuilds<CReducer, kSampleRate, false>},
    {"quietfloor_resume", Rebuilds<CReducer, kSampleRate, true>},
    {"group's constructor", Constructs<GroupReducer>},
    {"group's copy constructor", Copies<GroupReducer>},
    {"group's assignment", Assigns<GroupReducer>},
    {"group's Process after a new size", Rebuilds<GroupReducer, Reducer::kFftSize, false>},
    {"group's Process after a new mode", Rebuilds<GroupReducer, Reducer::kFilterMode, false>},
    {"group's Resume", Rebuilds<GroupReducer, Reducer::kFftSize, true>},
    {"CreateFFTWORKINGDATA_F", [] { Prepares<float, FFTWORKINGDATA_F>(CreateFFTWORKINGDATA_F, LFFTF); }},
    {"CreateFFTWORKINGDATA_D",
     [] { Prepares<double, FFTWORKINGDATA_D>([] { return CreateFFTWORKINGDATA_D(64); }, LFFTD); }},
    {"LFFT2CF", TransformsTwoChannels},
};

} // namespace

TEST(Exhaustion, LeavesEveryOperationWhole) {
    for (const Operation &operation : operations) {
        operation.run(); // what is made once and stays
        for (const bool isLasting : {false, true}) {
            int refused = -1;
            do {
                ++refused;
                shortage = {refused, isLasting, false, 0};
                const int before = liveBlocks;
                operation.run();
                EXPECT_EQ(liveBlocks, before) << "blocks are leaked";
                ASSERT_FALSE(HasFailure()) << operation.name << ", allocation " << refused << isLasting;
            } while (shortage.wasFelt());
            EXPECT_GT(refused, 1) << operation.name;
        }
    }
}
