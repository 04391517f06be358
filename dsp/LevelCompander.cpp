// SPDX-License-Identifier: MIT
#include "dsp/LevelCompander.h"

#include <algorithm>
#include <cmath>

namespace quietfloor {

namespace {

// Gains end at +-200 dB: beyond, a float gain or its reciprocal may become 0 or infinite, and their
// product with a sample NaN.
constexpr double kMaxGainDecades = 10.0;

void RestoreRaised(float *samples, std::int32_t stride, const float *gains, std::int64_t count) {
    for (std::int64_t i = 0; i < count; ++i)
        if (gains[i] < 1.0f)
            samples[i * stride] *= gains[i];
}

// What is left after one sample of a decay to 1/e in `ms`.
double DecayPerSample(double ms, double sampleRate) {
    return ms > 0.0 ? std::exp(-1000.0 / (ms * sampleRate)) : 0.0;
}

} // namespace

std::int32_t LevelCompander::CompressBlock(float *samples, std::int64_t position, std::int32_t count) {
    if (!enabled || capacity < 1)
        return 0;
    for (std::int32_t done = 0; done < count;) {
        const std::int32_t piece = std::min(count - done, capacity);
        MakeRoom(position + done, piece);
        float *const first = samples + static_cast<std::ptrdiff_t>(done) * ChannelCount();
        for (std::int32_t c = 0; c < ChannelCount(); ++c)
            CompressChannel(first + c, piece, ChannelCount(), c, gainBuffer[c].data() + fillCount,
                            dryBuffer[c].data() + fillCount);
        fillCount += piece;
        done += piece;
    }
    compressedCount += std::max(count, 0);
    return count;
}

void LevelCompander::MakeRoom(std::int64_t position, std::int32_t count) {
    if (!started || position != basePosition + fillCount) {
        basePosition = position;
        fillCount = 0;
        started = true;
    }
    const std::int32_t excess = fillCount + count - capacity;
    if (excess <= 0)
        return;
    const std::int64_t expanded = nextExpandPosition - basePosition;
    const auto shift = static_cast<std::int32_t>(std::clamp<std::int64_t>(expanded, excess, fillCount));
    for (std::int32_t c = 0; c < ChannelCount(); ++c)
        for (std::vector<float> *buffer : {&gainBuffer[c], &dryBuffer[c]})
            std::copy(buffer->begin() + shift, buffer->begin() + fillCount, buffer->begin());
    basePosition += shift;
    fillCount -= shift;
}

std::int32_t LevelCompander::CompressChannel(float *samples, std::int32_t count, std::int32_t stride,
                                             std::int32_t channel, float *gainsOut, float *dryOut) {
    double e = envelope[channel];
    for (std::int32_t i = 0; i < count; ++i, samples += stride) {
        dryOut[i] = *samples;
        const double x = std::fabs(*samples);
        e = x > e ? (1.0 - attack) * x + attack * e : e * release;
        const double level = 20.0 * std::log10(e); // -infinity for silence: never above the threshold
        const float gain = level > threshold ? GainAt(level) : 1.0f;
        *samples *= gain;
        gainsOut[i] = 1.0f / gain;
    }
    if (count > 0)
        envelope[channel] = e;
    return count;
}

float LevelCompander::GainAt(double level) const {
    const double excess = std::pow((level - threshold) * excessScale, exponent);
    const double target = excess * slope + level;
    const double decades = (target - level) / 20.0;
    if (std::isnan(decades)) // a fractional power of a negatively scaled excess
        return 1.0f;
    return static_cast<float>(std::pow(10.0, std::clamp(decades, -kMaxGainDecades, kMaxGainDecades)));
}

std::int32_t LevelCompander::ExpandBlock(float *samples, std::int64_t position, std::int32_t count) {
    if (!enabled)
        return 0;
    const std::int64_t end = position + std::max(count, 0);
    const std::int64_t first = std::max(position, basePosition);
    const std::int64_t last = std::min(end, basePosition + fillCount);
    if (expandEnabled && samples != nullptr && first < last)
        for (std::int32_t c = 0; c < ChannelCount(); ++c)
            RestoreRaised(samples + (first - position) * ChannelCount() + c, ChannelCount(),
                          gainBuffer[c].data() + (first - basePosition), last - first);
    expandedCount += end - position;
    nextExpandPosition = end;
    return count;
}

LevelCompander BuildLevelCompander(const CompanderSettings &settings, std::int32_t latency,
                                   std::int32_t hopSize) {
    LevelCompander compander;
    compander.slope = 1.0 / settings.ratio - 1.0;
    compander.threshold = settings.thresholdDb;
    compander.attack = DecayPerSample(settings.attackMs, settings.sampleRate);
    compander.release = DecayPerSample(settings.releaseMs, settings.sampleRate);
    compander.channels = settings.channels;
    // When a frame is compressed, the last `latency` samples await their turn in the output; the hops
    // beyond spread the cost of sliding.
    compander.capacity = latency + 4 * hopSize;
    for (std::int32_t c = 0; c < compander.ChannelCount(); ++c) {
        compander.gainBuffer[c].resize(static_cast<std::size_t>(compander.capacity));
        compander.dryBuffer[c].resize(static_cast<std::size_t>(compander.capacity));
    }
    return compander;
}

} // namespace quietfloor
