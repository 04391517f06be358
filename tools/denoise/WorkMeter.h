// SPDX-License-Identifier: MIT
/// How much of the work on a sound is done.
#ifndef QUIETFLOOR_TOOLS_DENOISE_WORKMETER_H
#define QUIETFLOOR_TOOLS_DENOISE_WORKMETER_H

#include <algorithm>

#include <sndfile.h>

#include "tools/denoise/FileDenoiser.h"

namespace quietfloor {

/// Tells a listener, who counts in frames of the sound, of the learning and the cleaning together.
class WorkMeter {
public:
    /// `knownFrames` of the sound, 0 if they are not known. The listener must outlive this object.
    WorkMeter(const ProgressListener &toTell, sf_count_t knownFrames)
        : listener(toTell), known(knownFrames), expected(knownFrames) {}

    /// So many frames have to be processed beside those of the sound.
    void Expect(sf_count_t frames) noexcept { expected += frames; }

    /// Throws Interrupted if the listener asks for it.
    void Advance(sf_count_t frames) {
        done += frames;
        const double share = known > 0 ? static_cast<double>(known) / static_cast<double>(expected) : 1.0;
        const auto shown = static_cast<sf_count_t>(static_cast<double>(done) * share);
        if (!listener(shown, known > 0 ? std::max(shown, known) : 0))
            throw Interrupted();
    }

private:
    const ProgressListener &listener;
    sf_count_t known, expected, done = 0;
};

} // namespace quietfloor

#endif
