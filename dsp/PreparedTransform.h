/// A double-precision transform of one length that can be copied with the record that holds it.
#ifndef QUIETFLOOR_DSP_PREPAREDTRANSFORM_H
#define QUIETFLOOR_DSP_PREPAREDTRANSFORM_H

#include <memory>

#include "fft/FFTWorkingData.h"

namespace dsp {

class PreparedTransform {
public:
    /// For `points`, a power of two from 2 up. Throws std::bad_alloc if the engine lacks memory for
    /// its tables or its work buffer.
    explicit PreparedTransform(int points);
    /// Prepares the same length anew.
    PreparedTransform(const PreparedTransform &other);
    PreparedTransform &operator=(const PreparedTransform &) = delete;

    /// Unscaled, in place, negative exponent.
    void Forward(double *re, double *im) const noexcept;
    /// Unscaled, in place, positive exponent.
    void Inverse(double *re, double *im) const noexcept;

private:
    std::unique_ptr<FFTWORKINGDATA_D> data;
};

} // namespace dsp

#endif
