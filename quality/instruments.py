# SPDX-License-Identifier: MIT
"""Music of a few seconds on synthetic instruments: plucked, struck, blown and sung. An instrument is a function of the
generator, pitch in Hz, length in s and rate in Hz; a note is a start in s, a length in s and a MIDI number."""

from functools import partial

import numpy as np
from scipy import signal as dsp

RELEASE_SECONDS = 0.15
TAIL_SECONDS = 1.5  # of silence, in which noise can be heard alone


def ringing(random, hz, seconds, rate, ratios, decays, slope_db):
    """Partials at `ratios` times the pitch, each 1/e weaker after its decay in s, `slope_db` weaker an octave."""
    time = np.arange(int(seconds * rate)) / rate
    tone = np.zeros(len(time))
    for ratio, decay in zip(ratios, decays):
        if ratio * hz < 0.45 * rate:
            level = 10 ** (-slope_db * np.log2(ratio) / 20)
            tone += level * np.exp(-time / decay) * np.sin(2 * np.pi * (ratio * hz * time + random.uniform()))
    return tone


def plucked(random, hz, seconds, rate, brightness):
    """A string: noise around a loop of one period, which a two-point mean dulls. Karplus, Strong, "Digital synthesis of
    plucked-string and drum timbres", Computer Music Journal 7(2), 1983."""
    period = rate / hz
    whole = int(period - 0.5)
    late = period - whole  # of the loop's filter, 0.5 to 1.5 samples
    burst = np.zeros(int(seconds * rate))
    burst[:whole] = dsp.lfilter([brightness], [1, brightness - 1], random.uniform(-1, 1, whole))
    loss = 0.001 ** (1 / (hz * 4))  # 60 dB in 4 s
    loop = np.zeros(whole + 3)
    loop[0] = 1
    loop[whole:] = -loss * np.array([(1.5 - late) / 2, 0.5, (late - 0.5) / 2])
    return dsp.lfilter([1], loop, burst)


def vibraphone(random, hz, seconds, rate):
    """A tuned bar: partials at 1, 4 and 10 times the pitch, and the tremolo of the resonators' lids."""
    tone = ringing(random, hz, seconds, rate, [1, 4, 10], [2.0, 0.5, 0.1], 6)
    return tone * (1 + 0.35 * np.sin(2 * np.pi * 5.3 * np.arange(len(tone)) / rate))


def bells(random, hz, seconds, rate):
    """An untuned bar, free at both ends: the partials of a beam."""
    return ringing(random, hz, seconds, rate, [1, 2.756, 5.404, 8.933], [1.6, 0.9, 0.4, 0.2], 3)


def piano(random, hz, seconds, rate):
    """Two strings 0.05 % apart, whose stiffness raises the upper partials; the higher, the sooner they fade."""
    order = np.arange(1, 25)
    ratios = order * np.sqrt(1 + 0.0004 * order**2)
    decays = 2.5 * np.sqrt(220 / hz) / order**0.7
    return sum(ringing(random, hz * detuned, seconds, rate, ratios, decays, 8) for detuned in (1, 1.0005))


def organ(random, hz, seconds, rate):
    """Pipes of 8, 4 and 2 feet that sound evenly, and swell within 50 ms."""
    order = np.array([1, 2, 3, 4, 5, 6, 8, 12])
    tone = ringing(random, hz, seconds, rate, order, np.full(len(order), 1e6), 7)
    return tone * -np.expm1(-np.arange(len(tone)) / (0.05 * rate))


def vowel(random, hz, seconds, rate, formants):
    """A voice that sings: pulses with vibrato of 0.8 % through resonances given by Hz and width in Hz."""
    time = np.arange(int(seconds * rate)) / rate
    turns = np.cumsum(hz * (1 + 0.008 * np.sin(2 * np.pi * 5.6 * time + random.uniform(0, 6)))) / rate
    tone = sum(np.sin(2 * np.pi * n * turns) / n for n in range(1, int(8000 / hz)))
    for centre_hz, width_hz in formants:
        radius = np.exp(-np.pi * width_hz / rate)
        tone = dsp.lfilter([1 - radius], [1, -2 * radius * np.cos(2 * np.pi * centre_hz / rate), radius**2], tone)
    return tone * -np.expm1(-time / 0.08)


def broken(chords, beat):
    """One note after the other, each ringing until its chord ends."""
    return [
        ((i * len(chord) + j) * beat, (len(chord) - j) * beat, note)
        for i, chord in enumerate(chords)
        for j, note in enumerate(chord)
    ]


def waltz(chords, beat):
    """The lowest note on the first beat, the others on the second and third."""
    return [
        ((3 * i + at) * beat, length * beat, note)
        for i, (bass, *others) in enumerate(chords)
        for at, length, notes in ((0, 2.5, [bass]), (1, 0.8, others), (2, 0.8, others))
        for note in notes
    ]


def melody(notes, beat):
    return [(i * beat, beat, note) for i, note in enumerate(notes)]


GUITAR_CHORDS = [[45, 52, 57, 60, 64], [41, 53, 57, 60, 65], [48, 52, 55, 60, 67]]
HARP_CHORDS = [[50, 57, 62, 66, 69, 74], [47, 54, 59, 62, 66, 71], [43, 55, 59, 62, 67, 71]]
AH = [(730, 90), (1090, 110), (2440, 170)]

PIECES = {
    "search": {
        "guitar": (partial(plucked, brightness=0.5), broken(GUITAR_CHORDS, 0.5)),
        "vibraphone": (vibraphone, melody([65, 69, 72, 76, 74, 72, 69, 67], 0.9) + melody([53, 57, 55, 53], 1.8)),
        "waltz": (piano, waltz([[43, 59, 62, 67], [45, 60, 64, 69], [38, 57, 60, 66], [43, 59, 62, 67]], 0.6)),
        "voice": (partial(vowel, formants=AH), melody([57, 59, 60, 64, 62, 57], 1.4)),
    },
    "judge": {
        "harp": (partial(plucked, brightness=0.25), broken(HARP_CHORDS, 0.4)),
        "bells": (bells, melody([72, 76, 79, 77, 74, 71, 72], 1.1)),
        "ballad": (piano, broken([[48, 55, 64, 67], [45, 52, 60, 64], [41, 48, 57, 60], [43, 50, 59, 65]], 0.55)),
        "organ": (organ, [(0, 10, note) for note in (48, 55, 60, 64, 67)]),
    },
}


def play(instrument, notes, rate, random):
    """All notes, each let go at its end, then silence."""
    end = max(start + seconds for start, seconds, _ in notes) + TAIL_SECONDS
    music = np.zeros(int(end * rate))
    for start, seconds, number in notes:
        tone = instrument(random, 440 * 2 ** ((number - 69) / 12), seconds, rate)
        fade = int(RELEASE_SECONDS * rate)
        tone[-fade:] *= np.linspace(1, 0, fade) ** 2
        at = int(start * rate)
        music[at : at + len(tone)] += tone / np.sqrt(np.mean(tone**2))
    return music
