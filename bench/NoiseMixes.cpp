#include "bench/NoiseMixes.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

namespace quietfloor {
namespace {

constexpr double speechDb = -26.0; // of the active frames, to full scale
constexpr double pi = std::numbers::pi;

// By the method of Box and Muller (1958): the library's own distributions differ between systems.
class GaussianSource {
public:
    double Next() { return std::sqrt(-2.0 * std::log(Uniform())) * std::cos(2.0 * pi * Uniform()); }
    double Uniform() { return (static_cast<double>(generator()) + 1.0) / 4294967296.0; } // 0 < u <= 1

private:
    std::mt19937 generator{20261121};
};

// Poles an octave apart, each followed by a zero half an octave above: half of 6 dB an octave on average.
void MakePink(Signal &noise, int rateHz) {
    for (double poleHz = 20.0; poleHz < 0.5 * rateHz; poleHz *= 2.0) {
        const double pole = std::exp(-2.0 * pi * poleHz / rateHz);
        const double zero = std::exp(-2.0 * pi * std::numbers::sqrt2 * poleHz / rateHz);
        double held = 0.0; // what the past adds to the next sample
        for (float &sample : noise) {
            const double out = sample + held;
            held = pole * out - zero * sample;
            sample = static_cast<float>(out);
        }
    }
}

void AddHum(Signal &noise, int rateHz, GaussianSource &random) {
    constexpr double mainsHz = 50.0, hissDb = -30.0, evenDb = -10.0;
    const auto hiss = static_cast<float>(std::pow(10.0, hissDb / 20.0));
    for (float &sample : noise)
        sample *= hiss;
    for (int harmonic = 1; harmonic <= 40; ++harmonic) {
        const double amplitude = (harmonic % 2 == 1 ? 1.0 : std::pow(10.0, evenDb / 20.0)) / harmonic;
        const double phase = 2.0 * pi * random.Uniform(), step = 2.0 * pi * mainsHz * harmonic / rateHz;
        for (std::size_t i = 0; i < noise.size(); ++i)
            noise[i] += static_cast<float>(amplitude * std::sin(phase + step * static_cast<double>(i)));
    }
}

void Scale(Signal &signal, double db) {
    const auto gain = static_cast<float>(std::pow(10.0, db / 20.0));
    for (float &sample : signal)
        sample *= gain;
}

} // namespace

Signal MakeNoise(NoiseKind kind, std::size_t count, int rateHz) {
    GaussianSource random;
    Signal noise(count);
    for (float &sample : noise)
        sample = static_cast<float>(random.Next());
    if (kind == NoiseKind::pink)
        MakePink(noise, rateHz);
    if (kind == NoiseKind::hum)
        AddHum(noise, rateHz, random);
    Scale(noise, -LevelDb(noise));
    return noise;
}

Recording AddNoise(SignalView clean, int rateHz, NoiseKind kind, double snrDb, double leadSeconds) {
    const auto lead = static_cast<std::size_t>(leadSeconds * rateHz);
    Recording recording{Signal(lead, 0.0f), {}, rateHz, lead};
    recording.clean.insert(recording.clean.end(), clean.begin(), clean.end());
    Scale(recording.clean, speechDb - LevelDb(Take(clean, ActiveFrames(clean, rateHz))));
    recording.noisy = MakeNoise(kind, recording.clean.size(), rateHz);
    Scale(recording.noisy, speechDb - snrDb);
    std::transform(recording.noisy.begin(), recording.noisy.end(), recording.clean.begin(),
                   recording.noisy.begin(), std::plus<>());
    return recording;
}

} // namespace quietfloor
