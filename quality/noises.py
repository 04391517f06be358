# SPDX-License-Identifier: MIT
"""Noise from a seed, the same on every run, of rms 1."""

import numpy as np
from scipy import interpolate
from scipy import signal as dsp

SEEDS = [20261121, 20261122, 20261123, 20261124]  # several, since how well a hum is learnt depends on its phases


def amplitude(db):
    return 10 ** (db / 20)


def normalised(signal):
    """At an rms of 1."""
    return signal / np.sqrt(np.mean(np.square(signal)))


def sway(random, count, rate, seconds):
    """A smooth wandering around 0 of rms about 1: values drawn `seconds` apart, joined by a cubic curve."""
    knots = random.standard_normal(int(count / rate / seconds) + 4)
    return interpolate.CubicSpline(seconds * np.arange(len(knots)), knots)(np.arange(count) / rate)


def harmonics(random, mains_hz, rate, amplitudes):
    """Tones at 1, 2, 3... times `mains_hz`, which has a value for each sample, from random phases on."""
    turns = np.cumsum(mains_hz) / rate
    phases = random.uniform(size=len(amplitudes))
    return sum(a * np.sin(2 * np.pi * (n * turns + p)) for n, (a, p) in enumerate(zip(amplitudes, phases), 1))


def white(random, count, rate):
    """Gaussian."""
    return random.standard_normal(count)


def pink(random, count, rate):
    """Falls by 3 dB an octave from 20 Hz to a quarter of the rate: poles an octave apart, each with a zero half an
    octave above, are half of 6 dB an octave on average."""
    noise = random.standard_normal(count)
    for pole_hz in 20 * 2.0 ** np.arange(np.ceil(np.log2(rate / 2 / 20))):
        pole, zero = np.exp(-2 * np.pi * pole_hz * np.array([1, np.sqrt(2)]) / rate)
        noise = dsp.lfilter([1, -zero], [1, -pole], noise)
    return noise


def mains_amplitudes():
    """40 harmonics that fall by 6 dB an octave, the even ones 10 dB weaker."""
    order = np.arange(1, 41)
    return np.where(order % 2, 1, amplitude(-10)) / order


def hum(random, count, rate):
    """50 Hz and its harmonics to 2 kHz, the odd ones stronger, over white noise 30 dB below; nothing moves."""
    return amplitude(-30) * random.standard_normal(count) + harmonics(
        random, np.full(count, 50.0), rate, mains_amplitudes()
    )


def motor(random, count, rate):
    """A hum whose pitch sways by 0.5 % and whose level by 1.5 dB, over pink noise 20 dB below."""
    mains_hz = 49 * (1 + 0.005 * sway(random, count, rate, 1.0))
    tones = normalised(harmonics(random, mains_hz, rate, mains_amplitudes()))
    level = amplitude(1.5 * sway(random, count, rate, 0.7))
    return level * tones + amplitude(-20) * normalised(pink(random, count, rate))


def fan(random, count, rate):
    """Air between 80 and 500 Hz, whose level sways by 1 dB, and 10 dB below it the tone of seven blades with its
    harmonics, whose pitch sways by 1 % and which rises and falls by 2 dB with every turn of the hub."""
    band = dsp.butter(2, [80, 500], "bandpass", fs=rate, output="sos")
    air = normalised(dsp.sosfilt(band, pink(random, count, rate)))
    blades_hz = 118 * (1 + 0.01 * sway(random, count, rate, 1.5))
    tones = normalised(harmonics(random, blades_hz, rate, 1 / np.arange(1, 6) ** 2))
    turn = np.sin(2 * np.pi * np.cumsum(blades_hz / 7) / rate)
    return amplitude(sway(random, count, rate, 1.0)) * air + amplitude(-10 + 2 * turn) * tones


def hiss(random, count, rate):
    """White noise above 1.5 kHz, less by 6 dB an octave below, whose level sways by 1.5 dB."""
    edge = dsp.butter(1, 1500, "highpass", fs=rate, output="sos")
    return amplitude(1.5 * sway(random, count, rate, 0.5)) * dsp.sosfilt(edge, random.standard_normal(count))


def make(kind, count, rate, seed=SEEDS[0]):
    """`kind` is one of the functions above. The generator is one whose numbers numpy keeps from version to version."""
    return normalised(kind(np.random.RandomState(seed), count, rate))
