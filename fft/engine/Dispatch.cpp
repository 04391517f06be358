// SPDX-License-Identifier: MIT
#include "fft/engine/Allocator.h"
#include "fft/engine/Operations.h"
#include "simd/LevelIndex.h"

using quietfloor::CpuDispatchIndex;
using quietfloor::kDispatchSlots;

namespace FftEngine {
namespace {

constexpr const EngineKernels *kernelsOfSlot[kDispatchSlots] =
    QUIETFLOOR_BY_SLOT(kPortableKernels, kAvx2Kernels, kAvx512Kernels);

template <class Function>
struct Table {
    Function *slots[kDispatchSlots];

    Function *Chosen() const { return slots[CpuDispatchIndex]; }
};

// The same body for all levels.
template <class Function>
constexpr Table<Function> Same(Function *body) {
    return {{body, body, body, body, body, body}};
}

template <int slot, class Spec>
EngineStatus InitAtSlot(Spec **spec, std::int32_t order, std::int32_t flag, std::int32_t hint) {
    return InitSpec(spec, order, flag, hint, *kernelsOfSlot[slot]);
}

template <int slot>
EngineStatus MagnitudeAtSlot(const float *re, const float *im, float *dst, std::int32_t len) {
    return MagnitudeSplit(re, im, dst, len, *kernelsOfSlot[slot]);
}

// Every hint takes the path with double sums.
template <int slot>
EngineStatus StdDevAtSlot(const float *src, std::int32_t len, float *dst, std::int32_t) {
    return StandardDeviation(src, len, dst, *kernelsOfSlot[slot]);
}

template <class Spec>
using InitFunction = EngineStatus(Spec **, std::int32_t, std::int32_t, std::int32_t);
template <class Spec>
using FreeFunction = EngineStatus(Spec *);
template <class Spec>
using BufSizeFunction = EngineStatus(const Spec *, std::int32_t *);
template <class Spec, class Real>
using TransformFunction = EngineStatus(const Real *, const Real *, Real *, Real *, const Spec *,
                                       std::uint8_t *);

constexpr auto freeTable = Same<void(void *)>(FreeAligned);
constexpr auto fftFree32fTable = Same<FreeFunction<FftSpec32f>>(FreeSpec);
constexpr auto mallocTable = Same<void *(std::int32_t)>(AllocateAligned);
constexpr auto fftForward64fTable = Same<TransformFunction<FftSpec64f, double>>(TransformForward);
constexpr auto fftGetBufSize64fTable = Same<BufSizeFunction<FftSpec64f>>(WorkBufferBytes);
constexpr Table<InitFunction<FftSpec64f>> fftInit64fTable = {
    {InitAtSlot<0>, InitAtSlot<1>, InitAtSlot<2>, InitAtSlot<3>, InitAtSlot<4>, InitAtSlot<5>}};
constexpr auto fftForward32fTable = Same<TransformFunction<FftSpec32f, float>>(TransformForward);
constexpr auto fftInverse64fTable = Same<TransformFunction<FftSpec64f, double>>(TransformInverse);
constexpr auto fftInverse32fTable = Same<TransformFunction<FftSpec32f, float>>(TransformInverse);
constexpr auto fftGetBufSize32fTable = Same<BufSizeFunction<FftSpec32f>>(WorkBufferBytes);
constexpr Table<InitFunction<FftSpec32f>> fftInit32fTable = {
    {InitAtSlot<0>, InitAtSlot<1>, InitAtSlot<2>, InitAtSlot<3>, InitAtSlot<4>, InitAtSlot<5>}};
constexpr auto fftFree64fTable = Same<FreeFunction<FftSpec64f>>(FreeSpec);
constexpr Table<EngineStatus(const float *, const float *, float *, std::int32_t)> magnitudeTable = {
    {MagnitudeAtSlot<0>, MagnitudeAtSlot<1>, MagnitudeAtSlot<2>, MagnitudeAtSlot<3>, MagnitudeAtSlot<4>,
     MagnitudeAtSlot<5>}};
constexpr Table<EngineStatus(const float *, std::int32_t, float *, std::int32_t)> stdDevTable = {
    {StdDevAtSlot<0>, StdDevAtSlot<1>, StdDevAtSlot<2>, StdDevAtSlot<3>, StdDevAtSlot<4>, StdDevAtSlot<5>}};

} // namespace

void EngineFree(void *block) { freeTable.Chosen()(block); }

EngineStatus FFTFreeComplex32f(FftSpec32f *spec) { return fftFree32fTable.Chosen()(spec); }

void *EngineMalloc(std::int32_t bytes) { return mallocTable.Chosen()(bytes); }

EngineStatus FFTForwardComplex64f(const double *srcRe, const double *srcIm, double *dstRe, double *dstIm,
                                  const FftSpec64f *spec, std::uint8_t *workBuffer) {
    return fftForward64fTable.Chosen()(srcRe, srcIm, dstRe, dstIm, spec, workBuffer);
}

EngineStatus FFTGetBufSize64f(const FftSpec64f *spec, std::int32_t *bytes) {
    return fftGetBufSize64fTable.Chosen()(spec, bytes);
}

EngineStatus FFTInitComplex64f(FftSpec64f **spec, std::int32_t order, std::int32_t flag, std::int32_t hint) {
    return fftInit64fTable.Chosen()(spec, order, flag, hint);
}

EngineStatus FFTForwardComplex32f(const float *srcRe, const float *srcIm, float *dstRe, float *dstIm,
                                  const FftSpec32f *spec, std::uint8_t *workBuffer) {
    return fftForward32fTable.Chosen()(srcRe, srcIm, dstRe, dstIm, spec, workBuffer);
}

EngineStatus FFTInverseComplex64f(const double *srcRe, const double *srcIm, double *dstRe, double *dstIm,
                                  const FftSpec64f *spec, std::uint8_t *workBuffer) {
    return fftInverse64fTable.Chosen()(srcRe, srcIm, dstRe, dstIm, spec, workBuffer);
}

EngineStatus FFTInverseComplex32f(const float *srcRe, const float *srcIm, float *dstRe, float *dstIm,
                                  const FftSpec32f *spec, std::uint8_t *workBuffer) {
    return fftInverse32fTable.Chosen()(srcRe, srcIm, dstRe, dstIm, spec, workBuffer);
}

EngineStatus FFTGetBufSize32f(const FftSpec32f *spec, std::int32_t *bytes) {
    return fftGetBufSize32fTable.Chosen()(spec, bytes);
}

EngineStatus FFTInitComplex32f(FftSpec32f **spec, std::int32_t order, std::int32_t flag, std::int32_t hint) {
    return fftInit32fTable.Chosen()(spec, order, flag, hint);
}

EngineStatus FFTFreeComplex64f(FftSpec64f *spec) { return fftFree64fTable.Chosen()(spec); }

EngineStatus MagnitudeSplit32f(const float *re, const float *im, float *dst, std::int32_t len) {
    return magnitudeTable.Chosen()(re, im, dst, len);
}

EngineStatus StdDev32f(const float *src, std::int32_t len, float *dst, std::int32_t hint) {
    return stdDevTable.Chosen()(src, len, dst, hint);
}

} // namespace FftEngine
