// SPDX-License-Identifier: MIT
/// A double-precision transform of one length that can be copied with the record that holds it.
#ifndef QUIETFLOOR_DSP_PREPAREDTRANSFORM_H
#define QUIETFLOOR_DSP_PREPAREDTRANSFORM_H

#include <memory>

#include "fft/engine/FftEngine.h"

namespace dsp {

class PreparedTransform {
public:
    /// For `points`, a power of two from 1 up. Throws std::bad_alloc if the engine lacks memory for
    /// its tables or its work buffer.
    explicit PreparedTransform(int points);
    /// Shares the tables, so that a copy gives the same bits whatever level they were laid out for.
    PreparedTransform(const PreparedTransform &other);
    PreparedTransform &operator=(const PreparedTransform &) = delete;

    /// Unscaled, in place, negative exponent.
    void Forward(double *re, double *im) const noexcept;
    /// Unscaled, in place, positive exponent.
    void Inverse(double *re, double *im) const noexcept;

private:
    struct FreeBlock {
        void operator()(std::uint8_t *block) const noexcept { FftEngine::EngineFree(block); }
    };
    std::shared_ptr<const FftEngine::FftSpec64f> spec;
    std::unique_ptr<std::uint8_t, FreeBlock> workBuffer;

    void AllocateWorkBuffer();
};

} // namespace dsp

#endif
