/// What a noise reducer does to speech, as figures. A processed signal is compared with the clean one,
/// sample for sample: both have the same length and nothing is late. Levels are relative, so that no
/// full scale is assumed. A figure is NaN where there is nothing to measure.
#ifndef QUIETFLOOR_BENCH_SPEECHMEASURES_H
#define QUIETFLOOR_BENCH_SPEECHMEASURES_H

#include <cstddef>
#include <span>
#include <vector>

namespace quietfloor {

using Signal = std::vector<float>;
using SignalView = std::span<const float>;

/// Mean power in dB; -infinity for silence.
double LevelDb(SignalView signal);

/// Scale-invariant signal-to-distortion ratio in dB: the part of `processed` that is a multiple of
/// `clean` against all else in it. Le Roux, Wisdom, Erdogan, Hershey, "SDR - half-baked or well done?",
/// ICASSP 2019. Infinite for a multiple of `clean`.
double SiSdrDb(SignalView clean, SignalView processed);

/// By how many dB the speech in `processed` is louder than `clean`: the projection on it, so that noise
/// that is left, being unlike the speech, does not count.
double SpeechGainDb(SignalView clean, SignalView processed);

/// Frames of 25 ms, side by side.
struct FrameSelection {
    std::size_t length = 0;           // samples in a frame
    std::vector<std::size_t> numbers; // frame i begins at sample i * length
};

/// Frames whose level is in [from, to) dB to the loudest frame of `clean`.
FrameSelection FramesByLevel(SignalView clean, int rateHz, double fromDb, double toDb);

/// Frames with speech: at most 30 dB below the loudest frame.
FrameSelection ActiveFrames(SignalView clean, int rateHz);

/// Frames of pauses: 40 dB and more below the loudest for 0.3 s already, so that reverberation and what
/// a reducer holds on to have gone.
FrameSelection PauseFrames(SignalView clean, int rateHz);

/// The selected frames of `signal`, one after the other.
Signal Take(SignalView signal, const FrameSelection &frames);

/// Mean over the active frames of the signal-to-noise ratio in a frame, in dB, each limited to
/// -10 .. 35 dB.
double SegmentalSnrDb(SignalView clean, SignalView processed, int rateHz);

/// How much more the noise twitters after processing than before: the logarithm of the ratio of the
/// kurtosis of the power in a bin over time, mean over the bins. 0 if it is as it was, above 1 clearly
/// musical. Uemura, Takahashi, Saruwatari, Shikano, Kondo, "Automatic optimization scheme of spectral
/// subtraction based on musical noise assessment via higher-order statistics", IWAENC 2008. Both signals
/// are noise alone.
double LogKurtosisRatio(SignalView before, SignalView after);

/// What is above `edgeHz`, falling off by 24 dB an octave below.
Signal HighPass(SignalView signal, int rateHz, double edgeHz);

} // namespace quietfloor

#endif
