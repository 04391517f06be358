// SPDX-License-Identifier: MIT
/// @file
/// The name of a white noise source, kept for hosts that link against it.
#ifndef QUIETFLOOR_DSP_WHITENOISE_H
#define QUIETFLOOR_DSP_WHITENOISE_H

#include "../base/Export.h"

namespace dsp {

/// A record without fields, so that its assignment changes nothing. The library neither makes nor
/// uses one.
class WhiteNoise {
public:
    /// Changes nothing.
    QUIETFLOOR_API WhiteNoise &operator=(const WhiteNoise &other);
};

} // namespace dsp

#endif
