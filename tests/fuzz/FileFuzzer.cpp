// The program's way through a file of any bytes: it becomes a whole new file or none, and nothing else is
// left behind.
#include <unistd.h>

#include <fstream>
#include <set>
#include <string>

#include "tests/fuzz/FuzzedSound.h"
#include "tools/AudioReader.h"
#include "tools/FileDenoiser.h"
#include "tools/SoundFormat.h"
#include "tools/TargetFormat.h"

namespace fs = std::filesystem;
using namespace quietfloor;

namespace {

constexpr sf_count_t mostFrames = 30'000; // a few bytes may hold hours of silence
const std::string oldTarget = "what was there before";

class Folder {
public:
    Folder() { fs::create_directories(path); }
    ~Folder() { fs::remove_all(path); }

    fs::path operator/(const char *name) const { return path / name; }

    std::set<std::string> Names() const {
        std::set<std::string> names;
        for (const fs::directory_entry &entry : fs::directory_iterator(path))
            names.insert(entry.path().filename().string());
        return names;
    }

private:
    fs::path path = "/dev/shm/quietfloor-fuzz-" + std::to_string(getpid());
};

void Write(const fs::path &path, const std::string &bytes) { std::ofstream(path, std::ios::binary) << bytes; }

std::string Contents(const fs::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

DenoiseSettings AnySettings(FuzzedDataProvider &input) {
    DenoiseSettings settings;
    const auto flags = input.ConsumeIntegral<std::uint8_t>();
    settings.keepsLatency = flags & 1;
    settings.writesResidual = flags & 2;
    settings.overwrites = flags & 4;
    settings.mix = flags & 8 ? 0.3 : 1.0;
    settings.primeSeconds = flags & 16 ? 0.01 : 0.0;
    settings.parameters[7] = flags & 32 ? 64 : 512;
    settings.parameters[11] = flags & 64 ? 1 : 0;
    const auto format = input.ConsumeIntegral<std::uint8_t>();
    constexpr const char *containers[] = {"", "wav", "flac", "ogg", "aiff", "au", "caf", "w64"};
    constexpr const char *samples[] = {"", "pcm16", "pcm24", "float", "pcm8", "vorbis", "ulaw", "alaw"};
    settings.container = format & 128 ? FindContainer(containers[format % 8]) : 0;
    settings.sampleFormat = format & 64 ? FindSampleFormat(samples[format / 8 % 8]) : 0;
    return settings;
}

// All that is read by whom nobody tells how much there is; no more than `mostFrames` and a block.
sf_count_t CountFrames(const fs::path &path) {
    AudioReader reader(path);
    Samples block(static_cast<std::size_t>(1000 * reader.Info().channels));
    sf_count_t count = 0;
    while (const sf_count_t frames = reader.Read(block.data(), 1000)) {
        REQUIRE(frames > 0 && frames <= 1000);
        for (const float sample : block)
            REQUIRE(std::isfinite(sample));
        count += frames;
        if (count > mostFrames)
            break;
    }
    return count;
}

void RequireWhole(const fs::path &source, const fs::path &target, const DenoiseReport &report) {
    REQUIRE(report.frames == CountFrames(source));
    const SF_INFO info = AudioReader(target).Info();
    REQUIRE(info.channels == report.channels);
    REQUIRE(BytesPerSample(info.format) == 0 || CountFrames(target) == report.frames);
}

} // namespace

// The sound library leaks what it and its codecs have set up for a file that then proves damaged.
extern "C" const char *__lsan_default_suppressions() {
    return "leak:libsndfile.so\nleak:libvorbis.so\nleak:libogg.so\nleak:libFLAC.so\nleak:libopus.so\n"
           "leak:libmpg123.so\n";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const DenoiseSettings settings = AnySettings(input);
    const bool isTaken = input.ConsumeBool();
    const Folder folder;
    const fs::path source = folder / "in", target = folder / "out";
    Write(source, input.ConsumeRemainingBytesAsString());
    if (isTaken)
        Write(target, oldTarget);
    bool isDone = false;
    try {
        CountFrames(source);
        if (AudioReader(source).Info().channels > 4) // takes too long
            return 0;
        const auto report = DenoiseFile({source, target, {}}, settings,
                                        [](sf_count_t done, sf_count_t) { return done <= mostFrames; });
        isDone = true;
        if (report.frames > 0) // the sound library itself cannot read all that it writes without a frame
            RequireWhole(source, target, report);
    } catch (const FileError &) {
        REQUIRE(!isDone);
    } catch (const Interrupted &) {
    }
    const std::set<std::string> one{"in"}, two{"in", "out"};
    REQUIRE(folder.Names() == (isDone || isTaken ? two : one));
    REQUIRE(isDone ? !isTaken || settings.overwrites : !isTaken || Contents(target) == oldTarget);
    return 0;
}
