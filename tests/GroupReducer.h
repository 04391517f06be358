// SPDX-License-Identifier: MIT
/// A group of two linked channels in the shape of the object, so that one test serves both.
#ifndef QUIETFLOOR_TESTS_GROUPREDUCER_H
#define QUIETFLOOR_TESTS_GROUPREDUCER_H

#include "dsp/ChannelGroup.h"

/// At 8000 Hz. Half of each block is interleaved, the other planar; up to three samples at its end stay.
class GroupReducer {
public:
    GroupReducer() { group.SetLink(true); }
    void Process(float *in, float *out, int count) {
        const int frames = count / 4;
        group.ProcessInterleaved(in, out, frames);
        const float *const inputs[] = {in + 2 * frames, in + 3 * frames};
        float *const outputs[] = {out + 2 * frames, out + 3 * frames};
        group.Process(inputs, outputs, frames);
    }
    void PushLeadIn() { group.PushLeadIn(); }
    void Resume() { group.Resume(); }
    void SetParameter(int index, float value) { group.SetParameter(index, value); }
    void SetEstimator(dsp::SingleChannelAdaptiveNoise::Estimator estimator) { group.SetEstimator(estimator); }
    float GetParameter(int index) const { return group.GetParameter(index); }
    int GetLatency() const { return group.GetLatency(); }

private:
    dsp::ChannelGroup group{2, 8000};
};

#endif
