// SPDX-License-Identifier: MIT
/// The low-pass of levels and magnitudes, over the level's vectors.
#ifndef QUIETFLOOR_NOISE_KERNELS_LOWPASS_H
#define QUIETFLOOR_NOISE_KERNELS_LOWPASS_H

#include "noise/Tuning.h"
#include "simd/Inline.h"

namespace {

// One frame of w = x - a1 w', y = b0 w + b1 w'; `state` is w.
template <class V>
QUIETFLOOR_INLINE V LowPass(V x, V &state) {
    const V previous = state;
    state = NegMulAdd(quietfloor::tuning::lowPassA1, previous, x);
    return MulAdd(quietfloor::tuning::lowPassB0, state, quietfloor::tuning::lowPassB1 * previous);
}

} // namespace

#endif
