// SPDX-License-Identifier: MIT
#include "noise/kernels/NoiseKernels.h"

#include "simd/LevelIndex.h"

namespace quietfloor {
namespace {

constexpr const NoiseKernels *kernelsOfSlot[kDispatchSlots] =
    QUIETFLOOR_BY_SLOT(kPortableNoiseKernels, kAvx2NoiseKernels, kAvx512NoiseKernels);

} // namespace

const NoiseKernels &SelectedNoiseKernels() { return *kernelsOfSlot[CpuDispatchIndex]; }

} // namespace quietfloor
