/// From level spectra and noise floors to gains, bin by bin, over the level's vectors.
#ifndef QUIETFLOOR_FFT_ENGINE_NOISEGAINBODY_H
#define QUIETFLOOR_FFT_ENGINE_NOISEGAINBODY_H

#include "fft/engine/PerBinKernels.h"
#include "fft/engine/VectorMath.h"

namespace {

// Each of `count` values, a multiple of 8, becomes the largest of itself and `factor`^j times the value
// `direction` j before it. Two passes instead of one chain of dependent steps: first eight values reach
// each other, then each eighth one.
template <class V, int direction>
void SpreadBlocks(double *values, double factor, int count) {
    double power[9] = {1.0};
    for (int j = 1; j <= 8; ++j)
        power[j] = power[j - 1] * factor;
    const auto at = [&](int k) { return values + (direction > 0 ? k : 1 - V::lanes - k); };
    for (int k = count - V::lanes; k >= 0; k -= V::lanes) { // sources last, so that they are still old
        V largest = V::LoadU(at(k));
        for (int j = 1; j < 8; ++j)
            largest = Max(largest, V::Broadcast(power[j]) * V::LoadU(at(k) - direction * j));
        largest.StoreU(at(k));
    }
    for (int k = 0; k < count; k += V::lanes)
        Max(V::LoadU(at(k)), V::Broadcast(power[8]) * V::LoadU(at(k) - direction * 8)).StoreU(at(k));
}

template <class V, int direction>
void Spread(double *first, double factor, int count) {
    // The first ones, with eight or more behind them for the rest to look back to, one by one.
    const int single = count < 16 ? count : 8 + count % 8;
    for (int k = 0; k < single; ++k) {
        double *value = first + direction * k;
        const double share = factor * value[-direction];
        *value = share > *value ? share : *value;
    }
    SpreadBlocks<V, direction>(first + direction * single, factor, count - single);
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

template <class V>
void SquaredExcess(const double *levelDb, const double *floor, double offsetDb, double *squares, int count) {
    const V offset = V::Broadcast(offsetDb);
    for (int k = 0; k < count; k += V::lanes) {
        const V floorDb = MulAdd(V::Broadcast(20.0), Log10(V::LoadU(floor + k)), offset);
        const V excess = V::LoadU(levelDb + k) - floorDb;
        const V limited = Min(Max(excess, V::Broadcast(0.0)), V::Broadcast(3.0));
        (limited * limited).StoreU(squares + k);
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
V GainAtFloor(V score, V activity, const FftEngine::GainStep &step) {
    constexpr double steadyActivity = 0.1f; // widened: bins that vary less count as steady
    const V zero = V::Broadcast(0.0), one = V::Broadcast(1.0);
    const V binLevel = V::Broadcast(step.binLevel);
    const V nearLevel = Max(zero, score / binLevel - V::Broadcast(0.85)) * V::Broadcast(6.666666666666666);
    const V byScore = (one - nearLevel) * V::Broadcast(step.reductionDb * 1.1);
    const auto isSteady = activity < V::Broadcast(steadyActivity);
    V cutDb = Select(binLevel > score, byScore, zero);
    if (Any(isSteady)) {
        const V steadiness = one - Pow(activity * V::Broadcast(1.0 / steadyActivity), 1.6);
        const V byActivity = steadiness * V::Broadcast(60.0 * (step.reductionDb / 30.0));
        cutDb = Select(isSteady, cutDb + byActivity, cutDb);
    }
    return Select(cutDb == zero, V::Broadcast(step.floorGain), Exp10(cutDb * V::Broadcast(-0.05)));
}

// Gain before smoothing: 1 from the floor up, a power-law knee below it, then the floor gain.
template <class V>
V KneeGain(V reference, V floor, V floorGain, double kneeRatio) {
    const V one = V::Broadcast(1.0);
    const V lower = V::Broadcast(kneeRatio) * floor;
    const V position = (reference - lower) / (floor - lower);
    const V power = position * Sqrt(Sqrt(position)); // ^1.25
    const V inKnee = MulAdd(power, one - floorGain, floorGain);
    return Select(floor > reference, Select(reference >= lower, inKnee, floorGain), one);
}

// How much of the old gain a falling gain keeps; the hold itself rises quickly and falls slowly.
template <class V>
V NextHold(V hold, V deviation, const FftEngine::GainStep &step) {
    const V byDeviation = Max(Pow(deviation, step.deviationExponent), V::Broadcast(0.5));
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
    for (int k = 0; k < count; k += V::lanes) {
        const V g = V::LoadU(gain + k);
        const V t = (g - low) / (high - low);
        const V between = MulAdd(V::Broadcast(1.0) - t, floorOut, t * g);
        const V below = Select(g > floorOut, floorOut, Max(g, minOut));
        Select(g > high, g, Select(g > low, between, below)).StoreU(gainOut + k);
    }
}

} // namespace

#endif
