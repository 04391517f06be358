// SPDX-License-Identifier: MIT
#include "fft/engine/Operations.h"

#include "fft/engine/Allocator.h"
#include "fft/engine/SpecTables.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>

namespace FftEngine {
namespace {

template <class Spec>
struct SpecTraits;

template <>
struct SpecTraits<FftSpec32f> {
    using Real = float;
    static constexpr std::int32_t kind = kSpecKindComplex32f, maxOrder = kMaxOrder32f;
    static const TransformKernels<float> &Kernels(const FftSpec32f &spec) {
        return spec.kernels->transform32f;
    }
};

template <>
struct SpecTraits<FftSpec64f> {
    using Real = double;
    static constexpr std::int32_t kind = kSpecKindComplex64f, maxOrder = kMaxOrder64f;
    static const TransformKernels<double> &Kernels(const FftSpec64f &spec) {
        return spec.kernels->transform64f;
    }
};

// The tag is all that may be read of a record that might be of the other kind.
template <class Spec>
EngineStatus CheckSpec(const Spec *spec) {
    static_assert(std::is_standard_layout_v<Spec>);
    if (!spec)
        return kEngineNullPointer;
    std::int32_t kind;
    std::memcpy(&kind, spec, sizeof kind);
    return kind == SpecTraits<Spec>::kind ? kEngineOk : kEngineWrongSpecKind;
}

std::uint8_t *AlignUp(std::uint8_t *p, std::uintptr_t alignment) {
    const std::uintptr_t past = reinterpret_cast<std::uintptr_t>(p) % alignment;
    return past == 0 ? p : p + (alignment - past);
}

template <class Spec>
void FillHeader(Spec &spec, std::int32_t order, std::int32_t flag, std::int32_t hint,
                const EngineKernels &kernels) {
    using Real = typename SpecTraits<Spec>::Real;
    spec.kind = SpecTraits<Spec>::kind;
    spec.order = order;
    spec.forwardScaled = flag == kScaleForwardByN || flag == kScaleBySqrtN;
    spec.inverseScaled = flag == kScaleInverseByN || flag == kScaleBySqrtN;
    const double n = static_cast<double>(std::int64_t{1} << order);
    spec.scale =
        static_cast<Real>(flag == kScaleNone ? 1.0 : 1.0 / (flag == kScaleBySqrtN ? std::sqrt(n) : n));
    spec.hint = hint;
    spec.kernels = &kernels;
}

template <class Spec>
EngineStatus Init(Spec **target, std::int32_t order, std::int32_t flag, std::int32_t hint,
                  const EngineKernels &kernels) {
    if (!target)
        return kEngineNullPointer;
    if (order < 0 || order > SpecTraits<Spec>::maxOrder)
        return kEngineBadOrder;
    if (flag != kScaleForwardByN && flag != kScaleInverseByN && flag != kScaleBySqrtN && flag != kScaleNone)
        return kEngineBadFlag;
    Spec plan = {};
    FillHeader(plan, order, flag, hint, kernels);
    constexpr std::int64_t overhead = sizeof(Spec) + kTableAlignment;
    const std::int64_t bytes = overhead + LayOutTables<typename SpecTraits<Spec>::Real>(plan, nullptr);
    if (bytes > std::numeric_limits<std::int32_t>::max())
        return kEngineOutOfMemory;
    void *block = EngineMalloc(static_cast<std::int32_t>(bytes));
    if (!block)
        return kEngineOutOfMemory;
    Spec *spec = new (block) Spec(plan);
    LayOutTables(*spec, AlignUp(static_cast<std::uint8_t *>(block) + sizeof(Spec), kTableAlignment));
    FillTables(*spec);
    spec->engineOwned = 1;
    *target = spec;
    return kEngineOk;
}

template <class Spec>
EngineStatus Free(Spec *spec) {
    const EngineStatus status = CheckSpec(spec);
    if (status != kEngineOk)
        return status;
    const bool isOwned = spec->engineOwned == 1;
    // Volatile, or the compiler drops a store to memory that is about to be released.
    const_cast<volatile std::int32_t &>(spec->kind) = 0;
    if (isOwned)
        EngineFree(spec);
    return kEngineOk;
}

template <class Spec>
EngineStatus BufferBytes(const Spec *spec, std::int32_t *bytes) {
    const EngineStatus status = CheckSpec(spec);
    if (status != kEngineOk)
        return status;
    if (!bytes)
        return kEngineNullPointer;
    constexpr std::int32_t slack = 32; // a transform rounds the buffer's address up
    *bytes = spec->workBytes == 0 ? 0 : spec->workBytes + slack;
    return kEngineOk;
}

template <class Spec, class Real>
void Run(Split<const Real> src, Split<Real> dst, const Spec &spec, std::uint8_t *workBuffer, Real scale) {
    const TransformKernels<Real> &kernels = SpecTraits<Spec>::Kernels(spec);
    if (spec.order <= kMaxSmallOrder) {
        const auto &small = scale == Real{1} ? kernels.small : kernels.smallScaled;
        small[spec.order](src.re, src.im, dst.re, dst.im, scale);
        return;
    }
    Real *work = reinterpret_cast<Real *>(AlignUp(workBuffer, kTableAlignment));
    if (spec.order <= kMaxRowOrder)
        kernels.row(src, dst, spec.rows, work, scale);
    else
        kernels.blocked(src, dst, spec.blocked, work, scale);
}

template <class Spec, class Real>
EngineStatus Transform(Split<const Real> src, Split<Real> dst, const Spec *spec, std::uint8_t *workBuffer,
                       std::int32_t SpecRecord<Real>::*isScaled) {
    const EngineStatus status = CheckSpec(spec);
    if (status != kEngineOk)
        return status;
    if (!src.re || !src.im || !dst.re || !dst.im)
        return kEngineNullPointer;
    const Real scale = spec->*isScaled == 1 ? spec->scale : Real{1};
    std::uint8_t *ownBuffer = nullptr;
    if (!workBuffer && spec->workBytes > 0) {
        std::int32_t bytes = 0;
        BufferBytes(spec, &bytes);
        ownBuffer = workBuffer = static_cast<std::uint8_t *>(EngineMalloc(bytes));
        if (!ownBuffer)
            return kEngineOutOfMemory;
    }
    Run(src, dst, *spec, workBuffer, scale);
    EngineFree(ownBuffer);
    return kEngineOk;
}

} // namespace

EngineStatus InitSpec(FftSpec32f **spec, std::int32_t order, std::int32_t flag, std::int32_t hint,
                      const EngineKernels &kernels) {
    return Init(spec, order, flag, hint, kernels);
}

EngineStatus InitSpec(FftSpec64f **spec, std::int32_t order, std::int32_t flag, std::int32_t hint,
                      const EngineKernels &kernels) {
    return Init(spec, order, flag, hint, kernels);
}

EngineStatus FreeSpec(FftSpec32f *spec) { return Free(spec); }
EngineStatus FreeSpec(FftSpec64f *spec) { return Free(spec); }

EngineStatus WorkBufferBytes(const FftSpec32f *spec, std::int32_t *bytes) { return BufferBytes(spec, bytes); }
EngineStatus WorkBufferBytes(const FftSpec64f *spec, std::int32_t *bytes) { return BufferBytes(spec, bytes); }

EngineStatus TransformForward(const float *srcRe, const float *srcIm, float *dstRe, float *dstIm,
                              const FftSpec32f *spec, std::uint8_t *workBuffer) {
    return Transform<FftSpec32f, float>({srcRe, srcIm}, {dstRe, dstIm}, spec, workBuffer,
                                        &SpecRecord<float>::forwardScaled);
}

EngineStatus TransformForward(const double *srcRe, const double *srcIm, double *dstRe, double *dstIm,
                              const FftSpec64f *spec, std::uint8_t *workBuffer) {
    return Transform<FftSpec64f, double>({srcRe, srcIm}, {dstRe, dstIm}, spec, workBuffer,
                                         &SpecRecord<double>::forwardScaled);
}

// The inverse is the forward transform with real and imaginary parts exchanged on both sides.
EngineStatus TransformInverse(const float *srcRe, const float *srcIm, float *dstRe, float *dstIm,
                              const FftSpec32f *spec, std::uint8_t *workBuffer) {
    return Transform<FftSpec32f, float>({srcIm, srcRe}, {dstIm, dstRe}, spec, workBuffer,
                                        &SpecRecord<float>::inverseScaled);
}

EngineStatus TransformInverse(const double *srcRe, const double *srcIm, double *dstRe, double *dstIm,
                              const FftSpec64f *spec, std::uint8_t *workBuffer) {
    return Transform<FftSpec64f, double>({srcIm, srcRe}, {dstIm, dstRe}, spec, workBuffer,
                                         &SpecRecord<double>::inverseScaled);
}

EngineStatus MagnitudeSplit(const float *re, const float *im, float *dst, std::int32_t len,
                            const EngineKernels &kernels) {
    if (!re || !im || !dst)
        return kEngineNullPointer;
    if (len < 1)
        return kEngineSizeError;
    kernels.magnitude(re, im, dst, len);
    return kEngineOk;
}

// The deviation does not depend on the origin. Counted from the first value the sums stay free of a large
// common part, and those of a constant are exactly 0.
EngineStatus StandardDeviation(const float *src, std::int32_t len, float *dst, const EngineKernels &kernels) {
    if (!src || !dst)
        return kEngineNullPointer;
    if (len < 2)
        return kEngineSizeError;
    const Moments moments = kernels.moments(src, len, src[0]);
    const double n = len;
    const double spread = std::max(0.0, n * moments.squares - moments.sum * moments.sum);
    *dst = static_cast<float>(std::sqrt(spread / (n * (n - 1.0))));
    return kEngineOk;
}

} // namespace FftEngine
