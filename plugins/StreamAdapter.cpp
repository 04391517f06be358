#include "plugins/StreamAdapter.h"

#include <algorithm>
#include <cmath>
#include <utility>

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
    for (int i = 0; i < channelCount; ++i)
        channels.push_back({DelayLine(LongestLatency() + blockLength)});
}

std::unique_ptr<ReducerGroup> StreamAdapter::Build(const ParameterValues &values) const noexcept {
    try {
        return std::make_unique<ReducerGroup>(static_cast<int>(channels.size()), sampleRate, values);
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
    for (Channel &channel : channels)
        channel.dry.Clear();
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
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const ParameterInfo &info = ParameterAt(static_cast<int>(i));
        if (const float *value = ports.controls[i]; value && std::isfinite(*value))
            wanted[i] = std::clamp(*value, info.lowerBound, info.upperBound);
    }
}

// A host may move the controls of one preset block by block. So nothing of a group is heard that no longer
// fits them.
void StreamAdapter::RetireOutdated() noexcept {
    if (incoming && handover.Share() <= 0 && incoming->NeedsRebuildFor(wanted))
        retired = std::move(incoming);
}

// A NaN counts as enabled.
bool StreamAdapter::IsEnabled() const noexcept { return !ports.enabled || !(*ports.enabled <= 0.0f); }

bool StreamAdapter::NeedsRebuild() const noexcept {
    return (incoming ? *incoming : *current).NeedsRebuildFor(wanted);
}

void StreamAdapter::TakeOver(std::unique_ptr<ReducerGroup> group) noexcept {
    incoming = std::move(group);
    // Larger frames learn more slowly; this covers the better part of it.
    listeningLeft = sampleRate + 8LL * incoming->Latency();
}

void StreamAdapter::Process(std::size_t frames) noexcept {
    ReadControls();
    MakeUpForBlindStart();
    RetireOutdated();
    current->Follow(wanted);
    if (incoming)
        incoming->Follow(wanted);
    for (std::size_t done = 0; done < frames; done += blockLength)
        ProcessBlock(done, std::min(blockLength, frames - done));
    if (ports.latency)
        *ports.latency = static_cast<float>(current->Latency());
}

// A host's output may be the input of another channel, so all of them are read before one is written.
void StreamAdapter::ProcessBlock(std::size_t start, std::size_t count) noexcept {
    for (std::size_t c = 0; c < channels.size(); ++c) {
        std::copy_n(ports.in[c] + start, count, channels[c].input.begin());
        channels[c].dry.Write({channels[c].input.data(), count});
    }
    enabling.MoveTo(IsEnabled() ? 1.0f : 0.0f, {enabledShares.data(), count});
    for (std::size_t c = 0; c < channels.size(); ++c)
        Render(*current, c, {channels[c].output.data(), count});
    if (incoming)
        FadeIncomingIn(count);
    for (std::size_t c = 0; c < channels.size(); ++c)
        std::copy_n(channels[c].output.begin(), count, ports.out[c] + start);
}

void StreamAdapter::Render(ReducerGroup &group, std::size_t channel, std::span<float> out) noexcept {
    group.Process(channel, channels[channel].input.data(), out.data(), static_cast<int>(out.size()));
    const std::span<const float> shares(enabledShares.data(), out.size());
    if (shares.front() >= 1 && shares.back() >= 1)
        return;
    const std::span<float> dry(dryBlock.data(), out.size());
    channels[channel].dry.Read(static_cast<std::size_t>(group.Latency()), dry);
    CrossFade(dry, out, shares, out);
}

void StreamAdapter::FadeIncomingIn(std::size_t count) noexcept {
    const std::span<float> shares(handoverShares.data(), count), fresh(incomingBlock.data(), count);
    handover.MoveTo(listeningLeft > 0 ? 0.0f : 1.0f, shares);
    listeningLeft -= static_cast<long long>(count);
    for (std::size_t c = 0; c < channels.size(); ++c) {
        Render(*incoming, c, fresh);
        const std::span<float> out(channels[c].output.data(), count);
        CrossFade(out, fresh, shares, out);
    }
    if (handover.Share() < 1)
        return;
    retired = std::exchange(current, std::move(incoming));
    handover.RestAt(0.0f);
}

} // namespace quietfloor
