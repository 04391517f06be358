// SPDX-License-Identifier: MIT
/// From samples to a windowed frame and back into the stream, over the level's vectors.
#ifndef QUIETFLOOR_DSP_KERNELS_WINDOWING_H
#define QUIETFLOOR_DSP_KERNELS_WINDOWING_H

#include "simd/Vector.h"

namespace {

// The frame is double from here to the overlapping sums: samples are widened as they are read.
template <class V>
void ApplyWindow(const float *samples, const double *window, double *frame, int count) {
    const ConstFloatRow<V> x{samples};
    const ConstRow<V> w{window};
    const RowOf<V> windowed{frame};
    for (int i = 0; i < count; i += V::lanes)
        windowed[i] = x[i] * w[i];
}

// The output's floats end at 3e38, which a product of doubles may pass.
template <class V>
V LimitedOutput(V sample) {
    constexpr double highest = 1e36; // overlapping sums of it still fit a float
    return Max(Min(sample, highest), -highest);
}

// output += frame * weight. The products are rounded first: the sum is one of floats, like its row.
template <class F, class V>
void AddWeighted(const double *frame, const double *weight, float *output, int count) {
    const ConstRow<V> x{frame}, w{weight};
    const RowOf<F> sum{output};
    for (int i = 0; i < count; i += F::lanes) {
        const V low = x[i] * w[i];
        const V high = x[i + V::lanes] * w[i + V::lanes];
        sum[i] = sum[i] + Narrow(LimitedOutput(low), LimitedOutput(high));
    }
}

} // namespace

#endif
