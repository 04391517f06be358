/// The noise floor of each bin from frame to frame, over the level's vectors.
#ifndef QUIETFLOOR_FFT_ENGINE_TRACKERBODY_H
#define QUIETFLOOR_FFT_ENGINE_TRACKERBODY_H

#include "fft/engine/PerBinKernels.h"
#include "fft/engine/VectorMath.h"

namespace {

// First-order low-pass with unity gain at DC: w = x - a1 w', y = b0 w + b1 w'.
constexpr double lowPassB0 = 0.06628679254662644;
constexpr double lowPassB1 = 0.03621344803260061;
constexpr double lowPassA1 = -0.897499759420773;

template <class V>
QUIETFLOOR_INLINE V LowPass(V x, V &state) {
    const V previous = state;
    state = NegMulAdd(V::Broadcast(lowPassA1), previous, x);
    return MulAdd(V::Broadcast(lowPassB0), state, V::Broadcast(lowPassB1) * previous);
}

template <class V>
V LimitedLevel(V levelDb) {
    // An exact zero has the level -infinity, which would never leave the filter again; these limits
    // lie far outside what dithered and limited samples give. NaN becomes the lower one.
    return Min(Max(levelDb, V::Broadcast(FftEngine::lowestLevelDb)), V::Broadcast(FftEngine::highestLevelDb));
}

template <class V>
double FollowLevel(const FftEngine::LevelRows &rows, const FftEngine::LevelStep &step, int count) {
    const V zero = V::Broadcast(0.0), one = V::Broadcast(1.0);
    const V minRise = V::Broadcast(step.minRise), minFall = V::Broadcast(step.minFall);
    V flux = zero;
    for (int k = 0; k < count; k += V::lanes) {
        const V level = LimitedLevel(V::LoadU(rows.levelDb + k));
        const V rise = Max(level - V::LoadU(rows.prevDb + k), zero);
        flux = MulAdd(rise, rise, flux);
        level.StoreU(rows.prevDb + k);

        V state = V::LoadU(rows.levelState + k);
        const V smoothed = LowPass(level, state);
        state.StoreU(rows.levelState + k);
        smoothed.StoreU(rows.smoothedDb + k);

        const V minimum = V::LoadU(rows.minLevelDb + k);
        const V weight = Select(minimum > smoothed, minFall, minRise);
        MulAdd(weight, minimum, (one - weight) * smoothed).StoreU(rows.minLevelDb + k);

        const V activity = V::LoadFloats(rows.activity + k);
        const V old = V::LoadU(rows.binActivity + k);
        const V slow = MulAdd(V::Broadcast(0.08), activity, V::Broadcast(0.92) * old);
        const V followed = Select(old > activity, activity, slow);
        Select(activity == zero, old, followed).StoreU(rows.binActivity + k);
    }
    return Sum(flux);
}

// What each bin's score says: 1 in `signalShare` for a signal, the weight of the evidence in
// `noiseShare` for noise, neither while there is no score.
template <class V>
void ShareEvidence(const float *score, double binLevel, double *signalShare, double *noiseShare, int count) {
    const V zero = V::Broadcast(0.0), level = V::Broadcast(binLevel);
    for (int k = 0; k < count; k += V::lanes) {
        const V s = V::LoadFloats(score + k);
        const V ratio = Max(s / level, zero);
        const V weight =
            level / MulAdd(V::Broadcast(0.8), ratio * Sqrt(ratio), V::Broadcast(0.2)); // ratio^1.5
        const auto isNoise = AndNot(s < level, s == zero);
        const auto isSignal = AndNot(s >= level, s == zero);
        Select(isSignal, V::Broadcast(1.0), zero).StoreU(signalShare + k);
        Select(isNoise, weight, zero).StoreU(noiseShare + k);
    }
}

// Where enough evidence stands, the floor goes to the minimum plus threshold, but it rises no faster
// than a rate that grows with how noise-like the bin is. A first floor is not limited. In dB, in which
// the limit is a sum.
template <class V>
QUIETFLOOR_INLINE V UpdatedFloorDb(const FftEngine::EvidenceRows &rows, const FftEngine::EvidenceStep &step,
                                   V floor, V floorDb, V score, int k) {
    const V zero = V::Broadcast(0.0), one = V::Broadcast(1.0), lowLevel = V::Broadcast(-120.0);
    const V minimum = V::LoadU(rows.minLevelDb + k);
    const V candidate = minimum + V::Broadcast(step.thresholdDb);
    const V rate = V::Broadcast(step.trackerRate) + Max(lowLevel - minimum, zero);
    const V last = V::LoadU(rows.lastUpdatePos + k);
    const V seconds = (V::Broadcast(step.position) - last) * V::Broadcast(1.0 / step.sampleRate);
    const V distance = one - score * V::Broadcast(1.0 / step.binLevel);
    const V rateDb = MulAdd(V::Broadcast(60.0), distance * distance * distance, rate);
    const V limit = MulAdd(rateDb, seconds, floorDb);
    return Select((last != zero) & (floor != zero), Min(candidate, limit), candidate);
}

template <class V>
struct EvidenceState {
    V evidence, signalCount, lastUpdatePos;
};

// One bin's own share of this frame; tells which bins have gathered enough to move their floor.
template <class V>
QUIETFLOOR_INLINE typename V::Mask TakeOwnShare(EvidenceState<V> &state, V signalShare, V noiseShare,
                                                const FftEngine::EvidenceStep &step) {
    const V zero = V::Broadcast(0.0), half = V::Broadcast(0.5), one = V::Broadcast(1.0);
    const V target = V::Broadcast(step.evidenceTarget), position = V::Broadcast(step.position);
    const auto isSignal = signalShare > zero;
    const auto isNoise = noiseShare > zero;

    const V counted = state.signalCount + V::Broadcast(0.8);
    const auto isLost = isSignal & (counted >= V::Broadcast(step.countLimit));
    const V gathered = MulAdd(V::Broadcast(0.7), noiseShare, state.evidence);
    const auto isUpdate = isNoise & (gathered > target);
    const V eased = Select(state.signalCount > one, state.signalCount - half, state.signalCount);

    V count = Select(isSignal, counted, Select(isNoise, eased, state.signalCount));
    state.signalCount = Select(isLost | isUpdate, count * half, count);
    V evidence = Select(isNoise, gathered, state.evidence);
    evidence = Select(isLost, evidence * half, evidence);
    state.evidence = Select(isUpdate, target * V::Broadcast(0.95), evidence);
    state.lastUpdatePos = Select(isLost | isUpdate, position, state.lastUpdatePos);
    return isUpdate;
}

// The bins are walked upwards: a bin has its lower neighbour's share of this frame when its own turn
// comes, and gets the upper neighbour's share after it. Floors move in dB only; `isUpdated` tells which.
template <class V>
void GatherEvidence(const FftEngine::EvidenceRows &rows, const FftEngine::EvidenceStep step, int count) {
    const V signalPart = V::Broadcast(0.1), noisePart = V::Broadcast(0.15);
    for (int k = 0; k < count; k += V::lanes) {
        const V signalShare = V::LoadU(rows.signalShare + k), noiseShare = V::LoadU(rows.noiseShare + k);
        EvidenceState<V> state{V::LoadU(rows.evidence + k), V::LoadU(rows.signalCount + k),
                               V::LoadU(rows.lastUpdatePos + k)};
        if (!step.isFirst) {
            state.signalCount = MulAdd(signalPart, V::LoadU(rows.signalShare + k - 1), state.signalCount);
            state.evidence = MulAdd(noisePart, V::LoadU(rows.noiseShare + k - 1), state.evidence);
        }
        const auto isUpdate = TakeOwnShare(state, signalShare, noiseShare, step);
        const V score = V::LoadFloats(rows.score + k), floorDb = V::LoadU(rows.floorDb + k);
        const V updatedDb = UpdatedFloorDb(rows, step, V::LoadU(rows.noiseFloor + k), floorDb, score, k);
        Select(isUpdate, updatedDb, floorDb).StoreU(rows.floorDb + k);
        Select(isUpdate, score, V::LoadU(rows.binScore + k)).StoreU(rows.binScore + k);
        Select(isUpdate, V::Broadcast(1.0), V::Broadcast(0.0)).StoreU(rows.isUpdated + k);

        MulAdd(signalPart, V::LoadU(rows.signalShare + k + 1), state.signalCount)
            .StoreU(rows.signalCount + k);
        MulAdd(noisePart, V::LoadU(rows.noiseShare + k + 1), state.evidence).StoreU(rows.evidence + k);
        state.lastUpdatePos.StoreU(rows.lastUpdatePos + k);
    }
}

// A floor above the smoothed level plus threshold is pulled most of the way down at once.
template <class V>
QUIETFLOOR_INLINE V PulledDown(V floor, V ceilingDb) {
    const V ceiling = Exp10(ceilingDb * V::Broadcast(0.05));
    const V pulled = MulAdd(V::Broadcast(0.85), ceiling, V::Broadcast(0.15) * floor);
    return Max(pulled, V::Broadcast(1e-6));
}

// The linear floors of the bins whose floor has moved, and the cap on all that have a score.
template <class V>
FftEngine::FloorChange SettleFloors(const FftEngine::EvidenceRows &rows, double thresholdDb, int count) {
    const V zero = V::Broadcast(0.0), threshold = V::Broadcast(thresholdDb);
    FftEngine::FloorChange change{false, false};
    for (int k = 0; k < count; k += V::lanes) {
        const auto isUpdated = V::LoadU(rows.isUpdated + k) > zero;
        const auto hasScore =
            (V::LoadU(rows.signalShare + k) > zero) | (V::LoadU(rows.noiseShare + k) > zero);
        const V smoothedDb = V::LoadU(rows.smoothedDb + k), floorDb = V::LoadU(rows.floorDb + k);
        const auto isAbove = hasScore & (floorDb - threshold > smoothedDb);
        if (!Any(isUpdated | isAbove))
            continue;
        V floor = V::LoadU(rows.noiseFloor + k);
        if (Any(isUpdated)) {
            floor = Select(isUpdated, Exp10(floorDb * V::Broadcast(0.05)), floor);
            change.wasUpdated = true;
        }
        if (Any(isAbove)) {
            floor = Select(isAbove, PulledDown(floor, threshold + smoothedDb), floor);
            Select(isAbove, V::Broadcast(20.0) * Log10(floor), floorDb).StoreU(rows.floorDb + k);
        }
        floor.StoreU(rows.noiseFloor + k);
        change.hasMoved = true;
    }
    return change;
}

template <class V>
FftEngine::FloorChange MoveFloors(const FftEngine::EvidenceRows &rows, const FftEngine::EvidenceStep &step,
                                  int count) {
    GatherEvidence<V>(rows, step, count);
    return SettleFloors<V>(rows, step.thresholdDb, count);
}

template <class V>
FftEngine::FloorCensus CountFloors(const double *noiseFloor, const double *floorDb, double audible,
                                   double absent, int count) {
    const V zero = V::Broadcast(0.0), one = V::Broadcast(1.0);
    V sum = zero, audibleCount = zero, absentCount = zero;
    for (int k = 0; k < count; k += V::lanes) {
        const V floor = V::LoadU(noiseFloor + k);
        const auto isAudible = floor > V::Broadcast(audible);
        sum = sum + Select(isAudible, V::LoadU(floorDb + k), zero);
        audibleCount = audibleCount + Select(isAudible, one, zero);
        absentCount = absentCount + Select(floor < V::Broadcast(absent), one, zero);
    }
    return {Sum(sum), static_cast<int>(Sum(audibleCount)), static_cast<int>(Sum(absentCount))};
}

} // namespace

#endif
