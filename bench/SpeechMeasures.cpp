#include "bench/SpeechMeasures.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>

#include "fft/FFT.h"

namespace quietfloor {
namespace {

constexpr double frameSeconds = 0.025;
constexpr double activeRangeDb = 30.0;
constexpr double pauseRangeDb = 40.0;
constexpr int pauseGuardFrames = 12; // 0.3 s

double Dot(SignalView a, SignalView b) {
    return std::inner_product(a.begin(), a.end(), b.begin(), 0.0, std::plus<>(),
                              [](float x, float y) { return static_cast<double>(x) * y; });
}

double ErrorEnergy(SignalView clean, SignalView processed, double gain) {
    return std::inner_product(clean.begin(), clean.end(), processed.begin(), 0.0, std::plus<>(),
                              [gain](float c, float p) {
                                  const double error = p - gain * c;
                                  return error * error;
                              });
}

double Db(double powerRatio) { return 10.0 * std::log10(powerRatio); }

std::vector<double> FrameLevels(SignalView signal, std::size_t length) {
    std::vector<double> levels(signal.size() / length);
    for (std::size_t i = 0; i < levels.size(); ++i)
        levels[i] = LevelDb(signal.subspan(i * length, length));
    const double loudest = levels.empty() ? 0.0 : *std::max_element(levels.begin(), levels.end());
    for (double &level : levels)
        level -= loudest;
    return levels;
}

std::size_t FrameLength(int rateHz) { return static_cast<std::size_t>(std::lround(frameSeconds * rateHz)); }

// One second-order section of a Butterworth high-pass, by the bilinear transform; `q` is the section's
// quality.
void FilterSection(Signal &signal, int rateHz, double edgeHz, double q) {
    const double k = std::tan(std::numbers::pi * edgeHz / rateHz);
    const double norm = 1.0 / (1.0 + k / q + k * k);
    const double a1 = 2.0 * (k * k - 1.0) * norm, a2 = (1.0 - k / q + k * k) * norm;
    double state1 = 0.0, state2 = 0.0;
    for (float &sample : signal) {
        const double in = sample, out = norm * in + state1;
        state1 = -2.0 * norm * in - a1 * out + state2;
        state2 = norm * in - a2 * out;
        sample = static_cast<float>(out);
    }
}

constexpr std::size_t kurtosisFrame = 512;

// Kurtosis about 0 of the power in bins 1 to half, over Hann frames that overlap by half.
std::vector<double> PowerKurtosis(SignalView signal) {
    constexpr std::size_t half = kurtosisFrame / 2;
    FFTWORKINGDATA_D transform(static_cast<std::int32_t>(kurtosisFrame));
    std::vector<double> squares(half, 0.0), fourths(half, 0.0), re(kurtosisFrame), im(kurtosisFrame);
    double count = 0.0;
    for (std::size_t at = 0; at + kurtosisFrame <= signal.size(); at += half) {
        for (std::size_t i = 0; i < kurtosisFrame; ++i)
            re[i] = signal[at + i] *
                    (0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * static_cast<double>(i) / kurtosisFrame));
        std::fill(im.begin(), im.end(), 0.0);
        LFFTD(re.data(), im.data(), static_cast<Int32>(kurtosisFrame), 1, transform);
        for (std::size_t bin = 0; bin < half; ++bin) {
            const double power = re[bin + 1] * re[bin + 1] + im[bin + 1] * im[bin + 1];
            squares[bin] += power * power;
            fourths[bin] += power * power * power * power;
        }
        count += 1.0;
    }
    for (std::size_t bin = 0; bin < half; ++bin)
        fourths[bin] *= count / (squares[bin] * squares[bin]);
    return fourths;
}

} // namespace

double LevelDb(SignalView signal) { return Db(Dot(signal, signal) / static_cast<double>(signal.size())); }

double SiSdrDb(SignalView clean, SignalView processed) {
    const double energy = Dot(clean, clean);
    const double gain = Dot(processed, clean) / energy;
    return Db(gain * gain * energy / ErrorEnergy(clean, processed, gain));
}

double SpeechGainDb(SignalView clean, SignalView processed) {
    return 20.0 * std::log10(std::abs(Dot(processed, clean)) / Dot(clean, clean));
}

FrameSelection FramesByLevel(SignalView clean, int rateHz, double fromDb, double toDb) {
    FrameSelection frames{FrameLength(rateHz), {}};
    const std::vector<double> levels = FrameLevels(clean, frames.length);
    for (std::size_t i = 0; i < levels.size(); ++i)
        if (levels[i] >= fromDb && levels[i] < toDb)
            frames.numbers.push_back(i);
    return frames;
}

FrameSelection ActiveFrames(SignalView clean, int rateHz) {
    return FramesByLevel(clean, rateHz, -activeRangeDb, std::numeric_limits<double>::infinity());
}

FrameSelection PauseFrames(SignalView clean, int rateHz) {
    FrameSelection frames{FrameLength(rateHz), {}};
    const std::vector<double> levels = FrameLevels(clean, frames.length);
    int quiet = 0;
    for (std::size_t i = 0; i < levels.size(); ++i) {
        quiet = levels[i] < -pauseRangeDb ? quiet + 1 : 0;
        if (quiet > pauseGuardFrames)
            frames.numbers.push_back(i);
    }
    return frames;
}

Signal Take(SignalView signal, const FrameSelection &frames) {
    Signal taken;
    taken.reserve(frames.numbers.size() * frames.length);
    for (const std::size_t number : frames.numbers) {
        const SignalView frame = signal.subspan(number * frames.length, frames.length);
        taken.insert(taken.end(), frame.begin(), frame.end());
    }
    return taken;
}

double SegmentalSnrDb(SignalView clean, SignalView processed, int rateHz) {
    const FrameSelection frames = ActiveFrames(clean, rateHz);
    double sum = 0.0;
    for (const std::size_t number : frames.numbers) {
        const SignalView c = clean.subspan(number * frames.length, frames.length);
        const SignalView p = processed.subspan(number * frames.length, frames.length);
        sum += std::clamp(Db(Dot(c, c) / ErrorEnergy(c, p, 1.0)), -10.0, 35.0);
    }
    return sum / static_cast<double>(frames.numbers.size());
}

double LogKurtosisRatio(SignalView before, SignalView after) {
    const std::vector<double> was = PowerKurtosis(before), is = PowerKurtosis(after);
    double sum = 0.0;
    for (std::size_t bin = 0; bin < is.size(); ++bin)
        sum += std::log(is[bin] / was[bin]);
    return sum / static_cast<double>(is.size());
}

Signal HighPass(SignalView signal, int rateHz, double edgeHz) {
    Signal filtered(signal.begin(), signal.end());
    for (const double angle : {std::numbers::pi / 8.0, 3.0 * std::numbers::pi / 8.0})
        FilterSection(filtered, rateHz, edgeHz, 0.5 / std::cos(angle));
    return filtered;
}

} // namespace quietfloor
