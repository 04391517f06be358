# SPDX-License-Identifier: MIT
"""What one recording tells about a noise reducer."""

import numpy as np

from quality import measures
from quality.stoi import stoi

SHORTEST_PAUSES_SECONDS = 0.5  # with less noise alone, nothing is said of it

# Key, heading and format of each figure.
COLUMNS = [
    ("si_sdr", "SI-SDR", "+.1f"),  # gain, dB
    ("segmental_snr", "segmental SNR", "+.1f"),  # gain, dB
    ("stoi", "STOI", "+.3f"),  # gain
    ("attenuation", "noise attenuation", ".1f"),  # dB, A-weighted, in pauses
    ("kurtosis", "kurtosis ratio", ".2f"),
    ("distance", "spectral distance", ".1f"),  # dB, of speech that is 15 dB above the noise
    ("gain", "its gain", "+.1f"),  # dB
]


class Scorer:
    """Holds what depends on the recording alone. What is before sample `start` is heard but not measured. `before` has
    the figures of the noisy recording itself."""

    def __init__(self, clean, noisy, rate, start=0):
        self.rate, self.start = rate, start
        self.clean, self.noisy = clean[start:], noisy[start:]
        self.pauses = measures.samples_of(measures.pause_frames(self.clean, rate), len(self.clean), rate)
        self.has_pauses = np.sum(self.pauses) >= SHORTEST_PAUSES_SECONDS * rate
        self.quiet_rows = measures.spectra_within(self.pauses, rate)
        self.clean_power = measures.power_spectra(self.clean, rate)
        self.clear = measures.clear_bins(self.clean_power, measures.power_spectra(self.noisy - self.clean, rate))
        self.noise_power = measures.power_spectra(self.noisy, rate)[self.quiet_rows]
        self.noise_level_db = self._noise_level_db(self.noisy)
        self.before = self._gained(self.noisy)

    def _noise_level_db(self, signal):
        return measures.level_db(measures.a_weighted(signal, self.rate)[self.pauses]) if self.has_pauses else np.nan

    def _gained(self, signal):
        return {
            "si_sdr": measures.si_sdr_db(self.clean, signal),
            "segmental_snr": measures.segmental_snr_db(self.clean, signal, self.rate),
            "stoi": stoi(self.clean, signal, self.rate),
        }

    def score(self, processed):
        """`processed` is as long as the noisy recording and not late."""
        processed = processed[self.start :]
        power = measures.power_spectra(processed, self.rate)
        after = power[self.quiet_rows]
        kurtosis = measures.kurtosis_ratio(self.noise_power, after, self.rate) if self.has_pauses else np.nan
        return {
            **{key: value - self.before[key] for key, value in self._gained(processed).items()},
            "attenuation": self.noise_level_db - self._noise_level_db(processed),
            "kurtosis": kurtosis,
            "distance": measures.log_spectral_distance_db(self.clean_power, power, self.clear),
            "gain": measures.spectral_gain_db(self.clean_power, power, self.clear),
        }


def mean(scores):
    """Over recordings; those that have no value for a figure do not count for it."""
    rows = {key: [score[key] for score in scores if not np.isnan(score[key])] for key in scores[0]}
    return {key: np.mean(values) if values else np.nan for key, values in rows.items()}
