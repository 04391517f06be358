// SPDX-License-Identifier: MIT
#include "fft/FFT.h"

namespace dsp {

// Assignment is defaulted here and not in the header: it then exists, and is exported, in any build.
#define QUIETFLOOR_FFT_RECORD(Name)                                                                          \
    Name &Name::operator=(const Name &) = default;                                                           \
    std::int32_t Name::GetSize() const { return size; }

QUIETFLOOR_FFT_RECORD(IppFFT)
QUIETFLOOR_FFT_RECORD(IppFFT32)
QUIETFLOOR_FFT_RECORD(IppFFT32fReal)
QUIETFLOOR_FFT_RECORD(IppFFT64fReal)

} // namespace dsp
