#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the Python example on a WAV file made here: noise on the left falls, and a late click on the right
stays in place and at its height.

Usage: python_example.py <denoise_wav.py> <folder to write into>; the example finds the library as for users.
"""

import array
import math
import random
import subprocess
import sys
import wave

example, folder = sys.argv[1:]
rate, frames, click, height = 22050, 22050 * 5, 22050 * 4, 16
noisy, clean = folder + "/noisy.wav", folder + "/clean.wav"

random.seed(1)
samples = array.array("h", [0]) * (2 * frames)
samples[0::2] = array.array("h", [round(random.gauss(0, 300)) for _ in range(frames)])
samples[2 * click + 1] = height
with wave.open(noisy, "wb") as file:
    file.setparams((2, 2, rate, frames, "NONE", ""))
    file.writeframes(samples.tobytes())

subprocess.run([sys.executable, example, noisy, clean, "reduction=15", "fft-size=1024"], check=True)
with wave.open(clean) as file:
    assert file.getparams()[:4] == (2, 2, rate, frames), file.getparams()
    result = array.array("h", file.readframes(frames))


def level(values):
    return 10 * math.log10(sum(value * value for value in values) / len(values))


last_second = slice(2 * (frames - rate), None, 2)
fall = level(samples[last_second]) - level(result[last_second])
print(f"the noise fell by {fall:.1f} dB; the click was {height} and is {result[2 * click + 1]}")
if not 13 < fall < 17:
    sys.exit("the noise should have fallen by 15 dB")
if abs(result[2 * click + 1] - height) > 2 or max(map(abs, result[1 : 2 * click : 2])) > 2:
    sys.exit("the click should have stayed where and what it was")
