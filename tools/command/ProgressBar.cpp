// SPDX-License-Identifier: MIT
#include "tools/command/ProgressBar.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tools/system/ClockText.h"

namespace quietfloor {
namespace {

constexpr int barWidth = 30; // characters
constexpr std::chrono::milliseconds drawingInterval(100);
constexpr double hour = 3600.0; // s

std::string TimeText(double seconds) { return ClockText(seconds, seconds >= hour); }

std::string BarText(double share) {
    const int filled = int(share * barWidth);
    std::string bar(barWidth, ' ');
    std::fill_n(bar.begin(), filled, '=');
    char text[barWidth + 16];
    std::snprintf(text, sizeof text, "[%s] %3d %%", bar.c_str(), int(100.0 * share));
    return text;
}

// NaN where the length of a file is not known.
double ShareDone(std::span<const FileProgress> files) {
    double done = 0.0, total = 0.0;
    for (const FileProgress &file : files) {
        if (file.total == FileProgress::unknown && !file.isFinished)
            return std::nan("");
        done += double(file.done);
        total += double(std::max<sf_count_t>(file.total, 0));
    }
    return total > 0.0 ? std::min(done / total, 1.0) : 0.0;
}

} // namespace

std::string ProgressText(std::span<const FileProgress> files, double elapsedSeconds) {
    const double share = ShareDone(files);
    std::string text = std::isnan(share) ? TimeText(elapsedSeconds) + " so far" : BarText(share);
    if (share > 0.0)
        text += "  " + TimeText(elapsedSeconds * (1.0 - share) / share) + " left";
    const auto finished =
        std::count_if(files.begin(), files.end(), [](const FileProgress &file) { return file.isFinished; });
    if (files.size() > 1)
        text += "  " + std::to_string(finished) + " of " + std::to_string(files.size()) + " files";
    return text;
}

ProgressBar::ProgressBar(const std::vector<sf_count_t> &totals) {
    for (const sf_count_t total : totals)
        files.push_back({0, total, false});
}

ProgressBar::~ProgressBar() {
    if (drawnWidth > 0) // spaces, since not every console knows a sequence for it
        std::fprintf(stderr, "\r%*s\r", drawnWidth, "");
}

void ProgressBar::Update(std::size_t file, sf_count_t done, sf_count_t total) {
    const std::lock_guard lock(mutex);
    files[file].done = done;
    if (total > 0)
        files[file].total = total;
    Draw();
}

void ProgressBar::Finish(std::size_t file) {
    const std::lock_guard lock(mutex);
    files[file].isFinished = true;
    files[file].done = std::max<sf_count_t>(files[file].total, 0);
    Draw();
}

void ProgressBar::Draw() {
    const Clock::time_point now = Clock::now();
    if (now < nextDrawing)
        return;
    nextDrawing = now + drawingInterval;
    const std::string text = ProgressText(files, std::chrono::duration<double>(now - start).count());
    drawnWidth = std::max(drawnWidth, int(text.size()));
    std::fprintf(stderr, "\r%-*s", drawnWidth, text.c_str());
}

} // namespace quietfloor
