#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Takes the noise out of a 16-bit WAV file, in this process, with the standard library's ctypes alone.

Usage: denoise_wav.py IN.wav OUT.wav [PARAMETER=VALUE]...     such as reduction=12 fft-size=2048
The environment variable QUIETFLOOR_LIBRARY may name the library's file.
"""

import array
import ctypes
import os
import sys
import wave

Samples = ctypes.POINTER(ctypes.c_float)


def load_library():
    """The library, its functions declared; those that are not return an int or nothing."""
    name = "quietfloor.dll" if sys.platform == "win32" else "libquietfloor.so.0"
    library = ctypes.CDLL(os.environ.get("QUIETFLOOR_LIBRARY", name))
    for function, result, *arguments in [
        ("create", ctypes.c_void_p),
        ("destroy", None, ctypes.c_void_p),
        ("set_sample_rate", ctypes.c_int, ctypes.c_void_p, ctypes.c_int),
        ("resume", ctypes.c_int, ctypes.c_void_p),
        ("latency", ctypes.c_int, ctypes.c_void_p),
        ("set_parameter", ctypes.c_int, ctypes.c_void_p, ctypes.c_int, ctypes.c_float),
        ("process", ctypes.c_int, ctypes.c_void_p, Samples, Samples, ctypes.c_int),
        ("parameter_count", ctypes.c_int),
        ("parameter_name", ctypes.c_char_p, ctypes.c_int),
    ]:
        entry = getattr(library, "quietfloor_" + function)
        entry.restype, entry.argtypes = result, arguments
    return library


class Reducer:
    """One channel's noise reducer."""

    def __init__(self, library, rate, parameters):
        self.library = library
        self.handle = library.quietfloor_create()
        if not self.handle:
            raise MemoryError("quietfloor_create")
        count = library.quietfloor_parameter_count()
        names = [library.quietfloor_parameter_name(index).decode() for index in range(count)]
        for name, value in parameters.items():
            self.check(library.quietfloor_set_parameter(self.handle, names.index(name), value))
        self.check(library.quietfloor_set_sample_rate(self.handle, rate))
        self.check(library.quietfloor_resume(self.handle))

    def __del__(self):
        if getattr(self, "handle", None):
            self.library.quietfloor_destroy(self.handle)

    @staticmethod
    def check(status):
        if status != 0:
            raise MemoryError("out of memory") if status == 1 else ValueError("bad argument")

    def process(self, samples):
        """Changes an array of float in place; what comes out is `latency` samples late."""
        block = (ctypes.c_float * len(samples)).from_buffer(samples)
        self.check(self.library.quietfloor_process(self.handle, block, block, len(samples)))

    @property
    def latency(self):
        return self.library.quietfloor_latency(self.handle)


def denoise_channel(reducer, integers):
    """One channel of 16-bit samples, cleaned, of the same length and at the same place in time."""
    silence = [0.0] * reducer.latency  # pushes the last samples out
    samples = array.array("f", [value / 32768 for value in integers] + silence)
    reducer.process(samples)
    cleaned = [round(value * 32768) for value in samples[reducer.latency :]]
    return array.array("h", [max(-32768, min(32767, value)) for value in cleaned])


def main(source, target, *settings):
    parameters = {name: float(value) for name, _, value in (setting.partition("=") for setting in settings)}
    with wave.open(source) as file:
        format = file.getparams()
        if format.sampwidth != 2:
            sys.exit(f"{source}: not a 16-bit WAV file")
        samples = array.array("h", file.readframes(format.nframes))
    if sys.byteorder == "big":
        samples.byteswap()
    library = load_library()
    for channel in range(format.nchannels):
        reducer = Reducer(library, format.framerate, parameters)
        samples[channel :: format.nchannels] = denoise_channel(reducer, samples[channel :: format.nchannels])
    if sys.byteorder == "big":
        samples.byteswap()
    with wave.open(target, "wb") as file:
        file.setparams(format)
        file.writeframes(samples.tobytes())


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    main(*sys.argv[1:])
