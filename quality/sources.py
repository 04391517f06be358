# SPDX-License-Identifier: MIT
"""Clean sound: speech by espeak-ng, music by sox, and files. Needs both programs."""

import pathlib
import subprocess
import tempfile

import numpy as np

SENTENCES = [  # two voices of men, two of women
    ("en-us+m3", "The birch canoe slid on the smooth planks."),
    ("en-us+f2", "Glue the sheet to the dark blue background."),
    ("en+m1", "It is easy to tell the depth of a well."),
    ("en+f4", "These days a chicken leg is a rare dish."),
    ("en-us+m3", "Rice is often served in round bowls."),
    ("en-us+f2", "The juice of lemons makes fine punch."),
    ("en+m1", "The box was thrown beside the parked truck."),
    ("en+f4", "The hogs were fed chopped corn and garbage."),
]
CHORDS = ["A2 E3 A3 C4", "F2 C3 A3 F4", "C3 G3 E4 C5", "G2 D3 B3 G4"]


def sox(source, rate, *effects):
    """Runs sox, the same on every run, and returns one channel of samples."""
    command = ["sox", "-V1", "-R", "-D", *source, "-r", str(rate), "-c", "1", "-t", "f32", "-", *effects]
    output = subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout
    return np.frombuffer(output, np.float32).astype(float)


def sentence(voice, words, rate):
    """The sentence without what is silent around it, then 0.9 s of silence."""
    ends = "silence 1 0 0.1% reverse".split()
    with tempfile.TemporaryDirectory() as folder:
        spoken = str(pathlib.Path(folder, "spoken.wav"))
        subprocess.run(["espeak-ng", "-v", voice, "-s", "150", "-w", spoken, words], check=True)
        return sox([spoken], rate, *ends, *ends, "rate", str(rate), "pad", "0", "0.9")


def speech(rate):
    return np.concatenate([sentence(voice, words, rate) for voice, words in SENTENCES])


def chord(notes, rate):
    """2.5 s of strings, plucked one after the other, that ring and fade, then 1 s of silence."""
    strings = [word for note in notes for word in ("pluck", note)]
    delays = [f"0.{2 * i}" for i in range(len(notes))]
    effects = ["synth", "2.5", *strings, "delay", *delays, "remix", "-", "fade", "0", "2.5", "0.4", "pad", "0", "1"]
    return sox(["-n"], rate, *effects)


def music(rate):
    """Four chords, twice."""
    return np.tile(np.concatenate([chord(notes.split(), rate) for notes in CHORDS]), 2)


def read(path, rate):
    """A sound file, its channels mixed, at `rate`."""
    return sox([str(path)], rate)
