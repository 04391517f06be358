// A host that uses the exported classes and functions.
#include "dsp/SingleChannelAdaptiveNoise.h"
#include "dsp/WhiteNoise.h"
#include "fft/FFT.h"
#include "lib/quietfloor.h"

void Use(float *x, double *y, float **rows, dsp::WhiteNoise *noise, dsp::IppFFT *record) {
    dsp::SingleChannelAdaptiveNoise reducer, copy(reducer);
    copy = reducer;
    copy.SetSampleRate(48000);
    copy.Process(x, x, copy.GetLatency());
    noise[0] = noise[1];
    record[0] = record[1];
    FFTWORKINGDATA *single = CreateFFTWORKINGDATA_F(), *twice = CreateFFTWORKINGDATA_D(64);
    LFFTF(x, x, 64, 1, *single);
    LFFTD(y, y, 64, 1, *twice);
    SplitComplexSpectrumToLR(x, x, 0, rows, rows, 64);
    delete single;
    delete twice;
    quietfloor_destroy(quietfloor_create());
}
