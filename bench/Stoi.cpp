#include "bench/Stoi.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>

#include "fft/FFT.h"

namespace quietfloor {
namespace {

constexpr int stoiRateHz = 10000;
constexpr std::size_t frameLength = 256, frameHop = 128, transformSize = 512;
constexpr std::size_t bandCount = 15, segmentFrames = 30;
constexpr double lowestBandHz = 150.0;
constexpr double silenceRangeDb = 40.0;
constexpr double lowestSdrDb = -15.0; // of an envelope value; what is worse is limited to this

using Bands = std::array<double, bandCount>;
using Frame = std::array<double, frameLength>;

// Hann without its two zeros, so that no sample is lost.
const Frame &Window() {
    static const Frame window = [] {
        Frame w{};
        for (std::size_t i = 0; i < frameLength; ++i)
            w[i] =
                0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * static_cast<double>(i + 1) / (frameLength + 1));
        return w;
    }();
    return window;
}

Frame WindowedFrame(const std::vector<double> &signal, std::size_t start) {
    Frame frame = Window();
    for (std::size_t i = 0; i < frameLength; ++i)
        frame[i] *= signal[start + i];
    return frame;
}

double Energy(const Frame &frame) {
    return std::inner_product(frame.begin(), frame.end(), frame.begin(), 0.0);
}

// The starts of the frames in which `clean` is not silent.
std::vector<std::size_t> AudibleFrames(const std::vector<double> &clean) {
    std::vector<std::size_t> starts;
    std::vector<double> energies;
    for (std::size_t at = 0; at + frameLength <= clean.size(); at += frameHop)
        energies.push_back(Energy(WindowedFrame(clean, at)));
    const double loudest = energies.empty() ? 0.0 : *std::max_element(energies.begin(), energies.end());
    for (std::size_t i = 0; i < energies.size(); ++i)
        if (energies[i] > loudest * std::pow(10.0, -silenceRangeDb / 10.0))
            starts.push_back(i * frameHop);
    return starts;
}

// The windowed frames, moved together and added up.
std::vector<double> JoinFrames(const std::vector<double> &signal, const std::vector<std::size_t> &starts) {
    std::vector<double> joined(starts.size() * frameHop + frameHop, 0.0);
    for (std::size_t i = 0; i < starts.size(); ++i) {
        const Frame frame = WindowedFrame(signal, starts[i]);
        for (std::size_t n = 0; n < frameLength; ++n)
            joined[i * frameHop + n] += frame[n];
    }
    return joined;
}

constexpr std::size_t edgeCount = bandCount + 1;

// First bin of each third-octave band, and the one after the last band: the bins nearest to the edges.
std::array<std::size_t, edgeCount> BandEdges() {
    std::array<std::size_t, edgeCount> edges{};
    for (std::size_t band = 0; band < edgeCount; ++band) {
        const double edgeHz = lowestBandHz * std::exp2((static_cast<double>(band) - 0.5) / 3.0);
        edges[band] = static_cast<std::size_t>(std::lround(edgeHz * transformSize / stoiRateHz));
    }
    return edges;
}

// Amplitude in each band of each frame.
std::vector<Bands> BandEnvelopes(const std::vector<double> &signal) {
    static const std::array<std::size_t, edgeCount> edges = BandEdges();
    FFTWORKINGDATA_D transform(static_cast<std::int32_t>(transformSize));
    std::vector<Bands> envelopes;
    std::array<double, transformSize> re, im;
    for (std::size_t at = 0; at + frameLength <= signal.size(); at += frameHop) {
        const Frame frame = WindowedFrame(signal, at);
        re.fill(0.0);
        im.fill(0.0);
        std::copy(frame.begin(), frame.end(), re.begin());
        LFFTD(re.data(), im.data(), static_cast<Int32>(transformSize), 1, transform);
        Bands bands;
        for (std::size_t band = 0; band < bandCount; ++band) {
            double energy = 0.0;
            for (std::size_t bin = edges[band]; bin < edges[band + 1]; ++bin)
                energy += re[bin] * re[bin] + im[bin] * im[bin];
            bands[band] = std::sqrt(energy);
        }
        envelopes.push_back(bands);
    }
    return envelopes;
}

using Segment = std::array<double, segmentFrames>;

Segment BandSegment(const std::vector<Bands> &envelopes, std::size_t first, std::size_t band) {
    Segment segment;
    for (std::size_t i = 0; i < segmentFrames; ++i)
        segment[i] = envelopes[first + i][band];
    return segment;
}

double Norm(const Segment &x) { return std::sqrt(std::inner_product(x.begin(), x.end(), x.begin(), 0.0)); }

void RemoveMean(Segment &x) {
    const double mean = std::accumulate(x.begin(), x.end(), 0.0) / segmentFrames;
    for (double &value : x)
        value -= mean;
}

// Correlation of one band's envelopes, after the processed one has been scaled to the energy of the clean
// one and limited. 0 where an envelope does not vary.
double EnvelopeCorrelation(Segment clean, Segment processed) {
    const double scale = Norm(clean) / std::max(Norm(processed), std::numeric_limits<double>::min());
    const double limit = 1.0 + std::pow(10.0, -lowestSdrDb / 20.0);
    for (std::size_t i = 0; i < segmentFrames; ++i)
        processed[i] = std::min(scale * processed[i], limit * clean[i]);
    RemoveMean(clean);
    RemoveMean(processed);
    const double norms = Norm(clean) * Norm(processed);
    const double product = std::inner_product(clean.begin(), clean.end(), processed.begin(), 0.0);
    return norms > 0.0 ? product / norms : 0.0;
}

// Windowed sinc around `position` in samples of the higher rate; `cutoff` in cycles per such sample.
double SincTap(double position, double cutoff, double halfLength) {
    const double x = 2.0 * std::numbers::pi * cutoff * position;
    const double sinc = std::abs(x) < 1e-12 ? 1.0 : std::sin(x) / x;
    const double phase = std::numbers::pi * position / halfLength; // Blackman, 74 dB
    return 2.0 * cutoff * sinc * (0.42 + 0.5 * std::cos(phase) + 0.08 * std::cos(2.0 * phase));
}

} // namespace

