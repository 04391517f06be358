// SPDX-License-Identifier: MIT
/// What is learnt from before a sound is cleaned.
#ifndef QUIETFLOOR_TOOLS_DENOISE_LEARNINGSOURCE_H
#define QUIETFLOOR_TOOLS_DENOISE_LEARNINGSOURCE_H

#include <filesystem>
#include <optional>
#include <vector>

#include <sndfile.h>

#include "tools/denoise/DenoiseSettings.h"
#include "tools/denoise/WorkMeter.h"
#include "tools/sound/AudioReader.h"
#include "tools/system/Row.h"

namespace quietfloor {

/// The part of a sound that is learnt from, which can be read as often as needed. A file is read again, by
/// another reader if it has a name. Of a pipe the beginning is kept in memory: half a minute, or as much as
/// was asked for, but never more than 64 MiB.
class LearningSource {
public:
    /// `reader` has the sound open and is at its beginning, and stays there except for a pipe, whose frames
    /// are then in `TakeKept`. From a pipe to a pipe nothing is learnt unless it was asked for. Throws
    /// FileError, Interrupted.
    LearningSource(const std::filesystem::path &source, AudioReader &reader, const Learning &learning,
                   bool writesToPipe, WorkMeter &meter);

    /// Whether nothing is learnt.
    bool IsEmpty() const noexcept { return most == 0; }

    /// Whether the sound comes from a pipe.
    bool IsPipe() const noexcept { return isPipe; }

    /// So that Read goes on from there. Throws FileError.
    void GoTo(sf_count_t frame);

    /// As AudioReader's, within the part that is learnt from.
    sf_count_t Read(float *block, sf_count_t frames);

    /// The frames that were taken from the pipe, in rows of up to `rowFrames`.
    std::vector<Row<float>> TakeKept() noexcept { return std::move(kept); }

    /// Puts the reader where it was.
    void Close();

    static constexpr sf_count_t rowFrames = 1024;

private:
    sf_count_t Most(const Learning &learning, bool writesToPipe) const;
    void Keep(WorkMeter &meter);
    sf_count_t ReadKept(float *block, sf_count_t frames) const;

    std::filesystem::path path;
    AudioReader *reader; // of a file, the one that learns
    std::optional<AudioReader> other;
    bool isPipe;
    int channels;
    sf_count_t most;         // frames that are learnt from
    sf_count_t position = 0; // frames
    std::vector<Row<float>> kept;
};

} // namespace quietfloor

#endif
