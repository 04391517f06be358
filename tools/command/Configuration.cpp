// SPDX-License-Identifier: MIT
#include "tools/command/Configuration.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <set>
#include <string>

#include "tools/command/ParameterText.h"
#include "tools/command/UsageError.h"
#include "tools/command/WordOptions.h"
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
    ConfigurationReader(const std::filesystem::path &file, const DenoiseSettings &start)
        : name(TextOf(file)), settings(start) {}

    void Take(std::string_view line) {
        ++lineNumber;
        line = Trimmed(line.substr(0, line.find_first_of("#;")));
        if (line.empty())
            return;
        const std::size_t sign = line.find('=');
        if (sign == std::string_view::npos)
            Fail(std::string("'").append(line) + "' is not of the form name = value");
        const std::string_view key = Trimmed(line.substr(0, sign));
        if (!given.emplace(key).second)
            Fail(std::string(key) + " is given twice");
        TakeValue(key, Trimmed(line.substr(sign + 1)));
    }

    const DenoiseSettings &Settings() const { return settings; }

private:
    void TakeValue(std::string_view key, std::string_view text) {
        if (const int index = FindSettable(key); index >= 0) {
            settings.parameters[static_cast<std::size_t>(index)] = Value(ParameterAt(index), text);
            return;
        }
        const std::span<const WordOption> words = WordOptions();
        const auto found = std::find_if(words.begin(), words.end(),
                                        [&](const WordOption &word) { return key == word.name; });
        if (found == words.end())
            Fail(std::string("unknown parameter '").append(key) + "'");
        TakeWord(*found, text, settings, Where());
    }

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
    DenoiseSettings settings;
    std::set<std::string> given; // names
    int lineNumber = 0;
};

std::string ConfigurationText(const DenoiseSettings &settings) {
    std::string text = "# Parameters of quietfloor; read with --config.\n";
    for (int i = 0; i < parameterCount; ++i) {
        const ParameterInfo &parameter = ParameterAt(i);
        if (parameter.isSettable)
            text += std::string("\n# ") + parameter.description + " (" + RangeText(parameter) + ")\n" +
                    parameter.name + " = " + NumberText(settings.parameters[static_cast<std::size_t>(i)]) +
                    '\n';
    }
    for (const WordOption &option : WordOptions())
        if (const std::string word = option.text(settings); !word.empty())
            text += std::string("\n# ") + option.description + '\n' + option.name + " = " + word + '\n';
    return text;
}

} // namespace

DenoiseSettings ReadConfiguration(const std::filesystem::path &file, DenoiseSettings settings) {
    std::ifstream stream(file);
    ConfigurationReader reader(file, settings);
    for (std::string line; std::getline(stream, line);)
        reader.Take(line);
    if (!stream.eof()) // not opened, or a folder
        throw UsageError(TextOf(file) + ": cannot be read");
    return reader.Settings();
}

void WriteConfiguration(const std::filesystem::path &file, const DenoiseSettings &settings) {
    const std::string text = ConfigurationText(settings);
    if (IsStandardStream(file))
        return WriteStandardOutput(text);
    if (!settings.overwrites && std::filesystem::exists(file))
        throw FileError(file, "exists; --force overwrites it");
    OutputFile output(file, settings.overwrites);
    output.Write(text.data(), text.size());
    output.Commit();
}

} // namespace quietfloor
