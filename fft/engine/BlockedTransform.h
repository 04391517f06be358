/// Transforms above 2^16 values, in place in the destination with a work buffer that fits the cache.
///
/// With n = a + side c + side parts b and k = kb + side kc + side parts ka:
///   exchange a and b, which is its own inverse; transform the rows over b; join the parts c; then for
///   every column kb + side kc turn by w_N^(a column) and transform over a. Each step leaves its
///   result where its input lay, and the last one in natural order.
#ifndef QUIETFLOOR_FFT_ENGINE_BLOCKEDTRANSFORM_H
#define QUIETFLOOR_FFT_ENGINE_BLOCKEDTRANSFORM_H

#include "fft/engine/RowTransform.h"

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
    for (std::int64_t k = 0; k < side; k += V::lanes) {
        const V evenRe = V::LoadU(row.re + k), evenIm = V::LoadU(row.im + k);
        V oddRe = V::LoadU(row.re + side + k), oddIm = V::LoadU(row.im + side + k);
        Multiply(oddRe, oddIm, V::Load(twiddles.re + k), V::Load(twiddles.im + k));
        (evenRe + oddRe).StoreU(row.re + k);
        (evenIm + oddIm).StoreU(row.im + k);
        (evenRe - oddRe).StoreU(row.re + side + k);
        (evenIm - oddIm).StoreU(row.im + side + k);
    }
}

// Copies the columns from `column` on into `block`, turned by w_N^(a column): the product of a turn for
// the block's first column, formed in double, and one for the distance from it.
template <class V, class Real>
void GatherTurned(Split<const Real> data, Split<Real> block, const BlockedPlan<Real> &plan,
                  std::int64_t column) {
    const std::int64_t stride = plan.side * plan.parts, fineMask = (std::int64_t{1} << plan.fineBits) - 1;
    const Real *nearTurns = plan.nearTurns;
    for (std::int64_t a = 0; a < plan.side; ++a, nearTurns += 2 * blockColumns) {
        const std::int64_t turn = a * column;
        const double *coarse = plan.coarseTurns + 2 * (turn >> plan.fineBits);
        const double *fine = plan.fineTurns + 2 * (turn & fineMask);
        const V firstRe = V::Broadcast(static_cast<Real>(coarse[0] * fine[0] - coarse[1] * fine[1]));
        const V firstIm = V::Broadcast(static_cast<Real>(coarse[0] * fine[1] + coarse[1] * fine[0]));
        for (std::int64_t i = 0; i < blockColumns; i += V::lanes) {
            V turnRe = V::Load(nearTurns + i), turnIm = V::Load(nearTurns + blockColumns + i);
            Multiply(turnRe, turnIm, firstRe, firstIm);
            V re = V::LoadU(data.re + a * stride + column + i),
              im = V::LoadU(data.im + a * stride + column + i);
            Multiply(re, im, turnRe, turnIm);
            re.Store(block.re + a * blockColumns + i);
            im.Store(block.im + a * blockColumns + i);
        }
    }
}

template <class V, class Real>
void ScatterScaled(const Real *block, Real *column, std::int64_t side, std::int64_t stride, Real scale) {
    const V factor = V::Broadcast(scale);
    for (std::int64_t k = 0; k < side; ++k)
        for (std::int64_t i = 0; i < blockColumns; i += V::lanes)
            (V::Load(block + k * blockColumns + i) * factor).StoreU(column + k * stride + i);
}

template <class V, class Real>
void TransformColumns(Split<Real> data, const BlockedPlan<Real> &plan, Real *work, Real scale) {
    const std::int64_t stride = plan.side * plan.parts;
    const Split<Real> block = {work, work + plan.workPart};
    const Split<Real> result = {work + 2 * plan.workPart, work + 3 * plan.workPart};
    for (std::int64_t column = 0; column < stride; column += blockColumns) {
        GatherTurned<V>({data.re, data.im}, block, plan, column);
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
