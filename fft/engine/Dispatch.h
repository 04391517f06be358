/// Which processor level runs.
#ifndef QUIETFLOOR_FFT_ENGINE_DISPATCH_H
#define QUIETFLOOR_FFT_ENGINE_DISPATCH_H

#include "fft/engine/EngineKernels.h"

namespace FftEngine {

inline constexpr std::int32_t kDispatchSlots = 6;

/// The slot of every operation's table that is called: 0, the generic body. Constant from load on.
extern constinit std::int32_t CpuDispatchIndex;

/// The kernels behind a slot.
const EngineKernels &KernelsOfSlot(std::int32_t slot);

} // namespace FftEngine

#endif
