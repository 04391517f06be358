// SPDX-License-Identifier: MIT
// The level of processors with AVX2 and FMA.
#include "simd/Vector.h"

#include "dsp/kernels/FrameTable.h"
#include "fft/kernels/EngineTable.h"
#include "noise/kernels/NoiseTable.h"

namespace {
using VectorF = Vector<float, 8>;
using VectorD = Vector<double, 4>;
} // namespace

namespace FftEngine {
constinit const EngineKernels kAvx2Kernels = EngineKernelsOver<VectorF, VectorF, VectorD>();
}

namespace quietfloor {
constinit const FrameKernels kAvx2FrameKernels = FrameKernelsOver<VectorF, VectorD>();
constinit const NoiseKernels kAvx2NoiseKernels = NoiseKernelsOver<VectorF, VectorD>();
} // namespace quietfloor
