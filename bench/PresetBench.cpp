// What the presets do to noisy speech, beside speexdsp's noise suppression, as tables in Markdown.
//
//   PresetBench presets SPEECH [NAME=VALUE ...]       every preset over white and pink noise and hum
//   PresetBench settings SPEECH MUSIC                 FFT sizes and modes over speech, hum and music
//   PresetBench recording NOISY CLEAN [NAME=VALUE ...] every preset over one recording
//
// Files are raw 32-bit floats, one channel, 48 kHz. NAME=VALUE asks for a row with these parameters, the
// others at their defaults.
#include <cstdio>
#include <exception>
#include <fstream>
#include <functional>
#include <iterator>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "bench/Contenders.h"
#include "bench/Scores.h"
#include "dsp/Presets.h"
#include "dsp/SingleChannelAdaptiveNoise.h"

namespace {

using namespace quietfloor;
using Object = dsp::SingleChannelAdaptiveNoise;

constexpr int rateHz = 48000;
constexpr double leadSeconds = 3.0;
constexpr NoiseKind noises[] = {NoiseKind::white, NoiseKind::pink, NoiseKind::hum};

struct Contender {
    std::string name;
    std::function<Signal(const Recording &)> run;
};

Signal ReadSamples(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    if (!file || bytes.empty())
        throw std::runtime_error("cannot read " + path);
    Signal samples(bytes.size() / sizeof(float));
    std::copy_n(bytes.begin(), samples.size() * sizeof(float), reinterpret_cast<char *>(samples.data()));
    return samples;
}

ParameterValues With(ParameterValues values, Object::Parameter parameter, double value) {
    values[static_cast<std::size_t>(parameter)] = static_cast<float>(value);
    return values;
}

ParameterValues ParseParameters(std::span<char *> arguments) {
    ParameterValues values = DefaultValues();
    for (const std::string_view argument : arguments) {
        const std::size_t equals = argument.find('=');
        int index = 0;
        while (index < parameterCount && argument.substr(0, equals) != ParameterAt(index).name)
            ++index;
        if (equals == std::string_view::npos || index == parameterCount)
            throw std::runtime_error("not a parameter: " + std::string(argument));
        values[static_cast<std::size_t>(index)] = std::stof(std::string(argument.substr(equals + 1)));
    }
    return values;
}

Contender Ours(const std::string &name, const ParameterValues &values) {
    return {name,
            [values](const Recording &source) { return RunReducer(values, source.noisy, source.rateHz); }};
}

Contender Speex(const std::string &name, int suppressDb) {
    return {name, [suppressDb](const Recording &source) {
                return RunSpeex(suppressDb, source.noisy, source.rateHz);
            }};
}

std::vector<Contender> MakeContenders(std::span<char *> parameters) {
    std::vector<Contender> contenders{Ours("(defaults)", DefaultValues())};
    for (const Preset &preset : Presets())
        contenders.push_back(Ours(preset.name, preset.values));
    if (!parameters.empty())
        contenders.push_back(Ours("(as given)", ParseParameters(parameters)));
    contenders.push_back(Speex("speexdsp", -15));
    contenders.push_back(Speex("speexdsp, -25 dB", -25));
    return contenders;
}

void PrintHeading() {
    std::puts(
        "\n| | SI-SDR | segmental SNR | STOI | noise in pauses | its twitter | loud speech: level | its "
        "SI-SDR | "
        "weak speech: level | above 4 kHz: level |\n|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|");
}

void PrintRow(const std::string &name, const Scores &scores) {
    std::printf("| %s | %+.1f | %+.1f | %+.3f | %+.1f | %+.2f | %+.1f | %+.1f | %+.1f | %+.1f |\n",
                name.c_str(), scores.siSdr, scores.segmentalSnr, scores.stoi, -scores.pauses, scores.twitter,
                scores.loudLevel, scores.loudSiSdr, scores.weakLevel, scores.highLevel);
}

void PrintBefore(const Scores &before) {
    std::printf("SI-SDR %.1f dB, segmental SNR %.1f dB, STOI %.3f before.\n", before.siSdr,
                before.segmentalSnr, before.stoi);
}

std::vector<Scorer> MakeScorers(const Signal &clean, std::span<const double> snrsDb, double lead) {
    std::vector<Scorer> scorers;
    for (const NoiseKind noise : noises)
        for (const double snrDb : snrsDb)
            scorers.emplace_back(AddNoise(clean, rateHz, noise, snrDb, lead));
    return scorers;
}

Scores Mean(std::span<const Scores> scores) {
    Scores mean;
    for (const Scores &score : scores)
        mean += score;
    return mean /= static_cast<double>(scores.size());
}

// scores[contender][recording]
std::vector<std::vector<Scores>> ScoreAll(std::span<const Contender> contenders,
                                          std::span<const Scorer> scorers) {
    std::vector<std::vector<Scores>> scores(contenders.size());
    for (std::size_t i = 0; i < contenders.size(); ++i)
        for (const Scorer &scorer : scorers)
            scores[i].push_back(scorer.Score(contenders[i].run(scorer.Source())));
    return scores;
}

void PrintMeans(std::span<const Contender> contenders, std::span<const std::vector<Scores>> scores) {
    PrintHeading();
    for (std::size_t i = 0; i < contenders.size(); ++i)
        PrintRow(contenders[i].name, Mean(scores[i]));
}

void ComparePresets(const Signal &speech, std::span<char *> parameters) {
    constexpr double snrsDb[] = {5.0, 15.0};
    const std::vector<Contender> contenders = MakeContenders(parameters);
    const std::vector<Scorer> scorers = MakeScorers(speech, snrsDb, leadSeconds);
    const std::vector<std::vector<Scores>> scores = ScoreAll(contenders, scorers);
    std::puts("### Mean of all six recordings");
    PrintMeans(contenders, scores);
    for (std::size_t i = 0; i < scorers.size(); ++i) {
        std::printf("\n### %s, %.0f dB\n\n", noiseNames[i / std::size(snrsDb)],
                    snrsDb[i % std::size(snrsDb)]);
        PrintBefore(scorers[i].Before());
        PrintHeading();
        for (std::size_t row = 0; row < contenders.size(); ++row)
            PrintRow(contenders[row].name, scores[row][i]);
    }
    std::puts("\n### Mean without noise ahead: the first word comes at once");
    PrintMeans(contenders, ScoreAll(contenders, MakeScorers(speech, snrsDb, 0.0)));
}

// One row per FFT size, both modes side by side.
void CompareSizes(const ParameterValues &values, std::span<const Scorer> scorers) {
    std::puts(
        "\n| FFT size | delay | SI-SDR | STOI | noise in pauses | loud: level | weak: level | filter mode: "
        "delay | SI-SDR | STOI | noise in pauses | loud: level | weak: level |\n"
        "|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|");
    for (int size = 64; size <= 16384; size *= 2) {
        std::printf("| %d |", size);
        for (const double mode : {0.0, 1.0}) {
            const ParameterValues tried =
                With(With(values, Object::kFftSize, size), Object::kFilterMode, mode);
            const Contender contender = Ours("", tried);
            const Scores mean = Mean(ScoreAll(std::span(&contender, 1), scorers).front());
            std::printf(" %.1f ms | %+.1f | %+.3f | %+.1f | %+.1f | %+.1f |",
                        1e3 * LatencyOf(tried, rateHz) / rateHz, mean.siSdr, mean.stoi, -mean.pauses,
                        mean.loudLevel, mean.weakLevel);
        }
        std::puts("");
    }
}

void CompareSettings(const Signal &speech, const Signal &music) {
    const auto mix = [](const Signal &clean, NoiseKind noise, double snrDb) {
        return Scorer(AddNoise(clean, rateHz, noise, snrDb, leadSeconds));
    };
    std::puts("### Speech over white and pink noise, 10 dB, preset `speech`");
    const Scorer hissing[] = {mix(speech, NoiseKind::white, 10.0), mix(speech, NoiseKind::pink, 10.0)};
    CompareSizes(FindPreset("speech")->values, hissing);
    std::puts("\n### Speech over hum, 10 dB, preset `hum`");
    const Scorer humming[] = {mix(speech, NoiseKind::hum, 10.0)};
    CompareSizes(FindPreset("hum")->values, humming);
    std::puts("\n### Music over hiss, 25 dB, preset `gentle`");
    const Scorer playing[] = {mix(music, NoiseKind::white, 25.0)};
    CompareSizes(FindPreset("gentle")->values, playing);
    std::puts("\n### The same music, every preset");
    const std::vector<Contender> contenders = MakeContenders({});
    PrintMeans(contenders, ScoreAll(contenders, playing));
}

void CompareOnRecording(const std::string &noisy, const std::string &clean, std::span<char *> parameters) {
    const Scorer scorer(Recording{ReadSamples(clean), ReadSamples(noisy), rateHz, 0});
    PrintBefore(scorer.Before());
    const std::vector<Contender> contenders = MakeContenders(parameters);
    PrintMeans(contenders, ScoreAll(contenders, std::span(&scorer, 1)));
}

void Run(std::span<char *> arguments) {
    const std::string_view what = arguments.empty() ? "" : arguments[0];
    if (what == "presets" && arguments.size() >= 2)
        ComparePresets(ReadSamples(arguments[1]), arguments.subspan(2));
    else if (what == "settings" && arguments.size() == 3)
        CompareSettings(ReadSamples(arguments[1]), ReadSamples(arguments[2]));
    else if (what == "recording" && arguments.size() >= 3)
        CompareOnRecording(arguments[1], arguments[2], arguments.subspan(3));
    else
        throw std::runtime_error("usage: PresetBench presets SPEECH | settings SPEECH MUSIC | "
                                 "recording NOISY CLEAN, and parameters as NAME=VALUE");
}

} // namespace

int main(int argc, char **argv) {
    try {
        Run(std::span(argv, static_cast<std::size_t>(argc)).subspan(1));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "PresetBench: %s\n", error.what());
        return 1;
    }
    return 0;
}
