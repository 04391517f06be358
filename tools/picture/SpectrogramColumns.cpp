// SPDX-License-Identifier: MIT
#include "tools/picture/SpectrogramColumns.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "tools/picture/FrequencyAxis.h"

namespace quietfloor {
namespace {

constexpr double longestWindow = 0.05;                    // s: about what the ear takes for one moment
constexpr double smallestSize = 128, largestSize = 65536; // samples
constexpr int finestHops = 64;                            // per window, for sounds of a second
constexpr float loudestSample = 1e15f; // what the noise reducer limits to; its power is finite, too

int WindowSize(int sampleRate) {
    const double samples = std::clamp(longestWindow * sampleRate, smallestSize, largestSize);
    return 1 << std::ilogb(samples);
}

// A sine of amplitude 1 has the magnitude size / 4 under this window.
Row<double> CalibratedHann(int size) {
    Row<double> window(size);
    for (int i = 0; i < size; ++i)
        window[i] = 2.0 / size * (1.0 - std::cos(2.0 * std::numbers::pi * i / size));
    return window;
}

} // namespace

SpectrogramColumns::SpectrogramColumns(int sampleRate, int rowCount)
    : windowSize(WindowSize(sampleRate)), rows(rowCount), window(CalibratedHann(windowSize)), rowSpans(rows),
      transform(windowSize), hop(windowSize / finestHops), pending((windowSize - hop) / 2),
      samples(windowSize), binSums(windowSize / 2 + 1), re(windowSize), im(windowSize) {
    const FrequencyAxis axis(sampleRate);
    const auto BinAt = [&](int edge) { return axis.HzAt(1.0 * edge / rows) * windowSize / sampleRate; };
    for (int row = 0; row < rows; ++row)
        rowSpans[row] = {BinAt(row), BinAt(row + 1)};
}

void SpectrogramColumns::Push(const float *added, std::int64_t count) {
    sampleCount += count;
    for (std::int64_t i = 0; i < count; ++i)
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
    samples[pending++] = sample;
    if (pending < windowSize)
        return;
    int step = hop;
    AddFrame();
    if (hop > step) // the middle of a column of twice the length lies half a hop later
        step += step / 2;
    std::copy(samples.begin() + step, samples.end(), samples.begin());
    pending -= step;
}

void SpectrogramColumns::AddFrame() {
    for (int i = 0; i < windowSize; ++i)
        re[i] = window[i] * samples[i];
    std::fill(im.begin(), im.end(), 0.0);
    transform.Forward(re.begin(), im.begin());
    for (int k = 0; k < binSums.Length(); ++k)
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
    for (const int end : {0, windowSize / 2}) // neither has a mirror that holds half of its amplitude
        binSums[end] *= 0.25;
    for (const RowSpan &span : rowSpans)
        columns.Append(RowPower(span));
    ++columnCount;
    std::fill(binSums.begin(), binSums.end(), 0.0);
    framesInColumn = 0;
}

void SpectrogramColumns::MergeColumns() {
    columnCount = maxColumns / 2;
    for (int column = 0; column < columnCount; ++column)
        for (int row = 0; row < rows; ++row)
            columns[column * rows + row] = 0.5f * (Power(2 * column, row) + Power(2 * column + 1, row));
    columns.Resize(columnCount * rows);
    if (2 * hop <= windowSize / 2)
        hop *= 2;
    else
        framesPerColumn *= 2;
}

float SpectrogramColumns::RowPower(const RowSpan &span) const {
    const auto Between = [this](double bin) {
        const int below = std::min(static_cast<int>(bin), windowSize / 2 - 1);
        return std::lerp(binSums[below], binSums[below + 1], bin - below);
    };
    double strongest = std::max(Between(span.from), Between(span.to));
    for (int k = static_cast<int>(std::ceil(span.from)); k <= span.to; ++k)
        strongest = std::max(strongest, binSums[std::min(k, windowSize / 2)]);
    return static_cast<float>(strongest);
}

} // namespace quietfloor
