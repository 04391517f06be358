// SPDX-License-Identifier: MIT
/// The channels' noise reducers as the plug-ins change them while the sound runs.
#ifndef QUIETFLOOR_PLUGINS_REDUCERGROUP_H
#define QUIETFLOOR_PLUGINS_REDUCERGROUP_H

#include "dsp/ChannelGroup.h"
#include "dsp/Parameters.h"

namespace quietfloor {

/// What the controls ask for.
struct ReducerSettings {
    ParameterValues values = DefaultValues();
    dsp::SingleChannelAdaptiveNoise::Estimator estimator = dsp::SingleChannelAdaptiveNoise::kGate;
};

/// Whether only a rebuild puts a parameter into effect.
bool TakesRebuild(int parameter) noexcept;

/// Those parameters stay what they were at construction, and a change of them takes a new group. So no
/// `Process` here ever rebuilds.
class ReducerGroup {
public:
    /// Begins a new stream: no sound, no learnt noise. Allocates; throws std::bad_alloc.
    ReducerGroup(int channelCount, int sampleRate, const ReducerSettings &settings);

    /// In samples.
    int Latency() const noexcept { return group.GetLatency(); }

    /// Whether these settings take a new group.
    bool NeedsRebuildFor(const ReducerSettings &wanted) const noexcept;

    /// Puts into effect what needs no rebuild. Finite values only.
    void Follow(const ReducerSettings &wanted) noexcept;

    /// Whether all channels get the same gains; off at first.
    void SetLink(bool linked) noexcept { group.SetLink(linked); }

    /// One array per channel; an output may be its own input. Never allocates, locks or throws.
    void Process(const float *const *in, float *const *out, int count) noexcept {
        group.Process(in, out, count);
    }

private:
    dsp::ChannelGroup group;
    ParameterValues values; // as given
};

} // namespace quietfloor

#endif
