/// Switches denormals off for the life of an object.
#ifndef QUIETFLOOR_FFT_ENGINE_DENORMALSCOPE_H
#define QUIETFLOOR_FFT_ENGINE_DENORMALSCOPE_H

#include <xmmintrin.h>

namespace FftEngine {

/// Sets flush-to-zero and denormals-are-zero for the calling thread and gives the caller's floating-point
/// mode back at the end. A decaying signal otherwise ends in denormals, which cost a hundred cycles each.
class DenormalScope {
public:
    DenormalScope() : callerMode(_mm_getcsr()) { _mm_setcsr(callerMode | flushToZero | denormalsAreZero); }
    ~DenormalScope() { _mm_setcsr(callerMode); }
    DenormalScope(const DenormalScope &) = delete;
    DenormalScope &operator=(const DenormalScope &) = delete;

private:
    static constexpr unsigned flushToZero = 0x8000;      // bit 15 of MXCSR: results
    static constexpr unsigned denormalsAreZero = 0x0040; // bit 6: operands
    unsigned callerMode;
};

} // namespace FftEngine

#endif
