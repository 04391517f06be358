// SPDX-License-Identifier: MIT
/// Switches denormals off for the life of an object.
#ifndef QUIETFLOOR_SIMD_DENORMALSCOPE_H
#define QUIETFLOOR_SIMD_DENORMALSCOPE_H

#if defined(__x86_64__)
#include <xmmintrin.h>
#else
#include <cstdint>
#endif

namespace quietfloor {

/// A thread's floating-point mode, in the form of its processor's control register, and the bits of it
/// that take denormals for 0, as operands and as results. Other processors have no such bits.
#if defined(__x86_64__)
using FloatMode = unsigned;
inline FloatMode GetFloatMode() { return _mm_getcsr(); }
inline void SetFloatMode(FloatMode mode) { _mm_setcsr(mode); }
inline constexpr FloatMode kWithoutDenormals = 1u << 15 | 1u << 6; // of MXCSR: results, operands
#elif defined(__aarch64__)
using FloatMode = std::uint64_t;
inline FloatMode GetFloatMode() {
    FloatMode mode;
    asm volatile("mrs %0, fpcr" : "=r"(mode));
    return mode;
}
inline void SetFloatMode(FloatMode mode) { asm volatile("msr fpcr, %0" : : "r"(mode)); }
inline constexpr FloatMode kWithoutDenormals = 1u << 24; // of FPCR: FZ, both
#else
using FloatMode = std::uint32_t;
inline FloatMode GetFloatMode() { return 0; }
inline void SetFloatMode(FloatMode) {}
inline constexpr FloatMode kWithoutDenormals = 0;
#endif

/// Takes denormals for 0 in the calling thread and gives the caller's floating-point mode back at the end.
/// A decaying signal otherwise ends in denormals, which cost a hundred cycles each.
class DenormalScope {
public:
    DenormalScope() : callerMode(GetFloatMode()) { SetFloatMode(callerMode | kWithoutDenormals); }
    ~DenormalScope() { SetFloatMode(callerMode); }
    DenormalScope(const DenormalScope &) = delete;
    DenormalScope &operator=(const DenormalScope &) = delete;

private:
    FloatMode callerMode;
};

} // namespace quietfloor

#endif
