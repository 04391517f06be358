// SPDX-License-Identifier: MIT
#include "tools/command/CommandLine.h"

#include <algorithm>
#include <array>
#include <deque>
#include <sstream>
#include <thread>

#include <CLI/CLI.hpp>

#include "base/Export.h"
#include "dsp/Presets.h"
#include "tools/command/Configuration.h"
#include "tools/command/FormatList.h"
#include "tools/command/ParameterText.h"
#include "tools/command/UsageError.h"
#include "tools/command/WordOptions.h"
#include "tools/sound/SoundFormat.h"
#include "tools/system/NativeText.h"

namespace quietfloor {
namespace {

constexpr const char *explanation = R"(Takes steady background noise out of sound files.

OUT has IN's length, format, rate and channels, and nothing is shifted in time. Where OUT's extension is
that of another container, such as .flac for a .wav, it has that one. With -o a folder IN stands for the
sound files in it. - is standard input or output.)";

constexpr const char *conclusion =
    R"(Parameters come from, the strongest last: defaults, --preset, --config, options.
Exit status: 0 done, 1 wrong usage, 2 a file failed, 130 interrupted.)";

// Two columns, the second one wrapped.
class HelpFormatter : public CLI::Formatter {
public:
    HelpFormatter() { column_width(26); }

    std::string make_usage(const CLI::App *, std::string) const override {
        return "\nUsage: quietfloor [OPTION...] IN OUT\n"
               "       quietfloor [OPTION...] -o DIR IN...\n\n";
    }

    std::string make_group(std::string group, bool isPositional,
                           std::vector<const CLI::Option *> options) const override {
        for (group += ":\n"; const CLI::Option *option : options)
            group += make_option(option, isPositional);
        return group;
    }

    std::string make_option_desc(const CLI::Option *option) const override {
        constexpr std::size_t width = 74;
        std::string text = option->get_description();
        for (std::size_t start = 0; text.size() - start > width;) {
            const std::size_t space = text.rfind(' ', start + width);
            text[space] = '\n';
            start = space + 1;
        }
        return text;
    }
};

// A number with its bounds, for CLI11, which says what was wrong; NaN is outside.
CLI::Validator Between(double lowest, double highest) {
    const auto check = [=](const std::string &text) {
        double value = 0.0;
        if (CLI::detail::lexical_cast(text, value) && value >= lowest && value <= highest)
            return std::string();
        std::ostringstream error;
        error << text << " is not in " << lowest << " to " << highest;
        return error.str();
    };
    return {check, ""};
}

// CLI11 reads no text as 0, and a script's variable may be unset.
CLI::Validator NotEmpty() {
    return {[](const std::string &text) { return text.empty() ? "the value is empty" : std::string(); }, ""};
}

