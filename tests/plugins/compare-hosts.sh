#!/bin/bash
# SPDX-License-Identifier: MIT
# Sends a noisy file through the plug-ins in every host at hand and compares each result with the
# program's, which must not learn ahead as no plug-in can. A host that compensates the delay must give the very same
# stream in time.
# Usage: compare-hosts.sh <program> <folder of the LV2 bundle> <folder of the LADSPA plug-in>
set -euo pipefail
program=$1
export LV2_PATH=$2:/usr/lib/lv2 LADSPA_PATH=$3
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
failed=0
sox() { command sox -V1 "$@"; } # errors only

sox -R -n -r 48000 -c 2 -e float -b 32 tones.wav synth 5 sine 300-3000 sine 220 tremolo 3 vol 0.2
sox -R -n -r 48000 -c 2 -e float -b 32 noise.wav synth 5 whitenoise whitenoise vol 0.02
sox -m -v 1 tones.wav -v 1 noise.wav stereo.wav
sox stereo.wav mono.wav remix 1

RmsDb() { sox "$@" -n stats 2>&1 | awk '/RMS lev dB/ {print $4}'; }

# Check NAME REFERENCE RESULT DELAY: the result's samples from DELAY on are the reference's from the start.
Check() {
    sox "$3" late.wav trim "$4"s
    local length difference level
    length=$(soxi -V1 -s late.wav)
    sox "$2" wanted.wav trim 0 "$length"s
    level=$(RmsDb wanted.wav)
    difference=$(RmsDb -m -v 1 wanted.wav -v -1 late.wav)
    echo "$1: residual $difference dB to $level dB over $length samples"
    awk -v d="$difference" -v l="$level" -v n="$length" -v all="$(soxi -V1 -s "$2")" -v late="$4" \
        'BEGIN { exit !(l > -40 && (d == "-inf" || d < -100) && n == all - late) }' || failed=1
}

# In the order of the controls, with the delay that goes with them. The second set has a file that is
# reduced by the filter, and no default; the third has a delay longer than hosts' blocks.
names=(reduction offset sensitivity strength bandwidth fft-size knee release filter-mode estimator)
estimators=(gate log-spectral)
for settings in "20 2 2.5 30 100 512 14 140 0 0 512" "12 -1 5 60 50 2048 8 80 1 1 1920" \
    "30 -3 2.5 30 100 8192 12 140 0 0 6656"; do
    read -ra values <<<"$settings"
    delay=${values[-1]}
    unset 'values[-1]'
    options=(--learn off "--estimator=${estimators[${values[-1]}]}") lv2=() controls=() ladspa=()
    for i in "${!names[@]}"; do
        symbol=${names[i]//-/_}
        [[ ${names[i]} == estimator ]] || options+=("--${names[i]}=${values[i]}")
        lv2+=(-c "$symbol" "${values[i]}")
        controls+=("$symbol=${values[i]}")
        ladspa+=("c$i=${values[i]}")
    done
    joined=$(IFS='|'; echo "${controls[*]}") numbered=$(IFS='|'; echo "${ladspa[*]}")
    for kind in mono stereo; do
        rm -f wanted-$kind.wav
        "$program" "${options[@]}" $kind.wav wanted-$kind.wav
        lv2apply -i $kind.wav -o lv2apply.wav "${lv2[@]}" urn:quietfloor:$kind
        "$program" --force --link off "${options[@]}" $kind.wav apart-$kind.wav # as LADSPA's mono plug-ins do
        Check "lv2apply, $kind" wanted-$kind.wav lv2apply.wav "$delay"
        ffmpeg -v error -y -i $kind.wav -af "lv2=p=urn\\\\:quietfloor\\\\:$kind:c=$joined" -c:a pcm_f32le lv2.wav
        Check "FFmpeg lv2, $kind" wanted-$kind.wav lv2.wav "$delay"
        ffmpeg -v error -y -i $kind.wav -af "ladspa=quietfloor:quietfloor:c=$numbered:latency=1" \
            -c:a pcm_f32le ladspa.wav
        Check "FFmpeg ladspa, $kind" apart-$kind.wav ladspa.wav 0
        sox --buffer 65536 $kind.wav sox.wav ladspa -l -r quietfloor.so quietfloor "${values[@]}"
        Check "SoX ladspa, $kind" apart-$kind.wav sox.wav 0
    done
done
exit $failed
