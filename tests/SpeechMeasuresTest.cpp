// The measures of speech on signals whose answer is known in closed form.
#include <gtest/gtest.h>

#include "bench/NoiseMixes.h"
#include "bench/Stoi.h"
#include "tests/Signals.h"

namespace {

using namespace quietfloor;

constexpr double pi = 3.141592653589793;
constexpr int rateHz = 40000;

Signal Tone(std::size_t count, double cyclesPerSample, double phase = 0.0) {
    Signal tone(count);
    for (std::size_t i = 0; i < count; ++i)
        tone[i] = static_cast<float>(std::sin(phase + 2 * pi * cyclesPerSample * static_cast<double>(i)));
    return tone;
}

Signal Sum(Signal a, double gainA, const Signal &b, double gainB) {
    for (std::size_t i = 0; i < a.size(); ++i)
        a[i] = static_cast<float>(gainA * a[i] + gainB * b[i]);
    return a;
}

// Sine and cosine have nothing in common over the ten periods of a frame.
TEST(SpeechMeasures, RatiosOfSineAndCosine) {
    Signal clean = Tone(3 * rateHz, 0.01), noise = Tone(3 * rateHz, 0.01, pi / 2);
    for (const double gain : {2.0, 0.3, 0.01}) {
        EXPECT_NEAR(SiSdrDb(clean, Sum(clean, 0.5, noise, 0.5 * gain)), -20 * std::log10(gain), 1e-3);
        EXPECT_NEAR(SpeechGainDb(clean, Sum(clean, gain, noise, 1)), 20 * std::log10(gain), 1e-3);
    }
    for (std::size_t i = rateHz; i < clean.size(); ++i) // loud, then 20 dB below, then silent
        clean[i] *= i < 2 * rateHz ? 0.1f : 0.0f;
    for (const auto &[gain, expected] : {std::pair(0.1, 10.0), {1e-3, 35.0}, {10.0, -10.0}, {0.01, 27.5}})
        EXPECT_NEAR(SegmentalSnrDb(clean, Sum(clean, 1, noise, gain), rateHz), expected, 1e-3);
    EXPECT_EQ(PauseFrames(clean, rateHz).numbers.front(), 92u); // 0.3 s after 2 s
}

TEST(SpeechMeasures, StoiFallsWithTheNoiseAndKnowsNeitherLevelNorSilence) {
    Signal speech = Syllables(8 * 44100, -20), noise = WhiteNoise(12 * 44100, -20, 3);
    double last = Stoi(speech, Sum(speech, 3, speech, 0), 44100);
    EXPECT_NEAR(last, 1.0, 1e-8);
    for (const double gain : {0.1, 0.3, 1.0, 3.0}) {
        const double stoi = Stoi(speech, Sum(speech, 1, noise, gain), 44100);
        EXPECT_LT(stoi, last - 0.005) << gain;
        last = stoi;
    }
    speech.resize(noise.size());
    EXPECT_NEAR(Stoi(speech, Sum(speech, 1, noise, 3), 44100), last, 1e-3);
    EXPECT_NEAR(Stoi(noise, WhiteNoise(noise.size(), -20, 4), 44100), 0.0, 0.03);
}

TEST(SpeechMeasures, RateReductionKeepsWhatFitsAndDropsTheRest) {
    for (const int fromHz : {16000, 44100, 48000})
        for (const double part : {0.05, 0.3, 0.44, 0.51, 0.7}) { // of the new rate
            const auto out = ReduceRate(Tone(rateHz, part * 1e4 / fromHz), fromHz, 10000);
            for (std::size_t i = 200; i < out.size() - 200; ++i)
                ASSERT_NEAR(out[i], part < 0.5 ? std::sin(2 * pi * part * static_cast<double>(i)) : 0.0,
                            2e-3);
        }
}

TEST(SpeechMeasures, PinkIsEvenOverOctavesAndTwitterIsGating) {
    const Signal pink = MakeNoise(NoiseKind::pink, 60 * rateHz, rateHz);
    const auto above = [&](double hz) { return std::pow(10, LevelDb(HighPass(pink, rateHz, hz)) / 10); };
    EXPECT_NEAR((above(250) - above(1000)) / (above(1000) - above(4000)), 1, 0.05);
    Signal gated = pink;
    for (std::size_t i = 0; i < gated.size(); ++i)
        gated[i] *= i / 20480 % 4 == 0 ? 2.0f : 0.0f;
    EXPECT_NEAR(LogKurtosisRatio(pink, gated), std::log(4.0), 0.05);
}

} // namespace
