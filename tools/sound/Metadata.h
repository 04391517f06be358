// SPDX-License-Identifier: MIT
/// What a sound file says about its sound.
#ifndef QUIETFLOOR_TOOLS_SOUND_METADATA_H
#define QUIETFLOOR_TOOLS_SOUND_METADATA_H

#include <sndfile.h>

namespace quietfloor {

/// From a file open for reading to one open for writing that has no frames yet, as far as the second one's
/// container can hold it: tags, the broadcast and cart chunks (EBU Tech 3285, AES46), cue points, the
/// instrument with its loops, the channel map or ambisonic layout, and the chunks that WAV editors share:
/// iXML, ADM (ITU-R BS.2088), ACID loops and ID3.
void CopyMetadata(SNDFILE *from, SNDFILE *to);

} // namespace quietfloor

#endif
