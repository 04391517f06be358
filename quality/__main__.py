# SPDX-License-Identifier: MIT
"""The uses of quality/run, which says what they are."""

import argparse
import pathlib
import sys

from quality import contenders, mixes, sources, tables

ROOT = pathlib.Path(__file__).resolve().parent.parent


def parse_parameters(words, library):
    values = {}
    for word in words:
        name, equals, value = word.partition("=")
        if not equals or name not in library.parameters:
            sys.exit(f"not a parameter: {word}")
        values[name] = float(value)
    return values


def compared(library, presets, given):
    """The rows of a table: name and contender."""
    rows = {"(defaults)": library.contender({})}
    rows.update((name, library.contender(values)) for name, values in presets.items())
    if given:
        rows["(as given)"] = library.contender(given)
    return {**rows, "speexdsp": contenders.Speex(-15), "speexdsp, -25 dB": contenders.Speex(-25)}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", type=pathlib.Path, required=True, help="folder with the program and the library")
    parser.add_argument("words", nargs="*")
    options = parser.parse_args()
    library = contenders.Library(options.build / "libquietfloor.so")
    presets = contenders.presets(options.build / "quietfloor")
    files = [word for word in options.words[:2] if pathlib.Path(word).is_file()]
    given = parse_parameters(options.words[2 * (len(files) == 2) :], library)
    rows = compared(library, presets, given)
    if len(files) == 2:
        noisy, clean = (sources.read(path, tables.RATE) for path in files)
        count = min(len(noisy), len(clean))
        print("\n".join(tables.compare_on(rows, mixes.Recording(clean[:count], noisy[:count], tables.RATE))))
    elif given:
        print("\n".join(tables.compare_contenders(rows, sources.speech(tables.RATE))))
    else:
        speech, music = sources.speech(tables.RATE), sources.music(tables.RATE)
        tables.insert(ROOT / "docs/presets.md", tables.compare_contenders(rows, speech))
        tables.insert(
            ROOT / "docs/choosing-settings.md", tables.compare_settings(library, presets, rows, speech, music)
        )


main()
