// SPDX-License-Identifier: MIT
// Prints the tables of the pages and the lists of the public headers, one by name: what scripts/check-docs
// compares with the text between the marks "generated: NAME" and "end", or writes there.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>

#include "dsp/Estimators.h"
#include "dsp/FrameGeometry.h"
#include "dsp/Parameters.h"
#include "dsp/Presets.h"
#include "dsp/SingleChannelAdaptiveNoise.h"
#include "tools/command/ParameterText.h"

namespace {

using namespace quietfloor;
using Object = dsp::SingleChannelAdaptiveNoise;

constexpr int smallest = 64, largest = 16384; // FFT sizes
constexpr double rateHz = 44100.0;

// At most two decimals, and no zeros at the end of them.
std::string Short(float value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", static_cast<double>(value));
    std::string number = text;
    number.erase(number.find_last_not_of('0') + 1);
    return number.back() == '.' ? number.substr(0, number.size() - 1) : number;
}

// The comment over an enumerator: a sentence, then unit, bounds, default and when it takes effect.
std::string Comment(const ParameterInfo &parameter, const std::string &indent) {
    std::string words = parameter.description;
    words[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(words[0])));
    std::string facts = Short(parameter.lowerBound) + " to " + Short(parameter.upperBound);
    if (*parameter.unit)
        facts = parameter.unit + (", " + facts);
    if (words.compare(0, 9, "Read back") != 0)
        facts += ", default " + Short(parameter.defaultValue);
    if (*parameter.effective)
        facts += std::string("; ") + parameter.effective;
    return indent + "/// " + words + ".\n" + indent + "/// (" + facts + ")\n";
}

void PrintObjectParameters() {
    static const struct {
        Object::Parameter index;
        const char *name;
    } names[] = {{Object::kReductionDb, "kReductionDb"}, {Object::kOffsetDb, "kOffsetDb"},
                 {Object::kSensitivity, "kSensitivity"}, {Object::kTrackerRate, "kTrackerRate"},
                 {Object::kStrength, "kStrength"},       {Object::kReserved, "kReserved"},
                 {Object::kBandWidthHz, "kBandWidthHz"}, {Object::kFftSize, "kFftSize"},
                 {Object::kOverlap, "kOverlap"},         {Object::kKneeDb, "kKneeDb"},
                 {Object::kReleaseMs, "kReleaseMs"},     {Object::kFilterMode, "kFilterMode"},
                 {Object::kUnused, "kUnused"},           {Object::kActive, "kActive"}};
    const std::string indent(8, ' ');
    for (const auto &[index, name] : names)
        std::printf("%s%s%s = %d,\n", Comment(ParameterAt(index), indent).c_str(), indent.c_str(), name,
                    index);
}

// Those that do something or tell something, as C names them.
void PrintCParameters() {
    const std::string indent(4, ' ');
    for (int i = 0; i < parameterCount; ++i) {
        const ParameterInfo &parameter = ParameterAt(i);
        if (std::strncmp(parameter.description, "no effect", 9) == 0)
            continue;
        std::string name = parameter.name;
        std::transform(name.begin(), name.end(), name.begin(), [](unsigned char letter) {
            return letter == '-' ? '_' : static_cast<char>(std::toupper(letter));
        });
        std::printf("%s%sQUIETFLOOR_%s = %d,\n", Comment(parameter, indent).c_str(), indent.c_str(),
                    name.c_str(), i);
    }
}

void PrintParameters() {
    std::puts("| parameter | range | default | what it does | too much |\n|---|---|---:|---|---|");
    for (int i = 0; i < parameterCount; ++i) {
        const ParameterInfo &parameter = ParameterAt(i);
        if (parameter.isSettable)
            std::printf("| `%s` | %s | %s | %s | %s |\n", parameter.name, RangeText(parameter).c_str(),
                        NumberText(parameter.defaultValue).c_str(), parameter.advice, parameter.excess);
    }
}

// The estimator and what a preset sets, as options of the program.
std::string Options(const Preset &preset) {
    std::string options = std::string("--estimator ") + NameOf(preset.estimator);
    for (int i = 0; i < parameterCount; ++i) {
        const float value = preset.values[static_cast<std::size_t>(i)];
        if (value != ParameterAt(i).defaultValue)
            options += std::string(" --") + ParameterAt(i).name + " " + NumberText(value);
    }
    return "`" + options + "`";
}

void PrintPresets() {
    std::puts("| preset | for | sets |\n|---|---|---|");
    for (const Preset &preset : Presets())
        std::printf("| `%s` | %s | %s |\n", preset.name, preset.description, Options(preset).c_str());
}

double Milliseconds(int samples) { return 1000.0 * samples / rateHz; }

void PrintLatency() {
    std::puts("| FFT size | gain per bin: samples | at 44.1 kHz | filter: samples | at 44.1 kHz |\n"
              "|---:|---:|---:|---:|---:|");
    for (int size = smallest; size <= largest; size *= 2) {
        const int gains = dsp::MakeFrameGeometry(size, false).Latency(false);
        const int filter = dsp::MakeFrameGeometry(size, true).Latency(true);
        std::printf("| %d | %d | %.1f ms | %d | %.1f ms |\n", size, gains, Milliseconds(gains), filter,
                    Milliseconds(filter));
    }
}

void PrintGeometry() {
    std::puts("| N | mode | overlap | hop P | analysed A | older kept K | first write w | read offset r | "
              "latency L |\n"
              "|---:|---|---:|---:|---:|---:|---:|---:|---:|");
    for (int size = smallest; size <= largest; size *= 2)
        for (const bool filter : {false, true}) {
            const dsp::FrameGeometry g = dsp::MakeFrameGeometry(size, filter);
            std::printf("| %d | %s | %d | %d | %d | %d | %d | %d | %d |\n", size,
                        filter ? "filter" : "gain per bin", g.overlap, g.hopSize, g.analysisLength,
                        g.analysisOffset, g.writePos, g.readOffset, g.Latency(filter));
        }
}

const struct {
    const char *name;
    void (*print)();
} tables[] = {{"object-parameters", PrintObjectParameters},
              {"c-parameters", PrintCParameters},
              {"parameters", PrintParameters},
              {"presets", PrintPresets},
              {"latency", PrintLatency},
              {"geometry", PrintGeometry}};

} // namespace

int main(int argc, char **argv) {
    for (const auto &table : tables)
        if (argc == 2 && std::strcmp(argv[1], table.name) == 0) {
            table.print();
            return 0;
        }
    std::fprintf(stderr, "usage: Tables NAME, one of:");
    for (const auto &table : tables)
        std::fprintf(stderr, " %s", table.name);
    std::fputc('\n', stderr);
    return 1;
}
