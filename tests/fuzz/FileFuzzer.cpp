// SPDX-License-Identifier: MIT
// The program's way through a file of any bytes: it becomes a whole new file or none, and nothing else is
// left behind.
#include <unistd.h>

#include <fstream>
#include <string>

#include "tests/fuzz/FuzzedSound.h"
#include "tools/denoise/FileDenoiser.h"
#include "tools/sound/AudioReader.h"
#include "tools/sound/SoundFormat.h"
#include "tools/sound/TargetFormat.h"

namespace fs = std::filesystem;
using namespace quietfloor;

namespace {

constexpr sf_count_t mostFrames = 30'000; // a few bytes may hold hours of silence
const std::string before = "what was there before";

void Write(const fs::path &path, const std::string &bytes) { std::ofstream(path, std::ios::binary) << bytes; }

std::string Contents(const fs::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

DenoiseSettings AnySettings(FuzzedDataProvider &input) {
    const unsigned flags = AnyByte(input), format = AnyByte(input);
    constexpr const char *containers[] = {"wav", "flac", "ogg", "aiff", "au", "caf", "w64", "rf64"};
    constexpr const char *samples[] = {"pcm16", "pcm24", "float", "pcm8", "vorbis", "ulaw", "alaw", "double"};
    DenoiseSettings settings;
    settings.keepsLatency = flags & 1;
    settings.writesResidual = flags & 2;
    settings.overwrites = flags & 4;
    settings.mix = flags & 8 ? 0.3 : 1.0;
    settings.learning.amount = flags & 16 ? Learning::Amount::automatic : Learning::Amount::nothing;
    settings.parameters[7] = flags & 32 ? 64 : 512;
    settings.parameters[11] = flags & 64 ? 1 : 0;
    settings.container = format & 128 ? FindContainer(containers[format % 8]) : 0;
    settings.sampleFormat = format & 64 ? FindSampleFormat(samples[format / 8 % 8]) : 0;
    return settings;
}

// At most a block more than `most`.
sf_count_t CountFrames(AudioReader &reader, sf_count_t most) {
    Samples block(static_cast<std::size_t>(1000 * reader.Info().channels));
    sf_count_t count = 0, frames = 1;
    while (frames > 0 && count <= most) {
        count += frames = reader.Read(block.data(), 1000);
        REQUIRE(frames >= 0 && frames <= 1000);
        for (sf_count_t i = 0; i < frames * reader.Info().channels; ++i)
            REQUIRE(std::isfinite(block[static_cast<std::size_t>(i)]));
    }
    return count;
}

sf_count_t CountFrames(const fs::path &path) {
    AudioReader reader(path);
    return CountFrames(reader, mostFrames);
}

// A pipe has no length: sound ends with its bytes, whatever its header claims.
void ReadFromPipe(const std::string &bytes) {
    constexpr std::size_t mostBytes = 4096;         // fit into a pipe that nobody reads yet
    constexpr sf_count_t longestBlock = 2 * 65'536; // frames of ADPCM
    int ends[2];
    REQUIRE(pipe(ends) == 0);
    const std::size_t count = std::min(bytes.size(), mostBytes);
    REQUIRE(write(ends[1], bytes.data(), count) == static_cast<ssize_t>(count));
    close(ends[1]);
    try {
        AudioReader reader("/dev/fd/" + std::to_string(ends[0]));
        const int format = reader.Info().format;
        const sf_count_t frames = CountFrames(reader, 3 * longestBlock);
        REQUIRE(frames < 3 * longestBlock || (BytesPerSample(format) == 0 && !IsCodedInBlocks(format)));
    } catch (const FileError &) { // no sound
    }
    close(ends[0]);
}

// Whether it was done; else the file was damaged or too long.
bool Denoise(const fs::path &source, const fs::path &target, const DenoiseSettings &settings) {
    DenoiseReport report;
    try {
        CountFrames(source);
        if (AudioReader(source).Info().channels > 4) // takes too long
            return false;
        report = DenoiseFile({source, target, {}}, settings,
                             [](sf_count_t done, sf_count_t) { return done <= mostFrames; });
    } catch (const FileError &) {
        return false;
    } catch (const Interrupted &) {
        return false;
    }
    // A decoder that stumbles gives so many frames in small blocks and others in large ones.
    REQUIRE(report.truncated || report.frames == CountFrames(source));
    if (report.frames == 0) // the sound library cannot read all that it writes without a frame
        return true;
    const SF_INFO info = AudioReader(target).Info();
    REQUIRE(info.channels == report.channels);
    const int frameBytes = BytesPerSample(info.format) * info.channels;
    if (frameBytes == 0) // a codec's frames
        return true;
    // The sound library takes the byte that pads an AIFF file for a frame where it can be one.
    const sf_count_t frames = CountFrames(target);
    REQUIRE(frames == report.frames || (frameBytes == 1 && frames == report.frames + 1));
    return true;
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
    const fs::path folder = "/dev/shm/quietfloor-fuzz-" + std::to_string(getpid());
    const fs::path source = folder / "in", target = folder / "out";
    fs::create_directories(folder);
    const std::string bytes = input.ConsumeRemainingBytesAsString();
    Write(source, bytes);
    ReadFromPipe(bytes);
    if (isTaken)
        Write(target, before);
    const bool isDone = Denoise(source, target, settings);
    REQUIRE(std::distance(fs::directory_iterator(folder), {}) == (isDone || isTaken ? 2 : 1));
    REQUIRE(isDone ? !isTaken || settings.overwrites : !isTaken || Contents(target) == before);
    fs::remove_all(folder);
    return 0;
}
