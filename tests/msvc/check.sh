#!/bin/bash
# Compiles the public headers as the other Windows compilers read them, by Clang for their target, three
# times: to build the DLL, for a host of the DLL and for a host of the static library. Then looks at what
# the object file asks of the linker.
# Usage: check.sh <folder of the headers>
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
object=$(mktemp)
trap 'rm -f "$object"' EXIT
cd "$1"

Compile() { # Compile OPTION...
    clang++ --target=x86_64-pc-windows-msvc -std=c++20 -nostdinc -I "$here/system" -I . \
        -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror "$@" -c "$here/Host.cpp" -o "$object"
    undefined=$(nm "$object" | awk '$1 == "U" && /dsp@@|FFT|LRSpectrum|quietfloor_/ {print $2}')
    directives=$(objcopy -O binary --set-section-flags .drectve=alloc -j .drectve "$object" /dev/stdout | tr -d '\0')
}

Compile
grep -q '^__imp_' <<<"$undefined" || { echo "a host of the DLL imports nothing"; exit 1; }
! grep -v '^__imp_' <<<"$undefined" || { echo "a host of the DLL does not import these"; exit 1; }
Compile -D QUIETFLOOR_STATIC
! grep '^__imp_' <<<"$undefined$directives" || { echo "a host of the static library imports these"; exit 1; }
[[ $directives != *EXPORT* ]] || { echo "a host of the static library exports: $directives"; exit 1; }
Compile -D QUIETFLOOR_BUILDING
! grep '^__imp_' <<<"$undefined" || { echo "the library imports these of its own names"; exit 1; }
[[ $directives == *EXPORT*FFTWORKINGDATA* ]] || { echo "the library does not export its class"; exit 1; }

# The C interface, as C reads it.
clang --target=x86_64-pc-windows-msvc -std=c99 -nostdinc -I . -Wall -Wextra -Wpedantic -Werror -fsyntax-only \
    -x c lib/quietfloor.h
