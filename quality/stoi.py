# SPDX-License-Identifier: MIT
"""Short-time objective intelligibility: how alike the envelopes of two signals are.

Taal, Hendriks, Heusdens, Jensen, "An algorithm for intelligibility prediction of time-frequency weighted noisy
speech", IEEE Trans. Audio, Speech and Language Processing 19(7), 2011.
"""

from fractions import Fraction

import numpy as np
from scipy import signal as dsp

RATE = 10000
FRAME, HOP, FFT_SIZE = 256, 128, 512
BANDS = 15
LOWEST_BAND_HZ = 150
SEGMENT_FRAMES = 30  # 0.384 s, about a syllable and what is around it
SILENCE_RANGE_DB = 40
LOWEST_SDR_DB = -15  # of an envelope value; what is worse is limited to this

WINDOW = dsp.windows.hann(FRAME + 2)[1:-1]  # without its two zeros, so that no sample is lost


def windowed_frames(signal):
    return np.lib.stride_tricks.sliding_window_view(signal, FRAME)[::HOP] * WINDOW


def join(frames):
    """Frames added up at the hop's distance."""
    halves = np.zeros((len(frames) + 1, HOP))
    halves[:-1] += frames[:, :HOP]
    halves[1:] += frames[:, HOP:]
    return halves.ravel()


def without_silence(clean, processed):
    """Both signals without the frames in which `clean` is silent; what is left moves together."""
    clean_frames, processed_frames = windowed_frames(clean), windowed_frames(processed)
    energies = np.sum(clean_frames**2, axis=1)
    audible = energies > np.max(energies) * 10 ** (-SILENCE_RANGE_DB / 10)
    return join(clean_frames[audible]), join(processed_frames[audible])


def band_envelopes(signal):
    """Amplitude in each third-octave band (rows) of each frame (columns). A band's edges are the nearest bins."""
    edges_hz = LOWEST_BAND_HZ * 2 ** ((np.arange(BANDS + 1) - 0.5) / 3)
    edges = np.rint(edges_hz * FFT_SIZE / RATE).astype(int)
    power = np.abs(np.fft.rfft(windowed_frames(signal), FFT_SIZE)) ** 2
    return np.sqrt(np.add.reduceat(power[:, : edges[-1]], edges[:-1], axis=1)).T


def segments(envelopes):
    """Every run of frames of a segment's length: band, first frame, frame."""
    return np.lib.stride_tricks.sliding_window_view(envelopes, SEGMENT_FRAMES, axis=1)


def norm(values):
    return np.linalg.norm(values, axis=-1, keepdims=True)


def stoi(clean, processed, rate):
    """About 0 (nothing is understood) to 1 (as the clean speech). Stretches 40 dB below the loudest frame of `clean`
    do not count; NaN if what is left is shorter than a segment.

    The level of `processed` does not matter. Delay does: envelopes are compared frame by frame, so some milliseconds
    cost little, and from a frame's length on the figure falls fast.
    """
    ratio = Fraction(RATE, rate)
    clean, processed = (
        dsp.resample_poly(signal, ratio.numerator, ratio.denominator) for signal in (clean, processed)
    )
    if min(len(clean), len(processed)) < FRAME:
        return np.nan
    x, y = (band_envelopes(signal) for signal in without_silence(clean, processed))
    if x.shape[1] < SEGMENT_FRAMES:
        return np.nan
    x, y = segments(x), segments(y)
    tiny = np.finfo(float).tiny
    y = y * (norm(x) / np.maximum(norm(y), tiny))
    y = np.minimum(y, x * (1 + 10 ** (-LOWEST_SDR_DB / 20)))
    x, y = (values - np.mean(values, axis=-1, keepdims=True) for values in (x, y))
    correlation = np.sum(x * y, axis=-1, keepdims=True) / np.maximum(norm(x) * norm(y), tiny)
    return np.mean(correlation)
