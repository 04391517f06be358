# SPDX-License-Identifier: MIT
"""The noise reducers that are compared. Each takes a noisy signal and gives one of the same length that is not late.
They can be sent to other processes."""

import contextlib
import ctypes
import dataclasses
import functools
import json
import pathlib
import shlex
import subprocess
import tempfile
import warnings

import numpy as np
from scipy.io import wavfile

FILTER_MODE = "filter-mode"
ESTIMATOR = "estimator"  # beside the parameters; its value is the index of a word
ESTIMATORS = ["gate", "log-spectral"]


def padded(noisy, before, after):
    """Silence around the signal, so that the whole of it comes out of something that is late."""
    return np.concatenate([np.zeros(before), noisy, np.zeros(after)])


SAMPLES = np.ctypeslib.ndpointer(np.float32, ndim=1, flags="C_CONTIGUOUS")
HANDLE, INT, FLOAT = ctypes.c_void_p, ctypes.c_int, ctypes.c_float


def bind(library, prefix, signatures):
    """Gives functions their types: name, result, arguments."""
    for name, result, *arguments in signatures:
        function = getattr(library, prefix + name)
        function.restype, function.argtypes = result, arguments


class Library:
    """lib/quietfloor.h, from the shared library at `path`. Parameters are dictionaries of name and value; what they
    leave out has its default."""

    def __init__(self, path):
        self.path = path
        self.c = ctypes.CDLL(path)
        bind(self.c, "quietfloor_", [
            ("create", HANDLE),
            ("destroy", None, HANDLE),
            ("set_parameter", INT, HANDLE, INT, FLOAT),
            ("get_parameter", FLOAT, HANDLE, INT),
            ("set_sample_rate", INT, HANDLE, INT),
            ("resume", INT, HANDLE),
            ("latency", INT, HANDLE),
            ("process", INT, HANDLE, SAMPLES, SAMPLES, INT),
            ("parameter_count", INT),
            ("parameter_name", ctypes.c_char_p, INT),
            ("parameter_is_settable", INT, INT),
            ("parameter_default", FLOAT, INT),
            ("parameter_bounds", INT, INT, ctypes.POINTER(FLOAT), ctypes.POINTER(FLOAT)),
        ])
        self.has_estimators = hasattr(self.c, "quietfloor_set_estimator")
        if self.has_estimators:
            bind(self.c, "quietfloor_", [("set_estimator", INT, HANDLE, INT)])
        self.parameters = [
            self.c.quietfloor_parameter_name(index).decode() for index in range(self.c.quietfloor_parameter_count())
        ]

    def settable(self):
        """Default, lowest and highest value of each parameter by name; where there are two estimators, one more."""
        found = {}
        for index, name in enumerate(self.parameters):
            if self.c.quietfloor_parameter_is_settable(index):
                low, high = FLOAT(), FLOAT()
                self.c.quietfloor_parameter_bounds(index, low, high)
                found[name] = self.c.quietfloor_parameter_default(index), low.value, high.value
        return {**found, ESTIMATOR: (0.0, 0.0, 1.0)} if self.has_estimators else found

    def _set(self, handle, name, value):
        if name == ESTIMATOR:
            self.c.quietfloor_set_estimator(handle, int(value))
        else:
            self.c.quietfloor_set_parameter(handle, self.parameters.index(name), value)

    @contextlib.contextmanager
    def reducer(self, values, rate):
        handle = self.c.quietfloor_create()
        try:
            for name, value in values.items():
                self._set(handle, name, value)
            self.c.quietfloor_set_sample_rate(handle, rate)
            ctypes.CDLL(None).srand(1)  # resume draws the dither: so every bit is the same on every run
            if self.c.quietfloor_resume(handle) != 0:
                raise MemoryError("quietfloor_resume")
            yield handle
        finally:
            self.c.quietfloor_destroy(handle)

    def latency(self, values, rate):
        """In samples."""
        with self.reducer(values, rate) as handle:
            return self.c.quietfloor_latency(handle)

    def reduce(self, values, noisy, rate):
        with self.reducer(values, rate) as handle:
            delay = self.c.quietfloor_latency(handle)
            # The filter's first block begins half a hop into the stream: silence goes ahead of the signal.
            mode = self.c.quietfloor_get_parameter(handle, self.parameters.index(FILTER_MODE))
            ahead = delay if mode else 0
            signal = padded(noisy, ahead, delay).astype(np.float32)
            self.c.quietfloor_process(handle, signal, signal, len(signal))
            return signal[ahead + delay :].astype(float)


