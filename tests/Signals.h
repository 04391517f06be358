// SPDX-License-Identifier: MIT
/// Signals with known properties, the same on every run, and the way to send them through a noise reducer.
#ifndef QUIETFLOOR_TESTS_SIGNALS_H
#define QUIETFLOOR_TESTS_SIGNALS_H

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "dsp/SingleChannelAdaptiveNoise.h"

using Reducer = dsp::SingleChannelAdaptiveNoise;
using Samples = std::vector<float>;

inline constexpr Reducer::Estimator estimators[] = {Reducer::kGate, Reducer::kLogSpectral};

/// Gaussian noise, its rms at `levelDb` to full scale.
template <class Real = float>
std::vector<Real> WhiteNoise(std::size_t count, double levelDb, unsigned seed = 1) {
    std::mt19937 random(seed);
    std::normal_distribution<double> normal(0, std::pow(10, levelDb / 20));
    std::vector<Real> x(count);
    for (Real &sample : x)
        sample = static_cast<Real>(normal(random));
    return x;
}

/// Seconds since the last of the syllables below began.
inline double SinceSyllable(std::size_t sample) {
    return std::fmod(static_cast<double>(sample) / 44100, 0.8);
}

/// Voiced syllables of 0.3 s with gliding pitch, every 0.8 s, at 44100 Hz; rms over a syllable at `levelDb`.
/// The first 3.2 s are silent: a bin that hears a syllable from the start on, with pauses shorter than the 64
/// frames of its analysis, is not learnt.
inline Samples Syllables(std::size_t count, double levelDb) {
    constexpr double pi = 3.141592653589793, length = 0.3, start = 3.2;
    Samples x(count);
    double phase = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const double seconds = static_cast<double>(i) / 44100, at = SinceSyllable(i);
        const double pitch = 110 + 40 * std::sin(1.7 * seconds) - 60 * at;
        phase = std::fmod(phase + 2 * pi * pitch / 44100, 2 * pi);
        if (at >= length || seconds < start)
            continue;
        const double formant = 700 + 500 * std::sin(5 * seconds); // Hz
        double sum = 0;
        for (int h = 1; h <= 30; ++h)
            sum += std::sin(h * phase) / (1 + std::pow((h * pitch - formant) / 300, 2.0));
        x[i] = static_cast<float>(sum * std::sin(pi * at / length));
    }
    double energy = 0, sounding = 0;
    for (const float sample : x) {
        energy += static_cast<double>(sample) * sample;
        sounding += sample != 0 ? 1 : 0;
    }
    const double rms = std::sqrt(energy / sounding);
    for (float &sample : x)
        sample = static_cast<float>(sample * std::pow(10, levelDb / 20) / rms);
    return x;
}

/// rms of those samples from `from` to `to` that `isMeant` picks, dB to full scale.
template <class Choice>
double LevelDb(const Samples &x, std::size_t from, std::size_t to, Choice isMeant) {
    double energy = 0, count = 0;
    for (std::size_t i = from; i < to; ++i) {
        if (!isMeant(i))
            continue;
        energy += static_cast<double>(x[i]) * x[i];
        ++count;
    }
    return 10 * std::log10(energy / count);
}

inline double LevelDb(const Samples &x, std::size_t from, std::size_t to) {
    return LevelDb(x, from, to, [](std::size_t) { return true; });
}

/// The stream in place, in blocks of `block` samples, or of random lengths up to 2000 if `block` is 0.
inline Samples Through(Reducer &reducer, Samples x, int block = 512) {
    std::mt19937 random(5);
    for (std::size_t at = 0; at < x.size();) {
        const std::size_t length = block > 0 ? static_cast<std::size_t>(block) : random() % 2001;
        const std::size_t n = std::min(length, x.size() - at);
        reducer.Process(x.data() + at, x.data() + at, static_cast<int>(n));
        at += n;
    }
    return x;
}

template <class Subject>
void Configure(Subject &reducer, int fftSize, bool filterMode) {
    reducer.SetParameter(Reducer::kFftSize, static_cast<float>(fftSize));
    reducer.SetParameter(Reducer::kFilterMode, filterMode ? 1.0f : 0.0f);
    reducer.Resume();
}

#endif
