// SPDX-License-Identifier: MIT
// Different objects on different threads, all at once, give what one thread alone gets from them.
#include <gtest/gtest.h>

#include <latch>
#include <memory>
#include <thread>

#include "fft/FFT.h"
#include "tests/Signals.h"
#include "tests/StreamInspector.h"

namespace {

constexpr unsigned threadCount = 4;

// A rebuild draws its dither from the C generator, which all threads share.
void TakeDitherAway(Reducer &reducer) {
    reducer.Process(nullptr, nullptr, 0); // does what is pending
    auto &table = dsp::StreamInspector::Record(reducer).DitherTable;
    std::fill(table.begin(), table.end(), 0.0f);
}

void Append(Samples &all, const Samples &more) { all.insert(all.end(), more.begin(), more.end()); }

// Everything that a host does with objects of its own.
Samples LifeOfStreams(unsigned seed) {
    const Samples x = WhiteNoise(9000, -40, seed); // one frame of the largest size
    const Samples brief(x.begin(), x.begin() + 2000);
    Samples all;
    auto reducer = std::make_unique<Reducer>();
    for (unsigned turn = 0; turn < 3; ++turn) {
        reducer->SetParameter(Reducer::kFftSize, static_cast<float>(64 << (3 * seed + 4 * turn) % 9));
        reducer->SetParameter(Reducer::kFilterMode, (seed + turn) % 2 == 0 ? 0.0f : 1.0f);
        if (turn == 1)
            reducer->SetSampleRate(8000);
        if (turn % 2 == 0)
            reducer->Resume();
        TakeDitherAway(*reducer);
        Append(all, Through(*reducer, x));
        auto copy = std::make_unique<Reducer>(*reducer);
        reducer->SetParameter(Reducer::kStrength, 60);
        Append(all, Through(*reducer, brief, 0));
        reducer = std::move(copy);
        Append(all, Through(*reducer, brief));
    }
    return all;
}

Samples LifeOfTransforms(unsigned seed) {
    Samples x = WhiteNoise(512, 0, seed), y = x, rows[4] = {x, x, x, x};
    const std::unique_ptr<FFTWORKINGDATA> single(CreateFFTWORKINGDATA_F());
    LFFTF(x.data(), y.data(), 64, 1, *single);
    LFFT2CF(x.data(), y.data(), rows[0].data(), rows[1].data(), rows[2].data(), rows[3].data(), 64, 1,
            *single);
    for (const Samples &row : rows)
        Append(x, row);
    for (int size = 2; size <= 512; size *= 2) {
        const std::unique_ptr<FFTWORKINGDATA> data(CreateFFTWORKINGDATA_D(size));
        std::vector<double> re(y.begin(), y.begin() + size), im(re);
        LFFTD(re.data(), im.data(), size, size % 3 == 1 ? -1 : 1, *data);
        x.insert(x.end(), re.begin(), re.end());
    }
    return x;
}

template <class Life>
std::vector<Samples> AllAtOnce(Life life) {
    std::vector<Samples> results(threadCount);
    std::latch start(threadCount);
    std::vector<std::jthread> threads;
    for (unsigned i = 0; i < threadCount; ++i)
        threads.emplace_back([&, i] {
            start.arrive_and_wait();
            results[i] = life(i);
        });
    threads.clear(); // joins
    return results;
}

// The threads come first, so that what the library makes at its first use is made by several at once.
TEST(Threads, ObjectsDoNotMeet) {
    for (const auto life : {LifeOfStreams, LifeOfTransforms}) {
        const std::vector<Samples> results = AllAtOnce(life);
        for (unsigned i = 0; i < threadCount; ++i)
            EXPECT_EQ(results[i], life(i)) << i;
    }
}

// Copies of one object, made by several threads at once from it, are objects of their own.
TEST(Threads, CopiesOfOneObjectDoNotMeet) {
    const Samples x = WhiteNoise(4000, -40);
    for (const bool filterMode : {false, true}) {
        auto original = std::make_unique<Reducer>();
        Configure(*original, 256, filterMode);
        Through(*original, x);
        const std::vector<Samples> results = AllAtOnce([&](unsigned) {
            Reducer copy(*original), assigned;
            assigned = copy;
            copy.SetSampleRate(8000); // lets go of what was copied
            return Through(assigned, x);
        });
        EXPECT_EQ(results, std::vector<Samples>(threadCount, Through(*original, x))) << filterMode;
    }
}

} // namespace
