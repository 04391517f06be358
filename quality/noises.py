# SPDX-License-Identifier: MIT
"""Steady noise of rooms, machines and media, from a seed: the same on every run, of rms 1.

Levels, pitches and spectra wander a little, as they do outside a laboratory. A kind of noise is a function of the
generator, the count of samples and the rate in Hz.
"""

from functools import partial

import numpy as np
from scipy import interpolate
from scipy import signal as dsp

HIGHEST_OCTAVE = 16  # of 1 Hz; above half of every rate in use


def amplitude(db):
    return 10 ** (db / 20)


def normalised(signal):
    """At an rms of 1."""
    return signal / np.sqrt(np.mean(np.square(signal)))


def layers(*parts):
    """A sum of signals, each given by its level in dB and itself."""
    return sum(amplitude(level_db) * normalised(signal) for level_db, signal in parts)


def sway(random, count, rate, seconds):
    """A smooth wandering around 0 of rms about 1: values drawn `seconds` apart, joined by a cubic curve."""
    knots = random.standard_normal(int(count / rate / seconds) + 4)
    return interpolate.CubicSpline(seconds * np.arange(len(knots)), knots)(np.arange(count) / rate)


def coloured(random, count, rate, curve, ripple_db=1.5):
    """Gaussian noise. `curve` has pairs of Hz and dB (power density), joined by straight lines over octaves. The
    ripple stands for resonances: one random value every third of an octave."""
    octaves = np.log2(np.maximum(np.fft.rfftfreq(count, 1 / rate), 1))
    hz, levels_db = zip(*curve)
    knots = np.arange(0, HIGHEST_OCTAVE, 1 / 3)
    ripple = np.interp(octaves, knots, random.standard_normal(len(knots)))
    shape = amplitude(np.interp(octaves, np.log2(hz), levels_db) + ripple_db * ripple)
    return np.fft.irfft(shape * np.fft.rfft(random.standard_normal(count)), count)


def wandering(random, count, rate, curve, wander_db, seconds=1.5):
    """Coloured noise whose level wanders by so many dB (rms), partly together and partly apart below and above
    1 kHz."""
    noise = coloured(random, count, rate, curve)
    low = dsp.sosfilt(dsp.butter(1, 1000, fs=rate, output="sos"), noise)
    together, *apart = (sway(random, count, rate, seconds) for _ in range(3))
    levels = [amplitude(wander_db * (0.8 * together + 0.6 * own)) for own in apart]
    return levels[0] * low + levels[1] * (noise - low)


def harmonics(random, base_hz, rate, levels_db, wander_db=0.5):
    """Tones at 1, 2, 3... times `base_hz`, which has a value for each sample. Each has its level and a wandering of
    its own, from a random phase on."""
    turns = np.cumsum(base_hz) / rate
    tones = np.zeros(len(turns))
    for order, level_db in enumerate(levels_db, 1):
        level = amplitude(level_db + wander_db * sway(random, len(turns), rate, 2))
        tones += level * np.sin(2 * np.pi * (order * turns + random.uniform()))
    return tones


def falling(count, db_an_octave):
    """Levels of so many harmonics."""
    return -db_an_octave * np.log2(np.arange(1, count + 1))


def white(random, count, rate):
    """Gaussian, and nothing wanders."""
    return random.standard_normal(count)


def fan(random, count, rate, blades, turns_per_second, tones_db, curve):
    """Air, and the tone of the blades with its harmonics. Their pitch drifts by 0.4 %, and one blade differs from the
    others: levels rise and fall by 0.8 dB with each turn of the hub."""
    turns_hz = turns_per_second * (1 + 0.004 * sway(random, count, rate, 3))
    hub = amplitude(0.8 * np.sin(2 * np.pi * np.cumsum(turns_hz) / rate))
    tones = harmonics(random, blades * turns_hz, rate, falling(6, 7))
    return hub * layers((0, wandering(random, count, rate, curve, 0.8)), (tones_db, tones))


def compressor(random, count, rate, mains_hz, hum_db, curve):
    """A motor on the mains: even harmonics stronger than odd ones, and the rush of the compressor, which beats with
    the motor's turning (3 % slower than the mains)."""
    mains = mains_hz * (1 + 0.0005 * sway(random, count, rate, 4))
    levels_db = falling(24, 7) - 8 * (np.arange(24) % 2 == 0)
    beat = 1 + 0.3 * np.sin(2 * np.pi * 0.97 * np.cumsum(mains) / rate)
    rush = beat * wandering(random, count, rate, curve, 0.7)
    return layers((hum_db, harmonics(random, mains, rate, levels_db, 0.8)), (0, rush))


def ventilation(random, count, rate, curve, wander_db, whine_hz):
    """Air through a duct or a room; a motor's faint whine in it."""
    whine = harmonics(random, whine_hz * (1 + 0.003 * sway(random, count, rate, 2)), rate, falling(3, 10))
    return layers((0, wandering(random, count, rate, curve, wander_db, 2.5)), (-18, whine))


