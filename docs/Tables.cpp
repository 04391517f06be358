// Prints the tables of the pages, one by name: what scripts/check-docs compares with the pages, or writes
// into them. A page may add columns of its own to the right. The list "headers" is for the tables that the
// public headers hold.
#include <cstdio>
#include <cstring>
#include <string>

#include "dsp/FrameGeometry.h"
#include "dsp/Parameters.h"
#include "dsp/Presets.h"
#include "tools/ParameterText.h"

namespace {

using namespace quietfloor;

constexpr int smallest = 64, largest = 16384; // FFT sizes
constexpr double rateHz = 44100.0;

void PrintParameters() {
    std::puts("| parameter | range | default |\n|---|---|---:|");
    for (int i = 0; i < parameterCount; ++i) {
        const ParameterInfo &parameter = ParameterAt(i);
        if (parameter.isSettable)
            std::printf("| `%s` | %s | %s |\n", parameter.name, RangeText(parameter).c_str(),
                        NumberText(parameter.defaultValue).c_str());
    }
}

// A line of index, unit and bounds for each parameter, and one of index and default.
void PrintHeaders() {
    for (int i = 0; i < parameterCount; ++i) {
        const ParameterInfo &parameter = ParameterAt(i);
        std::printf("%d %s %.2f %.2f\n", i, *parameter.unit ? parameter.unit : "-",
                    static_cast<double>(parameter.lowerBound), static_cast<double>(parameter.upperBound));
        std::printf("%d default %.2f\n", i, static_cast<double>(parameter.defaultValue));
    }
}

// What a preset sets, as options of the program.
std::string Options(const Preset &preset) {
    std::string options;
    for (int i = 0; i < parameterCount; ++i) {
        const float value = preset.values[static_cast<std::size_t>(i)];
        if (value != ParameterAt(i).defaultValue)
            options += std::string(options.empty() ? "" : " ") + "--" + ParameterAt(i).name + " " +
                       NumberText(value);
    }
    return options.empty() ? "the defaults" : "`" + options + "`";
}

void PrintPresets() {
    std::puts("| preset | for | sets |\n|---|---|---|");
    for (const Preset &preset : Presets())
        std::printf("| `%s` | %s | %s |\n", preset.name, preset.description, Options(preset).c_str());
}

double Milliseconds(int samples) { return 1000.0 * samples / rateHz; }

void PrintLatency() {
    std::puts("| FFT size | gains: samples | at 44.1 kHz | filter: samples | at 44.1 kHz |\n"
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
            std::printf("| %d | %s | %d | %d | %d | %d | %d | %d | %d |\n", size, filter ? "filter" : "gains",
                        g.overlap, g.hopSize, g.analysisLength, g.analysisOffset, g.writePos, g.readOffset,
                        g.Latency(filter));
        }
}

const struct {
    const char *name;
    void (*print)();
} tables[] = {{"parameters", PrintParameters},
              {"presets", PrintPresets},
              {"latency", PrintLatency},
              {"geometry", PrintGeometry},
              {"headers", PrintHeaders}};

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
