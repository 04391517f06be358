/// The noise reducers that are compared, each as a function from a noisy signal to one of the same length
/// that is not late.
#ifndef QUIETFLOOR_BENCH_CONTENDERS_H
#define QUIETFLOOR_BENCH_CONTENDERS_H

#include "bench/SpeechMeasures.h"
#include "dsp/Parameters.h"

namespace quietfloor {

Signal RunReducer(const ParameterValues &values, SignalView noisy, int rateHz);

/// GetLatency() with these parameters.
int LatencyOf(const ParameterValues &values, int rateHz);

/// speexdsp's preprocessor with nothing but its noise suppression, in frames of 20 ms. `suppressDb` is
/// the most that noise is turned down, in dB below 0; -15 is its default.
Signal RunSpeex(int suppressDb, SignalView noisy, int rateHz);

} // namespace quietfloor

#endif
