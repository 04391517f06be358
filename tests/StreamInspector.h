// SPDX-License-Identifier: MIT
/// The tests' way into a noise reducer.
#ifndef QUIETFLOOR_TESTS_STREAMINSPECTOR_H
#define QUIETFLOOR_TESTS_STREAMINSPECTOR_H

#include "dsp/SingleChannelAdaptiveNoise.h"
#include "dsp/SingleChannelAdaptiveNoiseParams.h"

namespace dsp {

struct StreamInspector {
    static SingleChannelAdaptiveNoiseParams &Record(SingleChannelAdaptiveNoise &stream) {
        return *stream.record;
    }
    static void DesignFilter(SingleChannelAdaptiveNoise &stream, double *gain) {
        SingleChannelAdaptiveNoise::ComputeXfms(stream.record, gain);
    }
};

} // namespace dsp

#endif
