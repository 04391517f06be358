// The level that every 64-bit x86 processor runs.
#include "fft/engine/VectorSse2.h"

#include "fft/engine/LevelTable.h"

namespace FftEngine {

constinit const EngineKernels kGenericKernels = EngineKernelsOver<VectorF, VectorF, VectorD>("generic");

} // namespace FftEngine
