# SPDX-License-Identifier: MIT
"""What a noise reducer does to speech, as figures.

Signals are one-dimensional arrays of floats. A processed signal is compared with the clean one sample for sample:
both have one length and nothing is late. Levels are relative, so that no full scale is assumed. A figure is NaN where
there is nothing to measure.
"""

import numpy as np
from scipy import signal as dsp

FRAME_SECONDS = 0.025  # frames stand side by side
ACTIVE_RANGE_DB = 30  # a frame with speech is at most so far below the loudest
PAUSE_RANGE_DB = 40  # a frame of a pause at least so far
PAUSE_GUARD_FRAMES = 12  # 0.3 s, after which reverberation and what a reducer holds on to have gone
KURTOSIS_FRAME = 512


def db(power_ratio):
    with np.errstate(divide="ignore", invalid="ignore"):
        return 10 * np.log10(power_ratio)


def energy(signal):
    return np.dot(signal, signal)


def level_db(signal):
    """Mean power; -infinity for silence."""
    return db(np.mean(np.square(signal))) if len(signal) else np.nan


def projection(clean, processed):
    """The factor by which `clean` is contained in `processed`. Noise, being unlike the speech, hardly counts."""
    with np.errstate(invalid="ignore"):
        return np.dot(processed, clean) / energy(clean)


def si_sdr_db(clean, processed):
    """Scale-invariant signal-to-distortion ratio: the part of `processed` that is a multiple of `clean` against all
    else in it. Le Roux, Wisdom, Erdogan, Hershey, "SDR - half-baked or well done?", ICASSP 2019. Infinite for
    a multiple of `clean`."""
    speech = projection(clean, processed) * clean
    with np.errstate(divide="ignore", invalid="ignore"):
        return db(energy(speech) / energy(processed - speech))


def speech_gain_db(clean, processed):
    """By how much the speech in `processed` is louder than `clean`."""
    return db(projection(clean, processed) ** 2)


def frames(signal, rate):
    """One frame a row; what is left at the end is dropped."""
    length = round(FRAME_SECONDS * rate)
    return signal[: len(signal) // length * length].reshape(-1, length)


def levels_below_loudest(clean, rate):
    """In dB, at most 0, one value a frame."""
    levels = db(np.mean(np.square(frames(clean, rate)), axis=1))
    return levels - np.max(levels)


def active_frames(clean, rate):
    """True for frames with speech."""
    return levels_below_loudest(clean, rate) >= -ACTIVE_RANGE_DB


def pause_frames(clean, rate):
    """True for frames that have been quiet for the guard time already."""
    quiet = levels_below_loudest(clean, rate) < -PAUSE_RANGE_DB
    run = PAUSE_GUARD_FRAMES + 1
    return np.convolve(quiet, np.ones(run, int))[: len(quiet)] == run


def take(signal, rate, selected):
    """The selected frames of `signal`, one after the other."""
    return frames(signal, rate)[selected].ravel()


def segmental_snr_db(clean, processed, rate):
    """Mean over the active frames of the signal-to-noise ratio in a frame, each limited to -10 .. 35 dB."""
    selected = active_frames(clean, rate)
    speech, error = frames(clean, rate)[selected], frames(processed - clean, rate)[selected]
    with np.errstate(divide="ignore"):
        ratios = db(np.sum(speech**2, axis=1) / np.sum(error**2, axis=1))
    return np.mean(np.clip(ratios, -10, 35))


def power_kurtosis(noise):
    """Kurtosis about 0 of the power over time, one value a bin, over Hann frames that overlap by half."""
    starts = np.lib.stride_tricks.sliding_window_view(noise, KURTOSIS_FRAME)[:: KURTOSIS_FRAME // 2]
    spectra = np.fft.rfft(starts * dsp.windows.hann(KURTOSIS_FRAME, sym=False))[:, 1:]
    power = np.abs(spectra) ** 2
    return np.mean(power**4, axis=0) / np.mean(power**2, axis=0) ** 2


def log_kurtosis_ratio(before, after):
    """How much more of the noise is musical noise after processing: the logarithm of the ratio of the kurtosis of
    the power in a bin over time, mean over the bins. 0 if it is as it was, above 1 clearly musical. Uemura,
    Takahashi, Saruwatari, Shikano, Kondo, "Automatic optimization scheme of spectral subtraction based on musical
    noise assessment via higher-order statistics", IWAENC 2008. Both signals are noise alone."""
    if len(before) < KURTOSIS_FRAME:
        return np.nan
    return np.mean(np.log(power_kurtosis(after) / power_kurtosis(before)))


def high_pass(signal, rate, edge_hz):
    """What is above `edge_hz`, falling off by 24 dB an octave below (Butterworth)."""
    return dsp.sosfilt(dsp.butter(4, edge_hz, "highpass", fs=rate, output="sos"), signal)
