# SPDX-License-Identifier: MIT
"""What noise reducers are judged by: noisy recordings beside their clean originals, all synthetic and from seeds.

Half `search` is for choosing settings, half `judge` for checking them: no voice or piece is in both, and no noise but
white. Levels are in dB to full scale.
"""

import dataclasses
import hashlib
import os
import pathlib
import shutil
import zlib
from functools import partial

import numpy as np
from scipy import signal as dsp

from quality import instruments, measures, noises, scenes, voices

RATE = 48000
CLIP_RATE = 16000  # clips are made at this rate: above half of it they have nothing
HALVES = ["search", "judge"]
GROUPS = {
    "mixes": "dry speech over a steady noise",
    "music": "music over hiss",
    "recordings": "speech in a room or with noise that changes",
    "clips": "short clips that begin with speech, 16 kHz sound",
}
LEAD_SECONDS = 3


@dataclasses.dataclass(frozen=True)
class Recording:
    """Two signals of one length; the first `lead` samples are noise alone."""

    clean: np.ndarray
    noisy: np.ndarray
    lead: int = 0


def mix(random, clean, rate, levels_db, kind, ratio_db, lead_seconds=0):
    """`clean` is brought from the first to the second of `levels_db`, and noise `ratio_db` below it added."""
    before_db, level_db = levels_db
    lead = int(lead_seconds * rate)
    clean = np.concatenate([np.zeros(lead), noises.amplitude(level_db - before_db) * clean])
    noise = noises.make(kind, len(clean), rate, random)
    return Recording(clean, clean + noises.amplitude(level_db - ratio_db) * noise, lead)


def speech_mix(random, clean, rate, *noise):
    """Active frames at -26 dB."""
    active = measures.take(clean, rate, measures.active_frames(clean, rate))
    return mix(random, clean, rate, (measures.level_db(active), -26), *noise)


def dry_speech(random, voice, kind, ratio_db):
    return speech_mix(random, voices.speech(voice, RATE, random), RATE, kind, ratio_db, LEAD_SECONDS)


def music(random, piece, kind, ratio_db):
    """An rms of -20 dB."""
    clean = instruments.play(*piece, RATE, random)
    return mix(random, clean, RATE, (measures.level_db(clean), -20), kind, ratio_db, LEAD_SECONDS)


def scene(random, voice, kind, ratio_db, room=None):
    """`room` is for scenes.reverberant; the reverberant speech is the clean original."""
    clean = voices.speech(voice, RATE, random)
    if room:
        clean = scenes.reverberant(random, clean, RATE, *room)
    return speech_mix(random, clean, RATE, kind, ratio_db)


def clip(random, voice, count, kind, ratio_db):
    """The voice's last sentences, `count` of them, 0.3 s after each."""
    name, speed, sentences = voice
    spoken = [voices.sentence(name, speed, words, CLIP_RATE) for words in sentences[-count:]]
    clean = np.concatenate([np.pad(part, (0, int(0.3 * CLIP_RATE))) for part in spoken])
    made = speech_mix(random, clean, CLIP_RATE, kind, ratio_db)
    count = len(clean) * RATE // CLIP_RATE
    return Recording(*(dsp.resample(signal, count) for signal in (made.clean, made.noisy)))


def scenes_of(half, kinds):
    """Name, noise, ratio and room of each scene."""
    if half == "search":
        office = partial(scenes.switched, room=kinds["air conditioner"], machine=kinds["PC fan"], share=0.45)
        yield "car that speeds up", partial(scenes.speeding, motor_hz=(45, 88), level_db=6), 5, None
        yield "fan switched on", office, 8, None
        yield "room", kinds["air conditioner"], 10, (0.5, 3)
        hall = partial(scenes.working, hall=kinds["fridge"], machine=kinds["rain"], beat_hz=1.1)
        yield "hall", hall, 6, (1.1, 5)
    else:
        kitchen = partial(scenes.switched, room=kinds["office"], machine=kinds["desk fan"], share=0.35)
        yield "car that slows down", partial(scenes.speeding, motor_hz=(105, 60), level_db=-5), 4, None
        yield "hood switched on", kitchen, 7, None
        yield "office room", kinds["office"], 8, (0.4, 2)
        workshop = partial(scenes.working, hall=kinds["transformer"], machine=kinds["duct"], beat_hz=0.7)
        yield "workshop", workshop, 6, (0.8, 4)


def recipes(half):
    """Group and name of each recording, and the function of a generator that makes it."""
    voice, kinds = voices.VOICES[half], noises.KINDS[half]
    for i, (name, kind) in enumerate(kinds.items()):
        for ratio_db in 3, 10:
            speaker = voice[(i + ratio_db) % len(voice)]
            yield "mixes", f"{name} {ratio_db} dB", partial(dry_speech, voice=speaker, kind=kind, ratio_db=ratio_db)
        yield "clips", name, partial(clip, voice=voice[i], count=1 + i % 2, kind=kind, ratio_db=5 + 2 * i)
    tape = kinds["video tape" if half == "search" else "tape"]
    for i, (name, piece) in enumerate(instruments.PIECES[half].items()):
        for hiss, kind, ratio_db in ("tape", tape, 15 + i), ("white", noises.white, 20 - i):
            yield "music", f"{name} {hiss}", partial(music, piece=piece, kind=kind, ratio_db=ratio_db)
    for speaker, (name, kind, ratio_db, room) in zip(voice, scenes_of(half, kinds)):
        yield "recordings", name, partial(scene, voice=speaker, kind=kind, ratio_db=ratio_db, room=room)


def names(half):
    """Group and name of each recording."""
    return [(group, name) for group, name, _ in recipes(half)]


def make(half, group, name):
    recipe = next(recipe for *place, recipe in recipes(half) if place == [group, name])
    return recipe(np.random.RandomState(zlib.crc32(f"{half} {group} {name}".encode())))


def version():
    """Of what decides the material: another one is made anew."""
    sources = [pathlib.Path(module.__file__).read_bytes() for module in (instruments, noises, scenes, voices)]
    return hashlib.sha256(b"".join([*sources, pathlib.Path(__file__).read_bytes()])).hexdigest()[:12]


def load(folder, half, group, name):
    """From the folder, where it is kept when it has been made, in place of older versions."""
    path = pathlib.Path(folder, f"material-{version()}", f"{half} {group} {name}.npz")
    if not path.exists():
        made = make(half, group, name)
        path.parent.mkdir(parents=True, exist_ok=True)
        for other in set(pathlib.Path(folder).glob("material-*")) - {path.parent}:
            shutil.rmtree(other, ignore_errors=True)
        unfinished = path.with_suffix(f".{os.getpid()}.npz")
        np.savez(unfinished, clean=np.float32(made.clean), noisy=np.float32(made.noisy), lead=made.lead)
        unfinished.replace(path)
    kept = np.load(path)
    return Recording(kept["clean"].astype(float), kept["noisy"].astype(float), int(kept["lead"]))
