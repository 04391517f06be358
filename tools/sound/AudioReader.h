// SPDX-License-Identifier: MIT
/// Sound from a file or a pipe, block by block.
#ifndef QUIETFLOOR_TOOLS_SOUND_AUDIOREADER_H
#define QUIETFLOOR_TOOLS_SOUND_AUDIOREADER_H

#include <filesystem>
#include <memory>

#include <sndfile.h>

#include "tools/sound/PipeInput.h"
#include "tools/sound/SoundFile.h"
#include "tools/system/FileError.h"

namespace quietfloor {

class AudioReader {
public:
    static constexpr int highestRate = 10'000'000; // Hz; more is a damaged header
    static constexpr int mostChannels = 256;

    /// "-" is standard input. Throws FileError, also for no channels, too many channels or too high a rate.
    explicit AudioReader(const std::filesystem::path &path);

    /// The number of frames is what the header claims; from a pipe it means nothing.
    const SF_INFO &Info() const noexcept { return info; }

    bool CanSeek() const noexcept { return !pipe && info.seekable != 0; }

    /// Frames of a file; 0 for a pipe, whose length is unknown.
    sf_count_t KnownFrames() const noexcept;

    /// Interleaved frames, full scale +-1; what is not finite is 0. Returns how many there were: fewer than
    /// `frames` only where the sound ends. It ends early where the file is cut off or cannot be decoded any
    /// further. Throws FileError where reading fails or nothing can be decoded at all.
    sf_count_t Read(float *block, sf_count_t frames);

    /// Goes to a frame, also from the end. False where the sound can only be read on.
    bool SeekTo(sf_count_t frame);

    /// After the end: whether there should have been more.
    bool EndedEarly() const noexcept { return isDamaged || isCutOff || done < KnownFrames(); }

    SNDFILE *Handle() const noexcept { return file.get(); }

private:
    SNDFILE *OpenStream(int descriptor);
    SNDFILE *OpenFile(const std::filesystem::path &path);
    SNDFILE *OpenAny(const std::filesystem::path &path);
    sf_count_t ReadSome(float *block, sf_count_t frames);
    sf_count_t ReadLaps(float *block, sf_count_t frames);
    void CheckLimits() const;

    std::filesystem::path name; // as errors show it
    SF_INFO info{};
    sf_count_t done = 0, lap = 0; // frames; those since an endless stream's counting began anew
    bool isDamaged = false, isCutOff = false;
    std::unique_ptr<PipeInput> pipe;
    SoundFile file;
};

} // namespace quietfloor

#endif
