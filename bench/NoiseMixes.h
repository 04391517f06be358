/// Steady noise with known properties, the same on every run and system, and recordings made with it.
#ifndef QUIETFLOOR_BENCH_NOISEMIXES_H
#define QUIETFLOOR_BENCH_NOISEMIXES_H

#include "bench/SpeechMeasures.h"

namespace quietfloor {

enum class NoiseKind { white, pink, hum };

inline constexpr const char *noiseNames[] = {"white", "pink", "hum"};

/// Noise of rms 1. White: Gaussian. Pink: the same, falling by 3 dB an octave from 20 Hz to
/// a quarter of the rate, less above. Hum: 50 Hz
/// and its harmonics to 2 kHz, the odd ones stronger, over white noise 30 dB below.
Signal MakeNoise(NoiseKind kind, std::size_t count, int rateHz);

/// A noisy recording beside the clean one, both from the first sample on.
struct Recording {
    Signal clean, noisy;
    int rateHz;
    std::size_t start; // what is before is for the noise to be learnt and is not measured
};

/// `clean` after `leadSeconds` of silence, its active frames at -26 dB to full scale, with noise so many
/// dB below them.
Recording AddNoise(SignalView clean, int rateHz, NoiseKind kind, double snrDb, double leadSeconds);

} // namespace quietfloor

#endif
