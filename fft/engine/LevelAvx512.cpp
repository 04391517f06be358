// The level of processors with AVX-512 F, DQ and VL, and AVX2 and FMA.
#include "fft/engine/VectorAvx512.h"

#include "fft/engine/LevelTable.h"
#include "fft/engine/PerBinTable.h"

namespace FftEngine {

constinit const EngineKernels kAvx512Kernels = EngineKernelsOver<VectorF, VectorF256, VectorD>("avx512");
constinit const PerBinKernels kAvx512PerBinKernels = PerBinKernelsOver<VectorF, VectorD>();

} // namespace FftEngine
