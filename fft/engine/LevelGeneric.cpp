// The level that every 64-bit x86 processor runs.
#include "fft/engine/VectorSse2.h"

#include "fft/engine/LevelTable.h"
#include "fft/engine/PerBinTable.h"

namespace FftEngine {

constinit const EngineKernels kGenericKernels = EngineKernelsOver<VectorF, VectorF, VectorD>("generic");
constinit const PerBinKernels kGenericPerBinKernels = PerBinKernelsOver<VectorF, VectorD>();

} // namespace FftEngine
