/// Per-bin work between the transforms of a frame, over the level's vectors.
#ifndef QUIETFLOOR_FFT_ENGINE_SPECTRALBODY_H
#define QUIETFLOOR_FFT_ENGINE_SPECTRALBODY_H

#include "fft/engine/PerBinKernels.h"
#include "fft/engine/VectorMath.h"

namespace {

template <class V>
void ApplyWindow(const float *samples, const double *window, double *frame, int count) {
    for (int i = 0; i < count; i += V::lanes)
        (V::LoadFloats(samples + i) * V::LoadU(window + i)).StoreU(frame + i);
}

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
        const V factor = V::LoadU(rows.factor + k), mirrorFactor = LoadMirrored<V>(rows.factor, halfSize - k);
        const V re = V::LoadU(rows.re + k) * factor, im = V::LoadU(rows.im + k) * factor;
        const V mirrorRe = LoadMirrored<V>(rows.re, halfSize - k) * mirrorFactor;
        const V mirrorIm = LoadMirrored<V>(rows.im, halfSize - k) * mirrorFactor;
        const V c = V::LoadU(rows.twiddleRe + k), s = V::LoadU(rows.twiddleIm + k);
        const V differenceRe = re - mirrorRe, differenceIm = im + mirrorIm;
        const V oddRe = MulSub(c, differenceRe, s * differenceIm),
                oddIm = MulAdd(c, differenceIm, s * differenceRe);
        ((re + mirrorRe) - oddIm).StoreU(rows.packedRe + k);
        ((im - mirrorIm) + oddRe).StoreU(rows.packedIm + k);
    }
}

template <class V>
void InterleaveSamples(const double *even, const double *odd, double *frame, int count) {
    for (int n = 0; n < count; n += V::lanes) {
        V low, high;
        Interleave(V::LoadU(even + n), V::LoadU(odd + n), low, high);
        low.StoreU(frame + 2 * n);
        high.StoreU(frame + 2 * n + V::lanes);
    }
}

template <class V>
V LimitedOutput(V sample) {
    constexpr double highest = 1e36; // overlapping sums of it still fit a float
    return Max(Min(sample, V::Broadcast(highest)), V::Broadcast(-highest));
}

template <class F, class V>
void AddWeighted(const double *frame, const double *weight, float *output, int count) {
    for (int i = 0; i < count; i += F::lanes) {
        const V low = V::LoadU(frame + i) * V::LoadU(weight + i);
        const V high = V::LoadU(frame + i + V::lanes) * V::LoadU(weight + i + V::lanes);
        const F sum = F::LoadU(output + i) + Narrow(LimitedOutput(low), LimitedOutput(high));
        sum.StoreU(output + i);
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
