/// A noise reducer for sound of several channels.
#ifndef QUIETFLOOR_TOOLS_CHANNELREDUCERS_H
#define QUIETFLOOR_TOOLS_CHANNELREDUCERS_H

#include <vector>

#include <sndfile.h>

#include "dsp/Parameters.h"
#include "dsp/SingleChannelAdaptiveNoise.h"

namespace quietfloor {

/// One reducer per channel over interleaved frames. All are copies of one, so that equal channels stay
/// equal, and that one is made from the same random numbers every time, whatever else the process does
/// with quietfloor on other threads: the same sound gives the same result.
class ChannelReducers {
public:
    /// Parameters that cannot be set are ignored. Throws std::bad_alloc.
    ChannelReducers(int channels, int sampleRate, const ParameterValues &parameters);

    sf_count_t Latency() const { return reducers.front().GetLatency(); }

    /// Frames of silence to send ahead: a filter's first block begins half a hop into the stream.
    sf_count_t LeadIn() const;

    /// In place.
    void Process(float *block, sf_count_t frames);

private:
    std::vector<dsp::SingleChannelAdaptiveNoise> reducers;
    std::vector<float> channel;
};

} // namespace quietfloor

#endif
