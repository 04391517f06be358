// The same streams on two systems: `SystemStreams write FOLDER` writes them as raw floats, and
// `SystemStreams compare FOLDER` of the other system's build says how far its own are from these.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "fft/engine/Dispatch.h"
#include "fft/engine/ProcessorLevel.h"
#include "tests/Signals.h"
#include "tests/StreamInspector.h"

namespace fs = std::filesystem;

namespace {

constexpr std::size_t length = 20 * 44100; // samples

// The C library's own generator, which each system has another of, or a table that is the same for both.
enum class Dither { own, same };
struct Case {
    Dither dither;
    int fftSize;
    bool filterMode;
    double boundDb; // of the difference, to the stream
};
constexpr Case cases[] = {
    {Dither::same, 512, false, -100},
    {Dither::same, 1024, true, -100},
    {Dither::own, 512, false, -60},
    {Dither::own, 1024, true, -60},
};

std::string FileName(const Case &c, std::int32_t slot) {
    return std::string(FftEngine::KernelsOfSlot(slot).name) + '-' + std::to_string(c.fftSize) +
           (c.filterMode ? "-filter" : "-gains") + (c.dither == Dither::own ? "-own" : "-same") + "-dither";
}

// Steady noise under sawtooth tones of a third of a second, and digital silence at the end. Sums and
// products by powers of two of small integers: nothing that a C library could round in its own way.
Samples Input() {
    std::mt19937 random(1);
    Samples x(length);
    for (std::size_t i = 0; i < length * 9 / 10; ++i) {
        const int noise = static_cast<int>(random() % 1024) - 512;
        const int tone =
            i % 44100 < 14700 && i > 3 * 44100 ? static_cast<int>(i % (200 + i / 4410)) - 128 : 0;
        x[i] = static_cast<float>(noise + 32 * tone) / 32768.0f;
    }
    return x;
}

Samples Stream(const Case &c, std::int32_t slot) {
    const FftEngine::DispatchScope scope(slot);
    Reducer reducer;
    Configure(reducer, c.fftSize, c.filterMode);
    if (c.dither == Dither::same) {
        std::mt19937 random(2);
        for (float &entry : dsp::StreamInspector::Record(reducer).DitherTable)
            entry = static_cast<float>(static_cast<int>(random() % 30000) - 15000) / 15000.0f * 1e-9f;
    }
    return Through(reducer, Input());
}

void Write(const Samples &x, const fs::path &path) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char *>(x.data()), length * sizeof(float));
}

// Whether `x` is close enough to the stream in the file.
bool Compare(const Samples &x, const fs::path &path, double boundDb) {
    Samples expected(length), difference(length);
    std::ifstream file(path, std::ios::binary);
    if (!file.read(reinterpret_cast<char *>(expected.data()), length * sizeof(float))) {
        std::printf("%s: the other system has no such stream\n", path.filename().string().c_str());
        return false;
    }
    std::transform(x.begin(), x.end(), expected.begin(), difference.begin(), std::minus<>());
    const double apart = LevelDb(difference, 0, length) - LevelDb(expected, 0, length);
    std::printf("%-40s %7.1f dB, below %.0f\n", path.filename().string().c_str(), apart, boundDb);
    return apart < boundDb;
}

} // namespace

int main(int argc, char **argv) {
    bool isClose = argc == 3;
    for (std::int32_t slot : {FftEngine::kGenericSlot, FftEngine::kAvx2Slot, FftEngine::kAvx512Slot})
        for (const Case &c : cases) {
            if (!isClose || slot > FftEngine::HighestSlot())
                continue;
            const fs::path path = fs::path(argv[2]) / FileName(c, slot);
            if (std::strcmp(argv[1], "compare") == 0)
                isClose = Compare(Stream(c, slot), path, c.boundDb);
            else
                Write(Stream(c, slot), path);
        }
    return isClose ? EXIT_SUCCESS : EXIT_FAILURE;
}
