#!/bin/bash
# SPDX-License-Identifier: MIT
# The stack of 64-bit Windows is aligned to 16 bytes only, so that an aligned move of a wider vector to or
# from it may fault: fails on any in the object files of the processor levels.
# Usage: check-stack-moves.sh <object file>...
set -euo pipefail
failed=0 seen=0
for object in "$@"; do
    [[ $object =~ (Avx2|Avx512)\.cpp\.obj ]] || continue
    code=$(x86_64-w64-mingw32-objdump -d --no-show-raw-insn "$object")
    seen=$((seen + $(grep -cE 'vmovu.*%[yz]mm.*\(%r[sb]p' <<<"$code" || true)))
    if grep -E 'vmov(ap|dqa|ntdq).*%[yz]mm.*\(%r[sb]p|vmov(ap|dqa|ntdq).*\(%r[sb]p.*%[yz]mm' <<<"$code"; then
        echo "$object moves these as if the stack were aligned"
        failed=1
    fi
done
(( seen )) || { echo "saw no move of a wide vector to the stack"; failed=1; }
exit $failed
