/// What one recording tells about a noise reducer.
#ifndef QUIETFLOOR_BENCH_SCORES_H
#define QUIETFLOOR_BENCH_SCORES_H

#include "bench/NoiseMixes.h"

namespace quietfloor {

/// Gains are improvements over the noisy recording; in dB but for STOI and twitter.
struct Scores {
    double siSdr = 0.0;        // gain, from the first to the last sample that is measured
    double segmentalSnr = 0.0; // gain, over active frames
    double stoi = 0.0;         // gain
    double pauses = 0.0;       // by how much noise in the pauses is quieter
    double twitter = 0.0;      // log kurtosis ratio of what is left in the pauses
    double loudLevel = 0.0;    // of speech in frames within 10 dB of the loudest; 0 is as it was
    double loudSiSdr = 0.0;    // gain in the same frames
    double weakLevel = 0.0;    // of speech in frames 15 to 30 dB below the loudest
    double highLevel = 0.0;    // of what is above 4 kHz, in frames within 15 dB of the loudest there

    Scores &operator+=(const Scores &other);
    Scores &operator/=(double count);
};

class Scorer {
public:
    explicit Scorer(Recording recording);

    const Recording &Source() const noexcept { return recording; }

    /// The noisy recording itself, not relative to anything: SI-SDR, segmental SNR and STOI.
    const Scores &Before() const noexcept { return before; }

    /// `processed` is as long as the noisy recording and not late.
    Scores Score(SignalView processed) const;

private:
    SignalView Measured(SignalView signal) const { return signal.subspan(recording.start); }
    double FrameGain(SignalView processed, const FrameSelection &frames) const;
    Scores Absolute(SignalView processed) const;

    Recording recording;
    Signal highClean; // above 4 kHz
    FrameSelection pauses, loud, weak, high;
    Scores before;
};

} // namespace quietfloor

#endif
