# SPDX-License-Identifier: MIT
"""Speech by espeak-ng in several languages. Needs that program and sox."""

import pathlib
import subprocess
import tempfile

import numpy as np

# Language and voice (m: man, f: woman), words a minute, sentences. No voice and no sentence is in both halves.
VOICES = {
    "search": [
        ("en-us+m3", 155, [
            "The birch canoe slid on the smooth planks.",
            "Rice is often served in round bowls, with a spoon.",
            "The box was thrown beside the parked truck.",
        ]),
        ("de+f2", 150, [
            "Am Abend gehen wir noch einmal an den Fluss.",
            "Das Fenster steht offen, aber es zieht nicht.",
            "Sie fuhr am Montag mit dem Zug nach Hause.",
        ]),
        ("en-gb+f4", 165, [
            "It is easy to tell the depth of a well.",
            "The juice of lemons makes fine punch, they say.",
            "Four hours of steady work faced us.",
        ]),
        ("fr-fr+m1", 160, [
            "Le chat dort sur la chaise devant la porte.",
            "Nous avons marché longtemps, sous une pluie fine.",
            "Elle a perdu ses clés dans le jardin.",
        ]),
        ("es+f3", 160, [
            "La casa blanca está cerca de la playa.",
            "Mañana por la tarde, si quieres, vamos al cine.",
            "El pan de ayer todavía está bueno.",
        ]),
        ("it+m7", 140, [
            "Il treno per Milano parte alle sette.",
            "Ho messo le chiavi sul tavolo, vicino alla lampada.",
            "La finestra della cucina è aperta.",
        ]),
    ],
    "judge": [
        ("en-gb+m2", 150, [
            "A large size in stockings is hard to sell.",
            "The boy was there when the sun rose, all alone.",
            "A rod is used to catch pink salmon.",
        ]),
        ("en-us+f1", 165, [
            "Glue the sheet to the dark blue background.",
            "These days, a chicken leg is a rare dish.",
            "The hogs were fed chopped corn and garbage.",
        ]),
        ("nl+m4", 150, [
            "De hond loopt elke ochtend langs het water.",
            "Morgen komt mijn zus, met haar twee kinderen.",
            "Het brood ligt nog op de plank.",
        ]),
        ("pt+f5", 155, [
            "O barco chegou ao porto antes da noite.",
            "A minha irmã mora longe, numa aldeia pequena.",
            "Hoje não há leite na cozinha.",
        ]),
        ("sv+m6", 145, [
            "Båten ligger kvar vid den gamla bryggan.",
            "I morgon, om det inte regnar, går vi till skogen.",
            "Han glömde sin väska på tåget.",
        ]),
        ("pl+linda", 160, [
            "Stary dom stoi na końcu tej ulicy.",
            "Jutro rano, przed pracą, pójdę do sklepu.",
            "Na stole leży otwarta książka.",
        ]),
    ],
}


def sox(source, rate, *effects):
    """Runs sox, the same on every run, and returns one channel of samples."""
    command = ["sox", "-V1", "-R", "-D", *source, "-r", str(rate), "-c", "1", "-t", "f32", "-", *effects]
    output = subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout
    return np.frombuffer(output, np.float32).astype(float)


def read(path, rate):
    """A sound file, its channels mixed, at `rate`."""
    return sox([str(path)], rate)


def sentence(voice, words_a_minute, words, rate):
    """The sentence without what is silent before and after it."""
    ends = "silence 1 0 0.1% reverse".split()
    with tempfile.TemporaryDirectory() as folder:
        spoken = str(pathlib.Path(folder, "spoken.wav"))
        subprocess.run(["espeak-ng", "-v", voice, "-s", str(words_a_minute), "-w", spoken, words], check=True)
        return sox([spoken], rate, *ends, *ends, "rate", str(rate))


def speech(voice, rate, random):
    """All sentences of a voice, with a pause of 0.5 to 1.4 s after each."""
    name, speed, sentences = voice
    parts = [
        part
        for words in sentences
        for part in (sentence(name, speed, words, rate), np.zeros(int(random.uniform(0.5, 1.4) * rate)))
    ]
    return np.concatenate(parts)
