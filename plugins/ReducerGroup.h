/// The noise reducers of all channels, with the same settings.
#ifndef QUIETFLOOR_PLUGINS_REDUCERGROUP_H
#define QUIETFLOOR_PLUGINS_REDUCERGROUP_H

#include <vector>

#include "dsp/Parameters.h"
#include "dsp/SingleChannelAdaptiveNoise.h"

namespace quietfloor {

/// Whether only a rebuild puts a parameter into effect.
bool TakesRebuild(int parameter) noexcept;

/// Those parameters stay what they were at construction, and a change of them takes a new group. So no
/// `Process` here ever rebuilds.
class ReducerGroup {
public:
    /// As a new stream: no sound, no learnt noise. Allocates; throws std::bad_alloc.
    ReducerGroup(int channels, int sampleRate, const ParameterValues &values);

    /// In samples.
    int Latency() const noexcept { return reducers.front().GetLatency(); }

    /// Whether these values take a new group.
    bool NeedsRebuildFor(const ParameterValues &wanted) const noexcept;

    /// Puts into effect what needs no rebuild. Finite values only.
    void Follow(const ParameterValues &wanted) noexcept;

    /// `out` may be `in`. Never allocates, locks or throws.
    void Process(std::size_t channel, float *in, float *out, int count) noexcept {
        reducers[channel].Process(in, out, count);
    }

private:
    std::vector<dsp::SingleChannelAdaptiveNoise> reducers; // one per channel
    ParameterValues values;                                // as given
};

} // namespace quietfloor

#endif
