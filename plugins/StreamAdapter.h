// SPDX-License-Identifier: MIT
/// What the plug-ins of all formats have in common: from a host's ports to the noise reducers.
#ifndef QUIETFLOOR_PLUGINS_STREAMADAPTER_H
#define QUIETFLOOR_PLUGINS_STREAMADAPTER_H

#include <array>
#include <memory>
#include <vector>

#include "plugins/Controls.h"
#include "plugins/Fade.h"
#include "plugins/ReducerGroup.h"

namespace quietfloor {

inline constexpr int mostChannels = 2;

/// Where a host keeps what it gives and takes; null is not connected. Any of them may share memory.
/// Controls out of bounds are taken as the bound.
struct PortConnections {
    std::array<const float *, mostChannels> in{};
    std::array<float *, mostChannels> out{};
    std::array<const float *, controlCount> controls{}; // by Control::place; not finite: as it was
    const float *enabled = nullptr;                     // 0 and below: the input, only delayed
    const float *link = nullptr;                        // 0 and below: each channel by its own gains
    float *latency = nullptr;                           // samples
};

/// Start    `Activate` takes the controls as they stand. A host may connect them only later; then the first
///          block builds the reducers for them, unless there is a worker: the one block that may allocate.
/// Threads  One thread at a time. A change of the FFT size, the filter mode or the knee takes a new
///          group of reducers. With a worker, a thread that the host keeps for such things, it is built there
///          and handed over here, and the old one is freed there. Without one the change waits for
///          `Activate`.
/// Change   A new group first listens along until it has learnt the noise, one second at small sizes and
///          five at the largest; then it is faded in, and the latency follows. As the delay differs, a moment
///          of the sound is heard again or left out. If yet another is asked for while it listens, it
///          is never heard.
/// Bypass   `enabled` fades between the sound with and without noise. Both are equally late.
class StreamAdapter {
public:
    /// Allocates; throws std::bad_alloc. `channels` is 1 or 2, the rate at least 1 Hz.
    StreamAdapter(int channels, int sampleRate, bool hasWorker);

    PortConnections ports;

    /// Begins a new stream, with the controls as they stand now. Allocates; if memory runs out, the stream
    /// goes on with the reducers it had.
    void Activate() noexcept;

    /// All channels' inputs and outputs are connected. `frames` may have any value. Never allocates (but see
    /// Start), locks or throws.
    void Process(std::size_t frames) noexcept;

    /// After `Process`: whether the controls ask for another group than the newest one.
    bool NeedsRebuild() const noexcept;

    /// What to build it for.
    const ReducerSettings &WantedSettings() const noexcept { return wanted; }

    /// Whether no other change is under way.
    bool CanTakeOver() const noexcept { return !incoming && !retired; }

    /// Call it only while `CanTakeOver()`.
    void TakeOver(std::unique_ptr<ReducerGroup> group) noexcept;

    /// The group that a change has replaced or left unheard, for once; null if there is none.
    std::unique_ptr<ReducerGroup> ReleaseRetired() noexcept { return std::move(retired); }

    /// May be called by any thread, at any time. Allocates; null if memory runs out.
    std::unique_ptr<ReducerGroup> Build(const ReducerSettings &settings) const noexcept;

private:
    static constexpr std::size_t blockLength = 256;
    using Block = std::array<float, blockLength>;
    using Blocks = std::array<Block, mostChannels>;

    bool AreControlsConnected() const noexcept;
    void ReadControls() noexcept;
    void ReadEstimator() noexcept;
    void RetireOutdated() noexcept;
    void MakeUpForBlindStart() noexcept;
    bool IsEnabled() const noexcept;
    bool IsLinked() const noexcept;
    void Follow(ReducerGroup &group) const noexcept;
    void ProcessBlock(std::size_t start, std::size_t count) noexcept;
    void Render(ReducerGroup &group, std::size_t count, Blocks &target) noexcept;
    void FadeIncomingIn(std::size_t count) noexcept;

    const int sampleRate; // Hz
    const bool hasWorker;
    bool hasStartedBlind = false; // when it was activated, controls were not connected yet
    std::vector<DelayLine> dry;   // one per channel
    ReducerSettings wanted;
    std::unique_ptr<ReducerGroup> current, incoming, retired;
    Fade enabling, handover;
    long long listeningLeft = 0; // samples until the incoming group has heard enough
    Blocks input{}, output{}, incomingOutput{};
    Block delayed{}, enabledShares{}, handoverShares{};
};

} // namespace quietfloor

#endif
