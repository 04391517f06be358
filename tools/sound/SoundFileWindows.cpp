// SPDX-License-Identifier: MIT
#include "tools/sound/SoundFile.h"

namespace quietfloor {

SNDFILE *OpenSoundFile(const std::filesystem::path &path, SF_INFO &info) {
    return sf_wchar_open(path.c_str(), SFM_READ, &info);
}

} // namespace quietfloor
