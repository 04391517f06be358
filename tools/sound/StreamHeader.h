// SPDX-License-Identifier: MIT
/// Headers that are written once and cannot be corrected at the end.
#ifndef QUIETFLOOR_TOOLS_SOUND_STREAMHEADER_H
#define QUIETFLOOR_TOOLS_SOUND_STREAMHEADER_H

#include <vector>

#include <sndfile.h>

namespace quietfloor {

/// Completes the header of a WAV (little endian) or AU file, as libsndfile writes it before the first frame,
/// by the sizes of what will follow; all ones where `frames` is negative (unknown) or too many for the
/// header, and where samples have no fixed length.
void CompleteStreamHeader(std::vector<unsigned char> &header, const SF_INFO &info, sf_count_t frames);

} // namespace quietfloor

#endif
