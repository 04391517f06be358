// SPDX-License-Identifier: MIT
/// The bodies behind the fourteen operations: checks, memory and the choice of kernel.
///
/// A transform runs the kernels that its spec was laid out for, whatever the dispatch index; Init and
/// the two vector primitives take those of the level that they are instantiated with.
#ifndef QUIETFLOOR_FFT_ENGINE_OPERATIONS_H
#define QUIETFLOOR_FFT_ENGINE_OPERATIONS_H

#include "fft/engine/SpecRecord.h"

namespace FftEngine {

EngineStatus InitSpec(FftSpec32f **spec, std::int32_t order, std::int32_t flag, std::int32_t hint,
                      const EngineKernels &kernels);
EngineStatus InitSpec(FftSpec64f **spec, std::int32_t order, std::int32_t flag, std::int32_t hint,
                      const EngineKernels &kernels);
EngineStatus FreeSpec(FftSpec32f *spec);
EngineStatus FreeSpec(FftSpec64f *spec);
EngineStatus WorkBufferBytes(const FftSpec32f *spec, std::int32_t *bytes);
EngineStatus WorkBufferBytes(const FftSpec64f *spec, std::int32_t *bytes);

EngineStatus TransformForward(const float *srcRe, const float *srcIm, float *dstRe, float *dstIm,
                              const FftSpec32f *spec, std::uint8_t *workBuffer);
EngineStatus TransformForward(const double *srcRe, const double *srcIm, double *dstRe, double *dstIm,
                              const FftSpec64f *spec, std::uint8_t *workBuffer);
EngineStatus TransformInverse(const float *srcRe, const float *srcIm, float *dstRe, float *dstIm,
                              const FftSpec32f *spec, std::uint8_t *workBuffer);
EngineStatus TransformInverse(const double *srcRe, const double *srcIm, double *dstRe, double *dstIm,
                              const FftSpec64f *spec, std::uint8_t *workBuffer);

EngineStatus MagnitudeSplit(const float *re, const float *im, float *dst, std::int32_t len,
                            const EngineKernels &kernels);
EngineStatus StandardDeviation(const float *src, std::int32_t len, float *dst, const EngineKernels &kernels);

} // namespace FftEngine

#endif
