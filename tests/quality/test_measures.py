# SPDX-License-Identifier: MIT
"""The measures on signals whose answer is known in closed form."""

import unittest

import numpy as np

from quality import measures, mixes, noises, scores

RATE = 40000
SINE = np.sin(2 * np.pi * 0.01 * np.arange(3 * RATE))  # ten periods a frame
COSINE = np.cos(2 * np.pi * 0.01 * np.arange(3 * RATE))


class Ratios(unittest.TestCase):
    def test_scaled_copy_has_no_distortion(self):
        for gain in 0.5, -2.0, 1024.0:  # powers of two, so that nothing is rounded
            self.assertEqual(measures.si_sdr_db(SINE, gain * SINE), np.inf)
        self.assertGreater(measures.si_sdr_db(SINE, 0.3 * SINE), 250)

    def test_orthogonal_noise_counts_by_its_energy(self):
        for gain in 2.0, 0.3, 0.01:
            expected = -20 * np.log10(gain)
            self.assertAlmostEqual(measures.si_sdr_db(SINE, SINE + gain * COSINE), expected, 9)
            self.assertAlmostEqual(measures.si_sdr_db(SINE, 0.1 * (SINE + gain * COSINE)), expected, 9)
            self.assertAlmostEqual(measures.speech_gain_db(SINE, gain * SINE + COSINE), -expected, 9)

    def test_nothing_to_measure_is_nan(self):
        nothing = np.zeros(0)
        for figure in (
            measures.si_sdr_db(nothing, nothing),
            measures.speech_gain_db(nothing, nothing),
            measures.level_db(nothing),
            measures.log_kurtosis_ratio(nothing, nothing),
        ):
            self.assertTrue(np.isnan(figure))


class Frames(unittest.TestCase):
    STEPS = SINE * np.repeat([1, 0.1, 1e-9], RATE)  # a second each: loud, 20 dB below, silent

    def test_segmental_snr_is_limited_in_each_frame(self):
        for gain, expected in (0.1, 10), (1e-3, 35), (10, -10), (0.01, 27.5):
            noisy = self.STEPS + gain * COSINE
            self.assertAlmostEqual(measures.segmental_snr_db(self.STEPS, noisy, RATE), expected, 6)

    def test_selection_by_level(self):
        self.assertEqual(np.sum(measures.active_frames(self.STEPS, RATE)), 80)
        pauses = np.flatnonzero(measures.pause_frames(self.STEPS, RATE))
        self.assertEqual((pauses[0], pauses[-1]), (92, 119))  # from 0.3 s after 2 s on

    def test_high_pass(self):
        for hz in 400, 2000, 4000, 16000:
            tone = np.sin(2 * np.pi * hz / RATE * np.arange(RATE))
            passed = measures.high_pass(tone, RATE, 4000)[RATE // 2 :]
            ratio = np.tan(np.pi * 4000 / RATE) / np.tan(np.pi * hz / RATE)  # as the bilinear transform warps them
            butterworth = -measures.db(1 + ratio**8)
            self.assertAlmostEqual(measures.level_db(passed) - measures.level_db(tone), butterworth, 3)


class Noise(unittest.TestCase):
    KINDS = [noises.white, noises.pink, noises.hum, noises.fan, noises.hiss, noises.motor]

    def test_same_on_every_run_and_of_rms_1(self):
        for kind in self.KINDS:
            noise = noises.make(kind, RATE, RATE)
            self.assertAlmostEqual(measures.level_db(noise), 0, 9)
            np.testing.assert_array_equal(noise, noises.make(kind, RATE, RATE))

    def test_pink_has_as_much_in_each_octave(self):
        pink = noises.make(noises.pink, 60 * RATE, RATE)
        above = [np.mean(measures.high_pass(pink, RATE, hz) ** 2) for hz in (250, 1000, 4000)]
        self.assertAlmostEqual((above[0] - above[1]) / (above[1] - above[2]), 1, delta=0.05)

    def test_level_sways_by_what_is_said(self):
        for kind, sway_db in zip(self.KINDS, [0, 0.2, 0, 1, 1.5, 1.5]):
            noise = noises.make(kind, 120 * RATE, RATE)
            levels = measures.db(np.mean(noise.reshape(-1, RATE // 5) ** 2, axis=1))
            self.assertAlmostEqual(np.std(levels), sway_db, delta=0.35, msg=kind.__name__)

    def test_gated_noise_is_musical(self):
        pink = noises.make(noises.pink, 60 * RATE, RATE)
        gate = np.arange(len(pink)) // 20480 % 4 == 0  # one stretch in four
        self.assertAlmostEqual(measures.log_kurtosis_ratio(pink, 3 * pink), 0, 9)
        self.assertAlmostEqual(measures.log_kurtosis_ratio(pink, pink * gate), np.log(4), delta=0.05)


class Scores(unittest.TestCase):
    def test_noise_removed_without_harm(self):
        """Half of the noise taken away is 6 dB of everything that counts noise, and speech stays as it was."""
        bursts = np.tile(np.repeat([1, 0.05, 0], RATE), 2) * np.tile(SINE, 2)
        recording = mixes.add_noise(bursts, RATE, lambda count: noises.make(noises.white, count, RATE), 10, 1)
        scorer = scores.Scorer(recording)
        self.assertAlmostEqual(measures.level_db(recording.noisy[:RATE]), mixes.SPEECH_DB - 10, delta=0.1)
        score = scorer.score((recording.noisy + recording.clean) / 2)
        for key, expected in (
            ("si_sdr", 6.02), ("loud_si_sdr", 6.02), ("pauses", -6.02), ("loud_level", 0), ("weak_level", 0)
        ):
            self.assertAlmostEqual(score[key], expected, delta=0.1, msg=key)
        self.assertAlmostEqual(score["musical_noise"], 0, 9)
        gate = np.arange(len(recording.noisy)) // 2000 % 4 == 0  # one stretch in four
        self.assertAlmostEqual(scorer.score(gate * recording.noisy)["musical_noise"], np.log(4), delta=0.4)
        self.assertAlmostEqual(scorer.score(recording.noisy)["stoi"], 0, 9)


if __name__ == "__main__":
    unittest.main()
