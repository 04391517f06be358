// SPDX-License-Identifier: MIT
/// What libsndfile notices in a file's header and writes to its log alone.
#ifndef QUIETFLOOR_TOOLS_SOUND_HEADERLOG_H
#define QUIETFLOOR_TOOLS_SOUND_HEADERLOG_H

#include <sndfile.h>

namespace quietfloor {

/// For a file that was just opened for reading: whether its header states more than there is. libsndfile then
/// takes it for a shorter file.
bool IsLoggedAsCutOff(SNDFILE *file);

} // namespace quietfloor

#endif
