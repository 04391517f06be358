#include "tools/JsonWriter.h"

#include <charconv>
#include <cmath>

#include "tools/NativeText.h"

namespace quietfloor {

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
