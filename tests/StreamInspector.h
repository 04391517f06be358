/// The tests' way to the working record of a noise reducer.
#ifndef QUIETFLOOR_TESTS_STREAMINSPECTOR_H
#define QUIETFLOOR_TESTS_STREAMINSPECTOR_H

#include "dsp/SingleChannelAdaptiveNoise.h"
#include "dsp/SingleChannelAdaptiveNoiseParams.h"

namespace dsp {

struct StreamInspector {
    static SingleChannelAdaptiveNoiseParams &Record(SingleChannelAdaptiveNoise &object) {
        return *object.record;
    }
};

} // namespace dsp

#endif