std::vector<double> ReduceRate(SignalView signal, int fromHz, int toHz) {
    const int divisor = std::gcd(fromHz, toHz), phases = toHz / divisor, step = fromHz / divisor;
    const double cutoff = 0.475 * toHz / fromHz;
    const int half = 60 * fromHz / toHz; // the window's transition: a tenth of the new Nyquist frequency
    std::vector<double> taps(static_cast<std::size_t>(phases * 2 * half));
    for (int phase = 0; phase < phases; ++phase)
        for (int i = 0; i < 2 * half; ++i)
            taps[static_cast<std::size_t>(phase * 2 * half + i)] =
                SincTap(i - (half - 1) - static_cast<double>(phase) / phases, cutoff, half);
    const auto length = static_cast<std::int64_t>(signal.size());
    std::vector<double> reduced(static_cast<std::size_t>(length * phases / step));
    for (std::size_t n = 0; n < reduced.size(); ++n) {
        const std::int64_t position = static_cast<std::int64_t>(n) * step;
        const std::int64_t first = position / phases - (half - 1);
        const double *phaseTaps = taps.data() + position % phases * 2 * half;
        for (std::int64_t i = std::max<std::int64_t>(0, -first);
             i < std::min<std::int64_t>(2 * half, length - first); ++i)
            reduced[n] += phaseTaps[i] * signal[static_cast<std::size_t>(first + i)];
    }
    return reduced;
}

double Stoi(SignalView clean, SignalView processed, int rateHz) {
    const std::vector<double> clean10k = ReduceRate(clean, rateHz, stoiRateHz);
    const std::vector<std::size_t> audible = AudibleFrames(clean10k);
    const std::vector<Bands> x = BandEnvelopes(JoinFrames(clean10k, audible));
    const std::vector<Bands> y =
        BandEnvelopes(JoinFrames(ReduceRate(processed, rateHz, stoiRateHz), audible));
    if (x.size() < segmentFrames)
        return std::numeric_limits<double>::quiet_NaN();
    double sum = 0.0;
    const std::size_t segments = x.size() - segmentFrames + 1;
    for (std::size_t first = 0; first < segments; ++first)
        for (std::size_t band = 0; band < bandCount; ++band)
            sum += EnvelopeCorrelation(BandSegment(x, first, band), BandSegment(y, first, band));
    return sum / static_cast<double>(segments * bandCount);
}

} // namespace quietfloor
