# SPDX-License-Identifier: MIT
"""The uses of quality/run, which says what they are."""

import argparse
import pathlib
import sys

from quality import compare, contenders, material, pages, scores, tables, voices


def parse_arguments():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", type=pathlib.Path, required=True, help="folder with the program and the library")
    parser.add_argument("--write-pages", action="store_true")
    parser.add_argument("--half", choices=material.HALVES, default="judge")
    parser.add_argument("--group", choices=material.GROUPS, action="append")
    parser.add_argument("--preset", action="append", default=[])
    parser.add_argument("--command", action="append", default=[])
    parser.add_argument("--csv", type=pathlib.Path)
    parser.add_argument("--over", nargs=2, metavar=("NOISY", "CLEAN"))
    parser.add_argument("values", nargs="*")
    return parser.parse_args()


def parse_values(words, library):
    pairs = [word.partition("=")[::2] for word in words]
    for name, _ in pairs:
        if name not in library.parameters:
            sys.exit(f"not a parameter: {name}")
    return tuple((name, float(value)) for name, value in pairs)


def contenders_of(options, library):
    """The rows of a table: name and contender. Presets, unless something else is asked for, and the peer."""
    program = options.build / "quietfloor"
    rows = {name: contenders.program(program, "--preset", name) for name in options.preset}
    rows.update((line, contenders.Command(line)) for line in options.command)
    if options.values:
        rows["(as given)"] = contenders.Stream(library.path, parse_values(options.values, library))
    if not rows:
        rows["(defaults)"] = contenders.program(program)
        rows.update((name, contenders.program(program, "--preset", name)) for name in contenders.presets(program))
    return {**rows, "speexdsp": contenders.Speex(-15), "speexdsp, -25 dB": contenders.Speex(-25)}


def compare_over(rows, noisy, clean):
    """One recording of which there is a clean original."""
    noisy, clean = (voices.read(path, material.RATE) for path in (noisy, clean))
    count = min(len(noisy), len(clean))
    scorer = scores.Scorer(clean[:count], noisy[:count], material.RATE)
    yield tables.before_line(scorer.before)
    yield from tables.score_table({name: scorer.score(run(noisy[:count], material.RATE)) for name, run in rows.items()})


def main():
    options = parse_arguments()
    library = contenders.library(str(options.build / "libquietfloor.so"))
    rows = contenders_of(options, library)
    if options.over:
        print("\n".join(compare_over(rows, *options.over)))
        return
    if options.write_pages:
        pages.write(options.build, library, rows, contenders.presets(options.build / "quietfloor"))
        return
    places = compare.places(options.half, options.group or material.GROUPS)
    results = compare.run(options.build, places, rows)
    print("\n".join(tables.group_tables(results)))
    if options.csv:
        tables.write_csv(options.csv, results)


main()
