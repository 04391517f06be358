// SPDX-License-Identifier: MIT
/// File names as text: UTF-8 on Windows, the system's own bytes elsewhere.
#ifndef QUIETFLOOR_TOOLS_SYSTEM_NATIVETEXT_H
#define QUIETFLOOR_TOOLS_SYSTEM_NATIVETEXT_H

#include <filesystem>
#include <string>
#include <string_view>

namespace quietfloor {

std::filesystem::path PathOf(std::string_view text);
std::string TextOf(const std::filesystem::path &path);

/// Of the letters A to Z.
std::string LowerCase(std::string text);

/// Of ASCII: what would end the line or steer a terminal.
bool IsControl(char c);

/// With '?' for control characters.
std::string OneLine(std::string_view text);

} // namespace quietfloor

#endif
