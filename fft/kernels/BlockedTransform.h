// SPDX-License-Identifier: MIT
/// Transforms above 2^16 values, in place in the destination with a work buffer that fits the cache.
///
/// From step 1 on the data is a matrix of `side` rows (a) by `parts` times `side` columns; side is
/// 2^(order / 2), and there are two parts where the order is odd. With n = a + side c + side parts b and k =
/// kb + side kc + side parts ka the transform falls into short ones over rows and over columns:
///
///        b, later kb                kc side + kb
///      +-----------+            +-----+-----+-----+
///    a | ->-->-->- |          a | |   |   | |     |    1 exchange a and b, which is its own inverse
///      | ->-->-->- |            | v   |   v |     |    2 transform each row over b
///      | ->-->-->- |            | |   |   | |     |    3 join the parts c, if there are two
///      +-----------+            +-----+-----+-----+    4 multiply by w_N^(a column), transform each
///       1, 2, 3: rows            4: blocks of columns    column over a
///
/// A row is contiguous, so its transform needs nothing but the cache. The values of a column are a whole row
/// apart: a block of neighbouring columns goes to the work buffer, so that every line that is fetched is used
/// whole, is transformed there and goes back. Each step leaves its result where its input lay, and the last
/// one in natural order.
#ifndef QUIETFLOOR_FFT_KERNELS_BLOCKEDTRANSFORM_H
#define QUIETFLOOR_FFT_KERNELS_BLOCKEDTRANSFORM_H

#include "fft/kernels/RowTransform.h"

