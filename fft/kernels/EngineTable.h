// SPDX-License-Identifier: MIT
/// Builds a level's kernel table out of its vector types.
#ifndef QUIETFLOOR_FFT_KERNELS_ENGINETABLE_H
#define QUIETFLOOR_FFT_KERNELS_ENGINETABLE_H

#include "fft/kernels/BlockedTransform.h"
#include "fft/kernels/VectorPrimitives.h"

namespace {

template <class Real, class Wide, class Narrow>
constexpr FftEngine::TransformKernels<Real> TransformKernelsOver() {
    return {{SmallTransform<0, false, Real>, SmallTransform<1, false, Real>, SmallTransform<2, false, Real>,
             SmallTransform<3, false, Real>, SmallTransform<4, false, Real>, SmallTransform<5, false, Real>},
            {SmallTransform<0, true, Real>, SmallTransform<1, true, Real>, SmallTransform<2, true, Real>,
             SmallTransform<3, true, Real>, SmallTransform<4, true, Real>, SmallTransform<5, true, Real>},
            vectorRegisters == 32,
            ShapeOver<Wide, Narrow>,
            RowTransform<Wide, Narrow, Real>,
            BlockedTransform<Wide, Narrow, Real>};
}

/// NarrowF serves the float transforms that are too short for F.
template <class F, class NarrowF, class D>
constexpr FftEngine::EngineKernels EngineKernelsOver() {
    return {TransformKernelsOver<float, F, NarrowF>(), TransformKernelsOver<double, D, D>(), Magnitude<F, D>,
            MomentsAround<F, D>};
}

} // namespace

#endif
