// The level of processors with AVX2 and FMA.
#include "fft/engine/VectorAvx2.h"

#include "fft/engine/LevelTable.h"
#include "fft/engine/PerBinTable.h"

namespace FftEngine {

constinit const EngineKernels kAvx2Kernels = EngineKernelsOver<VectorF, VectorF, VectorD>("avx2");
constinit const PerBinKernels kAvx2PerBinKernels = PerBinKernelsOver<VectorF, VectorD>();

} // namespace FftEngine
