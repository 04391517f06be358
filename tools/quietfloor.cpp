// The command-line program: quietfloor IN OUT.
#include <cmath>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <new>
#include <sstream>

#include <CLI/CLI.hpp>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

#include "lib/Export.h"
#include "tools/AudioFile.h"
#include "tools/FileDenoiser.h"

namespace {

using namespace quietfloor;

enum ExitStatus : int { exitDone = 0, exitUsage = 1, exitFileFailed = 2 };

volatile std::sig_atomic_t interrupted = 0;

bool IsTerminal(std::FILE *stream) {
#if defined(_WIN32)
    return _isatty(_fileno(stream)) != 0;
#else
    return isatty(fileno(stream)) != 0;
#endif
}

// For people the range ends at whole numbers: some bounds leave room for a slider's rounding,
// and -0 shows as 0.
std::string RangeText(const ParameterInfo &parameter) {
    std::ostringstream text;
    text << std::ceil(parameter.lowerBound) + 0.0f << " to " << std::floor(parameter.upperBound);
    if (*parameter.unit)
        text << ' ' << parameter.unit;
    return text.str();
}

// What is wrong with the values, as one line; empty if nothing is. Written so that NaN fails.
std::string RangeError(const ParameterValues &values) {
    for (int i = 0; i < parameterCount; ++i) {
        const ParameterInfo &parameter = ParameterAt(i);
        const float value = values[static_cast<std::size_t>(i)];
        if (value >= parameter.lowerBound && value <= parameter.upperBound)
            continue;
        std::ostringstream text;
        text << "--" << parameter.name << ": " << value << " is not in " << RangeText(parameter);
        return text.str();
    }
    return {};
}

void AddParameters(CLI::App &app, ParameterValues &values) {
    for (int i = 0; i < parameterCount; ++i) {
        const ParameterInfo &parameter = ParameterAt(i);
        float &value = values[static_cast<std::size_t>(i)];
        value = parameter.defaultValue;
        if (!parameter.isSettable)
            continue;
        std::ostringstream text;
        text << parameter.description << " (" << RangeText(parameter) << "; default " << value << ")";
        app.add_option(std::string("--") + parameter.name, value, text.str())->option_text("X");
    }
}

// Shows whole percents, on a terminal only.
class ProgressLine {
public:
    bool operator()(sf_count_t done, sf_count_t total) {
        const int percent = total > 0 ? static_cast<int>(100 * done / total) : 0;
        if (isShown && percent != lastPercent)
            std::fprintf(stderr, "\r%3d %%%s", percent, percent == 100 ? "\n" : "");
        lastPercent = percent;
        return interrupted == 0;
    }

private:
    bool isShown = IsTerminal(stderr);
    int lastPercent = -1;
};

int Fail(ExitStatus status, const std::string &reason) {
    std::cerr << "quietfloor: " << reason << '\n';
    return status;
}

int Run(const std::filesystem::path &in, const std::filesystem::path &out, const ParameterValues &values) {
    std::error_code ignored; // one of them does not exist: they differ
    if (std::filesystem::equivalent(in, out, ignored))
        return Fail(exitUsage, out.string() + ": input and output are the same file");
    try {
        DenoiseSettings settings;
        settings.parameters = values;
        settings.overwrites = true;
        DenoiseFile({in, out, {}}, settings, ProgressLine());
        return exitDone;
    } catch (const std::bad_alloc &) {
        return Fail(exitFileFailed, in.string() + ": out of memory");
    } catch (const std::exception &error) {
        return Fail(exitFileFailed, error.what());
    }
}

} // namespace

int main(int argc, char **argv) {
    CLI::App app("Takes steady background noise out of a sound file.", "quietfloor");
    std::string in, out;
    ParameterValues values{};
    app.add_option("IN", in, "sound file to read, in any format that libsndfile knows")->required();
    app.add_option("OUT", out, "sound file to write, in the format of IN")->required();
    app.set_version_flag("--version", "quietfloor " QUIETFLOOR_VERSION);
    AddParameters(app, values);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &request) { // --help or --version
        return app.exit(request);
    } catch (const CLI::ParseError &error) {
        return Fail(exitUsage, error.what());
    }
    if (const std::string error = RangeError(values); !error.empty())
        return Fail(exitUsage, error);
    const auto interrupt = [](int) { interrupted = 1; };
    std::signal(SIGINT, interrupt);
    std::signal(SIGTERM, interrupt);
    return Run(in, out, values);
}
