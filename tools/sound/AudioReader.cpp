// SPDX-License-Identifier: MIT
#include "tools/sound/AudioReader.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "tools/sound/HeaderLog.h"
#include "tools/sound/TargetFormat.h"
#include "tools/system/Descriptor.h"
#include "tools/system/OutputFile.h"

namespace fs = std::filesystem;

namespace quietfloor {
namespace {

// Some of libsndfile's messages describe its own code and not the file.
std::string ReasonNotOpened(bool isPipe) {
    const std::string system = "System error : ";
    std::string reason = sf_strerror(nullptr);
    if (reason.starts_with(system))
        reason.erase(0, system.size());
    if (isPipe && reason.find("possibly a pipe") != std::string::npos)
        return "this format cannot be read from a pipe";
    return reason.find("Internal error") != std::string::npos ? "has a damaged header" : reason;
}

} // namespace

AudioReader::AudioReader(const fs::path &path)
    : name(IsStandardStream(path) ? fs::path("standard input") : path), file(OpenAny(path), sf_close) {
    if (!file)
        throw FileError(name, ReasonNotOpened(pipe != nullptr));
    CheckLimits();
    isCutOff = !pipe && IsLoggedAsCutOff(file.get());
}

SNDFILE *AudioReader::OpenStream(int descriptor) {
    if (descriptor < 0)
        throw FileError(name, std::strerror(errno));
    info = {};
    pipe = std::make_unique<PipeInput>(descriptor);
    return pipe->Open(info);
}

SNDFILE *AudioReader::OpenFile(const fs::path &path) {
    SNDFILE *opened = OpenSoundFile(path, info);
    // A recording that was not ended properly, or that is longer than its header can state.
    const bool isRf64 = ContainerOf(info.format) == SF_FORMAT_RF64;
    const bool mayBeLonger = info.frames == 0 || (!isRf64 && fs::file_size(path) > 0xFFFFFFFF);
    if (opened == nullptr || !(IsWav(info.format) || isRf64) || !mayBeLonger)
        return opened;
    sf_close(opened);
    return OpenStream(OpenExisting(path));
}

SNDFILE *AudioReader::OpenAny(const fs::path &path) {
    if (IsStandardStream(path)) {
        const int input = StandardInput();
        if (IsTerminal(input))
            throw FileError(name, "is a terminal; redirect it from a file or a pipe");
        return IsSeekable(input) ? sf_open_fd(input, SFM_READ, &info, SF_FALSE) : OpenStream(input);
    }
    std::error_code failure;
    const fs::file_status status = fs::status(path, failure);
    if (failure)
        throw FileError(name, failure.message());
    if (fs::is_directory(status))
        throw FileError(name, "is a directory");
    return fs::is_regular_file(status) ? OpenFile(path) : OpenStream(OpenExisting(path));
}

void AudioReader::CheckLimits() const {
    if (info.channels < 1)
        throw FileError(name, "has no channels");
    if (info.channels > mostChannels)
        throw FileError(name, "has " + std::to_string(info.channels) + " channels; at most " +
                                  std::to_string(mostChannels) + " are supported");
    if (info.samplerate < 1 || info.samplerate > highestRate)
        throw FileError(name, "has a sample rate of " + std::to_string(info.samplerate) + " Hz; 1 to " +
                                  std::to_string(highestRate) + " Hz are supported");
}

sf_count_t AudioReader::KnownFrames() const noexcept {
    return pipe || info.frames == SF_COUNT_MAX ? 0 : info.frames;
}

// If a pipe ends too soon, decoders of blocks repeat what the last block has left in their buffer.
sf_count_t AudioReader::ReadSome(float *block, sf_count_t frames) {
    if (!pipe || !IsCodedInBlocks(info.format))
        return sf_readf_float(file.get(), block, frames);
    sf_count_t count = 0;
    while (count < frames && sf_readf_float(file.get(), block + count * info.channels, 1) == 1 &&
           !pipe->HasEnded())
        ++count;
    return count;
}

// libsndfile takes more out of a pipe than it gives at the end of what the header states, so each lap of the
// header's length is read to its last frame and no further.
sf_count_t AudioReader::ReadLaps(float *block, sf_count_t frames) {
    sf_count_t count = 0;
    while (count < frames) {
        const sf_count_t wanted = std::min(frames - count, info.frames - lap);
        const sf_count_t some = ReadSome(block + count * info.channels, wanted);
        count += some;
        lap += some;
        if (some < wanted)
            break;
        if (lap == info.frames)
            lap = sf_seek(file.get(), 0, SEEK_SET);
    }
    return count;
}

sf_count_t AudioReader::Read(float *block, sf_count_t frames) {
    if (isDamaged)
        return 0;
    if (pipe)
        pipe->EndHeader();
    const bool hasLaps = BytesPerSample(info.format) != 0 || IsCodedInBlocks(info.format);
    const bool isEndless = pipe && pipe->IsEndless() && hasLaps;
    const sf_count_t count = isEndless ? ReadLaps(block, frames) : ReadSome(block, frames);
    if (const int error = sf_error(file.get()); error != SF_ERR_NO_ERROR) {
        if (error == SF_ERR_SYSTEM || done + count == 0)
            throw FileError(name, sf_strerror(file.get()));
        isDamaged = true;
    }
    done += count;
    if (count < frames && done == 0 && pipe && !IsWav(info.format) && !isEndless && pipe->HasMore())
        throw FileError(name, "its header does not say how long the sound is");
    std::replace_if(
        block, block + count * info.channels, [](float sample) { return !std::isfinite(sample); }, 0.0f);
    return count;
}

bool AudioReader::SeekTo(sf_count_t frame) {
    if (!CanSeek() || sf_seek(file.get(), frame, SEEK_SET) != frame)
        return false;
    done = frame;
    isDamaged = false;
    return true;
}

} // namespace quietfloor
