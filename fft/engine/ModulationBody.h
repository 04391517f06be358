/// The modulation spectrum of each bin's magnitude over 64 frames; a vector holds neighbouring bins.
#ifndef QUIETFLOOR_FFT_ENGINE_MODULATIONBODY_H
#define QUIETFLOOR_FFT_ENGINE_MODULATIONBODY_H

#include "fft/engine/PerBinKernels.h"
#include "fft/engine/SmallTransforms.h"
#include "fft/engine/TrackerBody.h"
#include "fft/engine/VectorMath.h"

namespace {

constexpr int ringLength = 64;
constexpr int profileLength = 32;
constexpr int historyLength = 12;

template <class V>
void FeedModulation(const double *magnitude, bool isFirst, double *filterState, float *levels,
                    float *residuals, int count) {
    for (int k = 0; k < count; k += V::lanes) {
        const V x = Min(V::LoadU(magnitude + k), V::Broadcast(FftEngine::highestMagnitude));
        // The filter starts settled at the first value.
        V state = isFirst ? x / V::Broadcast(lowPassB0 + lowPassB1) : V::LoadU(filterState + k);
        const V trend = LowPass(x, state);
        state.StoreU(filterState + k);
        x.StoreFloats(levels + k);
        (x - trend).StoreFloats(residuals + k);
    }
}

// The row of a ring that is n frames younger than the oldest.
struct RingOfRows {
    const float *ring;
    int oldest, stride;

