/// Per-bin work between the transforms of a frame, over the level's vectors.
#ifndef QUIETFLOOR_FFT_ENGINE_SPECTRALBODY_H
#define QUIETFLOOR_FFT_ENGINE_SPECTRALBODY_H

#include "fft/engine/PerBinKernels.h"
#include "fft/engine/VectorMath.h"

namespace {

// The mirror bins N - k .. N - k - lanes + 1 as one vector in the order of k.
template <class V>
V LoadMirrored(const double *row, int mirror) {
    return Reverse(V::LoadU(row + mirror - (V::lanes - 1)));
}

// With Z = A + i B of two real signals, A[k] = (Z[k] + conj Z[N-k]) / 2 and B[k] = (Z[k] - conj Z[N-k]) / 2i.
template <class V>
void SplitPackedSpectrum(const FftEngine::PackedSpectrumRows &rows, double scale, int halfSize) {
    const V half = V::Broadcast(0.5);
    const V factor = V::Broadcast(scale);
    for (int k = 1; k <= halfSize; k += V::lanes) {
        const int mirror = 2 * halfSize - k;
        const V re = V::LoadU(rows.packedRe + k), im = V::LoadU(rows.packedIm + k);
        const V mirrorRe = LoadMirrored<V>(rows.packedRe, mirror),
                mirrorIm = LoadMirrored<V>(rows.packedIm, mirror);
        const V aRe = (re + mirrorRe) * half, aIm = (im - mirrorIm) * half;
        (Sqrt(MulAdd(aIm, aIm, aRe * aRe)) * factor).StoreU(rows.magnitude + k - 1);
        ((im + mirrorIm) * half).StoreU(rows.re + k);
        ((mirrorRe - re) * half).StoreU(rows.im + k);
    }
    rows.re[0] = rows.packedIm[0];
    rows.im[0] = 0.0;
}

// With M = halfSize, Z[k] = X[k] + conj X[M-k] + i e^(2 pi i k / 2M) (X[k] - conj X[M-k]).
template <class V>
void PackRealInverse(const FftEngine::RealInverseRows &rows, int halfSize) {
    for (int k = 0; k < halfSize; k += V::lanes) {
        const V re = V::LoadU(rows.re + k), im = V::LoadU(rows.im + k);
        const V mirrorRe = LoadMirrored<V>(rows.re, halfSize - k),
                mirrorIm = LoadMirrored<V>(rows.im, halfSize - k);
        const V c = V::LoadU(rows.twiddleRe + k), s = V::LoadU(rows.twiddleIm + k);
        const V differenceRe = re - mirrorRe, differenceIm = im + mirrorIm;
        const V oddRe = MulSub(c, differenceRe, s * differenceIm),
                oddIm = MulAdd(c, differenceIm, s * differenceRe);
        ((re + mirrorRe) - oddIm).StoreU(rows.packedRe + k);
        ((im - mirrorIm) + oddRe).StoreU(rows.packedIm + k);
    }
}

template <class V>
void LevelsDb(const double *magnitude, double offsetDb, double *levelDb, int count) {
    const V offset = V::Broadcast(offsetDb);
    for (int k = 0; k < count; k += V::lanes)
        MulAdd(V::Broadcast(20.0), Log10(V::LoadU(magnitude + k)), offset).StoreU(levelDb + k);
}

} // namespace

#endif