namespace {

using FftEngine::BlockedPlan;

constexpr std::int64_t blockColumns = FftEngine::kBlockColumns;

// Exchanges a and b of the square of one part, tile by tile: a tile's rows share their lines.
template <class Real>
void TransposeInPlace(Real *square, std::int64_t side, std::int64_t stride) {
    constexpr std::int64_t tile = 16;
    for (std::int64_t row = 0; row < side; row += tile)
        for (std::int64_t column = row; column < side; column += tile)
            for (std::int64_t i = row; i < row + tile; ++i)
                for (std::int64_t j = row == column ? i + 1 : column; j < column + tile; ++j) {
                    const Real value = square[i * stride + j];
                    square[i * stride + j] = square[j * stride + i];
                    square[j * stride + i] = value;
                }
}

template <class Real>
void TransposeApart(const Real *src, Real *dst, std::int64_t side, std::int64_t stride) {
    constexpr std::int64_t tile = 16;
    for (std::int64_t row = 0; row < side; row += tile)
        for (std::int64_t column = 0; column < side; column += tile)
            for (std::int64_t i = row; i < row + tile; ++i)
                for (std::int64_t j = column; j < column + tile; ++j)
                    dst[i * stride + j] = src[j * stride + i];
}

template <class Real>
void ExchangeDigits(const Real *src, Real *dst, std::int64_t side, std::int64_t parts) {
    for (std::int64_t part = 0; part < parts; ++part)
        if (src == dst)
            TransposeInPlace(dst + part * side, side, parts * side);
        else
            TransposeApart(src + part * side, dst + part * side, side, parts * side);
}

// (even, odd) -> (even + w odd, even - w odd) over two neighbouring rows.
template <class V, class Real>
void JoinHalves(Split<Real> row, Split<const Real> twiddles, std::int64_t side) {
    const RowOf<V> re{row.re}, im{row.im};
    for (std::int64_t k = 0; k < side; k += V::lanes) {
        const V evenRe = re[k], evenIm = im[k];
        V oddRe = re[side + k], oddIm = im[side + k];
        Multiply(oddRe, oddIm, V::Load(twiddles.re + k), V::Load(twiddles.im + k));
        re[k] = evenRe + oddRe;
        im[k] = evenIm + oddIm;
        re[side + k] = evenRe - oddRe;
        im[side + k] = evenIm - oddIm;
    }
}

// Copies the columns from `column` on into `block`, each value times its twiddle factor w_N^(a column). A
// table of all N would be as long as the data and cost as much to read, so three short ones are multiplied:
//   w_N^(a (column + i)) = (coarse[e >> fineBits] fine[e & fineMask]) near[a][i],   e = a column
// The first product is formed in double, since an error there shows in a whole row.
template <class V, class Real>
void GatherTwiddled(Split<const Real> data, Split<Real> block, const BlockedPlan<Real> &plan,
                    std::int64_t column) {
    const std::int64_t stride = plan.side * plan.parts, fineMask = (std::int64_t{1} << plan.fineBits) - 1;
    const Real *nearTwiddles = plan.nearTwiddles;
    for (std::int64_t a = 0; a < plan.side; ++a, nearTwiddles += 2 * blockColumns) {
        const std::int64_t e = a * column;
        const double *coarse = plan.coarseTwiddles + 2 * (e >> plan.fineBits);
        const double *fine = plan.fineTwiddles + 2 * (e & fineMask);
        const V firstRe = static_cast<Real>(coarse[0] * fine[0] - coarse[1] * fine[1]);
        const V firstIm = static_cast<Real>(coarse[0] * fine[1] + coarse[1] * fine[0]);
        const ConstRow<V> rowRe{data.re + a * stride + column}, rowIm{data.im + a * stride + column};
        for (std::int64_t i = 0; i < blockColumns; i += V::lanes) {
            V twiddleRe = V::Load(nearTwiddles + i), twiddleIm = V::Load(nearTwiddles + blockColumns + i);
            Multiply(twiddleRe, twiddleIm, firstRe, firstIm);
            V re = rowRe[i], im = rowIm[i];
            Multiply(re, im, twiddleRe, twiddleIm);
            re.Store(block.re + a * blockColumns + i);
            im.Store(block.im + a * blockColumns + i);
        }
    }
}

template <class V, class Real>
void ScatterScaled(const Real *block, Real *column, std::int64_t side, std::int64_t stride, Real scale) {
    const RowOf<V> columns{column};
    for (std::int64_t k = 0; k < side; ++k)
        for (std::int64_t i = 0; i < blockColumns; i += V::lanes)
            columns[k * stride + i] = V::Load(block + k * blockColumns + i) * scale;
}

template <class V, class Real>
void TransformColumns(Split<Real> data, const BlockedPlan<Real> &plan, Real *work, Real scale) {
    const std::int64_t stride = plan.side * plan.parts;
    const Split<Real> block = {work, work + plan.workPart};
    const Split<Real> result = {work + 2 * plan.workPart, work + 3 * plan.workPart};
    for (std::int64_t column = 0; column < stride; column += blockColumns) {
        GatherTwiddled<V>({data.re, data.im}, block, plan, column);
        ColumnTransform<V, Real>({block.re, block.im}, block, result, plan.columns, blockColumns);
        ScatterScaled<V>(result.re, data.re + column, plan.side, stride, scale);
        ScatterScaled<V>(result.im, data.im + column, plan.side, stride, scale);
    }
}

template <class Wide, class Narrow, class Real>
void BlockedTransform(Split<const Real> src, Split<Real> dst, const BlockedPlan<Real> &plan, Real *work,
                      Real scale) {
    const std::int64_t side = plan.side, parts = plan.parts;
    ExchangeDigits(src.re, dst.re, side, parts);
    ExchangeDigits(src.im, dst.im, side, parts);
    for (std::int64_t a = 0; a < side; ++a) {
        const Split<Real> row = {dst.re + a * parts * side, dst.im + a * parts * side};
        for (std::int64_t part = 0; part < parts; ++part) {
            const Split<Real> half = {row.re + part * side, row.im + part * side};
            RowTransform<Wide, Narrow, Real>({half.re, half.im}, half, plan.rows, work, Real{1});
        }
        if (parts == 2)
            JoinHalves<Wide>(row, plan.halves, side);
    }
    TransformColumns<Wide>(dst, plan, work, scale);
}

} // namespace

#endif
