// SPDX-License-Identifier: MIT
// The C interface: the object behind a handle, and every exception turned into a status.
#include "lib/quietfloor.h"

#include "dsp/Estimators.h"
#include "dsp/Parameters.h"
#include "dsp/SingleChannelAdaptiveNoise.h"

using dsp::SingleChannelAdaptiveNoise;

struct quietfloor_reducer {
    SingleChannelAdaptiveNoise stream;
    int sampleRate = 44100; // Hz; what the object starts with
};

namespace {

static_assert(static_cast<int>(QUIETFLOOR_REDUCTION) == SingleChannelAdaptiveNoise::kReductionDb);
static_assert(static_cast<int>(QUIETFLOOR_OFFSET) == SingleChannelAdaptiveNoise::kOffsetDb);
static_assert(static_cast<int>(QUIETFLOOR_SENSITIVITY) == SingleChannelAdaptiveNoise::kSensitivity);
static_assert(static_cast<int>(QUIETFLOOR_STRENGTH) == SingleChannelAdaptiveNoise::kStrength);
static_assert(static_cast<int>(QUIETFLOOR_BANDWIDTH) == SingleChannelAdaptiveNoise::kBandWidthHz);
static_assert(static_cast<int>(QUIETFLOOR_FFT_SIZE) == SingleChannelAdaptiveNoise::kFftSize);
static_assert(static_cast<int>(QUIETFLOOR_OVERLAP) == SingleChannelAdaptiveNoise::kOverlap);
static_assert(static_cast<int>(QUIETFLOOR_KNEE) == SingleChannelAdaptiveNoise::kKneeDb);
static_assert(static_cast<int>(QUIETFLOOR_RELEASE) == SingleChannelAdaptiveNoise::kReleaseMs);
static_assert(static_cast<int>(QUIETFLOOR_FILTER_MODE) == SingleChannelAdaptiveNoise::kFilterMode);
static_assert(static_cast<int>(QUIETFLOOR_ACTIVE) == SingleChannelAdaptiveNoise::kActive);
static_assert(static_cast<int>(QUIETFLOOR_GATE) == SingleChannelAdaptiveNoise::kGate);
static_assert(static_cast<int>(QUIETFLOOR_LOG_SPECTRAL) == SingleChannelAdaptiveNoise::kLogSpectral);

// Nothing but memory fails in the object, so whatever is thrown means that.
template <class Call>
quietfloor_status StatusOf(Call call) noexcept {
    try {
        call();
        return QUIETFLOOR_OK;
    } catch (...) {
        return QUIETFLOOR_OUT_OF_MEMORY;
    }
}

template <class Call>
quietfloor_reducer *HandleFrom(Call make) noexcept {
    try {
        return make();
    } catch (...) {
        return nullptr;
    }
}

// Null for an index out of range.
const quietfloor::ParameterInfo *InfoAt(int index) noexcept {
    return index >= 0 && index < quietfloor::parameterCount ? &quietfloor::ParameterAt(index) : nullptr;
}

template <class Value>
void Write(Value *target, Value value) noexcept {
    if (target)
        *target = value;
}

} // namespace

quietfloor_reducer *quietfloor_create(void) {
    return HandleFrom([] { return new quietfloor_reducer; });
}

quietfloor_reducer *quietfloor_copy(const quietfloor_reducer *reducer) {
    return reducer ? HandleFrom([=] { return new quietfloor_reducer(*reducer); }) : nullptr;
}

void quietfloor_destroy(quietfloor_reducer *reducer) { delete reducer; }

quietfloor_status quietfloor_process(quietfloor_reducer *reducer, const float *in, float *out, int count) {
    if (!reducer || (count > 0 && (!in || !out)))
        return QUIETFLOOR_BAD_ARGUMENT;
    // The object only reads its input.
    return StatusOf([=] { reducer->stream.Process(const_cast<float *>(in), out, count); });
}

int quietfloor_latency(const quietfloor_reducer *reducer) {
    return reducer ? reducer->stream.GetLatency() : 0;
}

quietfloor_status quietfloor_set_sample_rate(quietfloor_reducer *reducer, int rate) {
    if (!reducer || rate < 1)
        return QUIETFLOOR_BAD_ARGUMENT;
    reducer->sampleRate = rate;
    return StatusOf([=] { reducer->stream.SetSampleRate(rate); });
}

int quietfloor_sample_rate(const quietfloor_reducer *reducer) { return reducer ? reducer->sampleRate : 0; }

void quietfloor_suspend(quietfloor_reducer *reducer) {
    if (reducer)
        reducer->stream.Suspend();
}

quietfloor_status quietfloor_resume(quietfloor_reducer *reducer) {
    if (!reducer)
        return QUIETFLOOR_BAD_ARGUMENT;
    return StatusOf([=] { reducer->stream.Resume(); });
}

quietfloor_status quietfloor_set_parameter(quietfloor_reducer *reducer, int index, float value) {
    if (!reducer || !InfoAt(index))
        return QUIETFLOOR_BAD_ARGUMENT;
    return StatusOf([=] { reducer->stream.SetParameter(index, value); });
}

float quietfloor_get_parameter(const quietfloor_reducer *reducer, int index) {
    return reducer ? reducer->stream.GetParameter(index) : 0.0f;
}

quietfloor_status quietfloor_set_estimator(quietfloor_reducer *reducer, int estimator) {
    const quietfloor::EstimatorInfo *info = quietfloor::FindEstimator(estimator);
    if (!reducer || !info)
        return QUIETFLOOR_BAD_ARGUMENT;
    reducer->stream.SetEstimator(info->estimator);
    return QUIETFLOOR_OK;
}

int quietfloor_get_estimator(const quietfloor_reducer *reducer) {
    return reducer ? reducer->stream.GetEstimator() : -1;
}

int quietfloor_parameter_count(void) { return quietfloor::parameterCount; }

quietfloor_status quietfloor_parameter_bounds(int index, float *lower, float *upper) {
    const quietfloor::ParameterInfo *info = InfoAt(index);
    if (!info)
        return QUIETFLOOR_BAD_ARGUMENT;
    Write(lower, info->lowerBound);
    Write(upper, info->upperBound);
    return QUIETFLOOR_OK;
}

float quietfloor_parameter_default(int index) {
    const quietfloor::ParameterInfo *info = InfoAt(index);
    return info ? info->defaultValue : 0.0f;
}

int quietfloor_parameter_is_settable(int index) {
    const quietfloor::ParameterInfo *info = InfoAt(index);
    return info && info->isSettable ? 1 : 0;
}

const char *quietfloor_parameter_name(int index) {
    const quietfloor::ParameterInfo *info = InfoAt(index);
    return info ? info->name : nullptr;
}

const char *quietfloor_parameter_unit(int index) {
    const quietfloor::ParameterInfo *info = InfoAt(index);
    return info ? info->unit : nullptr;
}

const char *quietfloor_parameter_description(int index) {
    const quietfloor::ParameterInfo *info = InfoAt(index);
    return info ? info->description : nullptr;
}

const char *quietfloor_version(void) { return QUIETFLOOR_VERSION; }

void quietfloor_version_numbers(int *major, int *minor, int *patch) {
    Write(major, QUIETFLOOR_VERSION_MAJOR);
    Write(minor, QUIETFLOOR_VERSION_MINOR);
    Write(patch, QUIETFLOOR_VERSION_PATCH);
}
