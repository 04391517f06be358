// SPDX-License-Identifier: MIT
// The level that every processor runs.
#include "simd/Vector.h"

#include "dsp/kernels/FrameTable.h"
#include "fft/kernels/EngineTable.h"
#include "noise/kernels/NoiseTable.h"

namespace {
using VectorF = Vector<float, 4>;
using VectorD = Vector<double, 2>;
} // namespace

namespace FftEngine {
constinit const EngineKernels kPortableKernels = EngineKernelsOver<VectorF, VectorF, VectorD>();
}

namespace quietfloor {
constinit const FrameKernels kPortableFrameKernels = FrameKernelsOver<VectorF, VectorD>();
constinit const NoiseKernels kPortableNoiseKernels = NoiseKernelsOver<VectorF, VectorD>();
} // namespace quietfloor
