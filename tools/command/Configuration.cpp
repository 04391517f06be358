// SPDX-License-Identifier: MIT
#include "tools/command/Configuration.h"

#include <bitset>
#include <charconv>
#include <fstream>
#include <string>

#include "tools/command/ParameterText.h"
#include "tools/command/UsageError.h"
#include "tools/system/NativeText.h"
#include "tools/system/OutputFile.h"
#include "tools/system/StandardStreams.h"

namespace quietfloor {
namespace {

std::string_view Trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    return first == std::string_view::npos ? ""
                                           : text.substr(first, text.find_last_not_of(" \t\r") + 1 - first);
}

// -1 if no parameter that can be set has the name.
int FindSettable(std::string_view name) {
    for (int i = 0; i < parameterCount; ++i)
        if (ParameterAt(i).isSettable && name == ParameterAt(i).name)
            return i;
    return -1;
}

// The lines of one file, one after the other.
class ConfigurationReader {
public:
    ConfigurationReader(const std::filesystem::path &file, ParameterValues start)
        : name(TextOf(file)), values(start) {}

    void Take(std::string_view line) {
        ++lineNumber;
        line = Trimmed(line.substr(0, line.find_first_of("#;")));
        if (line.empty())
            return;
        const std::size_t sign = line.find('=');
        if (sign == std::string_view::npos)
            Fail("'" + std::string(line) + "' is not of the form name = value");
        const std::string_view key = Trimmed(line.substr(0, sign));
        const int index = FindSettable(key);
        if (index < 0)
            Fail("unknown parameter '" + std::string(key) + "'");
        if (isGiven.test(static_cast<std::size_t>(index)))
            Fail(std::string(key) + " is given twice");
        isGiven.set(static_cast<std::size_t>(index));
        values[static_cast<std::size_t>(index)] = Value(ParameterAt(index), Trimmed(line.substr(sign + 1)));
    }

    const ParameterValues &Values() const { return values; }

private:
    std::string Where() const { return name + ":" + std::to_string(lineNumber) + ": "; }

    [[noreturn]] void Fail(const std::string &reason) const { throw UsageError(Where() + reason); }

    float Value(const ParameterInfo &parameter, std::string_view text) const {
        const std::size_t plus = text.starts_with('+') ? 1 : 0; // from_chars takes none
        float value = 0.0f;
        const auto [end, status] = std::from_chars(text.data() + plus, text.data() + text.size(), value);
        if (status != std::errc() || end != text.data() + text.size())
            Fail(std::string(parameter.name) + ": '" + std::string(text) + "' is not a number");
        CheckRange(parameter, value, Where());
        return value;
    }

    std::string name;
    ParameterValues values;
    std::bitset<parameterCount> isGiven;
    int lineNumber = 0;
};

std::string ConfigurationText(const ParameterValues &values) {
    std::string text = "# Parameters of quietfloor; read with --config.\n";
    for (int i = 0; i < parameterCount; ++i) {
        const ParameterInfo &parameter = ParameterAt(i);
        if (parameter.isSettable)
            text += std::string("\n# ") + parameter.description + " (" + RangeText(parameter) + ")\n" +
                    parameter.name + " = " + NumberText(values[static_cast<std::size_t>(i)]) + '\n';
    }
    return text;
}

} // namespace

ParameterValues ReadConfiguration(const std::filesystem::path &file, ParameterValues values) {
    std::ifstream stream(file);
    ConfigurationReader reader(file, values);
    for (std::string line; std::getline(stream, line);)
        reader.Take(line);
    if (!stream.eof()) // not opened, or a folder
        throw UsageError(TextOf(file) + ": cannot be read");
    return reader.Values();
}

void WriteConfiguration(const std::filesystem::path &file, const ParameterValues &values, bool overwrites) {
    const std::string text = ConfigurationText(values);
    if (IsStandardStream(file))
        return WriteStandardOutput(text);
    if (!overwrites && std::filesystem::exists(file))
        throw FileError(file, "exists; --force overwrites it");
    OutputFile output(file, overwrites);
    output.Write(text.data(), text.size());
    output.Commit();
}

} // namespace quietfloor
