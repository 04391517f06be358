// SPDX-License-Identifier: MIT
// Any block size in, whole frames through, any block size out.
#include <algorithm>
#include <limits>

#include "dsp/SingleChannelAdaptiveNoise.h"
#include "dsp/SingleChannelAdaptiveNoiseParams.h"
#include "simd/DenormalScope.h"

namespace dsp {
namespace {

constexpr float highestSample = 1e15f;

// NaN fails both comparisons and becomes 0, as infinity does.
float Sanitized(float sample) noexcept {
    constexpr float highestFinite = std::numeric_limits<float>::max();
    const bool isFinite = sample >= -highestFinite && sample <= highestFinite;
    return std::clamp(isFinite ? sample : 0.0f, -highestSample, highestSample);
}

void TakeInput(SingleChannelAdaptiveNoiseParams &record, const float *in, int count) noexcept {
    float *target = record.inputBuffer.data() + record.writePos;
    for (int done = 0; done < count;) { // in runs up to the end of the dither table
        const int run = std::min(count - done, ditherLength - record.ditherIndex);
        const float *dither = record.DitherTable.data() + record.ditherIndex;
        for (int i = 0; i < run; ++i)
            target[done + i] = Sanitized(in[done + i]) + dither[i];
        done += run;
        record.ditherIndex = (record.ditherIndex + run) % ditherLength;
    }
}

// Before the write position has reached the read offset there is nothing to give but silence.
void GiveOutput(SingleChannelAdaptiveNoiseParams &record, float *out, int count) noexcept {
    const int first = record.writePos - record.geometry.readOffset;
    const int silent = std::clamp(-first, 0, count);
    std::fill_n(out, silent, 0.0f);
    for (int i = silent; i < count; ++i)
        out[i] = record.outputBuffer[first + i] + 0.0f; // makes -0 plain 0
    if (record.compander)
        record.compander->ExpandBlock(out, record.compOutputPos, count);
    record.compOutputPos += count;
}

void CompressNewInput(SingleChannelAdaptiveNoiseParams &record) noexcept {
    if (record.compander)
        record.compander->CompressBlock(record.inputBuffer.data() + record.writePos -
                                            record.samplesSinceFrame,
                                        record.compInputPos, record.samplesSinceFrame);
    record.compInputPos += record.samplesSinceFrame;
    record.samplesSinceFrame = 0;
}

void DropHop(SingleChannelAdaptiveNoiseParams &record) noexcept {
    const auto input = record.inputBuffer.begin();
    std::copy(input + record.geometry.hopSize, input + record.geometry.FrameEnd(), input);
    record.writePos -= record.geometry.hopSize;
}

} // namespace

void SingleChannelAdaptiveNoise::RebuildIfPending() {
    if (state.ReinitPending || record == nullptr)
        Initialize();
    if (state.XfmsPending)
        InitializeParameters();
}

int SingleChannelAdaptiveNoise::SamplesToFrame() const {
    return record->geometry.FrameEnd() - record->writePos;
}

void SingleChannelAdaptiveNoise::PassSamples(const float *in, float *out, int count) {
    TakeInput(*record, in, count);
    GiveOutput(*record, out, count);
    record->writePos += count;
    record->samplesSinceFrame += count;
}

void SingleChannelAdaptiveNoise::BeginFrame() {
    CompressNewInput(*record);
    AnalyseFrame(record);
}

void SingleChannelAdaptiveNoise::EndFrame() {
    Convolve(record);
    DropHop(*record);
}

void SingleChannelAdaptiveNoise::Process(float *in, float *out, int count) {
    RebuildIfPending();
    const quietfloor::DenormalScope noDenormals;
    while (count > 0) {
        const int n = std::min(count, SamplesToFrame());
        PassSamples(in, out, n);
        in += n;
        out += n;
        count -= n;
        if (SamplesToFrame() == 0) {
            BeginFrame();
            EndFrame();
        }
    }
}

} // namespace dsp
