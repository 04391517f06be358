#!/bin/bash
# SPDX-License-Identifier: MIT
# Compares what a shared library exports with the checked-in list, and fails on any difference.
# Usage: check.sh <library> <list> [prefix of the binary tools, as in x86_64-w64-mingw32-]
# The list calls the 32-bit integer of the transform routines Int32: `int`, or `long` on Windows. The
# name of a type goes with its type information, and only ELF exports it on its own.
set -euo pipefail
library=$1 list=$2 tools=${3-}

if [[ $library == *.dll ]]; then
    integer=long
    Names() { "${tools}objdump" -p "$library" | awk '/Ordinal\/Name Pointer/ {on = 1; next} !NF {on = 0} on {print $NF}'; }
else
    integer=int
    # Absolute symbols are the version nodes themselves.
    Names() { "${tools}nm" -D --defined-only --without-symbol-versions "$library" | awk '$2 != "A" {print $NF}'; }
fi

exported=$(Names | "${tools}c++filt" | sed 's/^typeinfo name for/typeinfo for/' | LC_ALL=C sort -u)
wanted=$(sed "s/Int32/$integer/g" "$list" | LC_ALL=C sort -u)
diff --label "$list" <(echo "$wanted") --label "$library" <(echo "$exported")
