// SPDX-License-Identifier: MIT
#include "dsp/ChannelGroup.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>

#include "dsp/Parameters.h"
#include "dsp/Presets.h"

namespace dsp {
namespace {

using Reducer = SingleChannelAdaptiveNoise;

// Interleaved sound and silence go through a buffer on the stack, piece by piece.
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

bool ChannelGroup::SetPreset(const char *name) {
    const quietfloor::Preset *const preset = quietfloor::FindPreset(name);
    if (preset != nullptr)
        SetAll(*this, preset->values);
    return preset != nullptr;
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

void ChannelGroup::PushLeadIn() {
    RebuildIfPending();
    const int leadIn = GetLeadIn();
    std::array<float, pieceLength> piece;
    for (Reducer &reducer : reducers)
        for (int left = leadIn; left > 0; left -= pieceLength) {
            piece.fill(0.0f);
            reducer.Process(piece.data(), piece.data(), std::min(left, pieceLength));
        }
}

// The object only reads its input, though it does not say so.
void ChannelGroup::Process(const float *const *in, float *const *out, int count) {
    RebuildIfPending();
    for (std::size_t c = 0; c < reducers.size(); ++c)
        reducers[c].Process(const_cast<float *>(in[c]), out[c], count);
}

void ChannelGroup::ProcessInterleaved(const float *in, float *out, int frames) {
    RebuildIfPending();
    const std::size_t step = reducers.size();
    std::array<float, pieceLength> piece;
    for (std::size_t c = 0; c < step; ++c)
        for (int done = 0; done < frames; done += pieceLength) {
            const int count = std::min(frames - done, pieceLength);
            const std::size_t start = static_cast<std::size_t>(done) * step + c;
            for (int i = 0; i < count; ++i)
                piece[static_cast<std::size_t>(i)] = in[start + static_cast<std::size_t>(i) * step];
            reducers[c].Process(piece.data(), piece.data(), count);
            for (int i = 0; i < count; ++i)
                out[start + static_cast<std::size_t>(i) * step] = piece[static_cast<std::size_t>(i)];
        }
}

} // namespace dsp
