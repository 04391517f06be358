// SPDX-License-Identifier: MIT
/// JSON (RFC 8259) as it is written here: flat objects, and an array of them.
#ifndef QUIETFLOOR_TOOLS_COMMAND_JSONWRITER_H
#define QUIETFLOOR_TOOLS_COMMAND_JSONWRITER_H

#include <cstdint>
#include <string>
#include <string_view>

namespace quietfloor {

/// A JSON string with its quotes. Bytes that are not UTF-8 become U+FFFD.
std::string JsonText(std::string_view text);

class JsonObject {
public:
    void Add(std::string_view name, std::string_view text); ///< as JsonText does
    void Add(std::string_view name, std::int64_t number);
    /// Rounded to `decimals` places; null for an infinity or NaN, which JSON has no word for.
    void Add(std::string_view name, double number, int decimals);
    void AddToken(std::string_view name, std::string_view json); ///< written as it is

    std::string Text() const { return '{' + members + '}'; }

private:
    std::string members;
};

class JsonArray {
public:
    void Add(const JsonObject &object);

    /// A line for each object.
    std::string Text() const { return '[' + elements + "\n]\n"; }

private:
    std::string elements;
};

} // namespace quietfloor

#endif
