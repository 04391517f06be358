// SPDX-License-Identifier: MIT
/// The pass over a sound that comes before it is cleaned.
#ifndef QUIETFLOOR_TOOLS_DENOISE_LEARNINGPASS_H
#define QUIETFLOOR_TOOLS_DENOISE_LEARNINGPASS_H

#include <optional>

#include "dsp/ChannelGroup.h"
#include "tools/denoise/LearningSource.h"
#include "tools/denoise/WorkMeter.h"

namespace quietfloor {

/// What the reducers were taught, as far as the sound that follows must fit it.
struct Lesson {
    float scale;   // a power of two by which to multiply the sound
    float silence; // before that; samples up to this hold none of the noise
};

/// Teaches new reducers the noise. The scale is 1 unless it `scales`, and then brings the sound to a working
/// level. Returns nothing if there was nothing to learn; the reducers are then as they were. Throws
/// FileError, Interrupted or std::bad_alloc.
std::optional<Lesson> Learn(LearningSource &source, dsp::ChannelGroup &reducers, int sampleRate, bool scales,
                            WorkMeter &meter);

} // namespace quietfloor

#endif