library = functools.lru_cache(Library)  # opened once in each process


@dataclasses.dataclass(frozen=True)
class Stream:
    """The library at `path` over a stream that begins with the signal."""

    path: str
    values: tuple  # pairs of parameter and value

    def __call__(self, noisy, rate):
        return library(self.path).reduce(dict(self.values), noisy, rate)


def stream(opened, values):
    """`values` are parameters by name."""
    return Stream(opened.path, tuple(values.items()))


@dataclasses.dataclass(frozen=True)
class Command:
    """A command line, in which IN and OUT stand for WAV files of 32-bit floats. Its delay is not taken off."""

    line: str

    def __call__(self, noisy, rate):
        with tempfile.TemporaryDirectory() as folder:
            files = {name: str(pathlib.Path(folder, name + ".wav")) for name in ("IN", "OUT")}
            wavfile.write(files["IN"], rate, noisy.astype(np.float32))
            words = [files.get(word, word) for word in shlex.split(self.line)]
            subprocess.run(words, check=True, stdout=subprocess.DEVNULL)
            with warnings.catch_warnings():
                warnings.simplefilter("ignore", wavfile.WavFileWarning)  # of chunks that are neither format nor sound
                _, processed = wavfile.read(files["OUT"])
        if processed.dtype != np.float32 or processed.ndim != 1:
            raise ValueError(f"not one channel of 32-bit floats: {self.line}")
        return np.pad(processed.astype(float), (0, max(0, len(noisy) - len(processed))))[: len(noisy)]


def program(path, *options):
    """The program over a file."""
    return Command(shlex.join([str(path), *options, "--force", "--quiet", "IN", "OUT"]))


def presets(path):
    """Name and parameters of each preset, as the program lists them, with the estimator unless it is the first."""
    listed = subprocess.run([str(path), "--list-presets", "--json"], check=True, stdout=subprocess.PIPE)
    found = {}
    for preset in json.loads(listed.stdout):
        estimator = ESTIMATORS.index(preset.get(ESTIMATOR, ESTIMATORS[0]))
        found[preset["name"]] = {**preset["values"], **({ESTIMATOR: estimator} if estimator else {})}
    return found


class Speex:
    """speexdsp's preprocessor with nothing but its noise suppression, in frames of 20 ms. `suppress_db` is the most
    that noise is turned down, in dB below 0; -15 is its default."""

    SET_DENOISE, SET_AGC, SET_DEREVERB, SET_NOISE_SUPPRESS = 0, 2, 8, 18  # of speex/speex_preprocess.h

    def __init__(self, suppress_db):
        self.suppress_db = suppress_db

    @staticmethod
    def functions():
        c = ctypes.CDLL("libspeexdsp.so.1")
        bind(c, "speex_preprocess_", [
            ("state_init", HANDLE, INT, INT),
            ("state_destroy", None, HANDLE),
            ("ctl", INT, HANDLE, INT, ctypes.POINTER(INT)),
            ("run", INT, HANDLE, np.ctypeslib.ndpointer(np.int16, ndim=1, flags="C_CONTIGUOUS")),
        ])
        return c

    def __call__(self, noisy, rate):
        frame = rate // 50  # also the delay, of overlapping windows
        whole = padded(noisy, 0, frame + -len(noisy) % frame)
        blocks = np.rint(32767 * np.clip(whole, -1, 1)).astype(np.int16).reshape(-1, frame)
        c = self.functions()
        state = c.speex_preprocess_state_init(frame, rate)
        for request, value in [
            (self.SET_DENOISE, 1),
            (self.SET_AGC, 0),
            (self.SET_DEREVERB, 0),
            (self.SET_NOISE_SUPPRESS, self.suppress_db),
        ]:
            c.speex_preprocess_ctl(state, request, ctypes.byref(INT(value)))
        for block in blocks:
            c.speex_preprocess_run(state, block)
        c.speex_preprocess_state_destroy(state)
        return blocks.ravel()[frame : frame + len(noisy)] / 32767
