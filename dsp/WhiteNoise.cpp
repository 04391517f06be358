// SPDX-License-Identifier: MIT
#include "dsp/WhiteNoise.h"

namespace dsp {

// Defaulted here and not in the header: it then exists, and is exported, in any build.
WhiteNoise &WhiteNoise::operator=(const WhiteNoise &) = default;

} // namespace dsp
