// SPDX-License-Identifier: MIT
/// The FFT engine: complex transforms of split data, their specs, an aligned allocator and two vector
/// primitives. Every operation goes through a table of six slots, one per processor level.
///
/// Data      A sequence of N = 2^order complex values lies in two arrays, real and imaginary parts.
///           Source and destination may be the same arrays; other overlap is not allowed. No
///           alignment is required.
/// Threads   No locks. A spec is read-only for transforms and may be shared; each concurrent
///           transform needs a work buffer of its own, or a null one.
/// Memory    Init and Free use `EngineMalloc` and `EngineFree`; a transform given a work buffer
///           allocates nothing. No operation throws.
#ifndef QUIETFLOOR_FFT_ENGINE_FFTENGINE_H
#define QUIETFLOOR_FFT_ENGINE_FFTENGINE_H

#include <cstdint>

namespace FftEngine {

using EngineStatus = std::int32_t;
inline constexpr EngineStatus kEngineOk = 0;
inline constexpr EngineStatus kEngineSizeError = -6;
inline constexpr EngineStatus kEngineNullPointer = -8;
inline constexpr EngineStatus kEngineOutOfMemory = -9;
inline constexpr EngineStatus kEngineBadOrder = -15;
inline constexpr EngineStatus kEngineBadFlag = -16;
inline constexpr EngineStatus kEngineWrongSpecKind = -17;

// Scaling of a spec: which direction is divided by N, or both by sqrt(N), or neither.
inline constexpr std::int32_t kScaleForwardByN = 1;
inline constexpr std::int32_t kScaleInverseByN = 2;
inline constexpr std::int32_t kScaleBySqrtN = 4;
inline constexpr std::int32_t kScaleNone = 8;

// Accepted and kept; every transform takes the accurate path.
inline constexpr std::int32_t kHintFast = 1;
inline constexpr std::int32_t kHintAccurate = 2;

inline constexpr std::int32_t kMaxOrder32f = 28;
inline constexpr std::int32_t kMaxOrder64f = 27;

struct FftSpec32f;
struct FftSpec64f;

/// A block of at least `bytes` bytes, aligned to 32; null if `bytes` <= 0 or memory runs out.
void *EngineMalloc(std::int32_t bytes);
/// Releases a block of `EngineMalloc`; null is ignored.
void EngineFree(void *block);

/// Makes a spec for 2^order points: orders 0 to 28 in float, 0 to 27 in double. `*spec` is written
/// only on success. kEngineBadOrder, kEngineBadFlag, kEngineNullPointer, kEngineOutOfMemory.
EngineStatus FFTInitComplex32f(FftSpec32f **spec, std::int32_t order, std::int32_t flag, std::int32_t hint);
EngineStatus FFTInitComplex64f(FftSpec64f **spec, std::int32_t order, std::int32_t flag, std::int32_t hint);

/// Releases a spec. kEngineNullPointer, kEngineWrongSpecKind.
EngineStatus FFTFreeComplex32f(FftSpec32f *spec);
EngineStatus FFTFreeComplex64f(FftSpec64f *spec);

/// Bytes that a transform's work buffer must have; 0 for orders 0 to 5, which need none.
EngineStatus FFTGetBufSize32f(const FftSpec32f *spec, std::int32_t *bytes);
EngineStatus FFTGetBufSize64f(const FftSpec64f *spec, std::int32_t *bytes);

/// X[k] = s sum x[n] e^(-2 pi i k n / N); s is 1 unless the spec scales this direction. With a null
/// work buffer one is allocated for the call (kEngineOutOfMemory: nothing written). A null or wrong
/// spec or a null array is reported and nothing is written.
EngineStatus FFTForwardComplex32f(const float *srcRe, const float *srcIm, float *dstRe, float *dstIm,
                                  const FftSpec32f *spec, std::uint8_t *workBuffer);
EngineStatus FFTForwardComplex64f(const double *srcRe, const double *srcIm, double *dstRe, double *dstIm,
                                  const FftSpec64f *spec, std::uint8_t *workBuffer);

/// x[n] = s sum X[k] e^(+2 pi i k n / N); otherwise as forward. Unscaled, inverse(forward(x)) = N x.
EngineStatus FFTInverseComplex32f(const float *srcRe, const float *srcIm, float *dstRe, float *dstIm,
                                  const FftSpec32f *spec, std::uint8_t *workBuffer);
EngineStatus FFTInverseComplex64f(const double *srcRe, const double *srcIm, double *dstRe, double *dstIm,
                                  const FftSpec64f *spec, std::uint8_t *workBuffer);

/// dst[k] = sqrt(re[k]^2 + im[k]^2), k < len. kEngineNullPointer, kEngineSizeError (len < 1).
EngineStatus MagnitudeSplit32f(const float *re, const float *im, float *dst, std::int32_t len);

/// Sample standard deviation (divisor len - 1) with double sums; never NaN for finite input.
/// kEngineNullPointer, kEngineSizeError (len < 2). The hint makes no difference.
EngineStatus StdDev32f(const float *src, std::int32_t len, float *dst, std::int32_t hint);

} // namespace FftEngine

#endif
