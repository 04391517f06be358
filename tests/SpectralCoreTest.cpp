// SPDX-License-Identifier: MIT
// What a frame's spectrum becomes before and after the noise engine has seen it.
#include <gtest/gtest.h>

#include "tests/Geometries.h"
#include "tests/Signals.h"
#include "tests/SlowTransform.h"
#include "tests/StreamInspector.h"

using dsp::StreamInspector;

namespace {

constexpr long double twoPi = 2 * std::numbers::pi_v<long double>;
using Row = std::vector<LongComplex>;

std::size_t Index(int i) { return static_cast<std::size_t>(i); }

// One period of a sum of cosines of i / period with these factors.
long double Cosines(std::initializer_list<long double> factors, int i, int period) {
    long double sum = 0, harmonic = 0;
    for (const long double factor : factors)
        sum += factor * std::cos(twoPi * i * harmonic++ / period);
    return sum;
}

long double Hann(int i, int period) { return Cosines({0.5L, -0.5L}, i, period); }

// `count` samples of the stream that end `end` samples after its start, and zeros up to `size`.
Row Cut(const Samples &x, int end, int count, int size) {
    Row row(Index(size));
    for (int i = std::max(0, count - end); i < count; ++i)
        row[Index(i)] = x[Index(end - count + i)];
    return row;
}

// The filter's transfer function by its definition: the gains as a zero-phase spectrum whose Nyquist bin
// takes the gain of DC, its impulse response under a periodic Blackman-Harris window and delayed by half its
// length.
Row Designed(const std::vector<double> &gain) {
    const int half = static_cast<int>(gain.size()) - 1, n = 2 * half;
    Row design(Index(n)), taps(Index(n));
    for (int k = 0; k < half; ++k)
        design[Index(k)] = design[Index((n - k) % n)] =
            k == 0 ? 1.0L : static_cast<long double>(gain[Index(k)]);
    design[Index(half)] = 1.0L;
    const Row response = SlowTransform(design, true);
    for (int i = 0; i < n; ++i)
        taps[Index(i)] = response[Index((i + half) % n)].real() / n *
                         Cosines({0.35875L, -0.48829L, 0.14128L, -0.01168L}, i, n);
    return SlowTransform(taps);
}

// What the frame that ends with sample `end` adds to the output, by definition: in filter mode the newest hop
// but for the `analysisOffset` samples that gains look ahead, filtered in a circle, else the two hops in the
// middle of the windowed frame, whose window is taken away and cross-faded.
void AddFrame(const Geometry &g, const Samples &x, int end, const Row &transfer,
              std::vector<long double> &y) {
    const int n = g.fftSize;
    const int newest = end - g.analysisOffset;
    const auto frameWindow = [&](int i) { return Cosines({0.5001L, -0.4999L}, i, n); };
    Row frame = Cut(x, newest, g.filterMode ? g.hop : n, n);
    for (int i = 0; i < n && !g.filterMode; ++i)
        frame[Index(i)] *= frameWindow(i);
    frame = SlowTransform(frame);
    for (int k = 0; k < n; ++k)
        frame[Index(k)] *= transfer[Index(k)];
    frame = SlowTransform(frame, true);
    // The filter delays by half the FFT size, which the latency contains.
    const int first = g.filterMode ? 0 : n / 2 - g.hop, count = g.filterMode ? n : 2 * g.hop;
    const int at = g.latency + newest - (g.filterMode ? g.hop + n / 2 : n) + first;
    for (int i = 0; i < count; ++i) {
        const long double weight = g.filterMode ? 1 : Hann(i, count) / frameWindow(first + i);
        if (at + i >= end && at + i < static_cast<int>(y.size())) // what lies before has been handed out
            y[Index(at + i)] += frame[Index(first + i)].real() / n * weight;
    }
}

// Bin k of the frame that ends with sample `end` stands in entry k - 1.
void ExpectLevels(const Geometry &g, const Samples &x, int end,
                  const dsp::SingleChannelAdaptiveNoiseParams &r) {
    Row frame = Cut(x, end, g.analysisLength, g.fftSize);
    for (int i = 0; i < g.analysisLength; ++i)
        frame[Index(i)] *= Hann(i, g.analysisLength - 1); // symmetric
    frame = SlowTransform(frame);
    for (int k = 1; k <= g.fftSize / 2; ++k) {
        const auto magnitude = static_cast<double>(4 * std::abs(frame[Index(k)]) / g.fftSize);
        ASSERT_NEAR(r.magnitude[Index(k - 1)], magnitude, 1e-14) << k;
        const bool isEnd = k == 1 || k == g.fftSize / 2 + 1;
        ASSERT_NEAR(r.levelSpectrum[Index(k - 1)], isEnd ? -200 : 20 * std::log10(magnitude) + 4.6, 1e-8)
            << k;
    }
    EXPECT_EQ(r.levelSpectrum[Index(g.fftSize / 2)], -200.0);
}

} // namespace

