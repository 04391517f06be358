# SPDX-License-Identifier: MIT
"""The measures on signals whose answer is known in closed form."""

import unittest

import numpy as np

from quality import material, measures, noises, scores

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

    def test_weighting_has_the_values_of_the_standard(self):
        for hz, expected_db in (10, -70.4), (100, -19.1), (1000, 0), (10000, -2.5):
            tone = np.sin(2 * np.pi * hz / RATE * np.arange(2 * RATE))
            change_db = measures.level_db(measures.a_weighted(tone, RATE)) - measures.level_db(tone)
            self.assertAlmostEqual(change_db, expected_db, delta=0.06)


class Frames(unittest.TestCase):
    STEPS = SINE * np.repeat([1, 0.1, 1e-9], RATE)  # a second each: loud, 20 dB below, silent

    def test_segmental_snr_is_limited_in_each_frame(self):
        for gain, expected in (0.1, 10), (1e-3, 35), (10, -10), (0.01, 27.5):
            noisy = self.STEPS + gain * COSINE
            self.assertAlmostEqual(measures.segmental_snr_db(self.STEPS, noisy, RATE), expected, 6)

    def test_selection_by_level(self):
        self.assertEqual(np.sum(measures.active_frames(self.STEPS, RATE)), 80)
        pauses = measures.pause_frames(self.STEPS, RATE)
        chosen = np.flatnonzero(pauses)
        self.assertEqual((chosen[0], chosen[-1]), (92, 119))  # from 0.3 s after 2 s on
        samples = np.flatnonzero(measures.samples_of(pauses, len(SINE) + 5, RATE))
        self.assertEqual((samples[0], samples[-1]), (92000, 119999))

    def test_speech_is_judged_where_it_is_clear(self):
        power = measures.power_spectra(self.STEPS, RATE)
        noise = np.full_like(power, np.max(power[80:120]) / 100)
        bins = measures.clear_bins(power, noise)
        self.assertTrue(bins[10:115].any(axis=1).all())
        self.assertFalse(bins[130:].any())
        for gain in 0.5, 1, 4:
            expected = 20 * np.log10(gain)
            self.assertAlmostEqual(measures.log_spectral_distance_db(power, gain**2 * power, bins), abs(expected), 4)
            self.assertAlmostEqual(measures.spectral_gain_db(power, gain**2 * power, bins), expected, 4)


class MusicalNoise(unittest.TestCase):
    def test_kurtosis_of_gated_bins(self):
        """Kept in one frame of four, at random: every moment is a quarter of what it was, the kurtosis four times."""
        random = np.random.RandomState(1)
        before = random.exponential(size=(20000, 400))
        self.assertAlmostEqual(measures.kurtosis_ratio(before, 9 * before, RATE), 1, 9)
        gated = before * (random.uniform(size=before.shape) < 0.25)
        gated[:, 50] = 0
        self.assertAlmostEqual(measures.kurtosis_ratio(before, gated, RATE), 4, delta=0.05)

    def test_frames_within_pauses(self):
        selected = np.arange(3 * RATE) >= RATE
        self.assertEqual(np.flatnonzero(measures.spectra_within(selected, RATE))[0], 63)  # 1.008 s
        self.assertEqual(len(measures.power_spectra(SINE, RATE)), len(measures.spectra_within(selected, RATE)))


class Scores(unittest.TestCase):
    def test_noise_removed_without_harm(self):
        """Half of the noise taken away is 6 dB of everything that counts noise, and speech stays as it was."""
        bursts = np.tile(np.repeat([1, 0.05, 0], RATE), 2) * np.tile(SINE, 2)
        made = material.speech_mix(np.random.RandomState(2), bursts, RATE, noises.white, 10, 1)
        self.assertAlmostEqual(measures.level_db(made.noisy[:RATE]), -36, delta=0.1)
        scorer = scores.Scorer(made.clean, made.noisy, RATE, RATE // 2)
        score = scorer.score((made.noisy + made.clean) / 2)
        for key, expected in ("si_sdr", 6.02), ("attenuation", 6.02), ("kurtosis", 1), ("gain", 0):
            self.assertAlmostEqual(score[key], expected, delta=0.1, msg=key)
        self.assertAlmostEqual(scorer.score(made.noisy)["stoi"], 0, 9)

    def test_what_has_no_value_does_not_count(self):
        scorer = scores.Scorer(SINE, SINE + 0.1 * COSINE, RATE)  # without pauses
        score = scorer.score(SINE + 0.05 * COSINE)
        self.assertTrue(np.isnan(score["attenuation"]) and np.isnan(score["kurtosis"]))
        self.assertEqual(scores.mean([score, {**score, "kurtosis": 2.0}])["kurtosis"], 2)


if __name__ == "__main__":
    unittest.main()