std::string WithCommas(const std::vector<std::string> &names) {
    std::string text;
    for (const std::string &name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

class Parser {
public:
    Parser() : app("", "quietfloor") {
        app.description(explanation);
        app.footer(conclusion);
        app.formatter(std::make_shared<HelpFormatter>());
        app.add_option("FILE", files)->group("");
        AddFileOptions();
        AddParameterOptions();
        AddSoundOptions();
        AddReportOptions();
        for (CLI::Option *option :
             app.get_options([](const CLI::Option *any) { return !any->get_positional(); }))
            option->check(NotEmpty());
    }

    CommandLine Parse(const std::vector<std::string> &arguments) {
        try {
            app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
        } catch (const CLI::Success &request) { // --help or --version
            std::ostringstream text;
            app.exit(request, text, text);
            result.answer = text.str();
            return result;
        } catch (const CLI::ParseError &error) {
            throw UsageError(error.what());
        }
        result.answer = Lists();
        if (result.answer.empty())
            Conclude();
        return result;
    }

private:
    CLI::Option *Add(const char *group, const char *names, const char *placeholder, std::string &value,
                     const std::string &text) {
        return app.add_option(names, value, text)->option_text(placeholder)->group(group);
    }
    void Add(const char *group, const char *names, bool &value, const char *text) {
        app.add_flag(names, value, text)->group(group);
    }

    void AddFileOptions() {
        const char *group = "Files";
        Add(group, "-o,--output-dir", "DIR", outputFolder, "write each file under its own name into DIR");
        Add(group, "--format", "NAME", container, "container of OUT: " + WithCommas(ContainerNames()));
        Add(group, "--subtype", "NAME", sampleFormat,
            "sample format of OUT: " + WithCommas(SampleFormatNames()));
        Add(group, "--force", result.settings.overwrites, "overwrite files that exist");
        Add(group, "--dry-run", result.isDryRun, "check and say what would be done; write nothing");
        app.add_option("-j,--jobs", result.jobs, "files at once (1 to 256; default: one per processor core)")
            ->option_text("N")
            ->group(group)
            ->check(Between(1, 256));
    }

    void AddParameterOptions() {
        const char *group = "Noise reduction";
        std::vector<std::string> names;
        for (const Preset &offered : Presets())
            names.emplace_back(offered.name);
        Add(group, "--preset", "NAME", preset, "parameters for a purpose: " + WithCommas(names));
        Add(group, "--config", "FILE", configuration, "parameters from FILE: lines name = value");
        Add(group, "--save-config", "FILE", savedConfiguration, "write the parameters in effect to FILE");
        for (int i = 0; i < parameterCount; ++i) {
            const ParameterInfo &parameter = ParameterAt(i);
            const auto index = static_cast<std::size_t>(i);
            if (!parameter.isSettable)
                continue;
            const std::string text = std::string(parameter.description) + " (" + RangeText(parameter) +
                                     "; default " + NumberText(parameter.defaultValue) + ")";
            options[index] = app.add_option(std::string("--") + parameter.name, given[index], text)
                                 ->option_text("X")
                                 ->group(group);
        }
        for (const WordOption &option : WordOptions())
            Add(group, option.flags, "WORD", words.emplace_back(), option.description);
    }

    void AddSoundOptions() {
        const char *group = "Sound and pictures";
        app.add_option("--mix", mixPercent, "share of the cleaned sound in OUT (0 to 100 %; default 100)")
            ->option_text("PERCENT")
            ->group(group)
            ->check(Between(0, 100));
        Add(group, "--residual", result.settings.writesResidual, "write what was removed instead");
        Add(group, "--keep-latency", result.settings.keepsLatency,
            "leave OUT late by the delay of the reduction");
        Add(group, "--spectrogram", "FILE", spectrogram,
            "picture of before, after and difference (PNG); with -o a folder of them");
    }

    void AddReportOptions() {
        const char *group = "Reports";
        Add(group, "-q,--quiet", result.isQuiet, "neither progress nor warnings");
        Add(group, "-v,--verbose", result.isVerbose, "a line for each file at the end, on standard error");
        Add(group, "--json", result.printsJson,
            "reports and lists as JSON on standard output; on standard error where OUT is -");
        Add(group, "--list-params", listsParameters, "list the parameters");
        Add(group, "--list-presets", listsPresets, "list the presets");
        Add(group, "--list-formats", listsFormats, "list containers with their sample formats");
        app.set_version_flag("--version", "quietfloor " QUIETFLOOR_VERSION, "show the version")->group(group);
        app.set_help_flag("-h,--help", "show this text")->group(group);
    }

    std::string Lists() const {
        return (listsParameters ? ParameterList(result.printsJson) : "") +
               (listsPresets ? PresetList(result.printsJson) : "") +
               (listsFormats ? FormatList(result.printsJson) : "");
    }

    void Conclude() {
        ConcludeReduction();
        result.settings.mix = mixPercent / 100.0;
        if (app.count("--jobs") == 0)
            result.jobs = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
        result.spectrogram = PathOf(spectrogram);
        result.savedConfiguration = PathOf(savedConfiguration);
        if (result.isQuiet && result.isVerbose)
            throw UsageError("--quiet and --verbose exclude each other");
        ConcludeFormat();
        ConcludeFiles();
    }

    void ConcludeReduction() {
        DenoiseSettings &settings = result.settings;
        if (app.count("--preset") > 0) {
            const Preset *found = FindPreset(preset);
            if (found == nullptr)
                throw UsageError("--preset: no preset is called '" + preset + "'; see --list-presets");
            settings.parameters = found->values;
            settings.estimator = found->estimator;
        }
        if (app.count("--config") > 0)
            settings = ReadConfiguration(PathOf(configuration), settings);
        for (int i = 0; i < parameterCount; ++i) {
            const auto index = static_cast<std::size_t>(i);
            if (options[index] == nullptr || options[index]->count() == 0)
                continue;
            CheckRange(ParameterAt(i), given[index], "--");
            settings.parameters[index] = given[index];
        }
        auto word = words.begin();
        for (const WordOption &option : WordOptions())
            if (const std::string &text = *word++; !text.empty())
                TakeWord(option, text, settings, "--");
    }

    void ConcludeFormat() {
        DenoiseSettings &settings = result.settings;
        settings.container = FindContainer(container);
        settings.sampleFormat = FindSampleFormat(sampleFormat);
        if (app.count("--format") > 0 && settings.container == 0)
            throw UsageError("--format: no container is called '" + container + "'; see --list-formats");
        if (app.count("--subtype") > 0 && settings.sampleFormat == 0)
            throw UsageError("--subtype: no sample format is called '" + sampleFormat +
                             "'; see --list-formats");
        if (settings.container != 0 && !CanWrite(settings.container, settings.sampleFormat))
            throw UsageError("--format " + container + (sampleFormat.empty() ? "" : " --subtype ") +
                             sampleFormat + ": cannot be written; see --list-formats");
    }

    void ConcludeFiles() {
        result.folder = PathOf(outputFolder);
        const bool onlySaves = files.empty() && !savedConfiguration.empty();
        if (onlySaves)
            return;
        if (files.empty())
            throw UsageError("no input is given; see --help");
        if (result.folder.empty() && files.size() != 2)
            throw UsageError(files.size() < 2 ? "no output is given; see --help"
                                              : "several inputs need -o; see --help");
        if (std::find(files.begin(), files.end(), "") != files.end())
            throw UsageError("the name of a file is empty");
        for (const std::string &file : files)
            result.sources.push_back(PathOf(file));
        if (result.folder.empty()) {
            result.target = result.sources.back();
            result.sources.pop_back();
        }
    }

    CLI::App app;
    CommandLine result;
    std::vector<std::string> files;
    std::string outputFolder, container, sampleFormat, preset, configuration, savedConfiguration, spectrogram;
    ParameterValues given{};
    std::deque<std::string> words; // of the word options, in their order; empty: not given
    std::array<CLI::Option *, parameterCount> options{};
    double mixPercent = 100.0;
    bool listsParameters = false, listsPresets = false, listsFormats = false;
};

} // namespace

CommandLine ParseCommandLine(const std::vector<std::string> &arguments) { return Parser().Parse(arguments); }

} // namespace quietfloor
