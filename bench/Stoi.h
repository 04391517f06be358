/// Short-time objective intelligibility.
#ifndef QUIETFLOOR_BENCH_STOI_H
#define QUIETFLOOR_BENCH_STOI_H

#include "bench/SpeechMeasures.h"

namespace quietfloor {

/// About 0 (nothing is understood) to 1 (as clean): how alike the envelopes of both signals are in
/// third-octave bands from 150 Hz to 4.3 kHz over 0.4 s. Taal, Hendriks, Heusdens, Jensen, "An algorithm
/// for intelligibility prediction of time-frequency weighted noisy speech", IEEE Trans. Audio, Speech and
/// Language Processing 19(7), 2011. Stretches 40 dB below the loudest frame of `clean` do not count; NaN
/// if what is left is shorter than 0.4 s.
double Stoi(SignalView clean, SignalView processed, int rateHz);

/// `signal` at another rate, without what that rate cannot hold: flat to 0.9 of the lower of both Nyquist
/// frequencies, an FIR filter of linear phase without delay. `toHz` must be below `fromHz`.
std::vector<double> ReduceRate(SignalView signal, int fromHz, int toHz);

} // namespace quietfloor

#endif