def rain(random, count, rate):
    """Hiss of distant drops, and 400 near ones a second: short bursts around 1.5, 3 and 6 kHz."""
    drops = np.zeros(count)
    for centre_hz in 1500, 3000, 6000:
        hits = (random.uniform(size=count) < 400 / 3 / rate) * random.lognormal(0, 0.6, count)
        time = np.arange(rate // 100) / rate
        burst = np.exp(-time / 0.0012) * np.sin(2 * np.pi * centre_hz * time)
        drops += dsp.oaconvolve(hits * random.choice([-1, 1], count), burst)[:count]
    curve = [(50, -8), (300, -6), (2000, 0), (8000, -2), (20000, -12)]
    return layers((0, wandering(random, count, rate, curve, 1.0)), (-3, drops))


def tape(random, count, rate, hum_db):
    """Hiss that rises with frequency, with faint modulation as the tape passes unevenly, and a little hum."""
    flutter = amplitude(0.5 * sway(random, count, rate, 0.06))
    curve = [(50, -12), (500, -8), (4000, 0), (12000, 2), (20000, -3)]
    hum = harmonics(random, np.full(count, 50.0), rate, falling(8, 8), 0.2)
    return layers((0, flutter * wandering(random, count, rate, curve, 0.6)), (hum_db, hum))


def video_tape(random, count, rate):
    """Hiss, the buzz of 50 fields a second with many harmonics, and the whistle of the lines."""
    buzz = harmonics(random, np.full(count, 50.0), rate, falling(60, 3), 0.3)
    curve = [(50, 2), (200, -2), (1000, -6), (5000, -4), (10000, -8), (16000, -25)]
    whistle = np.sin(2 * np.pi * min(15625, 0.48 * rate) / rate * np.arange(count))
    return layers((0, wandering(random, count, rate, curve, 0.6, 0.8)), (-3, buzz), (-22, whistle))


def vehicle(random, count, rate, motor_hz, curve):
    """Tyres and wind, whose level wanders by 1.3 dB, and a motor at a steady speed."""
    motor = harmonics(random, motor_hz * (1 + 0.006 * sway(random, count, rate, 1.5)), rate, falling(12, 6), 1)
    return layers((0, wandering(random, count, rate, curve, 1.3, 1.0)), (-7, motor))


def vinyl(random, count, rate):
    """Rumble and surface noise without clicks, which rise and fall with each of 33 1/3 turns a minute."""
    turn = amplitude(0.8 * np.sin(2 * np.pi * 100 / 180 / rate * np.arange(count)))
    curve = [(20, 22), (60, 14), (200, 4), (1000, 0), (6000, -2), (15000, -8)]
    return turn * wandering(random, count, rate, curve, 0.6)


SMALL_FAN = [(50, -6), (200, 2), (800, 0), (2500, -4), (8000, -14), (20000, -26)]
LARGE_FAN = [(40, 6), (150, 4), (600, 0), (2000, -8), (8000, -22), (20000, -34)]
COMPRESSOR = [(40, 6), (200, 3), (1000, 0), (3000, -6), (10000, -20)]
TRANSFORMER = [(50, 0), (500, 0), (4000, -6), (16000, -18)]
COOLER = [(30, 14), (120, 8), (500, 0), (1500, -10), (6000, -28), (20000, -45)]
DUCT = [(30, 18), (100, 12), (300, 2), (1000, -6), (4000, -18), (16000, -36)]
OFFICE = [(40, 10), (200, 2), (1000, -4), (4000, -10), (16000, -24)]
ROAD = [(25, 24), (80, 18), (250, 6), (1000, 0), (4000, -14), (16000, -34)]

# No kind with one setting is in both halves.
KINDS = {
    "search": {
        "PC fan": partial(fan, blades=7, turns_per_second=24, tones_db=-9, curve=SMALL_FAN),
        "fridge": partial(compressor, mains_hz=50, hum_db=0, curve=COMPRESSOR),
        "air conditioner": partial(ventilation, curve=COOLER, wander_db=0.8, whine_hz=290),
        "rain": rain,
        "video tape": video_tape,
        "car": partial(vehicle, motor_hz=72, curve=ROAD),
    },
    "judge": {
        "desk fan": partial(fan, blades=3, turns_per_second=19, tones_db=-14, curve=LARGE_FAN),
        "transformer": partial(compressor, mains_hz=60, hum_db=9, curve=TRANSFORMER),
        "duct": partial(ventilation, curve=DUCT, wander_db=1.2, whine_hz=1180),
        "office": partial(ventilation, curve=OFFICE, wander_db=0.6, whine_hz=440),
        "tape": partial(tape, hum_db=-10),
        "vinyl": vinyl,
    },
}


def make(kind, count, rate, random):
    """`random` is a numpy.random.RandomState, whose numbers numpy keeps from version to version."""
    return normalised(kind(random, count, rate))
