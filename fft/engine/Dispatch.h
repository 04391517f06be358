/// Which processor level runs.
#ifndef QUIETFLOOR_FFT_ENGINE_DISPATCH_H
#define QUIETFLOOR_FFT_ENGINE_DISPATCH_H

#include "fft/engine/EngineKernels.h"

namespace FftEngine {

inline constexpr std::int32_t kDispatchSlots = 6;

/// The slot of every operation's table that is called. It is 0 until this file's statics are
/// constructed, at load; from then on the best slot that the machine runs and the build allows. What was
/// prepared before keeps the level it was prepared for.
extern constinit std::int32_t CpuDispatchIndex;

/// The best slot that the machine runs and the build allows.
std::int32_t HighestSlot();

/// The kernels behind a slot.
const EngineKernels &KernelsOfSlot(std::int32_t slot);

/// Sets the dispatch index for its life, for tests and benchmarks: the library itself never does.
/// `slot` is at most HighestSlot(), and no other thread uses the engine meanwhile.
class DispatchScope {
public:
    explicit DispatchScope(std::int32_t slot) : slotBefore(CpuDispatchIndex) { CpuDispatchIndex = slot; }
    ~DispatchScope() { CpuDispatchIndex = slotBefore; }
    DispatchScope(const DispatchScope &) = delete;
    DispatchScope &operator=(const DispatchScope &) = delete;

private:
    std::int32_t slotBefore;
};

} // namespace FftEngine

#endif
