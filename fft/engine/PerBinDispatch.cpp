#include "fft/engine/Dispatch.h"
#include "fft/engine/PerBinKernels.h"

namespace FftEngine {

const PerBinKernels &SelectedPerBinKernels() { return kGenericPerBinKernels; }

} // namespace FftEngine
