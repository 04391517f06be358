// SPDX-License-Identifier: MIT
/// Two real frames in one complex transform, and the levels of their bins, over the level's vectors.
#ifndef QUIETFLOOR_DSP_KERNELS_PACKING_H
#define QUIETFLOOR_DSP_KERNELS_PACKING_H

#include "dsp/kernels/FrameKernels.h"
#include "simd/Vector.h"
#include "simd/VectorMath.h"

namespace {

// Bins that mirror others, read downwards: mirror[m] has bins m, m - 1 and so on, in the order of the bins
// that they mirror.
template <class V>
struct MirroredRow {
    const double *first;
    V operator[](std::int64_t m) const { return Reverse(V::LoadU(first + m - (V::lanes - 1))); }
};

// Two real frames a and b have gone through one complex transform as z = a + i b. The spectrum of a real
// signal is conjugate-symmetric, so with N = 2 halfSize
//   A[k] = (Z[k] + conj Z[N-k]) / 2      B[k] = (Z[k] - conj Z[N-k]) / 2i
// Of A only the magnitudes are wanted.
template <class V>
void SplitPackedSpectrum(const quietfloor::PackedSpectrumRows &rows, double scale, int halfSize) {
    const ConstRow<V> packedRe{rows.packedRe}, packedIm{rows.packedIm};
    const MirroredRow<V> mirroredRe{rows.packedRe}, mirroredIm{rows.packedIm};
    const RowOf<V> magnitude{rows.magnitude}, bRe{rows.re}, bIm{rows.im};
    for (int k = 1; k <= halfSize; k += V::lanes) {
        const int mirror = 2 * halfSize - k;
        const V re = packedRe[k], im = packedIm[k];
        const V mirrorRe = mirroredRe[mirror], mirrorIm = mirroredIm[mirror];
        const V aRe = (re + mirrorRe) * 0.5, aIm = (im - mirrorIm) * 0.5;
        magnitude[k - 1] = Sqrt(MulAdd(aIm, aIm, aRe * aRe)) * scale;
        bRe[k] = (im + mirrorIm) * 0.5;
        bIm[k] = (mirrorRe - re) * 0.5;
    }
    rows.re[0] = rows.packedIm[0]; // bin 0 mirrors itself
    rows.im[0] = 0.0;
}

// A real signal x of 2M values is the complex one z[n] = x[2n] + i x[2n+1] of M: half the transform. With
// M = halfSize its spectrum (times 2) is
//   Z[k] = X[k] + conj X[M-k] + i e^(2 pi i k / 2M) (X[k] - conj X[M-k])
// where X already has the factors: bin k its own, its mirror that of M - k.
template <class V>
void PackRealInverse(const quietfloor::RealInverseRows &rows, int halfSize) {
    const ConstRow<V> xRe{rows.re}, xIm{rows.im}, factor{rows.factor};
    const MirroredRow<V> mirroredRe{rows.re}, mirroredIm{rows.im}, mirroredFactor{rows.factor};
    const ConstRow<V> twiddleRe{rows.twiddleRe}, twiddleIm{rows.twiddleIm};
    const RowOf<V> packedRe{rows.packedRe}, packedIm{rows.packedIm};
    for (int k = 0; k < halfSize; k += V::lanes) {
        const int mirror = halfSize - k;
        const V re = xRe[k] * factor[k], im = xIm[k] * factor[k];
        const V mirrorRe = mirroredRe[mirror] * mirroredFactor[mirror];
        const V mirrorIm = mirroredIm[mirror] * mirroredFactor[mirror];
        const V c = twiddleRe[k], s = twiddleIm[k];
        const V differenceRe = re - mirrorRe, differenceIm = im + mirrorIm;
        const V oddRe = MulSub(c, differenceRe, s * differenceIm);
        const V oddIm = MulAdd(c, differenceIm, s * differenceRe);
        packedRe[k] = (re + mirrorRe) - oddIm;
        packedIm[k] = (im - mirrorIm) + oddRe;
    }
}

template <class V>
void InterleaveSamples(const double *even, const double *odd, double *frame, int count) {
    const ConstRow<V> evenRow{even}, oddRow{odd};
    const RowOf<V> both{frame};
    for (int n = 0; n < count; n += V::lanes) {
        V low, high;
        Interleave(evenRow[n], oddRow[n], low, high);
        both[2 * n] = low;
        both[2 * n + V::lanes] = high;
    }
}

template <class V>
void LevelsDb(const double *magnitude, double offsetDb, double *levelDb, int count) {
    const ConstRow<V> magnitudes{magnitude};
    const RowOf<V> levels{levelDb};
    for (int k = 0; k < count; k += V::lanes)
        levels[k] = MulAdd(20.0, Log10(magnitudes[k]), offsetDb);
}

} // namespace

#endif
