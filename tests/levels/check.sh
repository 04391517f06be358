#!/bin/bash
# SPDX-License-Identifier: MIT
# Looks into the object files of the processor levels: each defines its three tables for other files to
# see and nothing else, for an inline function could be the one copy that the linker keeps for all
# levels; and none runs code at load, where the processor may not have the level's instructions.
# Usage: check.sh <nm> <objdump> <number of levels> <object file>...
set -euo pipefail
nm=$1 objdump=$2 levels=$3 failed=0 seen=0
shift 3

for object in "$@"; do
    [[ $object =~ /levels/([[:alnum:]]+)\.cpp\.o ]] || continue
    seen=$((seen + 1)) level=${BASH_REMATCH[1]}
    wanted=$(printf '%s\n' FftEngine::k${level}Kernels quietfloor::k${level}FrameKernels quietfloor::k${level}NoiseKernels)
    defined=$("$nm" -C --extern-only --defined-only "$object" | cut -d ' ' -f 3- | LC_ALL=C sort)
    diff --label "tables of $level" <(echo "$wanted") --label "$object" <(echo "$defined") || failed=1
    if "$objdump" -h "$object" | grep -E '\.(init_array|ctors|preinit_array)'; then
        echo "$object runs code at load"
        failed=1
    fi
done
(( seen == levels )) || { echo "saw $seen levels, not $levels"; failed=1; }
exit $failed