    QUIETFLOOR_INLINE const float *Row(int n) const {
        return ring + ((oldest + n) & (ringLength - 1)) * stride;
    }
};

// Magnitudes of bins 0 and 1 of the level's windowed transform.
template <class VF>
void SlowMagnitudes(const RingOfRows &levels, const FftEngine::ModulationTables &tables, float *target,
                    int k) {
    VF sum = VF::Broadcast(0.0f), re = sum, im = sum;
    for (int n = 0; n < ringLength; ++n) {
        const VF level = VF::LoadU(levels.Row(n) + k);
        sum = MulAdd(level, VF::Broadcast(tables.window[n]), sum);
        re = MulAdd(level, VF::Broadcast(tables.windowCosine[n]), re);
        im = MulAdd(level, VF::Broadcast(tables.windowSine[n]), im);
    }
    Max(sum, -sum).StoreU(target + k);
    Sqrt(re * re + im * im).StoreU(target + levels.stride + k);
}

// Magnitudes of bins 0 to 31 of the residual's windowed transform: 64 real values as 32 complex ones,
// even samples real and odd ones imaginary, X[j] = E[j] + w^j O[j] and X[32 - j] = conj(E[j] - w^j O[j]).
template <class VF>
void ResidualMagnitudes(const RingOfRows &residuals, const FftEngine::ModulationTables &tables, float *target,
                        int k) {
    VF re[profileLength], im[profileLength];
    for (int n = 0; n < profileLength; ++n) {
        re[n] = VF::LoadU(residuals.Row(2 * n) + k) * VF::Broadcast(tables.window[2 * n]);
        im[n] = VF::LoadU(residuals.Row(2 * n + 1) + k) * VF::Broadcast(tables.window[2 * n + 1]);
    }
    Transform(re, im);
    const VF half = VF::Broadcast(0.5f), dc = re[0] + im[0];
    Max(dc, -dc).StoreU(target + k);
    for (int j = 1; j <= profileLength / 2; ++j) {
        const int m = profileLength - j;
        const VF evenRe = (re[j] + re[m]) * half, evenIm = (im[j] - im[m]) * half;
        const VF oddRe = (im[j] + im[m]) * half, oddIm = (re[m] - re[j]) * half;
        const VF c = VF::Broadcast(tables.cosine[j]), s = VF::Broadcast(tables.sine[j]);
        const VF turnedRe = MulAdd(c, oddRe, s * oddIm), turnedIm = MulSub(c, oddIm, s * oddRe);
        const VF upRe = evenRe + turnedRe, upIm = evenIm + turnedIm;
        const VF downRe = evenRe - turnedRe, downIm = evenIm - turnedIm;
        Sqrt(upRe * upRe + upIm * upIm).StoreU(target + j * residuals.stride + k);
        Sqrt(downRe * downRe + downIm * downIm).StoreU(target + m * residuals.stride + k);
    }
}

template <class VF>
void TransformModulation(const FftEngine::ModulationSpectrumRows &rows,
                         const FftEngine::ModulationTables &tables, int ringPos, int stride, int count) {
    for (int k = 0; k < count; k += VF::lanes) {
        SlowMagnitudes<VF>({rows.levelRing, ringPos, stride}, tables, rows.slowMagnitude, k);
        ResidualMagnitudes<VF>({rows.residualRing, ringPos, stride}, tables, rows.magnitude, k);
    }
}

// Applies a function of doubles to a vector of floats, rounding only its result.
template <class VF, class VD, class Function>
VF InDouble(VF x, Function function) {
    VD low, high;
    Widen(x, low, high);
    return Narrow(function(low), function(high));
}

// Sample standard deviation of `length` values at `stride`. Taken around the mean, floats lose nothing.
template <class VF>
VF StandardDeviation(const float *values, int stride, int length) {
    VF sum = VF::LoadU(values);
    for (int i = 1; i < length; ++i)
        sum = sum + VF::LoadU(values + i * stride);
    const VF mean = sum * VF::Broadcast(1.0f / static_cast<float>(length));
    VF squares = VF::Broadcast(0.0f);
    for (int i = 0; i < length; ++i) {
        const VF difference = VF::LoadU(values + i * stride) - mean;
        squares = MulAdd(difference, difference, squares);
    }
    return Sqrt(squares * VF::Broadcast(1.0f / static_cast<float>(length - 1)));
}

// What a smoothing keeps of the old value and takes of the new one.
struct Weights {
    float old, fresh;
};

// Smoothed by `fall` where the old value is above the new one, else by `rise`.
template <class VF>
VF Smoothed(VF old, VF fresh, Weights fall, Weights rise) {
    const VF fallen = VF::Broadcast(fall.old) * old + VF::Broadcast(fall.fresh) * fresh;
    const VF risen = VF::Broadcast(rise.old) * old + VF::Broadcast(rise.fresh) * fresh;
    return Select(old > fresh, fallen, risen);
}

// The sum of the slow levels, which fall fast and rise slowly, goes into the history.
template <class VF>
void FollowSlowLevel(const FftEngine::ModulationScoreRows &rows, int historyPos, int stride, int k) {
    VF sum = VF::Broadcast(0.0f);
    for (int j = 0; j < 2; ++j) {
        float *level = rows.slowLevel + j * stride + k;
        const VF magnitude = VF::LoadU(rows.slowMagnitude + j * stride + k);
        const VF smoothed = Smoothed(VF::LoadU(level), magnitude, {0.2f, 0.8f}, {0.92f, 0.08f});
        smoothed.StoreU(level);
        sum = sum + smoothed;
    }
    sum.StoreU(rows.levelHistory + historyPos * stride + k);
}

// How uneven the smoothed modulation spectrum is, against its mean: the pooled deviation of its three
// stretches. The divisor is 31, two more than the values less one of each stretch add up to.
template <class VF, class VD>
VF Unevenness(const FftEngine::ModulationScoreRows &rows, int stride, int k) {
    VF sum = VF::Broadcast(0.0f);
    for (int j = 0; j < profileLength; ++j) {
        float *entry = rows.profile + j * stride + k;
        const VF magnitude = VF::LoadU(rows.magnitude + j * stride + k);
        const VF profile = VF::Broadcast(0.3f) * VF::LoadU(entry) + VF::Broadcast(0.7f) * magnitude;
        profile.StoreU(entry);
        sum = sum + profile;
    }
    const VF mean = sum * VF::Broadcast(0.03125f);
    const auto stretch = [&](int first, int length) {
        const VF deviation = StandardDeviation<VF>(rows.profile + first * stride + k, stride, length);
        return VF::Broadcast(static_cast<float>(length - 1)) * (deviation * deviation);
    };
    const VF pooled = Sqrt((stretch(0, 8) + stretch(8, 16) + stretch(24, 8)) / VF::Broadcast(31.0f));
    const VF scaled = pooled / InDouble<VF, VD>(mean, [](VD x) { return Pow(x, 0.88); });
    return Max(Select(mean > VF::Broadcast(1e-10f), scaled, pooled), VF::Broadcast(0.0001f));
}

// How much the slow level varies over the last twelve analyses, against its mean.
template <class VF, class VD>
VF LevelVariability(const float *levelHistory, int stride, int k) {
    VF sum = VF::Broadcast(0.0f);
    for (int i = 0; i < historyLength; ++i)
        sum = sum + VF::LoadU(levelHistory + i * stride + k);
    const VF mean = sum / VF::Broadcast(static_cast<float>(historyLength));
    const VF deviation = StandardDeviation<VF>(levelHistory + k, stride, historyLength);
    const VF scaled = deviation / InDouble<VF, VD>(mean, [](VD x) { return Pow(x, 0.85); });
    return Select(mean > VF::Broadcast(1e-10f), scaled, deviation);
}

template <class VF, class VD>
void ScoreModulation(const FftEngine::ModulationScoreRows &rows, const FftEngine::ModulationScoreStep &step,
                     int stride, int count) {
    for (int k = 0; k < count; k += VF::lanes) {
        FollowSlowLevel<VF>(rows, step.historyPos, stride, k);
        const VF variability = LevelVariability<VF, VD>(rows.levelHistory, stride, k);
        const VF activity =
            Smoothed(VF::LoadU(rows.activity + k), variability, {0.15f, 0.85f}, {0.95f, 0.05f});
        activity.StoreU(rows.activity + k);

        // A bin whose level hardly varies has its score cut by up to three quarters.
        const VF uneven = Unevenness<VF, VD>(rows, stride, k);
        const VF relative = activity / VF::Broadcast(step.activityRef);
        const VF cut = uneven * (relative * relative * VF::Broadcast(0.75f) + VF::Broadcast(0.25f));
        const VF fresh = Select(VF::Broadcast(step.activityRef) > activity, cut, uneven);
        const VF old = VF::LoadU(rows.score + k);
        const VF fallen = VF::Broadcast(0.5f) * old + VF::Broadcast(0.5f) * fresh;
        Select(fresh > old, fresh, fallen).StoreU(rows.score + k);
    }
}

} // namespace

#endif
