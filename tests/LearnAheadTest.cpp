// SPDX-License-Identifier: MIT
// What a group is taught of a sound before it hears it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "dsp/LearnAhead.h"
#include "tests/Signals.h"

using dsp::ChannelGroup;
using dsp::LearnAhead;

namespace {

constexpr int rate = 44100, second = rate;

// Speaks for 20 s in noise at -50 dB; stereo, with the noise of its own in each channel.
Samples Talk() {
    Samples speech = Syllables(23 * second, -20), sound = WhiteNoise(40 * second, -50);
    for (std::size_t i = 0; i < sound.size(); ++i)
        sound[i] += speech[3 * second + i / 2];
    return sound;
}

// Hands the frames from `first` on to `take`, all at once or in blocks of any length.
template <class Take>
void InBlocks(const Samples &sound, std::size_t first, std::size_t frames, bool isCut, Take take) {
    std::mt19937 random(3);
    while (frames > 0) {
        const std::size_t count = isCut ? std::min<std::size_t>(frames, random() % 3000) : frames;
        take(sound.data() + 2 * first, static_cast<int>(count));
        first += count;
        frames -= count;
    }
}

// The sound as a group gives it that has learnt it, and the passages that it was taught.
struct Learnt {
    Samples out;
    std::vector<LearnAhead::Passage> passages;
    float scale;
};

Learnt Learn(const Samples &sound, bool isCut) {
    std::srand(1);
    ChannelGroup group(2, rate);
    LearnAhead lesson(group, rate);
    InBlocks(sound, 0, sound.size() / 2, isCut, [&](auto *block, int count) { lesson.Survey(block, count); });
    Learnt learnt{sound, lesson.Start(lesson.WorkingScale()), lesson.WorkingScale()};
    for (const auto &[first, count] : learnt.passages)
        InBlocks(sound, static_cast<std::size_t>(first), static_cast<std::size_t>(count), isCut,
                 [&](auto *block, int frames) { lesson.Teach(block, frames); });
    group.ProcessInterleaved(sound.data(), learnt.out.data(), static_cast<int>(sound.size() / 2));
    return learnt;
}

TEST(LearnAhead, DoesNotDependOnHowTheSoundIsCut) {
    const Samples sound = Talk();
    const Learnt whole = Learn(sound, false), cut = Learn(sound, true);
    EXPECT_EQ(whole.passages.size(), cut.passages.size());
    EXPECT_EQ(whole.out, cut.out);
    EXPECT_LT(LevelDb(whole.out, second / 2, second / 2 + second), LevelDb(sound, 0, second));
}

// The sound begins with digital silence and ends in a fade; a gap between two recordings is quieter than the
// noise, too.
TEST(LearnAhead, TakesNeitherSilenceNorFadesForTheNoise) {
    Samples sound = Talk();
    const auto Frame = [](double at) { return static_cast<std::size_t>(2 * std::lround(at * second)); };
    std::fill_n(sound.begin(), Frame(1.5), 0.0f);
    for (std::size_t i = Frame(5.0); i < Frame(5.25); ++i)
        sound[i] *= 0.003f;
    for (std::size_t i = Frame(19.3); i < sound.size(); ++i)
        sound[i] *= static_cast<float>(std::pow(10.0, -3.0 * static_cast<double>(i - Frame(19.3)) / second));
    const Learnt learnt = Learn(sound, false);
    int stretches = 0;
    for (const auto &[first, count] : learnt.passages) {
        if (count == 20 * second)
            continue;
        ++stretches;
        const auto from = static_cast<std::size_t>(2 * first),
                   to = from + static_cast<std::size_t>(2 * count);
        EXPECT_NEAR(LevelDb(sound, from, to), -50.0, 5.0) << first; // where the fade begins, too
    }
    EXPECT_GE(stretches, 8);
    EXPECT_LE(stretches, 20);
}

TEST(LearnAhead, HasNothingToTeachOfSilenceAndOfLessThanATenthOfASecond) {
    EXPECT_TRUE(Learn(Samples(4 * second), false).passages.empty());
    EXPECT_TRUE(Learn(WhiteNoise(second / 6, -30), false).passages.empty());
    EXPECT_TRUE(Learn({}, false).passages.empty());
    Samples clicks(4 * second);
    for (std::size_t i = 0; i < clicks.size(); i += 9000)
        clicks[i] = 1.0f;
    EXPECT_EQ(Learn(clicks, false).scale, 1.0f);
    EXPECT_FALSE(Learn(WhiteNoise(second, -30), false).passages.empty());
}

// Levels so low that they lie below the gate of the tracker, and FFT sizes longer than the burst.
TEST(LearnAhead, OpensTheGateForAnySound) {
    for (const float size : {64.0f, 16384.0f}) {
        ChannelGroup group(1, 8000);
        group.SetParameter(Reducer::kFftSize, size);
        group.Resume();
        LearnAhead lesson(group, 8000);
        const Samples noise = WhiteNoise(80000, -125);
        lesson.Survey(noise.data(), 80000);
        for (const auto &[first, count] : lesson.Start(1.0f))
            lesson.Teach(noise.data() + first, static_cast<int>(count));
        Samples out(noise.size());
        group.ProcessInterleaved(noise.data(), out.data(), 80000);
        EXPECT_LT(LevelDb(out, 30000, 80000), -135.0) << size;
    }
}

} // namespace
