// SPDX-License-Identifier: MIT
#include "dsp/kernels/FrameKernels.h"

#include "simd/LevelIndex.h"

namespace quietfloor {
namespace {

constexpr const FrameKernels *kernelsOfSlot[kDispatchSlots] =
    QUIETFLOOR_BY_SLOT(kPortableFrameKernels, kAvx2FrameKernels, kAvx512FrameKernels);

} // namespace

const FrameKernels &SelectedFrameKernels() { return *kernelsOfSlot[CpuDispatchIndex]; }

} // namespace quietfloor
