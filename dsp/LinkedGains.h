// SPDX-License-Identifier: MIT
/// One gain per bin for several channels, so that the noise that stays does not wander between them.
#ifndef QUIETFLOOR_DSP_LINKEDGAINS_H
#define QUIETFLOOR_DSP_LINKEDGAINS_H

namespace dsp {

struct SingleChannelAdaptiveNoiseParams;

/// Links the gains of one frame: construct, `Hear` each channel, then `Give` each channel. Only what is
/// applied is linked. The noise engines keep their own smoothed gains: by them each channel tells its sound
/// from its noise, and one whose gains were raised for a neighbour's sound would close late by itself.
/// Nothing here allocates.
class LinkedGains {
public:
    /// `gain` and `floor` are scratch rows of `half` entries; `half` is half the FFT size.
    LinkedGains(double *gain, double *floor, int half) noexcept;

    /// Takes the gains of a channel's analysed frame where it has a noise floor; of a silent one none.
    void Hear(const SingleChannelAdaptiveNoiseParams &channel) noexcept;

    /// Replaces the channel's gains by the linked ones where any channel has a floor, except where this one
    /// has none and is louder than the highest of them: that may be a sound from its very start on, whose
    /// noise nobody has heard alone.
    void Give(SingleChannelAdaptiveNoiseParams &channel) const noexcept;

private:
    double *gain;  // per bin the highest that was heard
    double *floor; // linear: the highest, 0 where there is none
    int half;
};

} // namespace dsp

#endif
