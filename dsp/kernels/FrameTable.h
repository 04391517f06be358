// SPDX-License-Identifier: MIT
/// Builds a level's table of frame kernels out of its vector types.
#ifndef QUIETFLOOR_DSP_KERNELS_FRAMETABLE_H
#define QUIETFLOOR_DSP_KERNELS_FRAMETABLE_H

#include "dsp/kernels/Packing.h"
#include "dsp/kernels/Windowing.h"

namespace {

template <class F, class D>
constexpr quietfloor::FrameKernels FrameKernelsOver() {
    return {ApplyWindow<D>,       SplitPackedSpectrum<D>, PackRealInverse<D>,
            InterleaveSamples<D>, AddWeighted<F, D>,      LevelsDb<D>};
}

} // namespace

#endif
