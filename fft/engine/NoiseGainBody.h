/// From level spectra and noise floors to gains, bin by bin, over the level's vectors.
#ifndef QUIETFLOOR_FFT_ENGINE_NOISEGAINBODY_H
#define QUIETFLOOR_FFT_ENGINE_NOISEGAINBODY_H

#include "fft/engine/PerBinKernels.h"
#include "fft/engine/VectorMath.h"

namespace {

constexpr double leastPowerBase = 1e-40;

// From `first` on in `direction`, each value becomes the largest of itself and `factor`^j times the
// value j before it. Within a vector by doubling steps, from vector to vector by its last value alone.
template <class V, int direction>
void Spread(double *first, double factor, int count) {
    constexpr int lanes = V::lanes;
    double powers[lanes + 1] = {1.0};
    for (int j = 1; j <= lanes; ++j)
        powers[j] = powers[j - 1] * factor;
    const V byLane = V::LoadU(powers + 1), byVector = V::Broadcast(powers[lanes]);
    V carry = V::Broadcast(first[-direction]);
    int k = 0;
    for (; k + lanes <= count; k += lanes) {
        double *at = direction > 0 ? first + k : first - k - (lanes - 1);
        V values = direction > 0 ? V::LoadU(at) : Reverse(V::LoadU(at));
        values = Max(values, V::Broadcast(factor) * ShiftUp<1>(values));
        if constexpr (lanes >= 4)
            values = Max(values, V::Broadcast(powers[2]) * ShiftUp<2>(values));
        if constexpr (lanes >= 8)
            values = Max(values, V::Broadcast(powers[4]) * ShiftUp<4>(values));
        const V spread = Max(values, carry * byLane);
        carry = Max(BroadcastLast(values), carry * byVector);
        (direction > 0 ? spread : Reverse(spread)).StoreU(at);
    }
    for (; k < count; ++k) {
        double *value = first + direction * k;
        const double share = factor * value[-direction];
        *value = share > *value ? share : *value;
    }
}

template <class V>
void FollowReference(const FftEngine::ReferenceRows &rows, const FftEngine::ReferenceStep &step, int count) {
    const V boost = V::Broadcast(step.boost), one = V::Broadcast(1.0);
    const V fall = V::Broadcast(step.fallCoef), rise = V::Broadcast(step.riseCoef);
    for (int k = 0; k < count; k += V::lanes) {
        const V level = Exp10(V::LoadU(rows.levelDb + k) * V::Broadcast(0.05)) * boost;
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

template <class V>
void DeviationFromSums(const double *sums, double windowBins, double *deviation, int count) {
    const V perBin = V::Broadcast(1.0 / windowBins), third = V::Broadcast(1.0 / 3.0);
    for (int k = 0; k < count; k += V::lanes)
        (Sqrt(V::LoadU(sums + k) * perBin) * third).StoreU(deviation + k);
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
        // A power of 0 would leave the short path; that of the least value is as good as 0.
        const V share = Max(activity, V::Broadcast(leastPowerBase)) * V::Broadcast(1.0 / steadyActivity);
        const V steadiness = one - Pow(share, 1.6);
        const V byActivity = steadiness * V::Broadcast(60.0 * (step.reductionDb / 30.0));
        cutDb = Select(isSteady, cutDb + byActivity, cutDb);
    }
    return Select(cutDb == zero, V::Broadcast(step.floorGain), Exp10(cutDb * V::Broadcast(-0.05)));
}

// Gain before smoothing: 1 from the floor up, a power-law knee below it, then the floor gain.
template <class V>
QUIETFLOOR_INLINE V KneeGain(V reference, V floor, V floorGain, double kneeRatio) {
    const V one = V::Broadcast(1.0);
    const V lower = V::Broadcast(kneeRatio) * floor;
    const V position = (reference - lower) / (floor - lower);
    const V power = position * Sqrt(Sqrt(position)); // ^1.25
    const V inKnee = MulAdd(power, one - floorGain, floorGain);
    return Select(floor > reference, Select(reference >= lower, inKnee, floorGain), one);
}

// How much of the old gain a falling gain keeps; the hold itself rises quickly and falls slowly.
template <class V>
QUIETFLOOR_INLINE V NextHold(V hold, V deviation, const FftEngine::GainStep &step) {
    const V base = Max(deviation, V::Broadcast(leastPowerBase));
    const V byDeviation = Max(Pow(base, step.deviationExponent), V::Broadcast(0.5));
    const V target = Select(deviation > V::Broadcast(0.0), byDeviation, V::Broadcast(0.7));
    const V quick = MulAdd(V::Broadcast(0.9), target, V::Broadcast(0.1) * hold);
    const V slow =
        MulAdd(V::Broadcast(1.0 - step.holdSmoothing), target, V::Broadcast(step.holdSmoothing) * hold);
    return Select(target > hold, quick, slow);
}

template <class V>
void SmoothGain(const FftEngine::GainRows &rows, const FftEngine::GainStep &step, int count) {
    const V one = V::Broadcast(1.0);
    for (int k = 0; k < count; k += V::lanes) {
        const V reference = V::LoadU(rows.reference + k), floor = V::LoadU(rows.floor + k);
        V target = one;
        if (Any(floor > reference)) {
            const V floorGain =
                GainAtFloor(V::LoadU(rows.binScore + k), V::LoadU(rows.binActivity + k), step);
            target = KneeGain(reference, floor, floorGain, step.kneeRatio);
        }
        const V old = V::LoadU(rows.gain + k);
        const auto falls = target <= old;
        V hold = V::Broadcast(0.7), weight = V::Broadcast(0.30000000000000004); // 1 - 0.7 in double
        if (step.usesDeviation && Any(falls)) {
            const V oldHold = V::LoadU(rows.hold + k);
            hold = NextHold(oldHold, V::LoadU(rows.deviation + k), step);
            weight = one - hold;
            Select(falls, hold, oldHold).StoreU(rows.hold + k);
        }
        Select(falls, MulAdd(weight, target, hold * old), target).StoreU(rows.gain + k);
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
