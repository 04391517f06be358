#include "tools/NativeText.h"

#include <algorithm>
#include <cstdio>

namespace quietfloor {
namespace {

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }

// Bytes of the UTF-8 sequence that `text` begins with; 0 if it begins with none. Overlong forms,
// surrogates and what is beyond U+10FFFF are none (RFC 3629).
std::size_t SequenceLength(std::string_view text) {
    const auto At = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = At(0);
    if (first < 0x80)
        return 1;
    const std::size_t length = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || first > 0xf4 || text.size() < length)
        return 0;
    const unsigned lowest = first == 0xe0 ? 0xa0 : first == 0xf0 ? 0x90 : 0x80;
    const unsigned highest = first == 0xed ? 0x9f : first == 0xf4 ? 0x8f : 0xbf;
    if (At(1) < lowest || At(1) > highest)
        return 0;
    for (std::size_t i = 2; i < length; ++i)
        if (At(i) < 0x80 || At(i) > 0xbf)
            return 0;
    return length;
}

std::string EscapedControl(char c) {
    char text[8];
    std::snprintf(text, sizeof text, "\\u%04x", static_cast<unsigned>(static_cast<unsigned char>(c)));
    return text;
}

} // namespace

std::filesystem::path PathOf(std::string_view text) {
#if defined(_WIN32)
    return {std::u8string(text.begin(), text.end())};
#else
    return {text};
#endif
}

std::string TextOf(const std::filesystem::path &path) {
#if defined(_WIN32)
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
#else
    return path.string();
#endif
}

std::string LowerCase(std::string text) {
    for (char &c : text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return text;
}

std::string OneLine(std::string_view text) {
    std::string line(text);
    std::replace_if(line.begin(), line.end(), IsControl, '?');
    return line;
}

std::string JsonText(std::string_view text) {
    std::string quoted = "\"";
    while (!text.empty()) {
        const std::size_t length = SequenceLength(text);
        if (length == 0)
            quoted += "\xEF\xBF\xBD";
        else if (IsControl(text.front()))
            quoted += EscapedControl(text.front());
        else if (text.front() == '"' || text.front() == '\\')
            quoted.append({'\\', text.front()});
        else
            quoted += text.substr(0, length);
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return quoted + '"';
}

} // namespace quietfloor
