# SPDX-License-Identifier: MIT
"""STOI against a version by definition and against what is published of it."""

import unittest

import numpy as np

from quality import measures, voices
from quality.stoi import stoi

RATE = 10000  # that of the definition, so that nothing is resampled


def spoken(rate):
    """A man and a woman."""
    random = np.random.RandomState(2)
    return np.concatenate([voices.speech(voice, rate, random) for voice in voices.VOICES["judge"][:2]])


def by_definition(x, y):
    """Taal and others 2011, section II, one value at a time, without anything of quality/."""
    window = [0.5 - 0.5 * np.cos(2 * np.pi * (n + 1) / 257) for n in range(256)]
    starts = range(0, len(x) - 255, 128)
    energy = [sum((window[n] * x[s + n]) ** 2 for n in range(256)) for s in starts]
    kept = [s for s, e in zip(starts, energy) if 10 * np.log10(e / max(energy) + 1e-30) > -40]
    envelopes = []
    for signal in x, y:
        joined = [0.0] * (128 * len(kept) + 128)
        for i, s in enumerate(kept):
            for n in range(256):
                joined[128 * i + n] += window[n] * signal[s + n]
        frames = [np.multiply(window, joined[128 * m : 128 * m + 256]) for m in range(len(kept))]
        bands = []
        for j in range(15):
            centre = 150 * 2 ** (j / 3)
            low, high = (int(round(centre * 2**side * 512 / RATE)) for side in (-1 / 6, 1 / 6))
            turns = np.outer(range(low, high), range(256)) / 512  # the discrete Fourier transform itself
            rows = np.cos(2 * np.pi * turns), np.sin(2 * np.pi * turns)
            bands.append([np.sqrt(sum(np.sum((row @ frame) ** 2) for row in rows)) for frame in frames])
        envelopes.append(bands)
    values = []
    for m in range(29, len(kept)):
        for x_band, y_band in zip(*envelopes):
            a, b = np.array(x_band[m - 29 : m + 1]), np.array(y_band[m - 29 : m + 1])
            b = b * np.sqrt(sum(a**2) / sum(b**2))
            b = np.array([min(v, u + 10 ** (15 / 20) * u) for u, v in zip(a, b)])
            values.append(np.corrcoef(a, b)[0, 1])
    return np.mean(values)


class Stoi(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.speech = spoken(RATE)
        random = np.random.RandomState(3)
        magnitude = np.abs(np.fft.rfft(cls.speech))  # noise with the spectrum of the speech
        phase = 2 * np.pi * random.uniform(size=len(magnitude))
        cls.noise = np.fft.irfft(magnitude * np.exp(1j * phase), len(cls.speech))
        active = measures.take(cls.speech, RATE, measures.active_frames(cls.speech, RATE))
        cls.ratio_db = measures.level_db(active) - measures.level_db(cls.noise)

    def noisy(self, snr_db):
        return self.speech + 10 ** ((self.ratio_db - snr_db) / 20) * self.noise

    def test_agrees_with_the_definition(self):
        part = slice(0, 5 * RATE)
        for snr_db in -10, 0, 10:
            x, y = self.speech[part], self.noisy(snr_db)[part]
            self.assertAlmostEqual(stoi(x, y, RATE), by_definition(x, y), 9)

    def test_one_for_the_clean_speech_at_any_level_and_rate(self):
        for gain in 1, 0.001, 50:
            self.assertAlmostEqual(stoi(self.speech, gain * self.speech, RATE), 1, 9)
        for rate in 16000, 44100, 48000:
            speech = spoken(rate)
            self.assertAlmostEqual(stoi(speech, speech, rate), 1, 9)
        loud, noisy = (stoi(self.speech, gain * self.noisy(0), RATE) for gain in (1, 7))
        self.assertAlmostEqual(loud, noisy, 9)

    def test_rises_with_the_ratio_over_the_range_of_the_listening_tests(self):
        figures = [stoi(self.speech, self.noisy(snr_db), RATE) for snr_db in range(-20, 21, 5)]
        self.assertGreater(min(np.diff(figures)), 0.01)
        self.assertGreater(figures[-1], 0.97)

    def test_half_of_the_words_are_understood_near_the_published_ratio(self):
        """The paper's logistic function for Dantale II maps STOI to words understood. Listeners understood half of
        them at -7.3 dB in noise with the spectrum of speech (Kjems and others, JASA 126, 2009)."""
        words = [
            1 / (1 + np.exp(-14.5435 * stoi(self.speech, self.noisy(snr_db), RATE) + 7.0792))
            for snr_db in (-7.3 - 3, -7.3 + 3, 5)
        ]
        self.assertLess(words[0], 0.5)
        self.assertGreater(words[1], 0.5)
        self.assertGreater(words[2], 0.98)

    def test_silence_of_the_clean_speech_does_not_count(self):
        silence = np.zeros(2 * RATE)
        x = np.concatenate([silence, self.speech, silence])
        y = np.concatenate([silence + 0.1, self.noisy(5), silence - 0.1])
        self.assertAlmostEqual(stoi(x, y, RATE), stoi(self.speech, self.noisy(5), RATE), delta=0.005)

    def test_unlike_envelopes_and_too_little_speech(self):
        random = np.random.RandomState(4)
        x, y = random.standard_normal((2, 10 * RATE))
        self.assertAlmostEqual(stoi(x, y, RATE), 0, delta=0.03)
        for count in 0, 100, 3000:
            self.assertTrue(np.isnan(stoi(x[:count], y[:count], RATE)))

    def test_delay_costs_little_within_a_frame_and_much_beyond(self):
        late = [stoi(self.speech, np.roll(self.speech, samples), RATE) for samples in (10, 50, 1000)]
        self.assertGreater(late[0], 0.99)
        self.assertGreater(late[1], 0.9)
        self.assertLess(late[2], 0.2)


if __name__ == "__main__":
    unittest.main()
