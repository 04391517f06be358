// SPDX-License-Identifier: MIT
#include "dsp/PreparedTransform.h"

#include <bit>
#include <new>

namespace dsp {
namespace {

std::shared_ptr<const FftEngine::FftSpec64f> MakeSpec(int points) {
    FftEngine::FftSpec64f *spec = nullptr;
    const int order = std::countr_zero(static_cast<unsigned>(points));
    if (FftEngine::FFTInitComplex64f(&spec, order, FftEngine::kScaleNone, FftEngine::kHintAccurate) !=
        FftEngine::kEngineOk)
        throw std::bad_alloc();
    return {spec, FftEngine::FFTFreeComplex64f};
}

} // namespace

PreparedTransform::PreparedTransform(int points) : spec(MakeSpec(points)) { AllocateWorkBuffer(); }

PreparedTransform::PreparedTransform(const PreparedTransform &other) : spec(other.spec) {
    AllocateWorkBuffer();
}

void PreparedTransform::AllocateWorkBuffer() {
    std::int32_t bytes = 0;
    FftEngine::FFTGetBufSize64f(spec.get(), &bytes);
    workBuffer.reset(static_cast<std::uint8_t *>(FftEngine::EngineMalloc(bytes)));
    if (bytes > 0 && workBuffer == nullptr)
        throw std::bad_alloc();
}

void PreparedTransform::Forward(double *re, double *im) const noexcept {
    FftEngine::FFTForwardComplex64f(re, im, re, im, spec.get(), workBuffer.get());
}

void PreparedTransform::Inverse(double *re, double *im) const noexcept {
    FftEngine::FFTInverseComplex64f(re, im, re, im, spec.get(), workBuffer.get());
}

} // namespace dsp
