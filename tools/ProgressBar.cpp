#include "tools/ProgressBar.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace quietfloor {
namespace {

constexpr std::size_t barWidth = 30; // characters
constexpr std::chrono::milliseconds drawingInterval(100);

// 1:05, or 2:01:05 from an hour on.
std::string TimeText(double seconds) {
    const long long whole = std::llround(seconds);
    char text[32];
    if (whole < 3600)
        std::snprintf(text, sizeof text, "%lld:%02lld", whole / 60, whole % 60);
    else
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60, whole % 60);
    return text;
}

std::string BarText(double share) {
    const auto filled = static_cast<std::size_t>(share * static_cast<double>(barWidth));
    char text[barWidth + 16];
    std::snprintf(text, sizeof text, "[%s%s] %3d %%", std::string(filled, '=').c_str(),
                  std::string(barWidth - filled, ' ').c_str(), static_cast<int>(100.0 * share));
    return text;
}

} // namespace

ProgressBar::ProgressBar(const std::vector<sf_count_t> &totals) {
    for (const sf_count_t total : totals)
        files.push_back({0, total, false});
}

ProgressBar::~ProgressBar() {
    if (drawnWidth > 0) // spaces, since not every console knows a sequence for it
        std::fprintf(stderr, "\r%*s\r", static_cast<int>(drawnWidth), "");
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
    files[file].done = std::max(files[file].total, sf_count_t(0));
    ++finishedFiles;
    Draw();
}

std::string ProgressBar::Line(Clock::time_point now) const {
    double done = 0.0, total = 0.0;
    bool isTotalKnown = true;
    for (const State &file : files) {
        done += static_cast<double>(file.done);
        total += static_cast<double>(std::max(file.total, sf_count_t(0)));
        isTotalKnown = isTotalKnown && (file.total != unknown || file.isFinished);
    }
    const double elapsed = std::chrono::duration<double>(now - start).count();
    const double share = isTotalKnown && total > 0.0 ? std::min(done / total, 1.0) : 0.0;
    std::string line = isTotalKnown ? BarText(share) : TimeText(elapsed) + " so far";
    if (share > 0.0)
        line += "  " + TimeText(elapsed * (1.0 - share) / share) + " left";
    if (files.size() > 1)
        line += "  " + std::to_string(finishedFiles) + " of " + std::to_string(files.size()) + " files";
    return line;
}

void ProgressBar::Draw() {
    const Clock::time_point now = Clock::now();
    if (now < nextDrawing)
        return;
    nextDrawing = now + drawingInterval;
    const std::string line = Line(now);
    drawnWidth = std::max(drawnWidth, line.size());
    std::fprintf(stderr, "\r%-*s", static_cast<int>(drawnWidth), line.c_str());
}

} // namespace quietfloor
