// What a frame's spectrum becomes before and after the noise engine has seen it.
#include <gtest/gtest.h>

#include "tests/Signals.h"
#include "tests/SlowTransform.h"
#include "tests/StreamInspector.h"

using dsp::StreamInspector;

namespace {

constexpr double pi = 3.141592653589793;

Samples Sine(std::size_t count, double cyclesPerSample, double amplitude) {
    Samples x(count);
    for (std::size_t i = 0; i < count; ++i)
        x[i] = static_cast<float>(amplitude * std::sin(2 * pi * cyclesPerSample * static_cast<double>(i)));
    return x;
}

// The transfer function by its definition: the gains as a zero-phase spectrum whose Nyquist bin takes the
// gain of DC, its impulse response under a periodic Blackman-Harris window and turned to the middle, and
// back.
std::vector<LongComplex> DesignedByDefinition(const std::vector<double> &gain) {
    const std::size_t half = gain.size() - 1, n = 2 * half;
    std::vector<LongComplex> design(n), taps(n);
    for (std::size_t k = 0; k < half; ++k)
        design[k] = design[(n - k) % n] = k == 0 ? 1.0L : static_cast<long double>(gain[k]);
    design[half] = 1.0L;
    const auto response = SlowTransform(design, true);
    for (std::size_t i = 0; i < n; ++i) {
        const double p = 2 * pi * static_cast<double>(i) / static_cast<double>(n);
        const double w =
            0.35875 - 0.48829 * std::cos(p) + 0.14128 * std::cos(2 * p) - 0.01168 * std::cos(3 * p);
        taps[i] = response[(i + half) % n].real() * static_cast<long double>(w) / static_cast<long double>(n);
    }
    return SlowTransform(taps);
}

} // namespace

TEST(SpectralCore, FilterIsTheOneOfItsDefinition) {
    for (const int size : {64, 512, 2048}) {
        Reducer reducer;
        Configure(reducer, size, true);
        auto &record = StreamInspector::Record(reducer);
        const std::size_t half = static_cast<std::size_t>(size) / 2;
        std::mt19937 random(1);
        for (const bool isFlat : {true, false}) {
            std::vector<double> gain(half + 1, 1.0);
            for (double &g : gain)
                g = isFlat ? 1.0 : std::uniform_real_distribution(0.0, 1.0)(random);
            gain[0] = 0;
            StreamInspector::DesignFilter(reducer, gain.data());
            EXPECT_EQ(gain[0], 1.0);
            const auto expected = DesignedByDefinition(gain);
            for (std::size_t k = 0; k <= half; ++k) {
                ASSERT_NEAR(record.xfmReal[k], static_cast<double>(expected[k].real()), 1e-14)
                    << size << " " << k;
                ASSERT_NEAR(static_cast<double>(expected[k].imag()), 0, 1e-14);
                ASSERT_NEAR(std::fabs(record.xfmReal[k]), isFlat ? 1 : std::fabs(record.xfmReal[k]), 1e-15);
            }
        }
        StreamInspector::DesignFilter(reducer, nullptr);
        EXPECT_EQ(record.xfmReal, FftEngine::Row<double>(half + 1, 0.0));
    }
}

// A sine of amplitude a on bin k stands in entry k - 1 with magnitude a, but for the window's odd length; a
// gain in entry k acts on bin k. DC and Nyquist pass whatever the gains are.
TEST(SpectralCore, LevelsStandOneBinDownAndGainsDoNot) {
    for (const int size : {64, 512, 4096}) {
        Reducer reducer;
        Configure(reducer, size, false);
        auto &record = StreamInspector::Record(reducer);
        const std::size_t half = static_cast<std::size_t>(size) / 2, bin = half / 3;
        const Samples sine = Sine(8 * half, static_cast<double>(bin) / size, 0.1);
        Through(reducer, sine);
        EXPECT_NEAR(record.magnitude[bin - 1], 0.1 * (size - 1) / size, 1e-4);
        EXPECT_NEAR(record.levelSpectrum[bin - 1], 20 * std::log10(record.magnitude[bin - 1]) + 4.6, 1e-9);
        EXPECT_LT(record.magnitude[bin + 2], 1e-3);
        EXPECT_EQ(record.levelSpectrum[0], -200.0);
        EXPECT_EQ(record.levelSpectrum[half], -200.0);

        record.adaptEnabled = false;
        const std::pair<std::size_t, double> parts[] = {{bin, 0.5}, {bin - 1, 0.25}, {bin + 2, 0}};
        for (const auto &[entry, part] : parts) {
            std::fill(record.gain.begin(), record.gain.end(), 0.0);
            record.gain[entry] = 1;
            const Samples y = Through(reducer, sine);
            EXPECT_NEAR(std::pow(10, LevelDb(y, 6 * half, 8 * half) / 20), part * 0.1 / std::sqrt(2.0), 5e-3);
        }
        std::fill(record.gain.begin(), record.gain.end(), 0.0);
        const Samples y = Through(reducer, Samples(8 * half, 0.1f));
        EXPECT_NEAR(y.back(), 0.05f, 0.003f); // the window spreads the other half over bin 1
    }
}

// The engine sees the spectrum of `historyCount` frames ago, or of the first frame.
TEST(SpectralCore, HistoryDelaysTheReference) {
    for (const int history : {0, 1, 2, 3}) {
        Reducer reducer;
        auto &record = StreamInspector::Record(reducer);
        record.historyCount = history;
        quietfloor::CNoiseRemover mirror(*record.noiseRemover);
        std::vector<FftEngine::Row<double>> magnitudes;
        FftEngine::Row<double> gain(257, 1.0);
        const Samples noise = WhiteNoise(256 + 128 * 400, -40);
        Through(reducer, Samples(noise.begin(), noise.begin() + 128), 128);
        for (std::size_t at = 128; at < noise.size(); at += 128) {
            Through(reducer, Samples(noise.begin() + static_cast<std::ptrdiff_t>(at),
                                     noise.begin() + static_cast<std::ptrdiff_t>(at) + 128));
            magnitudes.push_back(record.magnitude);
            const std::size_t last = magnitudes.size() - 1, ago = static_cast<std::size_t>(history);
            gain.front() = gain.back() = 0;
            mirror.ProcessFrame(magnitudes[last].data(), record.levelSpectrum.data(), gain.data(),
                                magnitudes[last < ago ? 0 : last - ago].data());
            ASSERT_TRUE(std::equal(gain.begin() + 1, gain.end() - 1, record.gain.begin() + 1))
                << history << " frame " << last;
        }
        EXPECT_LT(record.gain[50], 0.5);
    }
}
