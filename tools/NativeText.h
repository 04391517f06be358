/// File names as text: UTF-8 on Windows, the system's own bytes elsewhere.
#ifndef QUIETFLOOR_TOOLS_NATIVETEXT_H
#define QUIETFLOOR_TOOLS_NATIVETEXT_H

#include <filesystem>
#include <string>
#include <string_view>

namespace quietfloor {

std::filesystem::path PathOf(std::string_view text);
std::string TextOf(const std::filesystem::path &path);

/// Of the letters A to Z.
std::string LowerCase(std::string text);

/// With '?' for what would end the line or steer a terminal.
std::string OneLine(std::string_view text);

/// A JSON string with its quotes. What is no UTF-8 becomes U+FFFD.
std::string JsonText(std::string_view text);

} // namespace quietfloor

#endif
