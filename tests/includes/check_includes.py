#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Reads the includes of every source file and fails on one from folder to folder that ARROWS does not have.

Usage: check_includes.py ROOT [--list]; with --list it prints the arrows that it finds instead.
CONTRIBUTING.md shows the list, and the test fails if the two differ.
"""

import collections
import pathlib
import re
import sys

# A folder's files may include those of their own folder and of these.
ARROWS = """
base:
simd:
fft/kernels:     simd
fft/engine:      fft/kernels simd
fft:             base fft/engine
noise/kernels:   fft/kernels noise simd
noise:           noise/kernels simd
dsp/kernels:     simd
dsp:             base dsp/kernels fft/engine noise simd
lib:             base dsp
levels:          dsp/kernels fft/kernels noise/kernels simd
include:         dsp fft lib
tools/system:
tools/sound:     tools/system
tools/picture:   dsp tools/system
tools/denoise:   dsp tools/picture tools/sound tools/system
tools/command:   base dsp tools/denoise tools/sound tools/system
plugins:         base dsp
"""

FOLDERS = {folder: targets.split() for folder, targets in (line.split(":") for line in ARROWS.split("\n") if line)}


def folder_of(path):
    """The longest listed folder that holds the path."""
    return next((str(p) for p in path.parents if str(p) in FOLDERS), None)


def includes_of(root, path):
    """The files of the tree that this one includes: from the root, or relative to the file itself."""
    for name in re.findall(r'^\s*#\s*include\s*"([^"]+)"', (root / path).read_text(encoding="utf-8"), re.M):
        for found in ((root / path).parent / name, root / name):
            if found.is_file():
                yield found.resolve().relative_to(root)
                break


def main(root, *options):
    root = pathlib.Path(root).resolve()
    found = collections.defaultdict(set)
    for folder in {name.split("/")[0] for name in FOLDERS}:
        for path in sorted((root / folder).rglob("*")):
            path = path.relative_to(root)
            if path.suffix not in (".h", ".cpp"):
                continue
            for target in includes_of(root, path):
                found[folder_of(path), folder_of(target)].add(f"{path} includes {target}")
    if "--list" in options:
        for source, target in sorted(found, key=str):
            print(source, "->", target, len(found[source, target]))
        return 0
    faults = [line for (source, target), lines in found.items() for line in sorted(lines)
              if target != source and target not in FOLDERS.get(source, ())]
    unused = [f"no include from {source} to {target}: take the arrow out of the list"
              for source, targets in FOLDERS.items() for target in targets if (source, target) not in found]
    if ARROWS not in (root / "CONTRIBUTING.md").read_text(encoding="utf-8"):
        faults.append("CONTRIBUTING.md shows another list of arrows")
    if sum(map(len, found.values())) < 100:
        faults.append("hardly an include found")
    for line in faults + unused:
        print(line)
    return bool(faults or unused)


sys.exit(main(*sys.argv[1:]))
