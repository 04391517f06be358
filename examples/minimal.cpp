// SPDX-License-Identifier: MIT
// Hiss goes in block by block, and comes out lower once its floor has been learnt.
#include "dsp/SingleChannelAdaptiveNoise.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

int main() {
    dsp::SingleChannelAdaptiveNoise reducer; // 44100 Hz, frames of 512 samples
    reducer.SetParameter(reducer.kReductionDb, 30);

    double before = 0, after = 0;
    for (int block = 0; block < 5000; ++block) {
        float samples[100];
        before = after = 0;
        for (float &sample : samples) {
            sample = 0.01f * (static_cast<float>(std::rand()) / static_cast<float>(RAND_MAX) - 0.5f);
            before += sample * sample;
        }
        reducer.Process(samples, samples, 100); // in place, reducer.GetLatency() samples late
        for (const float sample : samples)
            after += sample * sample;
    }
    std::printf("the last block fell by %.1f dB\n", 10 * std::log10(before / after));
    return after < before / 10 ? EXIT_SUCCESS : EXIT_FAILURE;
}
