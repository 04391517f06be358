// SPDX-License-Identifier: MIT
#include "tools/command/BatchRunner.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <optional>
#include <system_error>
#include <thread>

#include "tools/command/ProgressBar.h"
#include "tools/sound/AudioReader.h"
#include "tools/system/Interrupt.h"
#include "tools/system/NativeText.h"

namespace fs = std::filesystem;

namespace quietfloor {
namespace {

// As ProgressBar takes it.
sf_count_t FrameCount(const Job &job) {
    std::error_code ignored;
    if (!fs::is_regular_file(job.files.source, ignored))
        return FileProgress::unknown;
    try {
        const sf_count_t frames = AudioReader(job.files.source).KnownFrames();
        return frames > 0 ? frames : FileProgress::unknown;
    } catch (const FileError &) {
        return 0; // fails at once
    }
}

class Batch {
public:
    Batch(std::span<const Job> work, bool showsProgress) : jobs(work), results(work.size()) {
        if (!showsProgress)
            return;
        std::vector<sf_count_t> totals;
        for (const Job &job : jobs)
            totals.push_back(FrameCount(job));
        bar.emplace(totals);
    }

    // Takes jobs until none is left; for several threads at once.
    void Work() {
        for (std::size_t i = next++; i < jobs.size(); i = next++) {
            results[i] = Try(i);
            if (bar)
                bar->Finish(i);
        }
    }

    std::vector<JobResult> Results() { return std::move(results); }

private:
    JobResult Try(std::size_t index) {
        const Job &job = jobs[index];
        std::string error;
        try {
            return {Clean(index), {}};
        } catch (const std::bad_alloc &) {
            error = TextOf(job.files.source) + ": out of memory";
        } catch (const std::exception &failure) {
            error = failure.what();
        }
        if (IsInterrupted())
            error = TextOf(job.files.source) + ": interrupted";
        return {{}, error};
    }

    DenoiseReport Clean(std::size_t index) {
        const Job &job = jobs[index];
        if (IsInterrupted())
            throw Interrupted();
        CheckOutputs(job, false);
        return DenoiseFile(job.files, job.settings, [&](sf_count_t done, sf_count_t total) {
            if (bar)
                bar->Update(index, done, total);
            return !IsInterrupted();
        });
    }

    std::span<const Job> jobs;
    std::vector<JobResult> results;
    std::optional<ProgressBar> bar;
    std::atomic<std::size_t> next{0};
};

} // namespace

std::vector<JobResult> RunJobs(std::span<const Job> jobs, int threads, bool showsProgress) {
    Batch batch(jobs, showsProgress);
    std::vector<std::jthread> others;
    try {
        for (std::size_t i = 1; i < std::min(jobs.size(), static_cast<std::size_t>(threads)); ++i)
            others.emplace_back([&batch] { batch.Work(); });
    } catch (const std::system_error &) {
        // The system has no more threads: those there are do the same work.
    }
    batch.Work();
    others.clear(); // joins them
    return batch.Results();
}

} // namespace quietfloor
