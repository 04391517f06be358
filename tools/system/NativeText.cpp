// SPDX-License-Identifier: MIT
#include "tools/system/NativeText.h"

#include <algorithm>

namespace quietfloor {

// The standard library converts UTF-8 on Windows and hands any bytes on as they are elsewhere.
std::filesystem::path PathOf(std::string_view text) { return {std::u8string(text.begin(), text.end())}; }

std::string TextOf(const std::filesystem::path &path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

std::string LowerCase(std::string text) {
    for (char &c : text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return text;
}

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }

std::string OneLine(std::string_view text) {
    std::string line(text);
    std::replace_if(line.begin(), line.end(), IsControl, '?');
    return line;
}

} // namespace quietfloor
