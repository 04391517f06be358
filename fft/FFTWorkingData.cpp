// SPDX-License-Identifier: MIT
#include "fft/FFTWorkingData.h"

#include <memory>

using namespace FftEngine;

namespace {

struct Length {
    std::int32_t order;
    std::int32_t points;
};

// Beyond 2^30 points the order still grows to 31, which every engine refuses, while the point count
// stays within 32 bits.
Length SmallestLengthFor(std::int32_t requestedSize) {
    Length length{1, 2};
    while (length.points < requestedSize && length.order < 30)
        length = {length.order + 1, length.points * 2};
    if (length.points < requestedSize)
        length.order = 31;
    return length;
}

} // namespace

namespace quietfloor {

IppsFFTSpec_32f::IppsFFTSpec_32f() {
    const Length length = SmallestLengthFor(64);
    size = length.points;
    FFTInitComplex32f(&spec, length.order, kScaleNone, kHintAccurate);
    std::int32_t bytes = 0; // stays 0 without a spec
    FFTGetBufSize32f(spec, &bytes);
    workBuffer = static_cast<std::uint8_t *>(EngineMalloc(bytes));
}

IppsFFTSpec_32f::~IppsFFTSpec_32f() {
    if (spec != nullptr)
        FFTFreeComplex32f(spec);
    EngineFree(workBuffer);
}

IppsFFTSpec_64f::IppsFFTSpec_64f(std::int32_t requestedSize) {
    const Length length = SmallestLengthFor(requestedSize);
    size = length.points;
    FFTInitComplex64f(&spec, length.order, kScaleNone, kHintAccurate);
    std::int32_t bytes = 0;
    FFTGetBufSize64f(spec, &bytes);
    workBuffer = static_cast<std::uint8_t *>(EngineMalloc(bytes));
}

IppsFFTSpec_64f::~IppsFFTSpec_64f() {
    if (spec != nullptr)
        FFTFreeComplex64f(spec);
    EngineFree(workBuffer);
}

} // namespace quietfloor

FFTWORKINGDATA::~FFTWORKINGDATA() = default;

FFTWORKINGDATA_F::FFTWORKINGDATA_F() = default;

FFTWORKINGDATA_F::~FFTWORKINGDATA_F() { delete fftSpec; }

FFTWORKINGDATA_D::FFTWORKINGDATA_D(std::int32_t requestedSize)
    : fftSpec(new quietfloor::IppsFFTSpec_64f(requestedSize)) {}

FFTWORKINGDATA_D::~FFTWORKINGDATA_D() { delete fftSpec; }

FFTWORKINGDATA_F *CreateFFTWORKINGDATA_F() {
    auto data = std::make_unique<FFTWORKINGDATA_F>();
    data->fftSpec = new quietfloor::IppsFFTSpec_32f;
    return data.release();
}

FFTWORKINGDATA_D *CreateFFTWORKINGDATA_D(std::int32_t requestedSize) {
    return new FFTWORKINGDATA_D(requestedSize);
}
