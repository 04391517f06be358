// SPDX-License-Identifier: MIT
/// A sound file that libsndfile has open.
#ifndef QUIETFLOOR_TOOLS_SOUND_SOUNDFILE_H
#define QUIETFLOOR_TOOLS_SOUND_SOUNDFILE_H

#include <filesystem>
#include <memory>

#include <sndfile.h>

namespace quietfloor {

using SoundFile = std::unique_ptr<SNDFILE, int (*)(SNDFILE *)>;

/// For reading. By its name, since some formats show in its extension alone. Null on failure, with the reason
/// in sf_strerror.
SNDFILE *OpenSoundFile(const std::filesystem::path &path, SF_INFO &info);

} // namespace quietfloor

#endif
