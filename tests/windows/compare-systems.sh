#!/bin/bash
# Sends the same streams through the Windows build, under Wine, and through the one for this system, at
# every processor level, and fails if the two differ by more than their C libraries account for:
# the generators are others, and a few in a thousand results of cos, sin, exp, log and pow differ in the
# last bit (log10: 3 in 100, by up to two units in the last place; the multiples of pi/2 by 1e-20).
# Usage: compare-systems.sh <folder of the Windows build>
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
windows=$(cd "$1" && pwd)
native=$root/build/test/release streams=$windows/streams

cd "$root"
cmake --preset release -B "$native" -D CMAKE_CXX_COMPILER=g++ -D QUIETFLOOR_LEVEL=best \
    -D QUIETFLOOR_WERROR=ON >/dev/null
cmake --build "$native" -j "$(nproc)" --target SystemStreams
rm -rf "$streams"
mkdir "$streams"
"$native/tests/SystemStreams" write "$streams"
/usr/lib/wine/wine64 "$windows/tests/SystemStreams.exe" compare "$streams"
rm -r "$streams"
