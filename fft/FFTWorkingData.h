// SPDX-License-Identifier: MIT
/// The spec objects behind FFTWORKINGDATA: each owns one engine spec and the work buffer that goes
/// with it, for one unscaled transform length.
#ifndef QUIETFLOOR_FFT_FFTWORKINGDATA_H
#define QUIETFLOOR_FFT_FFTWORKINGDATA_H

#include <cstdint>

#include "fft/FFT.h"
#include "fft/engine/FftEngine.h"

namespace quietfloor {

/// A 64-point transform in single precision. A failure of the engine throws nothing and leaves
/// `spec` or `workBuffer` null.
class IppsFFTSpec_32f {
public:
    IppsFFTSpec_32f();
    IppsFFTSpec_32f(const IppsFFTSpec_32f &) = delete;
    IppsFFTSpec_32f &operator=(const IppsFFTSpec_32f &) = delete;
    virtual ~IppsFFTSpec_32f();

    FftEngine::FftSpec32f *spec = nullptr; // null: transforms do nothing
    std::int32_t size = 0;                 // points, a power of two
    std::uint8_t *workBuffer = nullptr;    // null up to 32 points, which need none
};

/// A transform in double precision of the smallest power of two, at least 2, that is not below
/// `requestedSize`; above 2^27 the engine makes none. Otherwise the same as IppsFFTSpec_32f.
class IppsFFTSpec_64f {
public:
    explicit IppsFFTSpec_64f(std::int32_t requestedSize);
    IppsFFTSpec_64f(const IppsFFTSpec_64f &) = delete;
    IppsFFTSpec_64f &operator=(const IppsFFTSpec_64f &) = delete;
    virtual ~IppsFFTSpec_64f();

    FftEngine::FftSpec64f *spec = nullptr;
    std::int32_t size = 0;
    std::uint8_t *workBuffer = nullptr;
};

} // namespace quietfloor

#endif