// Noise through gains that stand still, at random but for a run of ones, at every size and in both modes.
TEST(SpectralCore, FrameIsTheOneOfItsDefinition) {
    for (const Geometry &g : geometries) {
        SCOPED_TRACE(testing::Message() << g.fftSize << (g.filterMode ? " filter" : " gains"));
        Reducer reducer;
        Configure(reducer, g.fftSize, g.filterMode);
        auto &record = StreamInspector::Record(reducer);
        record.DitherTable.assign(record.DitherTable.size(), 0.0f);
        const Samples x = WhiteNoise(Index(g.fftSize + 6 * g.hop), -20);
        const int firstEnd = g.frameEnd - g.writePos,
                  frames = (static_cast<int>(x.size()) - firstEnd) / g.hop;
        Reducer analysing(reducer);
        Through(analysing, x);
        ExpectLevels(g, x, firstEnd + frames * g.hop, StreamInspector::Record(analysing));

        std::vector<double> gain(Index(g.fftSize / 2 + 1), 1.0);
        std::mt19937 random(1);
        std::generate(gain.begin(), gain.end() - g.fftSize / 8,
                      [&] { return std::uniform_real_distribution(0.0, 1.0)(random); });
        Row transfer(Index(g.fftSize));
        if (g.filterMode) {
            transfer = Designed(gain);
            StreamInspector::DesignFilter(reducer, gain.data());
            EXPECT_EQ(gain[0], 1.0);
            for (std::size_t k = 0; k < gain.size(); ++k)
                ASSERT_LT(std::abs(LongComplex(record.xfmReal[k]) - transfer[k]), 1e-14L) << k;
        } else {
            std::copy(gain.begin(), gain.end(), record.gain.begin());
            gain.front() = gain.back() = 1; // DC and Nyquist pass whatever the gains are
            for (std::size_t k = 0; k < transfer.size(); ++k)
                transfer[k] = gain[std::min(k, transfer.size() - k)];
        }
        record.adaptEnabled = false; // gains stay
        std::vector<long double> expected(x.size());
        for (int frame = 0; frame <= frames; ++frame)
            AddFrame(g, x, firstEnd + frame * g.hop, transfer, expected);
        const Samples y = Through(reducer, x);
        for (std::size_t i = 0; i < y.size(); ++i)
            ASSERT_NEAR(y[i], static_cast<double>(expected[i]), 3e-7) << i;
    }
}

TEST(SpectralCore, WithoutGainsTheFilterIsShut) {
    Reducer reducer;
    Configure(reducer, 64, true);
    StreamInspector::DesignFilter(reducer, nullptr);
    EXPECT_EQ(StreamInspector::Record(reducer).xfmReal, quietfloor::Row<double>(33));
}

// The engine sees the spectrum of `historyCount` frames ago, or of the first frame.
TEST(SpectralCore, HistoryDelaysTheReference) {
    for (const unsigned history : {0u, 1u, 2u, 3u}) {
        Reducer reducer;
        auto &record = StreamInspector::Record(reducer);
        record.historyCount = history;
        quietfloor::CNoiseRemover mirror(*record.noiseRemover);
        std::vector<quietfloor::Row<double>> magnitudes;
        quietfloor::Row<double> gain(257, 1.0);
        const Samples noise = WhiteNoise(256 + 128 * 400, -40);
        Through(reducer, Samples(noise.begin(), noise.begin() + 128), 128);
        for (std::size_t at = 128; at < noise.size(); at += 128) {
            Through(reducer, Samples(noise.begin() + static_cast<std::ptrdiff_t>(at),
                                     noise.begin() + static_cast<std::ptrdiff_t>(at) + 128));
            magnitudes.push_back(record.magnitude);
            const std::size_t last = magnitudes.size() - 1;
            gain.front() = gain.back() = 0;
            mirror.ProcessFrame(magnitudes[last].data(), record.levelSpectrum.data(), gain.data(),
                                magnitudes[last < history ? 0 : last - history].data());
            ASSERT_TRUE(std::equal(gain.begin() + 1, gain.end() - 1, record.gain.begin() + 1))
                << history << " frame " << last;
        }
        EXPECT_LT(record.gain[50], 0.5);
    }
}
