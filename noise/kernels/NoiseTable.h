// SPDX-License-Identifier: MIT
/// Builds a level's table of noise kernels out of its vector types.
#ifndef QUIETFLOOR_NOISE_KERNELS_NOISETABLE_H
#define QUIETFLOOR_NOISE_KERNELS_NOISETABLE_H

#include "noise/kernels/Gain.h"
#include "noise/kernels/LogSpectral.h"
#include "noise/kernels/Modulation.h"
#include "noise/kernels/Tracker.h"

namespace {

template <class F, class D>
constexpr quietfloor::NoiseKernels NoiseKernelsOver() {
    return {FollowReference<D>,    Spread<D, 1>,   Spread<D, -1>,     SquaredExcess<D>,
            SmoothGain<D>,         ShapeOutput<D>, FollowLevel<D>,    ShareEvidence<D>,
            MoveFloors<D>,         CountFloors<D>, FeedModulation<D>, TransformModulation<F>,
            ScoreModulation<F, D>, FollowNoise<D>, EstimateGain<D>,   BlendGain<D>};
}

} // namespace

#endif
