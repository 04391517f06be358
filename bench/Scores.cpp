#include "bench/Scores.h"

#include <limits>
#include <utility>

#include "bench/Stoi.h"

namespace quietfloor {
namespace {

constexpr double noLimit = std::numeric_limits<double>::infinity();
constexpr double highEdgeHz = 4000.0;

constexpr double Scores::*allScores[] = {&Scores::siSdr,     &Scores::segmentalSnr, &Scores::stoi,
                                         &Scores::pauses,    &Scores::twitter,      &Scores::loudLevel,
                                         &Scores::loudSiSdr, &Scores::weakLevel,    &Scores::highLevel};

} // namespace

Scores &Scores::operator+=(const Scores &other) {
    for (double Scores::*score : allScores)
        this->*score += other.*score;
    return *this;
}

Scores &Scores::operator/=(double count) {
    for (double Scores::*score : allScores)
        this->*score /= count;
    return *this;
}

Scorer::Scorer(Recording source) : recording(std::move(source)) {
    const SignalView clean = Measured(recording.clean);
    highClean = HighPass(clean, recording.rateHz, highEdgeHz);
    pauses = PauseFrames(clean, recording.rateHz);
    loud = FramesByLevel(clean, recording.rateHz, -10.0, noLimit);
    weak = FramesByLevel(clean, recording.rateHz, -30.0, -15.0);
    high = FramesByLevel(highClean, recording.rateHz, -15.0, noLimit);
    before = Absolute(Measured(recording.noisy));
}

double Scorer::FrameGain(SignalView processed, const FrameSelection &frames) const {
    return SpeechGainDb(Take(Measured(recording.clean), frames), Take(processed, frames));
}

Scores Scorer::Absolute(SignalView processed) const {
    const SignalView clean = Measured(recording.clean);
    Scores scores;
    scores.siSdr = SiSdrDb(clean, processed);
    scores.segmentalSnr = SegmentalSnrDb(clean, processed, recording.rateHz);
    scores.stoi = Stoi(clean, processed, recording.rateHz);
    scores.pauses = LevelDb(Take(processed, pauses));
    scores.loudLevel = FrameGain(processed, loud);
    scores.loudSiSdr = SiSdrDb(Take(clean, loud), Take(processed, loud));
    scores.weakLevel = FrameGain(processed, weak);
    scores.highLevel =
        SpeechGainDb(Take(highClean, high), Take(HighPass(processed, recording.rateHz, highEdgeHz), high));
    return scores;
}

Scores Scorer::Score(SignalView processed) const {
    Scores scores = Absolute(Measured(processed));
    scores.siSdr -= before.siSdr;
    scores.segmentalSnr -= before.segmentalSnr;
    scores.stoi -= before.stoi;
    scores.pauses = before.pauses - scores.pauses;
    scores.loudSiSdr -= before.loudSiSdr;
    scores.twitter =
        LogKurtosisRatio(Take(Measured(recording.noisy), pauses), Take(Measured(processed), pauses));
    return scores;
}

} // namespace quietfloor
