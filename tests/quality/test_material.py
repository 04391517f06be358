# SPDX-License-Identifier: MIT
"""The material: the same on every run, at the levels that are said, nothing in both halves."""

import tempfile
import unittest

import numpy as np

from quality import compare, instruments, material, measures, noises, scenes, voices

RATE = 48000


class Noise(unittest.TestCase):
    def test_every_kind_is_steady_and_the_same_on_every_run(self):
        rate = material.CLIP_RATE
        for kind in [noises.white, *noises.KINDS["search"].values(), *noises.KINDS["judge"].values()]:
            noise, again = (noises.make(kind, 20 * rate, rate, np.random.RandomState(5)) for _ in range(2))
            np.testing.assert_array_equal(noise, again)
            self.assertAlmostEqual(measures.level_db(noise), 0, 9)
            levels = measures.db(np.mean(noise.reshape(-1, rate // 2) ** 2, axis=1))
            self.assertLess(np.std(levels), 2, kind)
            self.assertEqual(np.std(levels) > 0.15, kind is not noises.white, kind)

    def test_spectrum_follows_the_curve(self):
        curve = [(100, 20), (1000, 0), (10000, -40)]
        noise = noises.coloured(np.random.RandomState(6), 20 * RATE, RATE, curve, ripple_db=0)
        levels = measures.db(np.mean(measures.power_spectra(noise, RATE), axis=0))
        for hz, below_db in (125, 1.94), (316.3, 10), (1000, 20), (3162, 40):
            self.assertAlmostEqual(levels[round(100 * 0.032)] - levels[round(hz * 0.032)], below_db, delta=1)

    def test_reverberation_falls_by_60_db_in_its_time(self):
        click = np.eye(1, RATE)[0]
        answer = scenes.reverberant(np.random.RandomState(7), click, RATE, 0.8, 3)
        self.assertEqual(answer[0], measures.projection(click, answer))
        early, late = (measures.level_db(answer[at : at + RATE // 10]) for at in (3 * RATE // 10, 6 * RATE // 10))
        self.assertAlmostEqual(early - late, 60 * 0.3 / 0.8, delta=1)


class Music(unittest.TestCase):
    def test_instruments_are_in_tune(self):
        for half in instruments.PIECES.values():
            for name, (instrument, _) in half.items():
                tone = instrument(np.random.RandomState(8), 220.0, 2.0, RATE)
                spectrum = np.abs(np.fft.rfft(tone * np.hanning(len(tone))))
                near = spectrum[400:481]  # a tone up and down, in steps of half a hertz
                self.assertAlmostEqual(220, 200 + np.argmax(near) / 2, delta=2, msg=name)


class Recordings(unittest.TestCase):
    def test_nothing_is_in_both_halves(self):
        search, judge = ({name.split("+")[1] for name, _, _ in voices.VOICES[half]} for half in material.HALVES)
        self.assertFalse(search & judge)
        search, judge = (set(material.names(half)) for half in material.HALVES)
        self.assertFalse(search & judge)
        self.assertEqual({group for group, _ in search}, set(material.GROUPS))

    def test_kept_recording_is_the_one_that_was_made(self):
        place = "judge", "clips", "tape"
        with tempfile.TemporaryDirectory() as folder:
            made, kept = (material.load(folder, *place) for _ in range(2))
        np.testing.assert_array_equal(made.noisy, kept.noisy)
        levels = measures.db(np.mean(measures.power_spectra(kept.noisy, RATE), axis=0))
        self.assertLess(np.max(levels[280:]), np.max(levels) - 60)  # nothing from 8.75 kHz on
        self.assertGreater(measures.level_db(kept.clean[: RATE // 5]), -45)

    def test_regimes(self):
        clean = np.arange(10 * RATE) * 1.0
        led, bare = material.Recording(clean, -clean, 3 * RATE), material.Recording(clean, -clean)
        self.assertEqual([compare.heard(one, "cold")[0][0] for one in (led, bare)], [3 * RATE, 0])
        self.assertEqual([compare.heard(one, "converged")[2] for one in (led, bare)], [2 * RATE, 10 * RATE])
        self.assertEqual([len(compare.heard(one, "converged")[1]) for one in (led, bare)], [10 * RATE, 20 * RATE])


if __name__ == "__main__":
    unittest.main()
