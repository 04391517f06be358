#!/bin/bash
# SPDX-License-Identifier: MIT
# Fails if a Windows binary asks for more than the system's own libraries: what comes with a compiler is
# linked in.
# Usage: check-imports.sh <DLL or program>...
set -euo pipefail
failed=0
for binary in "$@"; do
    imported=$(x86_64-w64-mingw32-objdump -p "$binary" | awk '/DLL Name:/ {print $3}')
    [[ -n $imported ]] || { echo "$binary: no import table"; failed=1; }
    if grep -vixE 'kernel32\.dll|msvcrt\.dll' <<<"$imported"; then
        echo "$binary asks for these"
        failed=1
    fi
done
exit $failed
