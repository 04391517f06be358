/// From level spectra and noise floors to gains, bin by bin, over the level's vectors.
#ifndef QUIETFLOOR_FFT_ENGINE_NOISEGAINBODY_H
#define QUIETFLOOR_FFT_ENGINE_NOISEGAINBODY_H

#include "fft/engine/PerBinKernels.h"
#include "fft/engine/VectorMath.h"

namespace {

constexpr double fixedHold = 0.7;        // where nothing deviates
constexpr double leastPowerBase = 1e-40; // in the range of PowInRange

constexpr int spreadGroup = 4; // vectors

// Within a vector each value becomes the largest of itself and factor^j times the value j lanes before.
template <class V>
QUIETFLOOR_INLINE V SpreadLanes(V values, const double *powers) {
    values = Max(values, V::Broadcast(powers[1]) * ShiftUp<1>(values));
    if constexpr (V::lanes >= 4)
        values = Max(values, V::Broadcast(powers[2]) * ShiftUp<2>(values));
    if constexpr (V::lanes >= 8)
        values = Max(values, V::Broadcast(powers[4]) * ShiftUp<4>(values));
    return values;
}

template <class V, int direction>
QUIETFLOOR_INLINE double *LanesFrom(double *first, int k) {
    return direction > 0 ? first + k : first - k - (V::lanes - 1);
}

template <class V, int direction>
QUIETFLOOR_INLINE bool IsSpread(double *first, V factor) {
    auto isShort = V::Broadcast(0.0) > V::Broadcast(0.0);
    for (int g = 0; g < spreadGroup; ++g) {
        const double *at = LanesFrom<V, direction>(first, g * V::lanes);
        isShort = isShort | (factor * V::LoadU(at - direction) > V::LoadU(at));
    }
    return !Any(isShort);
}

// Within the group, only the last value of a vector waits for that of the vector before.
template <class V, int direction>
QUIETFLOOR_INLINE void SpreadGroup(double *first, const double *powers, V byLane) {
    V carry = V::Broadcast(first[-direction]);
    for (int g = 0; g < spreadGroup; ++g) {
        double *at = LanesFrom<V, direction>(first, g * V::lanes);
        const V values = SpreadLanes(direction > 0 ? V::LoadU(at) : Reverse(V::LoadU(at)), powers);
        const V spread = Max(values, carry * byLane);
        (direction > 0 ? spread : Reverse(spread)).StoreU(at);
        carry = Max(BroadcastLast(values), carry * V::Broadcast(powers[V::lanes]));
    }
}

// From `first` on in `direction`, each value becomes the largest of itself and `factor`^j times the
// value j before it. Most groups of vectors are smooth enough to be left as they are.
template <class V, int direction>
void Spread(double *first, double factor, int count) {
    constexpr int length = spreadGroup * V::lanes;
    double powers[V::lanes + 1] = {1.0};
    for (int j = 1; j <= V::lanes; ++j)
        powers[j] = powers[j - 1] * factor;
    const V byLane = V::LoadU(powers + 1);
    int k = 0;
    for (; k + length <= count; k += length) {
        double *group = first + direction * k;
        if (!IsSpread<V, direction>(group, V::Broadcast(factor)))
            SpreadGroup<V, direction>(group, powers, byLane);
    }
    for (; k < count; ++k) {
        double *value = first + direction * k;
        const double share = factor * value[-direction];
        *value = share > *value ? share : *value;
    }
}

template <class V>
void FollowReference(const FftEngine::ReferenceRows &rows, const FftEngine::ReferenceStep &step, int count) {
    const V scale = V::Broadcast(step.scale), one = V::Broadcast(1.0);
    const V fall = V::Broadcast(step.fallCoef), rise = V::Broadcast(step.riseCoef);
    for (int k = 0; k < count; k += V::lanes) {
        const V level = V::LoadU(rows.magnitude + k) * scale;
        const V old = V::LoadU(rows.reference + k);
        const V coef = Select(old > level, fall, rise);
        const V followed = MulAdd(one - coef, level, coef * old);
        (step.isFirst ? level : followed).StoreU(rows.reference + k);
    }
}

// 20 log10 of the ratio of magnitude to `lowest` times the floor, limited to 0 .. 3 dB. In this range
// the series of the logarithm needs no exponent taken out: log r = 2 atanh((r - 1) / (r + 1)).
template <class V>
void SquaredExcess(const double *magnitude, const double *floor, double lowest, double *squares, int count) {
    constexpr double highestRatio = 1.4125375446227544; // 3 dB
    constexpr double decibels = 17.371779276130073;     // 40 log10(e)
    for (int k = 0; k < count; k += V::lanes) {
        const V low = V::Broadcast(lowest) * V::LoadU(floor + k);
        const V high = V::Broadcast(highestRatio) * low;
        const V limited = Min(Max(V::LoadU(magnitude + k), low), high);
        const V s = (limited - low) / (limited + low);
        const V z = s * s;
        const V excess = V::Broadcast(decibels) * MulAdd(s * z, AtanhTail(z), s);
        (excess * excess).StoreU(squares + k);
    }
}

// The gain of a bin at the floor: the more noise-like and the steadier, the lower.
template <class V>
QUIETFLOOR_INLINE V GainAtFloor(V score, V activity, const FftEngine::GainStep &step) {
    constexpr double steadyActivity = 0.1f; // widened: bins that vary less count as steady
    const V zero = V::Broadcast(0.0), one = V::Broadcast(1.0);
    const V binLevel = V::Broadcast(step.binLevel);
    const V ratio = score * V::Broadcast(1.0 / step.binLevel);
    const V nearLevel = Max(zero, ratio - V::Broadcast(0.85)) * V::Broadcast(6.666666666666666);
    const V byScore = (one - nearLevel) * V::Broadcast(step.reductionDb * 1.1);
    const auto isSteady = activity < V::Broadcast(steadyActivity);
    V cutDb = Select(binLevel > score, byScore, zero);
    if (Any(isSteady)) {
        // The power of the least base is as good as 0.
        const V share = Max(activity, V::Broadcast(leastPowerBase)) * V::Broadcast(1.0 / steadyActivity);
        const V steadiness = one - PowInRange(share, 1.6);
        const V byActivity = steadiness * V::Broadcast(60.0 * (step.reductionDb / 30.0));
        cutDb = Select(isSteady, cutDb + byActivity, cutDb);
    }
    return Select(cutDb == zero, V::Broadcast(step.floorGain), Exp10InRange(cutDb * V::Broadcast(-0.05)));
}

// Gain before smoothing: 1 from the floor up, a power-law knee below it, then the floor gain.
template <class V>
QUIETFLOOR_INLINE V KneeGain(V reference, V floor, V floorGain, double kneeRatio) {
    const V one = V::Broadcast(1.0);
    const V lower = V::Broadcast(kneeRatio) * floor;
    const V position = (reference - lower) / (floor - lower);
    const V inKnee = MulAdd(PowFiveQuarters(position), one - floorGain, floorGain);
    return Select(floor > reference, Select(reference >= lower, inKnee, floorGain), one);
}

// How much of the old gain a falling gain keeps; the hold itself rises quickly and falls slowly.
template <class V>
QUIETFLOOR_INLINE V NextHold(V hold, V squaredDeviation, const FftEngine::GainStep &step) {
    V target = V::Broadcast(fixedHold);
    const auto deviates = squaredDeviation > V::Broadcast(0.0);
    if (Any(deviates)) {
        const V base = Max(squaredDeviation, V::Broadcast(leastPowerBase));
        const V byDeviation = Max(PowInRange(base, 0.5 * step.deviationExponent), V::Broadcast(0.5));
        target = Select(deviates, byDeviation, target);
    }
    const V quick = MulAdd(V::Broadcast(0.9), target, V::Broadcast(0.1) * hold);
    const V slow =
        MulAdd(V::Broadcast(1.0 - step.holdSmoothing), target, V::Broadcast(step.holdSmoothing) * hold);
    return Select(target > hold, quick, slow);
}

// The step comes by value: nothing that is stored can change it, so its factors are made once.
template <class V>
void FindGainsAtFloor(const FftEngine::GainRows &rows, const FftEngine::GainStep step, int count) {
    for (int k = 0; k < count; k += V::lanes)
        if (Any(V::LoadU(rows.floor + k) > V::LoadU(rows.reference + k)))
            GainAtFloor(V::LoadU(rows.binScore + k), V::LoadU(rows.binActivity + k), step)
                .StoreU(rows.floorGain + k);
}

template <class V>
void FindHolds(const FftEngine::GainRows &rows, const FftEngine::GainStep step, int count) {
    for (int k = 0; k < count; k += V::lanes) {
        V hold = V::Broadcast(fixedHold);
        if (step.usesDeviation)
            hold = NextHold(V::LoadU(rows.hold + k), V::LoadU(rows.squaredDeviation + k), step);
        hold.StoreU(rows.nextHold + k);
    }
}

// In three passes: the chains of dependent operations are long, and the processor overlaps more bins of
// a short loop than of a long one.
template <class V>
void SmoothGain(const FftEngine::GainRows &rows, const FftEngine::GainStep &step, int count) {
    FindGainsAtFloor<V>(rows, step, count);
    FindHolds<V>(rows, step, count);
    for (int k = 0; k < count; k += V::lanes) {
        const V target = KneeGain(V::LoadU(rows.reference + k), V::LoadU(rows.floor + k),
                                  V::LoadU(rows.floorGain + k), step.kneeRatio);
        const V old = V::LoadU(rows.gain + k), hold = V::LoadU(rows.nextHold + k);
        const auto falls = target <= old;
        if (step.usesDeviation)
            Select(falls, hold, V::LoadU(rows.hold + k)).StoreU(rows.hold + k);
        const V fallen = MulAdd(V::Broadcast(1.0) - hold, target, hold * old);
        Select(falls, fallen, target).StoreU(rows.gain + k);
    }
}

template <class V>
void ShapeOutput(const double *gain, const FftEngine::OutputCurve &curve, double *gainOut, int count) {
    const V floorOut = V::Broadcast(curve.floorOut), minOut = V::Broadcast(curve.minOut);
    const V high = V::Broadcast(curve.high), low = V::Broadcast(curve.low);
    const V perWidth = V::Broadcast(1.0) / (high - low); // infinite where the range is empty and not used
    for (int k = 0; k < count; k += V::lanes) {
        const V g = V::LoadU(gain + k);
        const V t = (g - low) * perWidth;
        const V between = MulAdd(V::Broadcast(1.0) - t, floorOut, t * g);
        const V below = Select(g > floorOut, floorOut, Max(g, minOut));
        Select(g > high, g, Select(g > low, between, below)).StoreU(gainOut + k);
    }
}

} // namespace

#endif
