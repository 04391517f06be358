// SPDX-License-Identifier: MIT
#include "dsp/LearnAhead.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "noise/Tuning.h"

namespace dsp {
namespace {

constexpr int blocksPerSecond = 10;      // long enough for a level, short enough for the gaps in speech
constexpr double steadyRatio = 16.0;     // of power: noise does not change more from half to half
constexpr std::size_t pieceLength = 512; // frames that are taught or left out together

// A fade passes through 6 dB quickly, and gaps between recordings are short. The noise stays.
constexpr int noiseOctaves = 2;             // of power, 6 dB:
constexpr double noiseShare = 0.05;         // so much of the sound lies at least in them
constexpr int silenceOctaves = 3;           // of power, 9 dB: what lies so far below the noise is not taught
constexpr double stretchShare = 0.1;        // of a short sound: its quietest stretches,
constexpr std::int64_t fewestStretches = 4; // but at least so many

// How much is taught: the longer of a time and of a number of FFT sizes, which fill the modulation analysis.
constexpr std::int64_t wholeSeconds = 10, wholeSizes = 64, mostRounds = 100;
constexpr std::int64_t stretchSeconds = 1, stretchSizes = 4, mostStretchRounds = 10;

constexpr int burstsPerSecond = 10;     // its length is the inverse, or one FFT size if that is longer
constexpr float burstPeak = 0.0054772f; // -50 dBFS rms: evenly distributed samples, whose peak is sqrt(3) rms

// All but the loudest blocks are brought into an octave of level (two of power) around the target, where
// recordings lie that were levelled with care, and for which the presets are made.
constexpr double loudShare = 0.05;        // of the blocks
constexpr double lowestTarget = 0x1.4p-7; // power: -20 dBFS

double Square(float sample) noexcept {
    const double value = std::isfinite(sample) ? sample : 0.0;
    return value * value;
}

std::int64_t QuotientUp(std::int64_t a, std::int64_t b) noexcept { return (a + b - 1) / b; }

std::int64_t ShareUp(double share, std::int64_t count) noexcept {
    return static_cast<std::int64_t>(std::ceil(share * static_cast<double>(count)));
}

// A linear congruential generator, since the C library's numbers belong to the dither (constants: D. E.
// Knuth, The Art of Computer Programming, volume 2, section 3.3.4).
class WhiteSource {
public:
    float Next() noexcept {
        state = state * 1664525u + 1013904223u;
        return burstPeak * (static_cast<float>(state >> 8) * 0x1p-23f - 1.0f);
    }

private:
    std::uint32_t state = 1;
};

} // namespace

LearnAhead::LearnAhead(ChannelGroup &group, int sampleRate)
    : reducers(&group), channels(static_cast<std::size_t>(group.GetChannelCount())), rate(sampleRate),
      halfFrames(std::max(1, sampleRate / (2 * blocksPerSecond))), levels(levelCount),
      piece(pieceLength * channels) {}

void LearnAhead::Survey(const float *interleaved, int frames) {
    surveyed += frames;
    std::size_t left = static_cast<std::size_t>(frames) * channels;
    while (left > 0) {
        const std::size_t wanted = static_cast<std::size_t>(halfFrames - filled) * channels;
        const std::size_t run = std::min(left, wanted);
        for (std::size_t i = 0; i < run; ++i)
            energy += Square(interleaved[i]);
        interleaved += run;
        left -= run;
        filled += static_cast<std::int64_t>(run / channels);
        if (run == wanted)
            TakeHalf();
    }
}

void LearnAhead::TakeHalf() noexcept {
    halves[halvesDone] = energy / (static_cast<double>(halfFrames) * static_cast<double>(channels));
    energy = 0.0;
    filled = 0;
    if (++halvesDone == halves.size()) {
        TakeBlock();
        halvesDone = 0;
        blockStart += 2 * halfFrames;
    }
}

// A block that is silent in part is none of noise, so the louder half is its level.
void LearnAhead::TakeBlock() noexcept {
    const auto [softer, louder] = std::minmax(halves[0], halves[1]);
    if (louder < std::ldexp(1.0, lowestExponent))
        return;
    Level &level = levels[static_cast<std::size_t>(LevelOf(louder))];
    ++level.blocks;
    if (softer * steadyRatio < louder)
        return;
    if (level.steady < mostStretches)
        level.first[static_cast<std::size_t>(level.steady)] = blockStart;
    ++level.steady;
}

int LearnAhead::LevelOf(double meanSquare) noexcept {
    int exponent = 0;
    const double mantissa = std::frexp(meanSquare, &exponent); // 0.5 to 1
    const int quarter = static_cast<int>((mantissa - 0.5) * 2.0 * levelsPerOctave);
    return std::min((exponent - lowestExponent) * levelsPerOctave + quarter, levelCount - 1);
}

double LearnAhead::MiddleOf(int level) noexcept {
    const int quarter = level % levelsPerOctave;
    return std::ldexp(0.5 + (quarter + 0.5) / (2.0 * levelsPerOctave),
                      lowestExponent + level / levelsPerOctave);
}

// Steady blocks of the levels from `from` up to but not including `to`.
std::int64_t LearnAhead::Steady(int from, int to) const noexcept {
    std::int64_t sum = 0;
    for (int i = from; i < std::min(to, levelCount); ++i)
        sum += levels[static_cast<std::size_t>(i)].steady;
    return sum;
}

// -1 if no block is steady.
int LearnAhead::QuietestLevel() const noexcept {
    const std::int64_t steady = Steady(0, levelCount);
    const std::int64_t wanted = std::min(std::max(ShareUp(noiseShare, steady), fewestStretches), steady);
    for (int i = 0; i < levelCount; ++i)
        if (Steady(i, i + 1) > 0 && Steady(i, i + noiseOctaves * levelsPerOctave) >= wanted)
            return i;
    return -1;
}

// -1 if there is nothing to teach.
int LearnAhead::LoudLevel() const noexcept {
    if (QuietestLevel() < 0)
        return -1;
    std::int64_t blocks = 0, louder = 0;
    for (const Level &level : levels)
        blocks += level.blocks;
    int i = levelCount - 1;
    for (const std::int64_t loud = ShareUp(loudShare, blocks); i > 0; --i)
        if ((louder += levels[static_cast<std::size_t>(i)].blocks) >= loud)
            break;
    return i;
}

float LearnAhead::WorkingScale() const noexcept {
    const int loud = LoudLevel();
    const int highest = LevelOf(lowestTarget) + levelsPerFactor - 1;
    const double factors = static_cast<double>(highest - loud) / levelsPerFactor;
    return loud < 0 ? 1.0f : std::ldexp(1.0f, static_cast<int>(std::floor(factors)));
}

// The scores of the modulation grow with a small power of the level, and the decision level with the
// sensitivity.
float LearnAhead::SensitivityShift(float scale) const noexcept {
    using namespace quietfloor::tuning;
    const int loud = LoudLevel();
    if (loud < 0)
        return 0.0f;
    const double power = MiddleOf(loud) * scale * scale;
    const double octaves = 0.5 * std::log2(power / (2.0 * lowestTarget));
    return static_cast<float>(sensitivityOctave * (1.0 - unevennessExponent) * octaves);
}

// Of the quietest blocks those that come first, since the noise at the beginning is wanted first.
std::vector<LearnAhead::Passage> LearnAhead::QuietestStretches() const {
    const std::int64_t steady = Steady(0, levelCount);
    std::int64_t missing =
        std::max(ShareUp(noiseShare, steady),
                 std::clamp<std::int64_t>(ShareUp(stretchShare, steady), fewestStretches, mostStretches));
    std::vector<Passage> stretches;
    for (int i = QuietestLevel(); i < levelCount && missing > 0; ++i) {
        const Level &level = levels[static_cast<std::size_t>(i)];
        const std::int64_t count = std::min({level.steady, missing, std::int64_t{mostStretches}});
        for (std::int64_t n = 0; n < count; ++n)
            stretches.push_back({level.first[static_cast<std::size_t>(n)], 2 * halfFrames});
        missing -= level.steady;
    }
    std::sort(stretches.begin(), stretches.end(),
              [](const Passage &a, const Passage &b) { return a.first < b.first; });
    if (stretches.size() > mostStretches)
        stretches.resize(mostStretches);
    return stretches;
}

std::vector<LearnAhead::Passage> LearnAhead::Start(float scale) {
    const int quietest = QuietestLevel();
    if (quietest < 0)
        return {};
    scaling = scale;
    lowestTaught = std::ldexp(1.0, lowestExponent + quietest / levelsPerOctave - 1 - silenceOctaves);
    PushBurst();

    const auto size = static_cast<std::int64_t>(reducers->GetParameter(SingleChannelAdaptiveNoise::kFftSize));
    const std::int64_t rounds = QuotientUp(std::max(wholeSeconds * rate, wholeSizes * size), surveyed);
    std::vector<Passage> passages(static_cast<std::size_t>(std::min(rounds, mostRounds)), {0, surveyed});
    const std::vector<Passage> stretches = QuietestStretches();
    const std::int64_t stretchFrames = static_cast<std::int64_t>(stretches.size()) * 2 * halfFrames;
    const std::int64_t wanted =
        QuotientUp(std::max(stretchSeconds * rate, stretchSizes * size), stretchFrames);
    for (std::int64_t round = std::min(wanted, mostStretchRounds); round > 0; --round)
        passages.insert(passages.end(), stretches.begin(), stretches.end());
    return passages;
}

float LearnAhead::SilencePeak() const noexcept { return static_cast<float>(std::sqrt(lowestTaught)); }

// As loud as a soft room. It is over before any bin has a floor.
void LearnAhead::PushBurst() {
    const auto size = static_cast<std::int64_t>(reducers->GetParameter(SingleChannelAdaptiveNoise::kFftSize));
    WhiteSource noise;
    for (std::int64_t left = std::max(rate / burstsPerSecond, size); left > 0; left -= pieceLength) {
        for (std::size_t i = 0; i < pieceLength; ++i)
            std::fill_n(piece.data() + i * channels, channels, noise.Next());
        reducers->ProcessInterleaved(piece.data(), piece.data(), static_cast<int>(pieceLength));
    }
}

void LearnAhead::Teach(const float *interleaved, int frames) {
    auto left = static_cast<std::size_t>(frames);
    while (left > 0) {
        const std::size_t run = std::min(left, pieceLength - pieceFrames);
        std::copy_n(interleaved, run * channels, piece.data() + pieceFrames * channels);
        interleaved += run * channels;
        left -= run;
        pieceFrames += run;
        if (pieceFrames == pieceLength) {
            PushUnlessSilent();
            pieceFrames = 0;
        }
    }
}

void LearnAhead::PushUnlessSilent() {
    double sum = 0.0;
    for (const float sample : piece)
        sum += Square(sample);
    if (sum < lowestTaught * static_cast<double>(piece.size()))
        return;
    for (float &sample : piece)
        sample *= scaling;
    reducers->ProcessInterleaved(piece.data(), piece.data(), static_cast<int>(pieceLength));
}

} // namespace dsp
