// SPDX-License-Identifier: MIT
/// The modulation spectrum of each bin's magnitude over 64 frames; a vector holds neighbouring bins.
///
/// From frame to frame the magnitude of noise moves at random, and its spectrum over time is even. Speech and
/// music move at the pace of syllables and notes, which stand out of that spectrum. So an uneven one says
/// signal. The trend is taken off first: a mere drift of the level would fill the lowest modulation bins.
#ifndef QUIETFLOOR_NOISE_KERNELS_MODULATION_H
#define QUIETFLOOR_NOISE_KERNELS_MODULATION_H

#include "fft/kernels/SmallTransforms.h"
#include "noise/kernels/LowPass.h"
#include "noise/kernels/NoiseKernels.h"
#include "simd/Vector.h"
#include "simd/VectorMath.h"

namespace {

using namespace quietfloor::tuning;

// One frame into the rings. They are floats: half the memory, and twice the bins in a vector.
template <class V>
void FeedModulation(const double *magnitude, bool isFirst, double *filterState, float *levels,
                    float *residuals, int count) {
    const ConstRow<V> magnitudes{magnitude};
    const RowOf<V> states{filterState};
    for (int k = 0; k < count; k += V::lanes) {
        const V x = Min(magnitudes[k], highestMagnitude);
        // The filter starts settled at the first value.
        V state = isFirst ? x / (lowPassB0 + lowPassB1) : V(states[k]);
        const V trend = LowPass(x, state);
        states[k] = state;
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

// Magnitudes of bins 0 and 1 of the level's windowed transform, straight from its definition: for two bins of
// 64 three sums are cheaper than a whole transform.
template <class VF>
void SlowMagnitudes(const RingOfRows &levels, const quietfloor::ModulationTables &tables, float *target,
                    int k) {
    VF sum = 0.0f, re = sum, im = sum;
    for (int n = 0; n < ringLength; ++n) {
        const VF level = VF::LoadU(levels.Row(n) + k);
        sum = MulAdd(level, tables.window[n], sum);
        re = MulAdd(level, tables.windowCosine[n], re);
        im = MulAdd(level, tables.windowSine[n], im);
    }
    Max(sum, -sum).StoreU(target + k);
    Sqrt(re * re + im * im).StoreU(target + levels.stride + k);
}

// Magnitudes of bins 0 to 31 of the residual's windowed transform: 64 real values as 32 complex ones,
// even samples real and odd ones imaginary, X[j] = E[j] + w^j O[j] and X[32 - j] = conj(E[j] - w^j O[j]).
template <class VF>
void ResidualMagnitudes(const RingOfRows &residuals, const quietfloor::ModulationTables &tables,
                        float *target, int k) {
    VF re[profileLength], im[profileLength];
    for (int n = 0; n < profileLength; ++n) {
        re[n] = VF::LoadU(residuals.Row(2 * n) + k) * tables.window[2 * n];
        im[n] = VF::LoadU(residuals.Row(2 * n + 1) + k) * tables.window[2 * n + 1];
    }
    Transform(re, im);
    const VF half = 0.5f, dc = re[0] + im[0];
    Max(dc, -dc).StoreU(target + k); // the magnitude of a real value
    for (int j = 1; j <= profileLength / 2; ++j) {
        const int m = profileLength - j;
        const VF evenRe = (re[j] + re[m]) * half, evenIm = (im[j] - im[m]) * half;
        const VF oddRe = (im[j] + im[m]) * half, oddIm = (re[m] - re[j]) * half;
        // X[j] above and X[32 - j] below come from the same two values, one sum and one difference.
        const VF c = tables.cosine[j], s = tables.sine[j];
        const VF rotatedRe = MulAdd(c, oddRe, s * oddIm), rotatedIm = MulSub(c, oddIm, s * oddRe);
        const VF upRe = evenRe + rotatedRe, upIm = evenIm + rotatedIm;
        const VF downRe = evenRe - rotatedRe, downIm = evenIm - rotatedIm;
        Sqrt(upRe * upRe + upIm * upIm).StoreU(target + j * residuals.stride + k);
        Sqrt(downRe * downRe + downIm * downIm).StoreU(target + m * residuals.stride + k);
    }
}

template <class VF>
void TransformModulation(const quietfloor::ModulationSpectrumRows &rows,
                         const quietfloor::ModulationTables &tables, int ringPos, int stride, int count) {
    for (int k = 0; k < count; k += VF::lanes) {
        SlowMagnitudes<VF>({rows.levelRing, ringPos, stride}, tables, rows.slowMagnitude, k);
        ResidualMagnitudes<VF>({rows.residualRing, ringPos, stride}, tables, rows.magnitude, k);
    }
}

// Applies a function of doubles to a vector of floats, rounding only its result: a power in floats would need
// polynomials of its own.
template <class VF, class VD, class Function>
VF InDouble(VF x, Function function) {
    VD low, high;
    Widen(x, low, high);
    return Narrow(function(low), function(high));
}

// Sample standard deviation of `length` values at `stride`. In two passes, around the mean: the difference of
// two large sums, which one pass would take, leaves a float few bits.
template <class VF>
VF StandardDeviation(const float *values, int stride, int length) {
    VF sum = VF::LoadU(values);
    for (int i = 1; i < length; ++i)
        sum = sum + VF::LoadU(values + i * stride);
    const VF mean = sum * (1.0f / static_cast<float>(length));
    VF squares = 0.0f;
    for (int i = 0; i < length; ++i) {
        const VF difference = VF::LoadU(values + i * stride) - mean;
        squares = MulAdd(difference, difference, squares);
    }
    return Sqrt(squares * (1.0f / static_cast<float>(length - 1)));
}

// What a smoothing keeps of the old value and takes of the new one.
struct Weights {
    float old, fresh;
};

// Smoothed by `fall` where the old value is above the new one, else by `rise`.
template <class VF>
VF Smoothed(VF old, VF fresh, Weights fall, Weights rise) {
    const VF fallen = fall.old * old + fall.fresh * fresh;
    const VF risen = rise.old * old + rise.fresh * fresh;
    return Select(old > fresh, fallen, risen);
}

// The sum of the slow levels, which fall fast and rise slowly, goes into the history.
template <class VF>
void FollowSlowLevel(const quietfloor::ModulationScoreRows &rows, int historyPos, int stride, int k) {
    VF sum = 0.0f;
    for (int j = 0; j < 2; ++j) {
        float *level = rows.slowLevel + j * stride + k;
        const VF magnitude = VF::LoadU(rows.slowMagnitude + j * stride + k);
        const VF smoothed =
            Smoothed(VF::LoadU(level), magnitude, {slowFallOld, slowFallNew}, {slowRiseOld, slowRiseNew});
        smoothed.StoreU(level);
        sum = sum + smoothed;
    }
    sum.StoreU(rows.levelHistory + historyPos * stride + k);
}

// How uneven the smoothed modulation spectrum is, against its mean: the pooled deviation of its three
// stretches, slow, middle and fast, each around its own mean, since the spectrum of noise slopes. The divisor
// is two more than the values less one of each stretch add up to. A power of the mean a little below 1 takes
// the level out of the result.
template <class VF, class VD>
VF Unevenness(const quietfloor::ModulationScoreRows &rows, int stride, int k) {
    VF sum = 0.0f;
    for (int j = 0; j < profileLength; ++j) {
        float *entry = rows.profile + j * stride + k;
        const VF magnitude = VF::LoadU(rows.magnitude + j * stride + k);
        const VF profile = profileOld * VF::LoadU(entry) + profileNew * magnitude;
        profile.StoreU(entry);
        sum = sum + profile;
    }
    const VF mean = sum * profileMeanFactor;
    const auto stretch = [&](int first, int length) {
        const VF deviation = StandardDeviation<VF>(rows.profile + first * stride + k, stride, length);
        return static_cast<float>(length - 1) * (deviation * deviation);
    };
    const VF pooled = Sqrt((stretch(0, 8) + stretch(8, 16) + stretch(24, 8)) / pooledDivisor);
    const VF scaled = pooled / InDouble<VF, VD>(mean, [](VD x) { return Pow(x, unevennessExponent); });
    return Max(Select(mean > leastMean, scaled, pooled), leastScore);
}

// How much the slow level varies over the last twelve analyses (about a hundred frames), against its mean.
template <class VF, class VD>
VF LevelVariability(const float *levelHistory, int stride, int k) {
    VF sum = 0.0f;
    for (int i = 0; i < historyLength; ++i)
        sum = sum + VF::LoadU(levelHistory + i * stride + k);
    const VF mean = sum / static_cast<float>(historyLength);
    const VF deviation = StandardDeviation<VF>(levelHistory + k, stride, historyLength);
    const VF scaled = deviation / InDouble<VF, VD>(mean, [](VD x) { return Pow(x, variabilityExponent); });
    return Select(mean > leastMean, scaled, deviation);
}

template <class VF, class VD>
void ScoreModulation(const quietfloor::ModulationScoreRows &rows, int historyPos, int stride, int count) {
    for (int k = 0; k < count; k += VF::lanes) {
        FollowSlowLevel<VF>(rows, historyPos, stride, k);
        const VF variability = LevelVariability<VF, VD>(rows.levelHistory, stride, k);
        const VF activity = Smoothed(VF::LoadU(rows.activity + k), variability,
                                     {activityFallOld, activityFallNew}, {activityRiseOld, activityRiseNew});
        activity.StoreU(rows.activity + k);

        // A bin whose level hardly varies has its score cut by up to three quarters: whatever its
        // spectrum, it is as steady as noise.
        const VF uneven = Unevenness<VF, VD>(rows, stride, k);
        const VF relative = activity / activityReference;
        const VF cut = uneven * (relative * relative * activityCut + activityCutRest);
        const VF fresh = Select(activityReference > activity, cut, uneven);
        // A score rises at once and halves its distance on the way down, so that one syllable counts for
        // several analyses.
        const VF old = VF::LoadU(rows.score + k);
        const VF fallen = scoreOld * old + scoreNew * fresh;
        Select(fresh > old, fresh, fallen).StoreU(rows.score + k);
    }
}

} // namespace

#endif
