#!/bin/bash
# SPDX-License-Identifier: MIT
# Writes the streams of SystemStreams by the build for this system, at every processor level, and has another
# system's build compare its own with them. Two systems differ by their C libraries, whose generators are
# others (glibc's is the same on all processors) and a few in a thousand of whose results of cos, sin, exp,
# log and pow differ in the last bit (log10: 3 in 100, by up to two units in the last place; the multiples
# of pi/2 by 1e-20); two processors by whether products and sums are rounded once or twice.
# Usage: compare-streams.sh <worst and median distance in dB, -inf for the same bits> <the other system's
#        SystemStreams, and ahead of it what runs it>...
set -euo pipefail
worst=$1 median=$2
shift 2
cd "$(dirname "$0")/../.."

native=build/test/release
cmake --preset release -B "$native" -D CMAKE_CXX_COMPILER=g++ -D QUIETFLOOR_LEVEL=best \
    -D QUIETFLOOR_WERROR=ON >/dev/null
cmake --build "$native" -j "$(nproc)" --target SystemStreams
streams=$(mktemp -d)
trap 'rm -r "$streams"' EXIT
"$native/tests/SystemStreams" write "$streams"
"$@" compare "$streams" "$worst" "$median"
