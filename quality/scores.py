# SPDX-License-Identifier: MIT
"""What one recording tells about a noise reducer."""

import numpy as np

from quality import measures
from quality.stoi import stoi

HIGH_EDGE_HZ = 4000

# Key, heading and format of each figure. All are changes from the noisy recording to the processed one or, where
# levels of speech are meant, from the clean one to the processed one: dB, but for STOI and musical noise.
COLUMNS = [
    ("si_sdr", "SI-SDR", "+.1f"),  # from the first to the last sample that is measured
    ("segmental_snr", "segmental SNR", "+.1f"),
    ("stoi", "STOI", "+.3f"),
    ("pauses", "noise in pauses", "+.1f"),
    ("musical_noise", "its musical noise", "+.2f"),  # log kurtosis ratio
    ("loud_level", "loud speech: level", "+.1f"),  # frames within 10 dB of the loudest
    ("loud_si_sdr", "its SI-SDR", "+.1f"),
    ("weak_level", "weak speech: level", "+.1f"),  # frames 15 to 30 dB below the loudest
    ("high_level", "above 4 kHz: level", "+.1f"),  # frames within 15 dB of the loudest there
]
CHANGES = ["si_sdr", "segmental_snr", "stoi", "pauses", "loud_si_sdr"]


class Scorer:
    """Holds what depends on the recording alone. `before` has the figures of the noisy recording itself, absolute."""

    def __init__(self, recording):
        self.recording = recording
        self.rate = recording.rate
        self.clean = recording.clean[recording.start :]
        self.noisy = recording.noisy[recording.start :]
        self.high_clean = measures.high_pass(self.clean, self.rate, HIGH_EDGE_HZ)
        levels = measures.levels_below_loudest(self.clean, self.rate)
        self.pauses = measures.pause_frames(self.clean, self.rate)
        self.loud = levels >= -10
        self.weak = (levels >= -30) & (levels < -15)
        self.high = measures.levels_below_loudest(self.high_clean, self.rate) >= -15
        self.before = self._absolute(self.noisy)

    def _take(self, signal, selected):
        return measures.take(signal, self.rate, selected)

    def _absolute(self, processed):
        gains = {
            key: measures.speech_gain_db(self._take(clean, selected), self._take(signal, selected))
            for key, clean, signal, selected in [
                ("loud_level", self.clean, processed, self.loud),
                ("weak_level", self.clean, processed, self.weak),
                ("high_level", self.high_clean, measures.high_pass(processed, self.rate, HIGH_EDGE_HZ), self.high),
            ]
        }
        return {
            "si_sdr": measures.si_sdr_db(self.clean, processed),
            "segmental_snr": measures.segmental_snr_db(self.clean, processed, self.rate),
            "stoi": stoi(self.clean, processed, self.rate),
            "pauses": measures.level_db(self._take(processed, self.pauses)),
            "loud_si_sdr": measures.si_sdr_db(self._take(self.clean, self.loud), self._take(processed, self.loud)),
            **gains,
        }

    def score(self, processed):
        """`processed` is as long as the noisy recording and not late."""
        processed = processed[self.recording.start :]
        scores = self._absolute(processed)
        for key in CHANGES:
            scores[key] -= self.before[key]
        scores["musical_noise"] = measures.log_kurtosis_ratio(
            self._take(self.noisy, self.pauses), self._take(processed, self.pauses)
        )
        return scores


def mean(scores):
    return {key: np.mean([score[key] for score in scores]) for key in scores[0]}
