// SPDX-License-Identifier: MIT
/// Roots of unity to the last bit that the compiler's widest type allows.
#ifndef QUIETFLOOR_FFT_ENGINE_TWIDDLE_H
#define QUIETFLOOR_FFT_ENGINE_TWIDDLE_H

#include <cmath>
#include <cstdint>
#include <numbers>
#include <utility>

namespace FftEngine {

/// e^(-2 pi i e / n) as (real part, imaginary part); n is a power of two from 1 to 2^58, e >= 0.
/// The angle is brought into the first eighth of a turn in integers: there cosine and sine lose
/// nothing, even where long double is only a double.
inline std::pair<long double, long double> Twiddle(std::int64_t e, std::int64_t n) {
    const std::int64_t eighths = (e % n) * 8, octant = eighths / n,
                       rest = eighths % n; // rest / n of an eighth
    const bool isMirrored = octant % 2 == 1;
    const long double angle = static_cast<long double>(isMirrored ? n - rest : rest) /
                              static_cast<long double>(n) * (std::numbers::pi_v<long double> / 4);
    long double c = std::cos(angle), s = std::sin(angle);
    if (octant % 4 == 1 || octant % 4 == 2)
        std::swap(c, s);
    const bool isLeft = octant >= 2 && octant < 6, isBelow = octant >= 4;
    return {isLeft ? -c : c, isBelow ? s : -s};
}

} // namespace FftEngine

#endif
