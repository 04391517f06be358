#include "fft/engine/Dispatch.h"
#include "fft/engine/PerBinKernels.h"

namespace FftEngine {
namespace {

constexpr const PerBinKernels *kernelsOfSlot[kDispatchSlots] = {
    &kGenericPerBinKernels, &kGenericPerBinKernels, &kGenericPerBinKernels,
    &kGenericPerBinKernels, &kAvx2PerBinKernels,    &kAvx512PerBinKernels,
};

} // namespace

const PerBinKernels &SelectedPerBinKernels() { return *kernelsOfSlot[CpuDispatchIndex]; }

} // namespace FftEngine
