#include "tools/SpectrogramColumns.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

#include "tools/FrequencyAxis.h"

namespace quietfloor {
namespace {

constexpr double longestWindow = 0.05;                      // s: about what the ear takes for one moment
constexpr unsigned smallestSize = 128, largestSize = 65536; // samples
constexpr int finestHops = 64;                              // per window, for sounds of a second
constexpr float loudestSample = 1e15f; // what the noise reducer limits to; its power is finite, too

int WindowSize(int sampleRate) {
    const auto samples = static_cast<unsigned>(longestWindow * std::max(sampleRate, 1));
    return static_cast<int>(std::bit_floor(std::clamp(samples, smallestSize, largestSize)));
}

// A sine of amplitude 1 has the magnitude size / 4 under this window.
std::vector<double> CalibratedHann(int size) {
    std::vector<double> window(static_cast<std::size_t>(size));
    for (std::size_t i = 0; i < window.size(); ++i)
        window[i] = 2.0 / size * (1.0 - std::cos(2.0 * std::numbers::pi * static_cast<double>(i) / size));
    return window;
}

} // namespace

SpectrogramColumns::SpectrogramColumns(int sampleRate, int rows)
    : windowSize(WindowSize(sampleRate)), window(CalibratedHann(windowSize)), transform(windowSize),
      hop(windowSize / finestHops), samples(static_cast<std::size_t>((windowSize - hop) / 2)),
      binSums(static_cast<std::size_t>(windowSize / 2 + 1)), re(window.size()), im(window.size()) {
    samples.reserve(window.size());
    const FrequencyAxis axis(sampleRate);
    const auto BinAt = [&](int edge) {
        return axis.HzAt(static_cast<double>(edge) / rows) * windowSize / sampleRate;
    };
    for (int row = 0; row < rows; ++row)
        rowSpans.push_back({BinAt(row), BinAt(row + 1)});
}

void SpectrogramColumns::Push(const float *added, std::size_t count) {
    sampleCount += static_cast<std::int64_t>(count);
    for (std::size_t i = 0; i < count; ++i)
        AddSample(std::isfinite(added[i]) ? std::clamp(added[i], -loudestSample, loudestSample) : 0.0f);
}

SpectrogramColumns SpectrogramColumns::Finished() const {
    SpectrogramColumns finished = *this;
    while (finished.ColumnCount() * finished.SamplesPerColumn() +
               std::int64_t{finished.framesInColumn} * finished.hop <
           sampleCount)
        finished.AddSample(0.0f);
    if (finished.framesInColumn > 0)
        finished.FinishColumn();
    return finished;
}

void SpectrogramColumns::AddSample(float sample) {
    samples.push_back(sample);
    if (samples.size() < window.size())
        return;
    int step = hop;
    AddFrame();
    if (hop > step) // the middle of a column of twice the length lies half a hop later
        step += step / 2;
    samples.erase(samples.begin(), samples.begin() + step);
}

void SpectrogramColumns::AddFrame() {
    for (std::size_t i = 0; i < window.size(); ++i)
        re[i] = window[i] * static_cast<double>(samples[i]);
    std::fill(im.begin(), im.end(), 0.0);
    transform.Forward(re.data(), im.data());
    for (std::size_t k = 0; k < binSums.size(); ++k)
        binSums[k] += re[k] * re[k] + im[k] * im[k];
    if (++framesInColumn < framesPerColumn)
        return;
    FinishColumn();
    if (ColumnCount() == maxColumns)
        MergeColumns();
}

void SpectrogramColumns::FinishColumn() {
    for (double &sum : binSums)
        sum /= framesInColumn;
    binSums.front() *= 0.25; // neither has a mirror that holds the other half of its amplitude
    binSums.back() *= 0.25;
    for (const RowSpan &span : rowSpans)
        columns.push_back(RowPower(span));
    std::fill(binSums.begin(), binSums.end(), 0.0);
    framesInColumn = 0;
}

void SpectrogramColumns::MergeColumns() {
    const std::size_t rows = rowSpans.size(), half = maxColumns / 2;
    for (std::size_t column = 0; column < half; ++column)
        for (std::size_t row = 0; row < rows; ++row)
            columns[column * rows + row] =
                0.5f * (columns[2 * column * rows + row] + columns[(2 * column + 1) * rows + row]);
    columns.resize(half * rows);
    if (2 * hop <= windowSize / 2)
        hop *= 2;
    else
        framesPerColumn *= 2;
}

float SpectrogramColumns::RowPower(const RowSpan &span) const {
    const auto Between = [this](double bin) {
        const auto below = std::min(static_cast<std::size_t>(bin), binSums.size() - 2);
        return std::lerp(binSums[below], binSums[below + 1], bin - static_cast<double>(below));
    };
    double strongest = std::max(Between(span.from), Between(span.to));
    for (auto k = static_cast<std::size_t>(std::ceil(span.from)); static_cast<double>(k) <= span.to; ++k)
        strongest = std::max(strongest, binSums[std::min(k, binSums.size() - 1)]);
    return static_cast<float>(strongest);
}

} // namespace quietfloor
