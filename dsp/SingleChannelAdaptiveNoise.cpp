// SPDX-License-Identifier: MIT
#include "dsp/SingleChannelAdaptiveNoise.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "dsp/Parameters.h"
#include "dsp/SingleChannelAdaptiveNoiseParams.h"

namespace dsp {
namespace {

static_assert(SingleChannelAdaptiveNoise::kParamCount == quietfloor::parameterCount);

bool IsParameter(int index) noexcept { return index >= 0 && index < SingleChannelAdaptiveNoise::kParamCount; }

// The nearest power of two from 64 to 16384, the smaller one on a tie; 0 if none is near.
int SnapFftSize(float value) noexcept {
    constexpr double farthest = 1073741823.0;
    const double wanted = std::trunc(static_cast<double>(value) + 0.49999);
    int best = 0;
    double bestDistance = farthest;
    for (int size = 64; size <= 16384; size *= 2) {
        const double distance = std::abs(size - wanted);
        if (distance < bestDistance) {
            bestDistance = distance;
            best = size;
        }
    }
    return best;
}

} // namespace

const int SingleChannelAdaptiveNoise::kParamCount;

SingleChannelAdaptiveNoise::SingleChannelAdaptiveNoise() {
    for (int i = 0; i < kParamCount; ++i) {
        const quietfloor::ParameterInfo &info = quietfloor::ParameterAt(i);
        state.values[i] = state.finiteValues[i] = info.defaultValue;
        SetBounds(i, info.lowerBound, info.upperBound);
    }
    Initialize();
}

SingleChannelAdaptiveNoise::~SingleChannelAdaptiveNoise() { Deinitialize(); }

SingleChannelAdaptiveNoise::SingleChannelAdaptiveNoise(const SingleChannelAdaptiveNoise &other)
    : state(other.state), record(other.record != nullptr ? new Record(*other.record) : nullptr) {}

SingleChannelAdaptiveNoise &SingleChannelAdaptiveNoise::operator=(const SingleChannelAdaptiveNoise &other) {
    SingleChannelAdaptiveNoise copy(other);
    std::swap(state, copy.state);
    std::swap(record, copy.record);
    return *this;
}

void SingleChannelAdaptiveNoise::SetBounds(int index, float lower, float upper) {
    if (!IsParameter(index))
        return;
    state.lowerBounds[index] = lower;
    state.upperBounds[index] = upper;
}

void SingleChannelAdaptiveNoise::GetBounds(int index, float &lower, float &upper) {
    if (!IsParameter(index))
        return;
    lower = state.lowerBounds[index];
    upper = state.upperBounds[index];
}

float SingleChannelAdaptiveNoise::GetParameter(int index) const {
    return IsParameter(index) ? state.values[index] : 0.0f;
}

void SingleChannelAdaptiveNoise::SetParameter(int index, float value) {
    if (!IsParameter(index))
        return;
    if (index == kFftSize) {
        const int size = SnapFftSize(value);
        if (size == 0)
            return;
        SetFFTSize(size);
        value = static_cast<float>(size);
    } else if (index == kFilterMode) {
        value = value < 0.5f ? 0.0f : 1.0f;
        state.ReinitPending = true;
    } else {
        SetParameterValue(index, value);
    }
    if (state.values[index] == value)
        return;
    state.values[index] = value;
    if (std::isfinite(value))
        state.finiteValues[index] = value;
    state.XfmsPending = true;
}

void SingleChannelAdaptiveNoise::SetFFTSize(int size) {
    if (record != nullptr && record->requestedFftSize != size) {
        record->requestedFftSize = size;
        state.ReinitPending = true;
    }
}

// Hands the engine the settings that it was last given with one of them changed. The knee and the
// reserved one are not among those that reach it between rebuilds.
void SingleChannelAdaptiveNoise::SetParameterValue(int index, float value) {
    if (record == nullptr || !record->noiseRemover || !std::isfinite(value))
        return;
    quietfloor::NoiseRemoverSettings settings = record->noiseRemover->GivenSettings();
    switch (index) {
    case kReductionDb:
        settings.ReductionDb = value;
        break;
    case kOffsetDb:
        settings.OffsetDb = value;
        break;
    case kSensitivity:
        settings.Sensitivity = value;
        break;
    case kStrength:
        settings.Strength = value;
        break;
    case kBandWidthHz:
        settings.BandWidthHz = value;
        break;
    case kReleaseMs:
        settings.ReleaseMs = value;
        break;
    default:
        return;
    }
    record->noiseRemover->SetSettings(settings);
}

void SingleChannelAdaptiveNoise::SetEstimator(Estimator estimator) {
    if (estimator != kGate && estimator != kLogSpectral)
        return;
    state.estimator = estimator;
    if (record != nullptr && record->noiseRemover)
        record->noiseRemover->SetEstimator(EngineEstimator(estimator));
}

SingleChannelAdaptiveNoise::Estimator SingleChannelAdaptiveNoise::GetEstimator() const {
    return state.estimator;
}

int SingleChannelAdaptiveNoise::GetLatency() const {
    return record != nullptr ? record->geometry.Latency(state.values[kFilterMode] != 0.0f) : 0;
}

void SingleChannelAdaptiveNoise::SetSampleRate(int rate) {
    if (rate < 1)
        return;
    Deinitialize();
    state.sampleRate = rate;
    state.XfmsPending = true;
}

void SingleChannelAdaptiveNoise::Suspend() { SetParameter(kActive, 0.0f); }

void SingleChannelAdaptiveNoise::Resume() {
    SetParameter(kActive, 1.0f);
    Initialize();
    InitializeParameters();
}

} // namespace dsp
