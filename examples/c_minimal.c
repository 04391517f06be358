/* SPDX-License-Identifier: MIT */
/* The same from C: hiss goes in block by block, and comes out lower once its floor has been learnt. */
#include <quietfloor/quietfloor.h>

#include <math.h>
#include <stdio.h>
#include <stdlib.h>

static double Energy(const float *samples, int count) {
    double sum = 0;
    for (int i = 0; i < count; ++i)
        sum += (double)samples[i] * samples[i];
    return sum;
}

int main(void) {
    quietfloor_reducer *reducer = quietfloor_create(); /* 44100 Hz, frames of 512 samples */
    if (!reducer)
        return EXIT_FAILURE;
    quietfloor_set_parameter(reducer, QUIETFLOOR_REDUCTION, 30);

    double before = 0, after = 0;
    for (int block = 0; block < 5000; ++block) {
        float samples[100];
        for (int i = 0; i < 100; ++i)
            samples[i] = 0.01f * ((float)rand() / (float)RAND_MAX - 0.5f);
        before = Energy(samples, 100);
        /* in place, quietfloor_latency(reducer) samples late */
        if (quietfloor_process(reducer, samples, samples, 100) != QUIETFLOOR_OK)
            return EXIT_FAILURE;
        after = Energy(samples, 100);
    }
    quietfloor_destroy(reducer);
    printf("quietfloor %s: the last block fell by %.1f dB\n", quietfloor_version(),
           10 * log10(before / after));
    return after < before / 10 ? EXIT_SUCCESS : EXIT_FAILURE;
}
