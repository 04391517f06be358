// SPDX-License-Identifier: MIT
#include "plugins/StreamAdapter.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "dsp/Estimators.h"
#include "dsp/FrameGeometry.h"

namespace quietfloor {
namespace {

constexpr double fadeSeconds = 0.02;

std::size_t LongestLatency() noexcept {
    int longest = 0;
    for (int size = 64; size <= 16384; size *= 2)
        for (const bool filterMode : {false, true})
            longest = std::max(longest, dsp::MakeFrameGeometry(size, filterMode).Latency(filterMode));
    return static_cast<std::size_t>(longest);
}

} // namespace

StreamAdapter::StreamAdapter(int channelCount, int rate, bool worker)
    : sampleRate(rate), hasWorker(worker),
      current(std::make_unique<ReducerGroup>(channelCount, rate, wanted)),
      enabling(static_cast<int>(fadeSeconds * rate)), handover(static_cast<int>(fadeSeconds * rate)) {
    dry.assign(static_cast<std::size_t>(channelCount), DelayLine(LongestLatency() + blockLength));
}

std::unique_ptr<ReducerGroup> StreamAdapter::Build(const ReducerSettings &settings) const noexcept {
    try {
        return std::make_unique<ReducerGroup>(static_cast<int>(dry.size()), sampleRate, settings);
    } catch (...) { // nothing but memory fails
        return nullptr;
    }
}

void StreamAdapter::Activate() noexcept {
    ReadControls();
    if (std::unique_ptr<ReducerGroup> built = Build(wanted))
        current = std::move(built);
    incoming.reset();
    retired.reset();
    for (DelayLine &line : dry)
        line.Clear();
    enabling.RestAt(IsEnabled() ? 1.0f : 0.0f);
    handover.RestAt(0.0f);
    hasStartedBlind = !AreControlsConnected();
}

bool StreamAdapter::AreControlsConnected() const noexcept {
    for (int i = 0; i < parameterCount; ++i)
        if (ParameterAt(i).isSettable && !ports.controls[static_cast<std::size_t>(i)])
            return false;
    return true;
}

void StreamAdapter::MakeUpForBlindStart() noexcept {
    if (!hasStartedBlind)
        return;
    hasStartedBlind = false;
    enabling.RestAt(IsEnabled() ? 1.0f : 0.0f);
    if (!hasWorker && NeedsRebuild())
        Activate();
}

void StreamAdapter::ReadControls() noexcept {
    for (std::size_t i = 0; i < wanted.values.size(); ++i) {
        const ParameterInfo &info = ParameterAt(static_cast<int>(i));
        if (const float *value = ports.controls[i]; value && std::isfinite(*value))
            wanted.values[i] = std::clamp(*value, info.lowerBound, info.upperBound);
    }
    ReadEstimator();
}

// The one nearest to the value.
void StreamAdapter::ReadEstimator() noexcept {
    const std::span<const EstimatorInfo> estimators = Estimators();
    const auto highest = static_cast<float>(estimators.size() - 1);
    if (const float *value = ports.controls[estimatorControl]; value && std::isfinite(*value)) {
        const auto nearest = static_cast<std::size_t>(std::lround(std::clamp(*value, 0.0f, highest)));
        wanted.estimator = estimators[nearest].estimator;
    }
}

// A host may move the controls of one preset block by block. So nothing of a group is heard that no longer
// fits them.
void StreamAdapter::RetireOutdated() noexcept {
    if (incoming && handover.Share() <= 0 && incoming->NeedsRebuildFor(wanted))
        retired = std::move(incoming);
}

// A NaN counts as enabled, and as linked.
bool StreamAdapter::IsEnabled() const noexcept { return !ports.enabled || !(*ports.enabled <= 0.0f); }
bool StreamAdapter::IsLinked() const noexcept { return !ports.link || !(*ports.link <= 0.0f); }

void StreamAdapter::Follow(ReducerGroup &group) const noexcept {
    group.Follow(wanted);
    group.SetLink(IsLinked());
}

bool StreamAdapter::NeedsRebuild() const noexcept {
    return (incoming ? *incoming : *current).NeedsRebuildFor(wanted);
}

void StreamAdapter::TakeOver(std::unique_ptr<ReducerGroup> group) noexcept {
    incoming = std::move(group);
    // Larger frames learn more slowly.
    listeningLeft = sampleRate + 16LL * incoming->Latency();
}

void StreamAdapter::Process(std::size_t frames) noexcept {
    ReadControls();
    MakeUpForBlindStart();
    RetireOutdated();
    Follow(*current);
    if (incoming)
        Follow(*incoming);
    for (std::size_t done = 0; done < frames; done += blockLength)
        ProcessBlock(done, std::min(blockLength, frames - done));
    if (ports.latency)
        *ports.latency = static_cast<float>(current->Latency());
}

// A host's output may be the input of another channel, so all of them are read before one is written.
void StreamAdapter::ProcessBlock(std::size_t start, std::size_t count) noexcept {
    for (std::size_t c = 0; c < dry.size(); ++c) {
        std::copy_n(ports.in[c] + start, count, input[c].begin());
        dry[c].Write({input[c].data(), count});
    }
    enabling.MoveTo(IsEnabled() ? 1.0f : 0.0f, {enabledShares.data(), count});
    Render(*current, count, output);
    if (incoming)
        FadeIncomingIn(count);
    for (std::size_t c = 0; c < dry.size(); ++c)
        std::copy_n(output[c].begin(), count, ports.out[c] + start);
}

void StreamAdapter::Render(ReducerGroup &group, std::size_t count, Blocks &target) noexcept {
    std::array<const float *, mostChannels> in{};
    std::array<float *, mostChannels> out{};
    for (std::size_t c = 0; c < dry.size(); ++c) {
        in[c] = input[c].data();
        out[c] = target[c].data();
    }
    group.Process(in.data(), out.data(), static_cast<int>(count));
    const std::span<const float> shares(enabledShares.data(), count);
    if (shares.front() >= 1 && shares.back() >= 1)
        return;
    const std::span<float> late(delayed.data(), count);
    for (std::size_t c = 0; c < dry.size(); ++c) {
        dry[c].Read(static_cast<std::size_t>(group.Latency()), late);
        const std::span<float> wet(target[c].data(), count);
        CrossFade(late, wet, shares, wet);
    }
}

void StreamAdapter::FadeIncomingIn(std::size_t count) noexcept {
    const std::span<float> shares(handoverShares.data(), count);
    handover.MoveTo(listeningLeft > 0 ? 0.0f : 1.0f, shares);
    listeningLeft -= static_cast<long long>(count);
    Render(*incoming, count, incomingOutput);
    for (std::size_t c = 0; c < dry.size(); ++c) {
        const std::span<float> out(output[c].data(), count);
        CrossFade(out, {incomingOutput[c].data(), count}, shares, out);
    }
    if (handover.Share() < 1)
        return;
    retired = std::exchange(current, std::move(incoming));
    handover.RestAt(0.0f);
}

} // namespace quietfloor
