// SPDX-License-Identifier: MIT
/// From magnitudes and noise floors to log-spectral gains, bin by bin, over the level's vectors.
///
/// The published formulas, in their order: minimum statistics in short (Martin 2001) where there is no floor
/// yet, the noise power by the probability of speech (Gerkmann and Hendriks 2012), the decision-directed
/// ratio and the log-spectral amplitude gain (Ephraim and Malah 1984 and 1985) with a second step that takes
/// out its delay of one frame (Plapous, Marro and Scalart 2006), the probability of presence (Cohen and
/// Berdugo 2001), and the smoothing of gains over frequency in noise (Esch and Vary 2009).
#ifndef QUIETFLOOR_NOISE_KERNELS_LOGSPECTRAL_H
#define QUIETFLOOR_NOISE_KERNELS_LOGSPECTRAL_H

#include "noise/kernels/NoiseKernels.h"
#include "simd/Vector.h"
#include "simd/VectorMath.h"

namespace {

using namespace quietfloor::tuning;

constexpr double log10OfE = 0.4342944819032518;

// The power of the noise as it shows before the tracker has a floor: the least smoothed level of the last
// two stretches, each up to `provisionalMs` long.
template <class V>
QUIETFLOOR_INLINE V FollowMinimum(const quietfloor::NoiseRows &rows, const quietfloor::NoiseStep &step,
                                  V power, V soundShare, int k) {
    const RowOf<V> levels{rows.level}, news{rows.minimum}, olds{rows.pastMinimum};
    V level = levels[k];
    level = MulAdd(step.levelWeight * soundShare, power - level, level);
    levels[k] = level;
    if (step.stretch == quietfloor::NoiseStretch::first) {
        news[k] = level;
        olds[k] = level;
    } else if (step.stretch == quietfloor::NoiseStretch::begins) {
        olds[k] = V(news[k]);
        news[k] = level;
    } else {
        news[k] = Min(V(news[k]), level);
    }
    return step.minimumFactor * Min(V(news[k]), V(olds[k]));
}

// The tracker's floor as a power, smoothed. A floor that has just come begins where the minimum was, and
// counts as a mean would: its n-th frame with 1 / n, until the smoothing is slower. One that has moved far
// from its mean starts another.
template <class V>
QUIETFLOOR_INLINE V FollowFloor(const quietfloor::NoiseRows &rows, const quietfloor::NoiseStep &step,
                                V minimum, V soundShare, int k) {
    const ConstRow<V> floors{rows.noiseFloor};
    const RowOf<V> ages{rows.floorAge}, smoothed{rows.floorPower};
    const V floor = floors[k], power = floor * floor * step.floorScale;
    const V oldAge = ages[k];
    const auto hasFloor = floor > 0.0;
    const auto isNew = oldAge == 0.0;
    const V start = step.hasMinimum ? minimum : power;
    const V old = Select(isNew, start, V(smoothed[k]));
    const auto isFar = (power > old * farFromMean) | (power * farFromMean < old);
    const V age = Select(isNew, step.startAge, Select(isFar, Min(oldAge, step.startAge), oldAge));
    const V weight = Max(step.floorWeight, 1.0 / (age + 1.0));
    const V followed = MulAdd(weight * soundShare, power - old, old);
    ages[k] = Select(hasFloor, age + 1.0, 0.0);
    const V result = Max(Select(hasFloor, followed, minimum), leastNoisePower);
    smoothed[k] = result;
    return result;
}

// The mean power of the noise: the bin's own, where it is unlikely to hold more, within a few dB of the
// floor. It comes up slowly from below, where noise looks like speech, so it never lies below a young floor.
template <class V>
QUIETFLOOR_INLINE V FollowNoisePower(const quietfloor::NoiseRows &rows, const quietfloor::NoiseStep &step,
                                     V power, V floor, V soundShare, int k) {
    const ConstRow<V> ages{rows.floorAge};
    const RowOf<V> noises{rows.noise}, presences{rows.presence};
    const V age = ages[k];
    const auto isYoung = (age > 0.0) & (age < step.youngAge);
    const V low = floor * Select(isYoung, 1.0, noiseBelowFloor), high = floor * noiseAboveFloor;
    const V before = noises[k];
    const V noise = Min(Max(Select(before == 0.0, floor, before), low), high);
    const V exponent = Min(V(power / noise * (speechRatio / (1.0 + speechRatio) * log10OfE)), 87.0);
    const V likely = 1.0 / MulAdd(1.0 + speechRatio, Exp10InRange(-exponent), 1.0);
    const V smoothed = MulAdd(step.presenceWeight, likely - V(presences[k]), presences[k]);
    presences[k] = smoothed;
    // A noise that has grown for good would look like speech for ever.
    const V taken = Select(smoothed > sureSpeech, Min(likely, sureSpeech), likely);
    const V weight = step.noiseWeight * soundShare * (1.0 - taken);
    const V followed = Min(Max(MulAdd(weight, power - noise, noise), low), high);
    noises[k] = followed;
    return followed;
}

// Noise power, then the ratios of the signal to it. A bin that holds nothing but dither teaches nothing.
template <class V>
void FollowNoise(const quietfloor::NoiseRows &rows, const quietfloor::NoiseStep &step, int count) {
    const ConstRow<V> magnitudes{rows.magnitude}, pastClean{rows.cleanPower};
    const RowOf<V> posteriors{rows.posterior}, priors{rows.prior};
    const RowOf<V> smoothedPriors{rows.smoothedPrior};
    for (int k = 0; k < count; k += V::lanes) {
        const V magnitude = magnitudes[k], power = magnitude * magnitude;
        const V soundShare = Select(power < ditherPower, 0.0, step.teaches ? 1.0 : 0.0);
        const V minimum = FollowMinimum<V>(rows, step, power, soundShare, k);
        const V floor = FollowFloor<V>(rows, step, minimum, soundShare, k);
        const V inverse = 1.0 / FollowNoisePower<V>(rows, step, power, floor, soundShare, k);
        const V posterior = Min(power * inverse, highestRatio);
        const V estimated = (1.0 - step.priorWeight) * Max(posterior - 1.0, 0.0);
        const V directed = MulAdd(step.priorWeight * V(pastClean[k]), inverse, estimated);
        const V prior = Min(Max(directed, leastPrior), highestRatio);
        posteriors[k] = posterior;
        priors[k] = prior;
        smoothedPriors[k] = MulAdd(step.smoothingWeight, prior - V(smoothedPriors[k]), smoothedPriors[k]);
    }
}

// Mean of a row over a window around each bin, from its running sum.
template <class V>
struct WindowMean {
    const double *sum;     // of the entries before and up to each
    const double *inverse; // of how many of the window's entries there are
    int reach;             // entries on each side
    QUIETFLOOR_INLINE V operator[](int k) const {
        return (V::LoadU(sum + k + reach) - V::LoadU(sum + k - reach - 1)) * V::LoadU(inverse + k);
    }
};

// e^x E1(x) x for x >= 1 and E1(x) + ln x below: Abramowitz and Stegun (1964), 5.1.56 and 5.1.53, to 2e-7.
template <class V>
QUIETFLOOR_INLINE V ExponentialTail(V x) {
    V over = MulAdd(x, MulAdd(x, MulAdd(x, x + 8.5733287401, 18.0590169730), 8.6347608925), 0.2677737343);
    V under = MulAdd(x, MulAdd(x, MulAdd(x, x + 9.5733223454, 25.6329561486), 21.0996530827), 3.9584969228);
    return over / under;
}
template <class V>
QUIETFLOOR_INLINE V ExponentialHead(V x) {
    const V high = MulAdd(x, MulAdd(x, 0.00107857, -0.00976004), 0.05519968);
    return MulAdd(x, MulAdd(x, MulAdd(x, high, -0.24991055), 0.99999193), -0.57721566);
}

// log10 of the gain a / (1 + a) e^(E1(v) / 2); `decay` is e^-v.
template <class V>
QUIETFLOOR_INLINE V LogSpectralGain(V wiener, V v, V decay) {
    const auto isSmall = v < 1.0;
    const V square = wiener * wiener;
    const V base = Log10(Select(isSmall, square / v, square));
    const V integral = Select(isSmall, ExponentialHead(v), ExponentialTail(v) * decay / v);
    return Min(0.5 * MulAdd(log10OfE, integral, base), 0.0);
}

template <class V>
void EstimateGain(const quietfloor::EstimateRows &rows, const quietfloor::EstimateStep &step, int count) {
    const ConstRow<V> magnitudes{rows.magnitude}, floors{rows.noiseFloor};
    const ConstRow<V> posteriors{rows.posterior}, priors{rows.prior};
    const RowOf<V> cleanPower{rows.cleanPower}, logGains{rows.logGain}, presences{rows.presence};
    const WindowMean<V> local{rows.priorSum, rows.localInverse, step.localReach};
    const WindowMean<V> wide{rows.priorSum, rows.wideInverse, step.wideReach};
    for (int k = 0; k < count; k += V::lanes) {
        const V magnitude = magnitudes[k], posterior = posteriors[k], first = priors[k];
        const V firstGain = first / (1.0 + first);
        const V clean = firstGain * firstGain;
        cleanPower[k] = clean * (magnitude * magnitude);
        const V prior = Max(Sqrt(first * Max(clean * posterior, leastPrior)), leastPrior);
        const V wiener = prior / (1.0 + prior);
        const V v = Max(posterior * wiener, leastExponent);
        const V decay = Exp10InRange(Min(v, 200.0) * -log10OfE);

        const V localRatio = local[k] * (1.0 / presenceRatio), wideRatio = wide[k] * (1.0 / presenceRatio);
        const V localSquare = localRatio * localRatio, wideSquare = wideRatio * wideRatio;
        const V both = localSquare * wideSquare / ((1.0 + localSquare) * (1.0 + wideSquare));
        const V expected = Max(step.framePresence * both, leastPresence);
        const V odds = (1.0 - expected) / expected;
        const V presence = 1.0 / MulAdd(odds * (1.0 + prior), decay, 1.0);

        const V lowest = Select(V(floors[k]) > 0.0, step.lowestLogGain, step.provisionalLogGain);
        const V logGain = Max(LogSpectralGain(wiener, v, decay), lowest - 1.0);
        const V weighted = MulAdd(presence, logGain - lowest, lowest);
        logGains[k] = Min(Max(weighted, lowest), 0.0);
        presences[k] = presence;
    }
}

// Where a neighbourhood holds little but noise, the mean of its gains takes the place of each, and moves
// slowly.
template <class V>
void BlendGain(const quietfloor::BlendRows &rows, const quietfloor::BlendStep &step, int count) {
    const ConstRow<V> logGains{rows.logGain};
    const RowOf<V> pastLogGains{rows.pastLogGain}, gains{rows.gain};
    const WindowMean<V> presence{rows.presenceSum, rows.noiseInverse, step.noiseReach};
    const WindowMean<V> mean{rows.logGainSum, rows.blendInverse, step.blendReach};
    for (int k = 0; k < count; k += V::lanes) {
        const V logGain = logGains[k];
        const V share = Sqrt(Max(1.0 - presence[k] * (1.0 / blendPresence), 0.0));
        const V blended = MulAdd(share, mean[k] - logGain, logGain);
        const V held = MulAdd(share * blendHold, V(pastLogGains[k]) - blended, blended);
        pastLogGains[k] = held;
        gains[k] = Exp10InRange(held);
    }
}

} // namespace

#endif
