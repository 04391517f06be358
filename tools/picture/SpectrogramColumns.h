// SPDX-License-Identifier: MIT
/// A sound's power over time and frequency, in a bounded number of columns.
#ifndef QUIETFLOOR_TOOLS_PICTURE_SPECTROGRAMCOLUMNS_H
#define QUIETFLOOR_TOOLS_PICTURE_SPECTROGRAMCOLUMNS_H

#include <cstdint>

#include "dsp/PreparedTransform.h"
#include "tools/system/Row.h"

namespace quietfloor {

/// Hann windows of at most 50 ms, evenly spaced, the first column's about its own middle. When the columns
/// are full, each two neighbours become one with their mean power, and the hop doubles; once the windows
/// overlap by no more than half, new columns are the mean of several windows instead, so that no sound is
/// missed.
class SpectrogramColumns {
public:
    static constexpr int maxColumns = 2048; // even

    /// `rows` of the frequency axis per column.
    SpectrogramColumns(int sampleRate, int rows);

    /// NaN and infinities are taken as 0.
    void Push(const float *samples, std::int64_t count);

    /// A copy with columns to the end of what was pushed.
    SpectrogramColumns Finished() const;

    int ColumnCount() const { return columnCount; }
    int Rows() const { return rows; }
    std::int64_t SampleCount() const { return sampleCount; }
    std::int64_t SamplesPerColumn() const { return std::int64_t{hop} * framesPerColumn; }

    /// Mean over the column's time of the strongest frequency in a row, so that a tone has its level however
    /// wide the row: 1 for a full-scale sine, and for a constant of 1. Row 0 begins at 0 Hz.
    float Power(int column, int row) const { return columns[column * rows + row]; }

private:
    // Where a row begins and ends, in bins.
    struct RowSpan {
        double from, to;
    };

    void AddSample(float sample);
    void AddFrame();
    void FinishColumn();
    void MergeColumns();
    float RowPower(const RowSpan &span) const;

    // Fixed.
    int windowSize, rows;
    Row<double> window; // includes the calibration
    Row<RowSpan> rowSpans;
    dsp::PreparedTransform transform;

    // Carried from window to window.
    std::int64_t sampleCount = 0;
    int hop;                 // samples between windows
    int framesPerColumn = 1; // above 1 only with the longest hop
    int framesInColumn = 0;  // of the column under way
    int pending;             // samples that the next window has so far
    Row<float> samples;
    Row<double> binSums; // power of the column under way
    int columnCount = 0;
    Row<float> columns; // one after the other

    // Scratch of one window.
    Row<double> re, im;
};

} // namespace quietfloor

#endif
