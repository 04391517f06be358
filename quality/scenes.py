# SPDX-License-Identifier: MIT
"""Noise that changes, as kinds of noise, and rooms."""

import numpy as np
from scipy import signal as dsp

from quality import noises

MACHINE_DB = 14  # a machine is so much louder than the room it stands in


def speeding(random, count, rate, motor_hz, level_db):
    """A vehicle whose motor goes evenly from one pitch to another while its level changes by `level_db`."""
    course = np.linspace(0, 1, count)
    hz = motor_hz[0] + (motor_hz[1] - motor_hz[0]) * course
    return noises.amplitude(level_db * course) * noises.vehicle(random, count, rate, hz, noises.ROAD)


def switched(random, count, rate, room, machine, share):
    """A quiet room in which a machine is switched on after this share of the time; it takes 1 s."""
    time = np.arange(count) / rate
    running = np.clip(time - share * count / rate, 0, 1) ** 2
    quiet = noises.normalised(room(random, count, rate))
    return noises.amplitude(-MACHINE_DB) * quiet + running * noises.normalised(machine(random, count, rate))


def strikes(random, count, rate):
    """Metal that is struck, at random, three times in two seconds: 1 to 4 kHz that fade by 60 dB in 0.7 s."""
    hits = (random.uniform(size=count) < 1.5 / rate) * random.lognormal(0, 0.5, count)
    ring = dsp.sosfilt(dsp.butter(2, [1000, 4000], "bandpass", fs=rate, output="sos"), random.standard_normal(rate))
    return dsp.oaconvolve(hits, ring * np.exp(-np.arange(rate) / (0.1 * rate)))[:count]


def working(random, count, rate, hall, machine, beat_hz):
    """A hall in which a machine's noise rises and falls by 3 dB with its work, and metal is struck."""
    work = noises.amplitude(3 * np.sin(2 * np.pi * beat_hz * np.arange(count) / rate))
    steady = noises.layers((0, hall(random, count, rate)), (-2, work * machine(random, count, rate)))
    return noises.layers((0, steady), (-8, strikes(random, count, rate)))


def reverberant(random, dry, rate, seconds, direct_db):
    """`dry` in a room: the direct sound and, by `direct_db` weaker than it, noise that falls by 60 dB in `seconds`,
    above 2 kHz in half the time. Moorer, "About this reverberation business", Computer Music Journal 3(2), 1979."""
    time = np.arange(int(seconds * rate)) / rate
    split = dsp.butter(1, 2000, fs=rate, output="sos")
    noise = random.standard_normal(len(time))
    low = dsp.sosfilt(split, noise)
    tail = low * 10 ** (-3 * time / seconds) + (noise - low) * 10 ** (-6 * time / seconds)
    tail *= noises.amplitude(-direct_db) / np.linalg.norm(tail)
    return dry + dsp.oaconvolve(dry, tail)[: len(dry)]
