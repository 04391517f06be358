/// Headers that libsndfile gets wrong.
#ifndef QUIETFLOOR_TOOLS_HEADERCORRECTION_H
#define QUIETFLOOR_TOOLS_HEADERCORRECTION_H

#include <vector>

#include <sndfile.h>

namespace quietfloor {

/// In the header of a finished file of `frames`: libsndfile counts the byte that makes a chunk of an AIFF
/// file even, and the zero that ends a VOC file, as sound, and as a frame where a frame has one byte. Whoever
/// reads the file hears a click at its end. Other headers stay as they are.
void CorrectHeader(std::vector<unsigned char> &header, const SF_INFO &info, sf_count_t frames);

} // namespace quietfloor

#endif
