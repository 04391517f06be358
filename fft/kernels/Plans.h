// SPDX-License-Identifier: MIT
/// How a transform of one length is done: the plans that Init prepares and the kernels follow.
///
/// A sequence of N values is read as N / width rows of `width` neighbouring values. Its transform is a
/// column transform over the rows (every column an independent one, so a vector holds neighbouring
/// columns), a twiddle factor w_N^(v k) on value v of row k, and one transform along each row. The sum of
/// all this is the four-step transform of Gentleman and Sande; the column transform is an
/// autosorting one after Stockham, so that no bit reversal is needed.
#ifndef QUIETFLOOR_FFT_KERNELS_PLANS_H
#define QUIETFLOOR_FFT_KERNELS_PLANS_H

#include <cstdint>

namespace FftEngine {

inline constexpr std::int32_t kMaxSmallOrder = 5; // straight-line kernels, no tables, no work buffer
inline constexpr std::int32_t kMaxRowOrder = 16;  // longer ones are cut into blocks that fit the cache
inline constexpr std::int32_t kBlockColumns = 16; // columns that a blocked transform takes at a time
inline constexpr std::int32_t kMaxPasses = 6;
inline constexpr std::int64_t kTableAlignment = 64; // bytes; one line, and the widest vector

/// Real parts and imaginary parts of one sequence.
template <class T>
struct Split {
    T *re;
    T *im;
};

/// A transform of `length` rows, column by column, in passes of radix 4, 8 and 16.
template <class Real>
struct ColumnPlan {
    std::int32_t length;
    std::int32_t passes;
    std::int32_t radixes[kMaxPasses];
    // For each pass but the last, with n rows left: w_n^(j p) as a pair, p < n / radix, 0 < j < radix.
    const Real *twiddles;
};

/// Orders 6 to 16.
template <class Real>
struct RowPlan {
    std::int32_t width; // values in a row
    std::int32_t lanes; // of the vector that the tables are laid out for
    ColumnPlan<Real> columns;
    // For each `lanes` rows, for 0 < v < width: the lanes of w_N^(v k), real parts, imaginary parts.
    const Real *twiddles;
    std::int64_t workPart; // distance of the four parts of the work buffer, in values
};

/// Orders above 16: N = side^2 parts, index n = a + side c + side parts b, with a, b < side, c < parts.
template <class Real>
struct BlockedPlan {
    std::int32_t side;
    std::int32_t parts; // 1 or 2
    RowPlan<Real> rows;
    ColumnPlan<Real> columns;
    Split<const Real> halves;     // w_(2 side)^k, k < side, if there are two parts
    const Real *nearTwiddles;     // row by row: w_N^(a i), i < kBlockColumns, real parts, imaginary parts
    std::int32_t fineBits;        // w_N^e = coarse[e >> fineBits] fine[e & (2^fineBits - 1)]
    const double *coarseTwiddles; // pairs
    const double *fineTwiddles;
    std::int64_t workPart; // as in RowPlan
};

} // namespace FftEngine

#endif
