#include "dsp/PreparedTransform.h"

#include <new>

namespace dsp {

PreparedTransform::PreparedTransform(int points) : data(std::make_unique<FFTWORKINGDATA_D>(points)) {
    const quietfloor::IppsFFTSpec_64f &prepared = *data->fftSpec;
    std::int32_t bytes = 0;
    if (FftEngine::FFTGetBufSize64f(prepared.spec, &bytes) != FftEngine::kEngineOk)
        throw std::bad_alloc();
    if (bytes > 0 && prepared.workBuffer == nullptr)
        throw std::bad_alloc();
}

PreparedTransform::PreparedTransform(const PreparedTransform &other)
    : PreparedTransform(other.data->fftSpec->size) {}

void PreparedTransform::Forward(double *re, double *im) const noexcept {
    FftEngine::FFTForwardComplex64f(re, im, re, im, data->fftSpec->spec, data->fftSpec->workBuffer);
}

void PreparedTransform::Inverse(double *re, double *im) const noexcept {
    FftEngine::FFTInverseComplex64f(re, im, re, im, data->fftSpec->spec, data->fftSpec->workBuffer);
}

} // namespace dsp
