# SPDX-License-Identifier: MIT
"""What a noise reducer does to speech and music, as figures.

Signals are one-dimensional arrays of floats. A processed signal is compared with the clean one sample for sample:
both have one length and nothing is late. Levels are relative, so that no full scale is assumed. A figure is NaN where
there is nothing to measure.
"""

import numpy as np
from scipy import fft
from scipy import signal as dsp

FRAME_SECONDS = 0.025  # frames stand side by side
ACTIVE_RANGE_DB = 30  # a frame with speech is at most so far below the loudest
PAUSE_RANGE_DB = 40  # a frame of a pause at least so far
PAUSE_GUARD_FRAMES = 12  # 0.3 s, after which reverberation and what a reducer holds on to have gone
SPECTRUM_SECONDS = 0.032


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


def samples_of(selected, count, rate):
    """True for the samples of the selected frames, and false for what is left at the end."""
    samples = np.repeat(selected, round(FRAME_SECONDS * rate))
    return np.pad(samples, (0, count - len(samples)))


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


def a_weighted(signal, rate):
    """As the ear weighs quiet sound: curve A of IEC 61672-1, 0 dB at 1 kHz, without delay."""
    count = fft.next_fast_len(len(signal), real=True)
    squares = fft.rfftfreq(count, 1 / rate) ** 2
    poles = np.square([20.598997, 107.65265, 737.86223, 12194.217])
    low, middle_low, middle_high, high = (squares + pole for pole in poles)
    curve = poles[3] * squares**2 / (low * np.sqrt(middle_low * middle_high) * high)
    return fft.irfft(10**0.1 * curve * fft.rfft(signal, count), count)[: len(signal)]  # the curve is -2 dB at 1 kHz


def power_spectra(signal, rate):
    """Power in each bin (columns) of Hann frames of 32 ms that overlap by half (rows)."""
    size = round(SPECTRUM_SECONDS * rate)
    starts = np.lib.stride_tricks.sliding_window_view(signal, size)[:: size // 2]
    window = dsp.windows.hann(size, sym=False).astype(np.float32)
    return np.abs(fft.rfft(starts.astype(np.float32) * window)) ** 2


def spectra_within(selected, rate):
    """Which of the frames of `power_spectra` have selected samples alone."""
    size = round(SPECTRUM_SECONDS * rate)
    return np.lib.stride_tricks.sliding_window_view(selected, size)[:: size // 2].all(axis=1)


def power_kurtosis(power):
    """Kurtosis about 0 over time, one value a bin."""
    power = power.astype(float)
    return np.mean(power**4, axis=0) / np.mean(power**2, axis=0) ** 2


def kurtosis_ratio(before, after, rate):
    """How much more of the noise is musical noise after processing: the ratio of the kurtosis over time of the power
    in a bin, geometric mean over the bins from 100 Hz to 7.5 kHz. 1 if it is as it was, above 2 clearly musical.
    Uemura, Takahashi, Saruwatari, Shikano, Kondo, "Automatic optimization scheme of spectral subtraction based on
    musical noise assessment via higher-order statistics", IWAENC 2008. Both are power spectra of noise alone."""
    hz = np.arange(before.shape[1]) / SPECTRUM_SECONDS
    bins = (hz >= 100) & (hz <= 7500)
    with np.errstate(divide="ignore", invalid="ignore"):
        ratios = np.log(power_kurtosis(after[:, bins]) / power_kurtosis(before[:, bins]))
    return np.exp(np.mean(ratios[np.isfinite(ratios)]))  # without bins that have become silent


def clear_bins(clean, noise):
    """Where speech stands out: 15 dB above the noise and within 50 dB of the loudest bin. Both are power spectra."""
    return (clean >= noise * 10**1.5) & (clean >= np.max(clean) * 1e-5)


def log_differences(clean, processed, bins):
    """Of power spectra in the given bins, dB, at least -60; 0 elsewhere."""
    clean = np.where(bins, clean, 1)
    return db(np.where(bins, np.maximum(processed, 1e-6 * clean), 1) / clean)


def log_spectral_distance_db(clean, processed, bins):
    """Rms over the given bins of a frame, mean over the frames that have four of them. Gray, Markel, "Distance measures
    for speech processing", IEEE Trans. Acoustics, Speech and Signal Processing 24(5), 1976."""
    counts = np.sum(bins, axis=1)
    squares = np.sum(log_differences(clean, processed, bins) ** 2, axis=1)
    rows = counts >= 4
    return np.mean(np.sqrt(squares[rows] / counts[rows])) if rows.any() else np.nan


def spectral_gain_db(clean, processed, bins):
    """Mean over the given bins: below 0 if the speech has become weaker."""
    return np.mean(log_differences(clean, processed, bins)[bins]) if bins.any() else np.nan
