// SPDX-License-Identifier: MIT
/// A transform to compare with, from the definition and in long double: slow, plain, and sharing nothing with
/// the library.
#ifndef QUIETFLOOR_TESTS_SLOWTRANSFORM_H
#define QUIETFLOOR_TESTS_SLOWTRANSFORM_H

#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>
#include <vector>

using LongComplex = std::complex<long double>;

/// The part of `x` from `first` on in steps of `step`, transformed with the roots of unity of the whole.
inline std::vector<LongComplex> SlowTransformPart(const std::vector<LongComplex> &x,
                                                  const std::vector<LongComplex> &roots, std::size_t first,
                                                  std::size_t step) {
    const std::size_t n = x.size() / step;
    std::vector<LongComplex> result(n);
    if (n <= 32) {
        for (std::size_t k = 0; k < n; ++k)
            for (std::size_t i = 0; i < n; ++i)
                result[k] += x[first + i * step] * roots[k * i % n * step];
        return result;
    }
    const auto even = SlowTransformPart(x, roots, first, 2 * step);
    const auto odd = SlowTransformPart(x, roots, first + step, 2 * step);
    for (std::size_t k = 0; k < n / 2; ++k) {
        const LongComplex turned = odd[k] * roots[k * step];
        result[k] = even[k] + turned;
        result[k + n / 2] = even[k] - turned;
    }
    return result;
}

/// X[k] = sum x[n] e^(-2 pi i k n / N), or with + if `isInverse`; N is a power of two. Up to 32 values by
/// the sum itself, above by halves of even and odd index.
inline std::vector<LongComplex> SlowTransform(const std::vector<LongComplex> &x, bool isInverse = false) {
    const auto n = static_cast<long double>(x.size());
    const long double turn = (isInverse ? 2 : -2) * std::numbers::pi_v<long double> / n;
    std::vector<LongComplex> roots(x.size());
    for (std::size_t k = 0; k < x.size(); ++k)
        roots[k] = std::polar(1.0L, turn * static_cast<long double>(k));
    return SlowTransformPart(x, roots, 0, 1);
}

#endif
