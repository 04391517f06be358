// SPDX-License-Identifier: MIT
/// Transforms of 2^6 to 2^16 values over a vector type, and the column transform they share with the
/// blocked ones.
#ifndef QUIETFLOOR_FFT_KERNELS_ROWTRANSFORM_H
#define QUIETFLOOR_FFT_KERNELS_ROWTRANSFORM_H

#include "fft/kernels/EngineKernels.h"
#include "fft/kernels/SmallTransforms.h"
#include "simd/Vector.h"

namespace {

using FftEngine::ColumnPlan;
using FftEngine::RowPlan;
using FftEngine::RowShape;
using FftEngine::Split;

template <class V>
QUIETFLOOR_INLINE void Multiply(V &re, V &im, V byRe, V byIm) {
    const V a = re, b = im;
    re = MulSub(a, byRe, b * byIm);
    im = MulAdd(a, byIm, b * byRe);
}

// The butterflies of one p: rows `step` values apart become neighbouring rows of `width` values.
template <class V, int radix, bool twiddled, class Real>
QUIETFLOOR_INLINE void Butterflies(Split<const Real> src, Split<Real> dst, const Real *twiddles,
                                   std::int64_t step, std::int64_t width) {
    V twiddleRe[radix], twiddleIm[radix];
    for (int j = 1; twiddled && j < radix; ++j) {
        twiddleRe[j] = twiddles[2 * j - 2];
        twiddleIm[j] = twiddles[2 * j - 1];
    }
    const ConstRow<V> srcRe{src.re}, srcIm{src.im};
    const RowOf<V> dstRe{dst.re}, dstIm{dst.im};
    for (std::int64_t q = 0; q < width; q += V::lanes) {
        V re[radix], im[radix];
        for (int j = 0; j < radix; ++j) {
            re[j] = srcRe[q + j * step];
            im[j] = srcIm[q + j * step];
        }
        Transform(re, im);
        for (int j = 0; j < radix; ++j) {
            if (twiddled && j > 0)
                Multiply(re[j], im[j], twiddleRe[j], twiddleIm[j]);
            dstRe[q + j * width] = re[j];
            dstIm[q + j * width] = im[j];
        }
    }
}

// One pass of decimation in frequency in Stockham's self-sorting form (Cochran et al. 1967). With n = radix *
// groups rows left,
//   X[radix k + j] = sum over p of w_groups^(k p) { w_n^(j p) sum over i of w_radix^(i j) x[p + groups i] }
// The braces are the butterfly of p. Its output j goes to row radix p + j, so that what is left is one
// transform over `groups` rows, `radix` times as wide, and nothing has to be put in order at the end.
template <class V, int radix, class Real>
void ColumnPass(Split<const Real> src, Split<Real> dst, const Real *twiddles, std::int64_t groups,
                std::int64_t width) {
    const std::int64_t step = groups * width;
    Butterflies<V, radix, false>(src, dst, twiddles, step, width);
    for (std::int64_t p = 1; p < groups; ++p) {
        src = {src.re + width, src.im + width};
        dst = {dst.re + radix * width, dst.im + radix * width};
        twiddles += 2 * (radix - 1);
        Butterflies<V, radix, true>(src, dst, twiddles, step, width);
    }
}

// A butterfly of sixteen is only worth it where the registers hold its values.
constexpr int largestRadix = vectorRegisters == 32 ? 16 : 8;

// Runs all passes but the last over rows of `width` values, even ones to `even` and odd ones to `odd`;
// returns where the result lies.
template <class V, class Real>
Split<const Real> FirstPasses(Split<const Real> src, Split<Real> even, Split<Real> odd,
                              const ColumnPlan<Real> &plan, std::int64_t width) {
    const Real *twiddles = plan.twiddles;
    std::int64_t rows = plan.length;
    for (std::int32_t pass = 0; pass + 1 < plan.passes; ++pass) {
        const std::int64_t radix = plan.radixes[pass];
        const Split<Real> dst = pass % 2 == 0 ? even : odd;
        rows /= radix;
        if (radix == largestRadix)
            ColumnPass<V, largestRadix>(src, dst, twiddles, rows, width);
        else if (radix == 8)
            ColumnPass<V, 8>(src, dst, twiddles, rows, width);
        else
            ColumnPass<V, 4>(src, dst, twiddles, rows, width);
        src = {dst.re, dst.im};
        twiddles += 2 * (radix - 1) * rows;
        width *= radix;
    }
    return src;
}

// The last pass needs no twiddles. Its outputs lie where the inputs lay, so `src` may be `dst`.
template <class V, class Real>
void LastPass(Split<const Real> src, Split<Real> dst, std::int64_t radix, std::int64_t step) {
    if (radix == largestRadix)
        Butterflies<V, largestRadix, false, Real>(src, dst, nullptr, step, step);
    else if (radix == 8)
        Butterflies<V, 8, false, Real>(src, dst, nullptr, step, step);
    else
        Butterflies<V, 4, false, Real>(src, dst, nullptr, step, step);
}

// Transforms every column from `src` to `result`. `spare` may be `src`: it is first written after `src` has
// been read.
template <class V, class Real>
void ColumnTransform(Split<const Real> src, Split<Real> spare, Split<Real> result,
                     const ColumnPlan<Real> &plan, std::int64_t width) {
    const Split<const Real> rows = FirstPasses<V>(src, result, spare, plan, width);
    const std::int64_t radix = plan.radixes[plan.passes - 1];
    LastPass<V>(rows, result, radix, plan.length / radix * width);
}

// Loads `lanes` rows and transposes them, so that each vector holds one column.
template <class V, int width, class Real>
QUIETFLOOR_INLINE void LoadTransposed(const Real *src, V (&columns)[width]) {
    for (int v = 0; v < width; v += V::lanes) {
        V rows[V::lanes];
        for (int i = 0; i < V::lanes; ++i)
            rows[i] = V::Load(src + i * width + v);
        Transpose(rows);
        for (int i = 0; i < V::lanes; ++i)
            columns[v + i] = rows[i];
    }
}

// Multiplies `lanes` rows by their twiddle factors and transforms them; value j of row i goes to i + step *
// j.
template <class V, int width, class Real>
QUIETFLOOR_INLINE void FinalButterfly(Split<const Real> src, Split<Real> dst, const Real *twiddles,
                                      std::int64_t step) {
    V re[width], im[width];
    LoadTransposed(src.re, re);
    LoadTransposed(src.im, im);
    for (int v = 1; v < width; ++v, twiddles += 2 * V::lanes)
        Multiply(re[v], im[v], V::Load(twiddles), V::Load(twiddles + V::lanes));
    Transform(re, im);
    const RowOf<V> dstRe{dst.re}, dstIm{dst.im};
    for (int j = 0; j < width; ++j) {
        dstRe[step * j] = re[j];
        dstIm[step * j] = im[j];
    }
}

template <class V, int width, class Real>
void FinalPass(Split<const Real> src, Split<Real> dst, const Real *twiddles, std::int64_t count) {
    for (std::int64_t k = 0; k < count; k += V::lanes, twiddles += 2 * (width - 1) * V::lanes)
        FinalButterfly<V, width, Real>({src.re + k * width, src.im + k * width}, {dst.re + k, dst.im + k},
                                       twiddles, count);
}

// Streams a multiple of this many bytes apart fall into one set of the first-level cache, and `width` of them
// twice over are more than a set holds.
constexpr std::int64_t aliasBytes = 4096;

template <class Real>
constexpr int lineValues = 64 / static_cast<int>(sizeof(Real));

template <class V, int width, class Real>
QUIETFLOOR_INLINE void CopyLines(const Real *lines, Real *dst, std::int64_t step) {
    for (int j = 0; j < width; ++j)
        for (int i = 0; i < lineValues<Real>; i += V::lanes)
            V::LoadU(lines + j * lineValues<Real> + i).StoreU(dst + step * j + i);
}

// The same for streams in one cache set: results wait until each stream is given a whole line at once,
// since the line is lost before a second vector could reach it.
template <class V, int width, class Real>
void FinalPassByLines(Split<const Real> src, Split<Real> dst, const Real *twiddles, std::int64_t count) {
    constexpr int line = lineValues<Real>;
    Real linesRe[width * line], linesIm[width * line];
    for (std::int64_t k = 0; k < count; k += line) {
        for (std::int64_t i = 0; i < line; i += V::lanes, twiddles += 2 * (width - 1) * V::lanes)
            FinalButterfly<V, width, Real>({src.re + (k + i) * width, src.im + (k + i) * width},
                                           {linesRe + i, linesIm + i}, twiddles, line);
        CopyLines<V, width>(linesRe, dst.re + k, count);
        CopyLines<V, width>(linesIm, dst.im + k, count);
    }
}

template <class V, class Real>
void Scale(Real *values, std::int64_t count, Real scale) {
    const RowOf<V> row{values};
    for (std::int64_t i = 0; i < count; i += V::lanes)
        row[i] = row[i] * scale;
}

template <class V>
constexpr int rowWidth = V::lanes > 8 ? V::lanes : 8;

// Up to this many bytes per part the destination serves as the spare array, so that a transform in place
// stays within 32 KiB of first-level cache. Longer ones gain more from a spare that is aligned and apart.
constexpr std::int64_t spareInDestination = 8192;

// A whole transform in four steps (Bailey 1990), with one narrow side. With N = length * width, n = width r +
// v,
//   X[k + length j] = sum over v of w_width^(v j) { w_N^(v k) sum over r of w_length^(r k) x[width r + v] }
// The inner sum runs down columns, whose neighbours fill vectors without a shuffle; the outer one runs along
// rows, of which the final pass takes `lanes` at a time, transposed. The source is read by the first pass
// only and nothing but the work buffer is written until then, so source and destination may be the same.
template <class V, class Real>
void RowTransformOver(Split<const Real> src, Split<Real> dst, const RowPlan<Real> &plan, Real *work,
                      Real scale) {
    constexpr int width = rowWidth<V>;
    const std::int64_t part = plan.workPart, count = plan.columns.length;
    const std::int64_t bytes = count * width * static_cast<std::int64_t>(sizeof(Real));
    const Split<Real> spare =
        bytes <= spareInDestination ? dst : Split<Real>{work + 2 * part, work + 3 * part};
    ColumnTransform<V, Real>(src, spare, {work, work + part}, plan.columns, width);
    const Split<const Real> rows = {work, work + part};
    const bool isAliased = count * static_cast<std::int64_t>(sizeof(Real)) % aliasBytes == 0;
    if (V::lanes < lineValues<Real> && isAliased)
        FinalPassByLines<V, width>(rows, dst, plan.twiddles, count);
    else
        FinalPass<V, width>(rows, dst, plan.twiddles, count);
    if (scale != Real{1}) {
        Scale<V>(dst.re, count * width, scale);
        Scale<V>(dst.im, count * width, scale);
    }
}

// The final pass takes as many rows as there are lanes: a short transform takes the narrow vector.
template <class Wide, class Narrow>
RowShape ShapeOver(std::int32_t order) {
    if ((1 << order) / rowWidth<Wide> >= Wide::lanes)
        return {Wide::lanes, rowWidth<Wide>};
    return {Narrow::lanes, rowWidth<Narrow>};
}

template <class Wide, class Narrow, class Real>
void RowTransform(Split<const Real> src, Split<Real> dst, const RowPlan<Real> &plan, Real *work, Real scale) {
    if (plan.lanes == Wide::lanes)
        RowTransformOver<Wide>(src, dst, plan, work, scale);
    else
        RowTransformOver<Narrow>(src, dst, plan, work, scale);
}

} // namespace

#endif
