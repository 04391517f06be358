// SPDX-License-Identifier: MIT
#include "tools/system/FileError.h"

namespace quietfloor {
namespace {

// Windows ends its messages with a new line, and libsndfile some of its own with a full stop.
std::string WithoutEnd(const std::string &text) { return text.substr(0, text.find_last_not_of("\r\n.") + 1); }

} // namespace

FileError::FileError(const std::filesystem::path &path, const std::string &reason)
    : std::runtime_error(path.string() + ": " + WithoutEnd(reason)) {}

} // namespace quietfloor
