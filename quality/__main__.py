# SPDX-License-Identifier: MIT
"""The uses of quality/run, which says what they are."""

import argparse
import concurrent.futures
import pathlib
import sys

from quality import compare, contenders, material, pages, scores, search, tables, voices


def parse_arguments():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", type=pathlib.Path, required=True, help="folder with the program and the library")
    parser.add_argument("--half", choices=material.HALVES, default="judge")
    parser.add_argument("--group", choices=material.GROUPS, action="append")
    parser.add_argument("--regime", choices=compare.REGIMES, action="append")
    parser.add_argument("--preset", action="append", default=[])
    parser.add_argument("--command", action="append", default=[])
    parser.add_argument("--csv", type=pathlib.Path)
    parser.add_argument("--over", nargs=2, metavar=("NOISY", "CLEAN"))
    parser.add_argument("--search", metavar="GOAL")
    parser.add_argument("--tries", type=int, default=300)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--write-pages", action="store_true")
    parser.add_argument("values", nargs="*")
    return parser.parse_args()


def parse_values(words, library):
    pairs = [word.partition("=")[::2] for word in words]
    settable = library.settable()
    for name, _ in pairs:
        if name not in settable:
            sys.exit(f"not a parameter: {name}")
    words = contenders.ESTIMATORS
    return {name: words.index(value) if value in words else float(value) for name, value in pairs}


def contenders_of(options, library):
    """The rows of a table: name and contender. Presets, unless something else is asked for, and the peer."""
    program = options.build / "quietfloor"
    rows = {name: contenders.program(program, "--preset", name) for name in options.preset}
    rows.update((line, contenders.Command(line)) for line in options.command)
    if options.values and not options.search:
        rows["(as given)"] = contenders.stream(library, parse_values(options.values, library))
    if not rows:
        presets = contenders.presets(program)
        rows["(defaults)"] = contenders.program(program)
        rows.update((name, contenders.program(program, "--preset", name)) for name in presets)
        rows["speech, as a stream"] = contenders.stream(library, presets["speech"])
    return {**rows, "speexdsp": contenders.Speex(-15), "speexdsp, -25 dB": contenders.Speex(-25)}


def places_of(options, half):
    return compare.places(half, options.group or material.GROUPS, options.regime or compare.REGIMES)


def compare_over(rows, noisy, clean):
    """One recording of which there is a clean original."""
    noisy, clean = (voices.read(path, material.RATE) for path in (noisy, clean))
    count = min(len(noisy), len(clean))
    scorer = scores.Scorer(clean[:count], noisy[:count], material.RATE)
    yield tables.before_line(scorer.before)
    yield from tables.score_table({name: scorer.score(run(noisy[:count], material.RATE)) for name, run in rows.items()})


def find(options, library, rows):
    """Searches, then compares what was found with the other rows, on both halves."""
    presets = contenders.presets(options.build / "quietfloor")
    fixed = parse_values(options.values, library)
    with concurrent.futures.ProcessPoolExecutor() as pool:
        goal = search.Goal.parse(options.search.split())
        searched = search.Search(options.build, library, goal, fixed, places_of(options, "search"), pool)
        starts = [presets[name] for name in options.preset] or presets.values()
        found = searched.run(starts, options.tries, options.seed)
    rows["(found)"] = contenders.stream(library, found)
    for half in material.HALVES:
        print(f"\n## {half}")
        print("\n".join(tables.group_tables(compare.run(options.build, places_of(options, half), rows))))


def main():
    options = parse_arguments()
    library = contenders.library(str(options.build / "libquietfloor.so"))
    rows = contenders_of(options, library)
    if options.over:
        print("\n".join(compare_over(rows, *options.over)))
    elif options.search:
        find(options, library, rows)
    elif options.write_pages:
        pages.write(options.build, library, rows, contenders.presets(options.build / "quietfloor"))
    else:
        results = compare.run(options.build, places_of(options, options.half), rows)
        print("\n".join(tables.group_tables(results)))
        if options.csv:
            tables.write_csv(options.csv, results)


main()
