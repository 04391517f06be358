# SPDX-License-Identifier: MIT
"""Noisy recordings beside their clean originals."""

import dataclasses

import numpy as np

from quality import measures
from quality.noises import amplitude

SPEECH_DB = -26  # of the active frames, to full scale


@dataclasses.dataclass(frozen=True)
class Recording:
    """Both signals go from the first sample on."""

    clean: np.ndarray
    noisy: np.ndarray
    rate: int
    start: int = 0  # what is before this sample is for the noise to be learnt and is not measured


def add_noise(clean, rate, noise, snr_db, lead_seconds):
    """`clean` after so many seconds of silence, its active frames at the speech level, with noise so many dB below
    them. `noise` is a function of the count of samples that gives noise of rms 1."""
    active = measures.take(clean, rate, measures.active_frames(clean, rate))
    start = int(lead_seconds * rate)
    clean = np.concatenate([np.zeros(start), amplitude(SPEECH_DB - measures.level_db(active)) * clean])
    return Recording(clean, clean + amplitude(SPEECH_DB - snr_db) * noise(len(clean)), rate, start)
