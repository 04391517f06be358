/// How far a run is, in one line on standard error.
#ifndef QUIETFLOOR_TOOLS_PROGRESSBAR_H
#define QUIETFLOOR_TOOLS_PROGRESSBAR_H

#include <chrono>
#include <mutex>
#include <string>
#include <vector>

#include <sndfile.h>

namespace quietfloor {

/// One bar for all files of a run; any thread may call.
class ProgressBar {
public:
    static constexpr sf_count_t unknown = -1;

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

    struct State {
        sf_count_t done, total;
        bool isFinished;
    };

    std::string Line(Clock::time_point now) const;
    void Draw();

    std::mutex mutex; // guards all below
    std::vector<State> files;
    std::size_t finishedFiles = 0, drawnWidth = 0;
    Clock::time_point start = Clock::now(), nextDrawing = start;
};

} // namespace quietfloor

#endif
