#!/bin/bash
# SPDX-License-Identifier: MIT
# Looks at what hosts find of the plug-ins before they run them: the exported names, the description of the
# bundle by the schemas of the format, the presets, and PipeWire's example against the plug-in's controls.
# Usage: check-files.sh <LV2 bundle> <LADSPA plug-in> <PipeWire configuration>
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
bundle=$1 ladspa=$2 microphone=$3
Fail() { echo "$*" >&2; exit 1; }

for expected in "$bundle/quietfloor.so lv2_descriptor" "$ladspa ladspa_descriptor"; do
    read -r file name <<<"$expected"
    exported=$(nm -D --defined-only "$file" | awk '{print $NF}')
    [[ $exported == "$name" ]] || Fail "$file exports: $exported"
done

mapfile -t schemas < <(find /usr/lib/lv2 -name '*.ttl')
(( ${#schemas[@]} > 20 )) || Fail "the schemas of LV2 are not where they should be"
# It exits with 0 whatever it finds.
report=$(sord_validate "${schemas[@]}" "$bundle"/*.ttl 2>&1) || true
echo "$report"
[[ $report == "Found 0 errors among "* ]] || Fail "the bundle's description is not valid"

# All that the manifest promises is found by a host, for both kinds.
export LV2_PATH=$bundle/..:/usr/lib/lv2
for kind in mono stereo; do
    info=$(lv2info urn:quietfloor:$kind)
    for wanted in "Has latency: *yes" "worker#schedule" "lv2core#hardRTCapable" "Designation: .*#latency" \
        "Designation: .*#enabled" "Maximum: *16384" "Presets:" "Speech"; do
        grep -q "$wanted" <<<"$info" || Fail "lv2info of $kind does not say: $wanted"
    done
    ! grep -q "Required Features" <<<"$info" || Fail "$kind requires a feature"
done

analyseplugin "$ladspa" | "$here/check_microphone.py" <(spa-json-dump "$microphone")
