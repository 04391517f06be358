// SPDX-License-Identifier: MIT
/// How far a run is, in one line on standard error.
#ifndef QUIETFLOOR_TOOLS_COMMAND_PROGRESSBAR_H
#define QUIETFLOOR_TOOLS_COMMAND_PROGRESSBAR_H

#include <chrono>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include <sndfile.h>

namespace quietfloor {

/// Of one file, in frames.
struct FileProgress {
    static constexpr sf_count_t unknown = -1;

    sf_count_t done = 0, total = unknown;
    bool isFinished = false;
};

/// "[===       ]  25 %  1:30 left  0 of 2 files"; the time that has passed, where the length of a file is not
/// known. What is left takes as long per frame as what is done.
std::string ProgressText(std::span<const FileProgress> files, double elapsedSeconds);

/// One bar for all files of a run; any thread may call.
class ProgressBar {
public:
    /// Frames per file as far as they are known before it is read.
    explicit ProgressBar(const std::vector<sf_count_t> &totals);
    ~ProgressBar(); ///< takes the line away

    ProgressBar(const ProgressBar &) = delete;
    ProgressBar &operator=(const ProgressBar &) = delete;

    /// Frames of file number `file`; a total of 0 leaves what was known.
    void Update(std::size_t file, sf_count_t done, sf_count_t total);

    /// Nothing more comes from the file, whether it was read to its end or not.
    void Finish(std::size_t file);

private:
    using Clock = std::chrono::steady_clock;

    void Draw();

    std::mutex mutex; // guards all below
    std::vector<FileProgress> files;
    int drawnWidth = 0; // characters
    Clock::time_point start = Clock::now(), nextDrawing = start;
};

} // namespace quietfloor

#endif
