// SPDX-License-Identifier: MIT
#include "tools/command/JsonWriter.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "tools/system/NativeText.h"

namespace quietfloor {
namespace {

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
    std::snprintf(text, sizeof text, "\\u%04x", unsigned(c));
    return text;
}

} // namespace

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

void JsonObject::AddToken(std::string_view name, std::string_view json) {
    if (!members.empty())
        members += ", ";
    members.append(JsonText(name)).append(": ").append(json);
}

void JsonObject::Add(std::string_view name, std::string_view text) { AddToken(name, JsonText(text)); }

void JsonObject::Add(std::string_view name, std::int64_t number) { AddToken(name, std::to_string(number)); }

void JsonObject::Add(std::string_view name, double number, int decimals) {
    char text[400]; // the largest double has 309 digits
    const auto end = std::to_chars(text, text + sizeof text, number, std::chars_format::fixed, decimals).ptr;
    AddToken(name,
             std::isfinite(number) ? std::string_view(text, static_cast<std::size_t>(end - text)) : "null");
}

void JsonArray::Add(const JsonObject &object) {
    elements += (elements.empty() ? "\n  " : ",\n  ") + object.Text();
}

} // namespace quietfloor
