// SPDX-License-Identifier: MIT
/// From level spectra and noise floors to gains, bin by bin, over the level's vectors.
///
/// A gate per bin: 1 from the floor up, below it a knee, then the gain of noise. Two things keep it from
/// sounding like gates: gains spread to their neighbours, and a gain falls the more slowly the more the
/// neighbourhood stands above its floors, so that a sound closes as a whole.
#ifndef QUIETFLOOR_NOISE_KERNELS_GAIN_H
#define QUIETFLOOR_NOISE_KERNELS_GAIN_H

#include "noise/kernels/NoiseKernels.h"
#include "simd/Vector.h"
#include "simd/VectorMath.h"

namespace {

using namespace quietfloor::tuning;

constexpr double leastPowerBase = 1e-40; // in the range of PowInRange

constexpr int spreadGroup = 4; // vectors

// No value of a spread row is below `spreading` times its neighbour. Value by value that is one long chain,
// each waiting for the one before; within a vector it takes log2(lanes) steps, as a prefix sum does, since
// maxima may be taken in any order.

// Within a vector each value becomes the largest of itself and factor^j times the value j lanes before.
template <class V>
QUIETFLOOR_INLINE V SpreadLanes(V values, const double *powers) {
    values = Max(values, powers[1] * ShiftUp<1>(values));
    if constexpr (V::lanes >= 4)
        values = Max(values, powers[2] * ShiftUp<2>(values));
    if constexpr (V::lanes >= 8)
        values = Max(values, powers[4] * ShiftUp<4>(values));
    return values;
}

template <class V, int direction>
QUIETFLOOR_INLINE double *LanesFrom(double *first, int k) {
    return direction > 0 ? first + k : first - k - (V::lanes - 1);
}

template <class V, int direction>
QUIETFLOOR_INLINE bool IsSpread(double *first, V factor) {
    typename V::Mask isShort = V(0.0) > 0.0;
    for (int g = 0; g < spreadGroup; ++g) {
        const double *at = LanesFrom<V, direction>(first, g * V::lanes);
        isShort = isShort | (factor * V::LoadU(at - direction) > V::LoadU(at));
    }
    return !Any(isShort);
}

// Within the group, only the last value of a vector waits for that of the vector before.
template <class V, int direction>
QUIETFLOOR_INLINE void SpreadGroup(double *first, const double *powers, V byLane) {
    V carry = first[-direction];
    for (int g = 0; g < spreadGroup; ++g) {
        double *at = LanesFrom<V, direction>(first, g * V::lanes);
        const V values = SpreadLanes(direction > 0 ? V::LoadU(at) : Reverse(V::LoadU(at)), powers);
        const V spread = Max(values, carry * byLane);
        (direction > 0 ? spread : Reverse(spread)).StoreU(at);
        carry = Max(BroadcastLast(values), carry * powers[V::lanes]);
    }
}

// From `first` on in `direction`, each value becomes the largest of itself and `spreading`^j times the
// value j before it. Most groups of vectors are smooth enough to be left as they are.
template <class V, int direction>
void Spread(double *first, int count) {
    constexpr int length = spreadGroup * V::lanes;
    double powers[V::lanes + 1] = {1.0};
    for (int j = 1; j <= V::lanes; ++j)
        powers[j] = powers[j - 1] * spreading;
    const V byLane = V::LoadU(powers + 1);
    int k = 0;
    for (; k + length <= count; k += length) {
        double *group = first + direction * k;
        if (!IsSpread<V, direction>(group, spreading))
            SpreadGroup<V, direction>(group, powers, byLane);
    }
    for (; k < count; ++k) {
        double *value = first + direction * k;
        const double share = spreading * value[-direction];
        *value = share > *value ? share : *value;
    }
}

// The level that is held against the floor: it rises quickly, so that no attack is lost, and falls slowly.
template <class V>
void FollowReference(const quietfloor::ReferenceRows &rows, const quietfloor::ReferenceStep &step,
                     int count) {
    const V fall = step.fallCoef, rise = step.riseCoef;
    const ConstRow<V> magnitude{rows.magnitude};
    const RowOf<V> reference{rows.reference};
    for (int k = 0; k < count; k += V::lanes) {
        const V level = magnitude[k] * step.scale;
        const V old = reference[k];
        const V coef = Select(old > level, fall, rise);
        const V followed = MulAdd(1.0 - coef, level, coef * old);
        reference[k] = step.isFirst ? level : followed;
    }
}

// 20 log10 of the ratio of magnitude to `lowest` times the floor, limited to 0 .. 3 dB. In this range
// the series of the logarithm needs no exponent taken out: log r = 2 atanh((r - 1) / (r + 1)).
template <class V>
void SquaredExcess(const double *magnitude, const double *floor, double lowest, double *squares, int count) {
    constexpr double decibels = 17.371779276130073; // 40 log10(e)
    const ConstRow<V> magnitudes{magnitude}, floors{floor};
    const RowOf<V> squared{squares};
    for (int k = 0; k < count; k += V::lanes) {
        const V low = lowest * floors[k];
        const V high = excessLimitRatio * low;
        const V limited = Min(Max(magnitudes[k], low), high);
        const V s = (limited - low) / (limited + low);
        const V z = s * s;
        const V excess = decibels * MulAdd(s * z, AtanhTail(z), s);
        squared[k] = excess * excess;
    }
}

// The gain of a bin at the floor: the more noise-like and the steadier, the lower.
template <class V>
QUIETFLOOR_INLINE V GainAtFloor(V score, V activity, const quietfloor::GainStep &step) {
    const V binLevel = step.binLevel;
    const V ratio = score * (1.0 / step.binLevel);
    const V nearLevel = Max(0.0, ratio - sureNoiseRatio) * sureNoiseSlope;
    const V byScore = (1.0 - nearLevel) * (step.reductionDb * sureNoiseFactor);
    const auto isSteady = activity < steadyActivity;
    V cutDb = Select(binLevel > score, byScore, 0.0);
    if (Any(isSteady)) { // a power costs more than all the rest
        // The power of the least base is as good as 0.
        const V share = Max(activity, leastPowerBase) * (1.0 / steadyActivity);
        const V steadiness = 1.0 - PowInRange(share, steadyExponent);
        const V byActivity = steadiness * (steadyReductionDb * (step.reductionDb / steadyReductionAt));
        cutDb = Select(isSteady, cutDb + byActivity, cutDb);
    }
    return Select(cutDb == 0.0, step.floorGain, Exp10InRange(cutDb * -0.05));
}

// Gain before smoothing: 1 from the floor up, a power-law knee below it, then the floor gain. `lower` is
// where the knee begins; there the power is 0 and at the floor 1.
template <class V>
QUIETFLOOR_INLINE V KneeGain(V reference, V floor, V floorGain, double kneeRatio) {
    const V lower = kneeRatio * floor;
    const V position = (reference - lower) / (floor - lower);
    const V inKnee = MulAdd(PowFiveQuarters(position), 1.0 - floorGain, floorGain);
    return Select(floor > reference, Select(reference >= lower, inKnee, floorGain), 1.0);
}

// How much of the old gain a falling gain keeps; the hold itself rises quickly and falls slowly.
template <class V>
QUIETFLOOR_INLINE V NextHold(V hold, V squaredDeviation) {
    V target = fixedHold;
    const auto deviates = squaredDeviation > 0.0;
    if (Any(deviates)) {
        const V base = Max(squaredDeviation, leastPowerBase);
        const V byDeviation = Max(PowInRange(base, 0.5 * deviationExponent), leastHold);
        target = Select(deviates, byDeviation, target);
    }
    const V quick = MulAdd(holdRise, target, holdRiseRest * hold);
    const V slow = MulAdd(1.0 - holdSmoothing, target, holdSmoothing * hold);
    return Select(target > hold, quick, slow);
}

// The step comes by value: nothing that is stored can change it, so its factors are made once.
template <class V>
void FindGainsAtFloor(const quietfloor::GainRows &rows, const quietfloor::GainStep step, int count) {
    const ConstRow<V> floor{rows.floor}, reference{rows.reference};
    const ConstRow<V> score{rows.binScore}, activity{rows.binActivity};
    const RowOf<V> floorGain{rows.floorGain};
    for (int k = 0; k < count; k += V::lanes)
        if (Any(floor[k] > reference[k])) // above the floor the gain is 1, and the powers are not needed
            floorGain[k] = GainAtFloor(score[k], activity[k], step);
}

template <class V>
void FindHolds(const quietfloor::GainRows &rows, const quietfloor::GainStep step, int count) {
    const ConstRow<V> hold{rows.hold}, deviation{rows.squaredDeviation};
    const RowOf<V> nextHold{rows.nextHold};
    for (int k = 0; k < count; k += V::lanes)
        nextHold[k] = step.usesDeviation ? NextHold<V>(hold[k], deviation[k]) : V(fixedHold);
}

// In three passes: the chains of dependent operations are long, and the processor overlaps more bins of
// a short loop than of a long one.
template <class V>
void SmoothGain(const quietfloor::GainRows &rows, const quietfloor::GainStep &step, int count) {
    FindGainsAtFloor<V>(rows, step, count);
    FindHolds<V>(rows, step, count);
    const ConstRow<V> reference{rows.reference}, floor{rows.floor};
    const ConstRow<V> floorGain{rows.floorGain}, nextHold{rows.nextHold};
    const RowOf<V> holds{rows.hold}, gain{rows.gain};
    for (int k = 0; k < count; k += V::lanes) {
        const V target = KneeGain<V>(reference[k], floor[k], floorGain[k], step.kneeRatio);
        const V old = gain[k], hold = nextHold[k];
        // A gain that rises opens at once and leaves its hold as it was.
        const auto falls = target <= old;
        if (step.usesDeviation)
            holds[k] = Select(falls, hold, holds[k]);
        const V fallen = MulAdd(1.0 - hold, target, hold * old);
        gain[k] = Select(falls, fallen, target);
    }
}

// Gains above `high` pass. From there down to `low` they are drawn towards `floorOut`, in proportion to how
// far down they are; lower ones are limited to `minOut` .. `floorOut`.
template <class V>
void ShapeOutput(const double *gain, const quietfloor::OutputCurve &curve, double *gainOut, int count) {
    const V floorOut = curve.floorOut, minOut = curve.minOut;
    const V high = curve.high, low = curve.low;
    const V perWidth = 1.0 / (high - low); // infinite where the range is empty and not used
    const ConstRow<V> gains{gain};
    const RowOf<V> out{gainOut};
    for (int k = 0; k < count; k += V::lanes) {
        const V g = gains[k];
        const V t = (g - low) * perWidth;
        const V between = MulAdd(1.0 - t, floorOut, t * g);
        const V below = Select(g > floorOut, floorOut, Max(g, minOut));
        out[k] = Select(g > high, g, Select(g > low, between, below));
    }
}

} // namespace

#endif
