// SPDX-License-Identifier: MIT
/// The noise floor of each bin from frame to frame, over the level's vectors.
///
/// A floor is the minimum of the bin's smoothed level plus a threshold (compare minimum statistics: R.
/// Martin, IEEE Trans. Speech and Audio Processing 9, 2001). Unlike there it moves only on evidence: frames
/// whose modulation looks like noise add to it, frames of signal take it away, and neighbouring bins share
/// both. Once enough has gathered the floor moves, downwards at once and upwards at a limited rate.
#ifndef QUIETFLOOR_NOISE_KERNELS_TRACKER_H
#define QUIETFLOOR_NOISE_KERNELS_TRACKER_H

#include "noise/kernels/LowPass.h"
#include "noise/kernels/NoiseKernels.h"
#include "simd/Vector.h"
#include "simd/VectorMath.h"

namespace {

using namespace quietfloor::tuning;

template <class V>
V LimitedLevel(V levelDb) {
    // An exact zero has the level -infinity, which would never leave the filter again; these limits
    // lie far outside what dithered and limited samples give. NaN becomes the lower one.
    return Min(Max(levelDb, lowestLevelDb), highestLevelDb);
}

// Low-pass, minimum and activity of each bin, and how far the spectrum as a whole rose.
template <class V>
double FollowLevel(const quietfloor::LevelRows &rows, int count) {
    const V rising = minRise, falling = minFall;
    const ConstRow<V> levels{rows.levelDb};
    const ConstFloatRow<V> activities{rows.activity};
    const RowOf<V> prev{rows.prevDb}, states{rows.levelState}, smoothedDb{rows.smoothedDb};
    const RowOf<V> minLevel{rows.minLevelDb}, binActivity{rows.binActivity};
    V flux = 0.0;
    for (int k = 0; k < count; k += V::lanes) {
        const V level = LimitedLevel<V>(levels[k]);
        const V rise = Max(level - prev[k], 0.0);
        flux = MulAdd(rise, rise, flux);
        prev[k] = level;

        V state = states[k];
        const V smoothed = LowPass(level, state);
        states[k] = state;
        smoothedDb[k] = smoothed;

        const V minimum = minLevel[k];
        const V weight = Select(minimum > smoothed, falling, rising);
        minLevel[k] = MulAdd(weight, minimum, (1.0 - weight) * smoothed);

        // A rise is followed slowly, a fall at once; 0 says that there is no activity yet.
        const V activity = activities[k], old = binActivity[k];
        const V slow = MulAdd(activityNew, activity, activityOld * old);
        const V followed = Select(old > activity, activity, slow);
        binActivity[k] = Select(activity == 0.0, old, followed);
    }
    return Sum(flux);
}

// What each bin's score says: 1 in `signalShare` for a signal, the weight of the evidence in
// `noiseShare` for noise, neither while there is no score.
template <class V>
void ShareEvidence(const float *score, double binLevel, double *signalShare, double *noiseShare, int count) {
    const V level = binLevel;
    const ConstFloatRow<V> scores{score};
    const RowOf<V> signal{signalShare}, noise{noiseShare};
    for (int k = 0; k < count; k += V::lanes) {
        const V s = scores[k];
        const V ratio = Max(s / level, 0.0);
        const V weight = level / MulAdd(evidenceCurve, ratio * Sqrt(ratio),
                                        evidenceRest); // ratio^1.5
        const auto isNoise = AndNot(s < level, s == 0.0);
        const auto isSignal = AndNot(s >= level, s == 0.0);
        signal[k] = Select(isSignal, 1.0, 0.0);
        noise[k] = Select(isNoise, weight, 0.0);
    }
}

// Where enough evidence stands, the floor goes to the minimum plus threshold, but it rises no faster
// than a rate that grows with how noise-like the bin is. A first floor is not limited. In dB, in which
// the limit is a sum.
template <class V>
QUIETFLOOR_INLINE V UpdatedFloorDb(const quietfloor::EvidenceRows &rows, const quietfloor::EvidenceStep &step,
                                   V floor, V floorDb, V score, int k) {
    const V quickBelow = quickBelowDb;
    const V minimum = V::LoadU(rows.minLevelDb + k);
    const V candidate = minimum + step.thresholdDb;
    const V rate = step.trackerRate + Max(quickBelow - minimum, 0.0);
    const V last = V::LoadU(rows.lastUpdatePos + k);
    const V seconds = (step.position - last) * (1.0 / step.sampleRate);
    const V distance = 1.0 - score * (1.0 / step.binLevel);
    const V rateDb = MulAdd(noiseRateDb, distance * distance * distance, rate);
    const V limit = MulAdd(rateDb, seconds, floorDb);
    return Select((last != 0.0) & (floor != 0.0), Min(candidate, limit), candidate);
}

template <class V>
struct EvidenceState {
    V evidence, signalCount, lastUpdatePos;
};

// One bin's own share of this frame; tells which bins have gathered enough to move their floor.
// Every outcome is computed for every bin and masks choose, since the bins of one vector differ.
template <class V>
QUIETFLOOR_INLINE typename V::Mask TakeOwnShare(EvidenceState<V> &state, V signalShare, V noiseShare,
                                                const quietfloor::EvidenceStep &step) {
    const V kept = lossFactor;
    const V target = step.evidenceTarget, position = step.position;
    const auto isSignal = signalShare > 0.0;
    const auto isNoise = noiseShare > 0.0;

    // A run of signal-like frames halves the evidence; a single one, such as noise has by chance, does not.
    const V counted = state.signalCount + ownSignal;
    const auto isLost = isSignal & (counted >= step.countLimit);
    const V gathered = MulAdd(ownEvidence, noiseShare, state.evidence);
    const auto isUpdate = isNoise & (gathered > target);
    const V eased =
        Select(state.signalCount > signalCountKept, state.signalCount - signalCountEase, state.signalCount);

    V count = Select(isSignal, counted, Select(isNoise, eased, state.signalCount));
    state.signalCount = Select(isLost | isUpdate, count * kept, count);
    V evidence = Select(isNoise, gathered, state.evidence);
    evidence = Select(isLost, evidence * kept, evidence);
    state.evidence = Select(isUpdate, target * evidenceAfterUpdate, evidence);
    state.lastUpdatePos = Select(isLost | isUpdate, position, state.lastUpdatePos);
    return isUpdate;
}

// Neighbours vouch for each other: a bin takes a part of what the two beside it say.
//
// The bins are walked upwards: a bin has its lower neighbour's share of this frame when it is reached, and
// gets the upper neighbour's share afterwards. Floors move in dB only; `isUpdated` tells which.
template <class V>
void GatherEvidence(const quietfloor::EvidenceRows &rows, const quietfloor::EvidenceStep step, int count) {
    const V signalPart = neighbourSignal, noisePart = neighbourEvidence;
    const ConstRow<V> signal{rows.signalShare}, noise{rows.noiseShare}, noiseFloor{rows.noiseFloor};
    const ConstFloatRow<V> scores{rows.score};
    const RowOf<V> evidence{rows.evidence}, signalCount{rows.signalCount}, lastUpdate{rows.lastUpdatePos};
    const RowOf<V> floorDb{rows.floorDb}, binScore{rows.binScore}, isUpdated{rows.isUpdated};
    for (int k = 0; k < count; k += V::lanes) {
        EvidenceState<V> state{evidence[k], signalCount[k], lastUpdate[k]};
        if (!step.isFirst) {
            state.signalCount = MulAdd(signalPart, signal[k - 1], state.signalCount);
            state.evidence = MulAdd(noisePart, noise[k - 1], state.evidence);
        }
        const auto isUpdate = TakeOwnShare<V>(state, signal[k], noise[k], step);
        const V score = scores[k], old = floorDb[k];
        const V updated = UpdatedFloorDb<V>(rows, step, noiseFloor[k], old, score, k);
        floorDb[k] = Select(isUpdate, updated, old);
        binScore[k] = Select(isUpdate, score, binScore[k]);
        isUpdated[k] = Select(isUpdate, 1.0, 0.0);

        signalCount[k] = MulAdd(signalPart, signal[k + 1], state.signalCount);
        evidence[k] = MulAdd(noisePart, noise[k + 1], state.evidence);
        lastUpdate[k] = state.lastUpdatePos;
    }
}

// A floor above the smoothed level plus threshold is pulled most of the way down at once.
template <class V>
QUIETFLOOR_INLINE V PulledDown(V floor, V ceilingDb) {
    const V ceiling = Exp10(ceilingDb * 0.05);
    const V pulled = MulAdd(capShare, ceiling, capRest * floor);
    return Max(pulled, leastFloor);
}

// The linear floors of the bins whose floor has moved, and the cap on all that have a score.
template <class V>
quietfloor::FloorChange SettleFloors(const quietfloor::EvidenceRows &rows, double thresholdDb, int count) {
    const V threshold = thresholdDb;
    const ConstRow<V> updated{rows.isUpdated}, signal{rows.signalShare}, noise{rows.noiseShare};
    const ConstRow<V> smoothed{rows.smoothedDb};
    const RowOf<V> floorsDb{rows.floorDb}, floors{rows.noiseFloor};
    quietfloor::FloorChange change{false, false};
    for (int k = 0; k < count; k += V::lanes) {
        const auto isUpdated = updated[k] > 0.0;
        const auto hasScore = (signal[k] > 0.0) | (noise[k] > 0.0);
        const V smoothedDb = smoothed[k], floorDb = floorsDb[k];
        const auto isAbove = hasScore & (floorDb - threshold > smoothedDb);
        if (!Any(isUpdated | isAbove)) // as in most frames: powers and logarithms are dear
            continue;
        V floor = floors[k];
        if (Any(isUpdated)) {
            floor = Select(isUpdated, Exp10(floorDb * 0.05), floor);
            change.wasUpdated = true;
        }
        if (Any(isAbove)) {
            floor = Select(isAbove, PulledDown(floor, threshold + smoothedDb), floor);
            floorsDb[k] = Select(isAbove, 20.0 * Log10(floor), floorDb);
        }
        floors[k] = floor;
        change.hasMoved = true;
    }
    return change;
}

template <class V>
quietfloor::FloorChange MoveFloors(const quietfloor::EvidenceRows &rows, const quietfloor::EvidenceStep &step,
                                   int count) {
    GatherEvidence<V>(rows, step, count);
    return SettleFloors<V>(rows, step.thresholdDb, count);
}

template <class V>
quietfloor::FloorCensus CountFloors(const double *noiseFloor, const double *floorDb, int count) {
    V sum = 0.0, audibleCount = 0.0, absentCount = 0.0;
    const ConstRow<V> floors{noiseFloor}, levels{floorDb};
    for (int k = 0; k < count; k += V::lanes) {
        const V floor = floors[k];
        const auto isAudible = floor > audibleFloor;
        sum = sum + Select(isAudible, levels[k], 0.0);
        audibleCount = audibleCount + Select(isAudible, 1.0, 0.0);
        absentCount = absentCount + Select(floor < absentFloor, 1.0, 0.0);
    }
    return {Sum(sum), static_cast<int>(Sum(audibleCount)), static_cast<int>(Sum(absentCount))};
}

} // namespace

#endif
