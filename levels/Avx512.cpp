// SPDX-License-Identifier: MIT
// The level of processors with AVX-512 F, DQ and VL, and AVX2 and FMA.
#include "simd/Vector.h"

#include "dsp/kernels/FrameTable.h"
#include "fft/kernels/EngineTable.h"
#include "noise/kernels/NoiseTable.h"

namespace {
using VectorF = Vector<float, 16>;
using ShortVectorF = Vector<float, 8>;
using VectorD = Vector<double, 8>;
} // namespace

namespace FftEngine {
constinit const EngineKernels kAvx512Kernels = EngineKernelsOver<VectorF, ShortVectorF, VectorD>();
}

namespace quietfloor {
constinit const FrameKernels kAvx512FrameKernels = FrameKernelsOver<VectorF, VectorD>();
constinit const NoiseKernels kAvx512NoiseKernels = NoiseKernelsOver<VectorF, VectorD>();
} // namespace quietfloor
