// SPDX-License-Identifier: MIT
/// Whether two names mean the same file, which need not exist.
#ifndef QUIETFLOOR_TOOLS_SYSTEM_FILEIDENTITY_H
#define QUIETFLOOR_TOOLS_SYSTEM_FILEIDENTITY_H

#include <filesystem>

namespace quietfloor {

/// Absolute, with links followed as far as the path exists.
std::filesystem::path CanonicalPath(const std::filesystem::path &file);

/// Equal for all names of one file, but not for hard links. On Windows and macOS the case of the letters A to
/// Z makes no difference.
std::filesystem::path FileIdentity(const std::filesystem::path &file);

} // namespace quietfloor

#endif
