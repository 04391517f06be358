// SPDX-License-Identifier: MIT
/// @file
/// All that hosts use, under one name: the C interface and, in C++, the classes and the transforms.
#ifndef QUIETFLOOR_QUIETFLOOR_H
#define QUIETFLOOR_QUIETFLOOR_H

#include "lib/quietfloor.h"

#ifdef __cplusplus
#include "dsp/SingleChannelAdaptiveNoise.h"
#include "fft/FFT.h"
#endif

#endif
