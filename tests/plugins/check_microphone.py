#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares PipeWire's example with the plug-in: its label, all of its controls, each value within its bounds.

Usage: analyseplugin <plug-in> | check_microphone.py <the configuration as JSON>
"""

import json
import re
import sys

plugin = sys.stdin.read()
label = re.search('Plugin Label: "(.*)"', plugin)[1]
controls = {}
for name, rest in re.findall(r'"(.*)" input, control(.*)', plugin):
    bounds = re.search(r", (\S+) to ([^\s,]+)", rest)
    controls[name] = (float(bounds[1]), float(bounds[2])) if bounds else (0, 1)

with open(sys.argv[1]) as file:
    (module,) = json.load(file)["context.modules"]
(node,) = module["args"]["filter.graph"]["nodes"]
assert module["name"] == "libpipewire-module-filter-chain", module["name"]
assert (node["type"], node["label"]) == ("ladspa", label), node
assert node["control"].keys() == controls.keys() and controls, (node["control"], controls)
for name, value in node["control"].items():
    low, high = controls[name]
    assert low <= value <= high, f"{name}: {value} is not in {low} to {high}"
print(f"the example sets all {len(controls)} controls of {label}")
