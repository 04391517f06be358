// SPDX-License-Identifier: MIT
// The same streams on two systems: `SystemStreams write FOLDER` writes them as raw floats, and
// `SystemStreams compare FOLDER WORST MEDIAN` of the other system's build says how far its own are from
// these, in dB to the stream, and fails if one is further than WORST or their median is further than
// MEDIAN. With -inf for both, each bit must be the same.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <string>

#include "simd/LevelIndex.h"
#include "tests/Signals.h"
#include "tests/StreamInspector.h"

namespace fs = std::filesystem;

namespace {

constexpr std::size_t second = 44100; // samples

// The C library's own generator, which some systems have another of, or a table that is the same for all.
enum class Dither { own, same };
struct Case {
    int fftSize;
    bool filterMode;
    int seconds; // twice what it takes to learn the noise
    int parameter;
    float value; // for the last quarter
    Dither dither = Dither::same;
    std::size_t Length() const { return static_cast<std::size_t>(seconds) * second; } // samples
};
constexpr Case cases[] = {
    {64, false, 3, Reducer::kStrength, 30}, // as it was
    {128, true, 3, Reducer::kReductionDb, 40},
    {256, false, 3, Reducer::kOffsetDb, 6},
    {512, false, 3, Reducer::kStrength, 30},
    {512, true, 3, Reducer::kSensitivity, -5},
    {1024, false, 4, Reducer::kReleaseMs, 20},
    {1024, true, 3, Reducer::kStrength, 30},
    {2048, false, 3, Reducer::kBandWidthHz, 0},
    {2048, true, 3, Reducer::kStrength, 100},
    {4096, false, 4, Reducer::kStrength, 30},
    {8192, true, 7, Reducer::kStrength, 30},
    {16384, false, 7, Reducer::kStrength, 60},
    {512, false, 3, Reducer::kStrength, 30, Dither::own},
    {1024, true, 3, Reducer::kStrength, 30, Dither::own},
};

std::string FileName(const Case &c, std::int32_t slot) {
    return std::string(quietfloor::NameOfSlot(slot)) + '-' + std::to_string(c.fftSize) +
           (c.filterMode ? "-filter" : "-gains") + (c.dither == Dither::own ? "-own" : "-same") + "-dither";
}

// Steady noise, in the second half under sawtooth tones of a third of a second, and digital silence at the
// end. Sums and products by powers of two of small integers: nothing that a C library could round in its
// own way.
Samples Input(std::size_t length) {
    std::mt19937 random(1);
    Samples x(length);
    for (std::size_t i = 0; i < length - second / 4; ++i) {
        const int noise = static_cast<int>(random() % 1024) - 512;
        const int tone =
            i % second < second / 3 && i > length / 2 ? static_cast<int>(i % (200 + i / 2205)) - 128 : 0;
        x[i] = static_cast<float>(noise + 32 * tone) / 32768.0f;
    }
    return x;
}

// Exits where the noise does not sink in the first half: such a stream would say little of the systems.
Samples Stream(const Case &c, std::int32_t slot) {
    const quietfloor::DispatchScope scope(slot);
    Reducer reducer;
    Configure(reducer, c.fftSize, c.filterMode);
    if (c.dither == Dither::same) {
        std::mt19937 random(2);
        for (float &entry : dsp::StreamInspector::Record(reducer).DitherTable)
            entry = static_cast<float>(static_cast<int>(random() % 30000) - 15000) / 15000.0f * 1e-9f;
    }
    const std::size_t half = c.Length() / 2, changed = c.Length() * 3 / 4;
    const Samples x = Input(c.Length());
    Samples y = Through(reducer, Samples(&x[0], &x[changed]));
    if (LevelDb(y, half - second / 5, half) > LevelDb(x, half - second / 5, half) - 6) {
        std::printf("%s: nothing is learnt\n", FileName(c, slot).c_str());
        std::exit(EXIT_FAILURE);
    }
    reducer.SetParameter(c.parameter, c.value);
    const Samples rest = Through(reducer, Samples(x.begin() + static_cast<std::ptrdiff_t>(changed), x.end()));
    y.insert(y.end(), rest.begin(), rest.end());
    return y;
}

void Write(const Samples &x, const fs::path &path) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char *>(x.data()),
               static_cast<std::streamsize>(x.size() * sizeof(float)));
}

// dB from the stream in the file to its difference from `x`; -infinity only if all bits are the same.
double Distance(const Samples &x, const fs::path &path) {
    Samples expected(x.size()), difference(x.size());
    std::ifstream file(path, std::ios::binary);
    if (!file.read(reinterpret_cast<char *>(expected.data()),
                   static_cast<std::streamsize>(x.size() * sizeof(float)))) {
        std::printf("%s: the other system has no such stream\n", path.filename().string().c_str());
        std::exit(EXIT_FAILURE);
    }
    if (std::memcmp(x.data(), expected.data(), x.size() * sizeof(float)) == 0)
        return -std::numeric_limits<double>::infinity();
    std::transform(x.begin(), x.end(), expected.begin(), difference.begin(), std::minus<>());
    return std::max(LevelDb(difference, 0, x.size()) - LevelDb(expected, 0, x.size()), -999.0);
}

// Whether all streams of the cases are close enough to those in the folder.
bool Compare(const fs::path &folder, double worst, double median) {
    constexpr double ownDither = -60; // lies above the rounding of either system
    std::vector<double> distances;
    bool isClose = true;
    for (std::int32_t slot : {quietfloor::kPortableSlot, quietfloor::kAvx2Slot, quietfloor::kAvx512Slot})
        for (const Case &c : cases) {
            if (slot > quietfloor::HighestSlot())
                continue;
            const double bound = c.dither == Dither::own ? std::max(ownDither, worst) : worst;
            const double distance = Distance(Stream(c, slot), folder / FileName(c, slot));
            std::printf("%-34s %7.1f dB, at most %.0f\n", FileName(c, slot).c_str(), distance, bound);
            isClose = isClose && distance <= bound;
            if (c.dither == Dither::same)
                distances.push_back(distance);
        }
    const auto middle = distances.begin() + static_cast<std::ptrdiff_t>(distances.size() / 2);
    std::nth_element(distances.begin(), middle, distances.end());
    std::printf("%-34s %7.1f dB, at most %.0f\n", "median", *middle, median);
    return isClose && *middle <= median;
}

} // namespace

int main(int argc, char **argv) {
    if (argc == 5 && std::strcmp(argv[1], "compare") == 0)
        return Compare(argv[2], std::atof(argv[3]), std::atof(argv[4])) ? EXIT_SUCCESS : EXIT_FAILURE;
    if (argc != 3 || std::strcmp(argv[1], "write") != 0)
        return EXIT_FAILURE;
    for (std::int32_t slot : {quietfloor::kPortableSlot, quietfloor::kAvx2Slot, quietfloor::kAvx512Slot})
        for (const Case &c : cases)
            if (slot <= quietfloor::HighestSlot())
                Write(Stream(c, slot), fs::path(argv[2]) / FileName(c, slot));
    return EXIT_SUCCESS;
}
