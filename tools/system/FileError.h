// SPDX-License-Identifier: MIT
/// What goes wrong with files.
#ifndef QUIETFLOOR_TOOLS_SYSTEM_FILEERROR_H
#define QUIETFLOOR_TOOLS_SYSTEM_FILEERROR_H

#include <filesystem>
#include <stdexcept>

namespace quietfloor {

/// What went wrong with a file, as one line for people: "NAME: reason".
class FileError : public std::runtime_error {
public:
    FileError(const std::filesystem::path &path, const std::string &reason);
};

} // namespace quietfloor

#endif
