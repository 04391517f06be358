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

SingleChannelAdaptiveNoise::SingleChannelAdaptiveNoise() {
    for (int i = 0; i < kParamCount; ++i) {
        const quietfloor::ParameterInfo &info = quietfloor::ParameterAt(i);
        values[i] = finiteValues[i] = info.defaultValue;
        SetBounds(i, info.lowerBound, info.upperBound);
    }
    Initialize();
}

SingleChannelAdaptiveNoise::~SingleChannelAdaptiveNoise() { Deinitialize(); }

SingleChannelAdaptiveNoise::SingleChannelAdaptiveNoise(const SingleChannelAdaptiveNoise &other)
    : ReinitPending(other.ReinitPending), XfmsPending(other.XfmsPending), sampleRate(other.sampleRate) {
    std::copy_n(other.values, kParamCount, values);
    std::copy_n(other.finiteValues, kParamCount, finiteValues);
    std::copy_n(other.lowerBounds, kParamCount, lowerBounds);
    std::copy_n(other.upperBounds, kParamCount, upperBounds);
    if (other.record != nullptr)
        record = new Record(*other.record);
}

SingleChannelAdaptiveNoise &SingleChannelAdaptiveNoise::operator=(const SingleChannelAdaptiveNoise &other) {
    SingleChannelAdaptiveNoise copy(other);
    std::swap(ReinitPending, copy.ReinitPending);
    std::swap(XfmsPending, copy.XfmsPending);
    std::swap(sampleRate, copy.sampleRate);
    std::swap(values, copy.values);
    std::swap(finiteValues, copy.finiteValues);
    std::swap(lowerBounds, copy.lowerBounds);
    std::swap(upperBounds, copy.upperBounds);
    std::swap(record, copy.record);
    return *this;
}

void SingleChannelAdaptiveNoise::SetBounds(int index, float lower, float upper) {
    if (!IsParameter(index))
        return;
    lowerBounds[index] = lower;
    upperBounds[index] = upper;
}

void SingleChannelAdaptiveNoise::GetBounds(int index, float &lower, float &upper) {
    if (!IsParameter(index))
        return;
    lower = lowerBounds[index];
    upper = upperBounds[index];
}

float SingleChannelAdaptiveNoise::GetParameter(int index) const {
    return IsParameter(index) ? values[index] : 0.0f;
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
        ReinitPending = true;
    } else {
        SetParameterValue(index, value);
    }
    if (values[index] == value)
        return;
    values[index] = value;
    if (std::isfinite(value))
        finiteValues[index] = value;
    XfmsPending = true;
}

void SingleChannelAdaptiveNoise::SetFFTSize(int size) {
    if (record != nullptr && record->requestedFftSize != size) {
        record->requestedFftSize = size;
        ReinitPending = true;
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

int SingleChannelAdaptiveNoise::GetLatency() const {
    return record != nullptr ? record->geometry.Latency(values[kFilterMode] != 0.0f) : 0;
}

void SingleChannelAdaptiveNoise::SetSampleRate(int rate) {
    if (rate < 1)
        return;
    Deinitialize();
    sampleRate = rate;
    XfmsPending = true;
}

void SingleChannelAdaptiveNoise::Suspend() { SetParameter(kActive, 0.0f); }

void SingleChannelAdaptiveNoise::Resume() {
    SetParameter(kActive, 1.0f);
    Initialize();
    InitializeParameters();
}

} // namespace dsp
