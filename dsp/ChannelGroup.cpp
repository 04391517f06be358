// SPDX-License-Identifier: MIT
#include "dsp/ChannelGroup.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>

#include "dsp/LinkedGains.h"
#include "dsp/Parameters.h"
#include "dsp/Presets.h"
#include "dsp/SingleChannelAdaptiveNoiseParams.h"
#include "simd/DenormalScope.h"

namespace dsp {
namespace {

using Reducer = SingleChannelAdaptiveNoise;

// Interleaved sound and silence go through a buffer on the stack, piece by piece, as planar sound does.
constexpr int pieceLength = 512;

template <class Target>
void SetAll(Target &target, const ChannelGroup::Values &values) {
    for (int i = 0; i < Reducer::kParamCount; ++i)
        if (quietfloor::ParameterAt(i).isSettable)
            target.SetParameter(i, values[static_cast<std::size_t>(i)]);
}

} // namespace

ChannelGroup::ChannelGroup(int count, int sampleRate, const Values &values) : channelCount(count) {
    if (count < 1)
        throw std::invalid_argument("a group has one channel or more");
    reducers.reserve(static_cast<std::size_t>(count));
    Reducer &first = reducers.emplace_back();
    SetAll(first, values);
    first.SetSampleRate(sampleRate);
    Resume();
}

ChannelGroup::ChannelGroup(int count, int sampleRate)
    : ChannelGroup(count, sampleRate, quietfloor::DefaultValues()) {}

void ChannelGroup::SetParameter(int index, float value) {
    const float size = GetParameter(Reducer::kFftSize);
    for (Reducer &reducer : reducers)
        reducer.SetParameter(index, value);
    if (index == Reducer::kFilterMode || GetParameter(Reducer::kFftSize) != size)
        isRebuildPending = true;
}

void ChannelGroup::SetEstimator(Reducer::Estimator estimator) {
    for (Reducer &reducer : reducers)
        reducer.SetEstimator(estimator);
}

bool ChannelGroup::SetPreset(const char *name) {
    const quietfloor::Preset *const preset = quietfloor::FindPreset(name);
    if (preset == nullptr)
        return false;
    SetEstimator(preset->estimator);
    SetAll(*this, preset->values);
    return true;
}

void ChannelGroup::Resume() {
    isRebuildPending = true;
    reducers.front().Resume();
    CopyFirst();
}

// Left to themselves all objects would rebuild, each with a dither of its own.
void ChannelGroup::RebuildIfPending() {
    if (!isRebuildPending)
        return;
    reducers.front().Process(nullptr, nullptr, 0);
    CopyFirst();
}

// The old ones go first, which saves memory. What is left when it runs out can be told from a whole group.
void ChannelGroup::CopyFirst() {
    reducers.erase(reducers.begin() + 1, reducers.end());
    for (int c = 1; c < channelCount; ++c)
        reducers.push_back(reducers.front());
    isRebuildPending = false;
}

int ChannelGroup::GetLatency() const {
    const bool isWhole = reducers.size() == static_cast<std::size_t>(channelCount);
    return isWhole ? reducers.front().GetLatency() : 0;
}

int ChannelGroup::GetLeadIn() const { return GetParameter(Reducer::kFilterMode) != 0.0f ? GetLatency() : 0; }

// `pass(reducer, channel, done, n)` passes the n samples after the first `done` of one channel through its
// reducer. All channels' frames fall on the same samples, for they are copies of one object.
template <class Pass>
void ChannelGroup::Stream(int count, Pass pass) {
    RebuildIfPending();
    for (Reducer &reducer : reducers)
        reducer.RebuildIfPending(); // what a changed parameter asks for short of a new record
    const quietfloor::DenormalScope noDenormals;
    for (int done = 0; done < count;) {
        const int n = std::min({count - done, pieceLength, reducers.front().SamplesToFrame()});
        for (std::size_t c = 0; c < reducers.size(); ++c)
            pass(reducers[c], c, static_cast<std::size_t>(done), n);
        done += n;
        if (reducers.front().SamplesToFrame() == 0)
            RunFrames();
    }
}

void ChannelGroup::RunFrames() {
    for (Reducer &reducer : reducers)
        reducer.BeginFrame();
    if (isLinked && channelCount > 1)
        LinkGains();
    for (Reducer &reducer : reducers)
        reducer.EndFrame();
}

void ChannelGroup::LinkGains() noexcept {
    SingleChannelAdaptiveNoiseParams &first = *reducers.front().record;
    LinkedGains linked(first.frameData.data(), first.frameImag.data(), first.geometry.fftSize / 2);
    for (const Reducer &reducer : reducers)
        linked.Hear(*reducer.record);
    for (const Reducer &reducer : reducers)
        linked.Give(*reducer.record);
}

void ChannelGroup::PushLeadIn() {
    RebuildIfPending();
    std::array<float, pieceLength> piece;
    Stream(GetLeadIn(), [&](Reducer &reducer, std::size_t, std::size_t, int n) {
        piece.fill(0.0f);
        reducer.PassSamples(piece.data(), piece.data(), n);
    });
}

void ChannelGroup::Process(const float *const *in, float *const *out, int count) {
    Stream(count, [&](Reducer &reducer, std::size_t c, std::size_t done, int n) {
        reducer.PassSamples(in[c] + done, out[c] + done, n);
    });
}

void ChannelGroup::ProcessInterleaved(const float *in, float *out, int frames) {
    const auto step = static_cast<std::size_t>(channelCount);
    std::array<float, pieceLength> piece;
    Stream(frames, [&](Reducer &reducer, std::size_t c, std::size_t done, int n) {
        const std::size_t start = done * step + c;
        for (int i = 0; i < n; ++i)
            piece[static_cast<std::size_t>(i)] = in[start + static_cast<std::size_t>(i) * step];
        reducer.PassSamples(piece.data(), piece.data(), n);
        for (int i = 0; i < n; ++i)
            out[start + static_cast<std::size_t>(i) * step] = piece[static_cast<std::size_t>(i)];
    });
}

} // namespace dsp
