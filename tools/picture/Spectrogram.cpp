// SPDX-License-Identifier: MIT
#include "tools/picture/Spectrogram.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "tools/picture/AxisTicks.h"
#include "tools/picture/ColourMap.h"
#include "tools/picture/PngImage.h"

namespace quietfloor {
namespace {

constexpr const char *titles[] = {"Input", "Output", "Removed"};
constexpr Colour paper{255, 255, 255}, ink{40, 40, 40};

// Pixels.
constexpr int plotWidth = 1104, plotLeft = 76, plotTop = 44;
constexpr int panelPitch = Spectrogram::panelRows + 40;
constexpr int plotBottom = plotTop + 2 * panelPitch + Spectrogram::panelRows;
constexpr int barLeft = plotLeft + plotWidth + 24, barWidth = 16;
constexpr int imageWidth = barLeft + barWidth + 72, imageHeight = plotBottom + 60;
constexpr int tickLength = 6, labelGap = 4;
constexpr int frequencySpacing = 24;

constexpr double shownRangeDb = 90.0, levelStepDb = 10.0;

int TextWidth(const std::string &text) {
    return static_cast<int>(text.size()) * PngImage::characterWidth - 2;
}

double ToDb(double power) { return 10.0 * std::log10(std::max(power, 1e-30)); }

class SpectrogramPicture {
public:
    SpectrogramPicture(const std::array<SpectrogramColumns, 3> &shown, int rate)
        : panels(shown), sampleRate(rate), image(imageWidth, imageHeight, paper) {
        FitScale();
        for (int panel = 0; panel < 3; ++panel)
            DrawPanel(panel);
        DrawTimeAxis();
        DrawScale();
    }

    void Save(const std::filesystem::path &path) const { image.Save(path); }

private:
    static int Top(int panel) { return plotTop + panel * panelPitch; }

    // One pixel in a thousand may be louder than the scale shows: a click does not darken all else.
    void FitScale() {
        const SpectrogramColumns &input = panels[0];
        std::vector<float> powers;
        for (int column = 0; column < input.ColumnCount(); ++column)
            for (int row = 0; row < input.Rows(); ++row)
                powers.push_back(input.Power(column, row));
        if (powers.empty())
            return;
        const auto loud = powers.end() - 1 - static_cast<std::ptrdiff_t>(powers.size() / 1000);
        std::nth_element(powers.begin(), loud, powers.end());
        if (*loud > 0.0f)
            highestDb = levelStepDb * std::ceil(ToDb(*loud) / levelStepDb);
    }

    // Mean power of what one pixel column shows; where columns are wider than pixels, their own.
    double PixelPower(const SpectrogramColumns &columns, int x, int row) const {
        const double columnsPerPixel = static_cast<double>(columns.SampleCount()) /
                                       static_cast<double>(columns.SamplesPerColumn()) / plotWidth;
        const double from = x * columnsPerPixel, to = from + columnsPerPixel;
        double sum = 0.0;
        for (int c = static_cast<int>(from); c < to && c < columns.ColumnCount(); ++c)
            sum += (std::min(to, c + 1.0) - std::max(from, c + 0.0)) * columns.Power(c, row);
        return sum / columnsPerPixel;
    }

    void DrawPanel(int panel) {
        const SpectrogramColumns &columns = panels[static_cast<std::size_t>(panel)];
        const int top = Top(panel), rows = Spectrogram::panelRows;
        image.Write(plotLeft, top - 26, titles[panel], ink);
        image.Write(plotLeft - tickLength - labelGap - TextWidth("Hz"), top - 26, "Hz", ink);
        image.Fill(plotLeft - 1, top - 1, plotWidth + 2, rows + 2, ink);
        image.Fill(plotLeft, top, plotWidth, rows, colours.At(0.0));
        for (int x = 0; x < plotWidth && columns.ColumnCount() > 0; ++x)
            for (int row = 0; row < rows; ++row)
                image.Set(plotLeft + x, top + rows - 1 - row, ColourOf(ToDb(PixelPower(columns, x, row))));
        for (const Tick &tick :
             FrequencyTicks(FrequencyAxis(sampleRate), sampleRate, rows - 1, frequencySpacing)) {
            const int y = top + rows - 1 - tick.pixel;
            image.Fill(plotLeft - tickLength, y, tickLength, 1, ink);
            image.Write(plotLeft - tickLength - labelGap - TextWidth(tick.label),
                        y - PngImage::capitalHeight / 2, tick.label, ink);
        }
    }

    void DrawTimeAxis() {
        const double seconds = static_cast<double>(panels[0].SampleCount()) / sampleRate;
        for (const Tick &tick : TimeTicks(seconds, plotWidth - 1, PngImage::characterWidth)) {
            for (int panel = 0; panel < 3; ++panel)
                image.Fill(plotLeft + tick.pixel, Top(panel) + Spectrogram::panelRows, 1, tickLength, ink);
            image.Write(plotLeft + tick.pixel - TextWidth(tick.label) / 2, plotBottom + tickLength + labelGap,
                        tick.label, ink);
        }
        const std::string unit = seconds < 120.0 ? "s" : seconds < 3600.0 ? "min:s" : "h:min:s";
        image.Write(plotLeft + (plotWidth - TextWidth(unit)) / 2, plotBottom + 34, unit, ink);
    }

    void DrawScale() {
        const int height = plotBottom - plotTop;
        image.Write(barLeft, plotTop - 32, "dBFS", ink);
        image.Fill(barLeft - 1, plotTop - 1, barWidth + 2, height + 2, ink);
        for (int y = 0; y < height; ++y)
            image.Fill(barLeft, plotTop + y, barWidth, 1, colours.At(1.0 - y / (height - 1.0)));
        for (double down = 0.0; down <= shownRangeDb; down += levelStepDb) {
            const int y = plotTop + static_cast<int>(std::lround(down / shownRangeDb * (height - 1)));
            image.Fill(barLeft + barWidth, y, tickLength, 1, ink);
            image.Write(barLeft + barWidth + tickLength + labelGap, y - PngImage::capitalHeight / 2,
                        std::to_string(std::lround(highestDb - down)), ink);
        }
    }

    Colour ColourOf(double db) const { return colours.At(1.0 + (db - highestDb) / shownRangeDb); }

    const std::array<SpectrogramColumns, 3> &panels;
    int sampleRate;
    ColourMap colours;
    double highestDb = 0.0;
    PngImage image;
};

} // namespace

Spectrogram::Spectrogram(int rate)
    : sampleRate(rate), panels{SpectrogramColumns(rate, panelRows), SpectrogramColumns(rate, panelRows),
                               SpectrogramColumns(rate, panelRows)} {}

void Spectrogram::Push(const float *input, const float *output, const float *residual, std::int64_t count) {
    panels[0].Push(input, count);
    panels[1].Push(output, count);
    panels[2].Push(residual, count);
}

void Spectrogram::Save(const std::filesystem::path &path) const {
    const std::array finished{panels[0].Finished(), panels[1].Finished(), panels[2].Finished()};
    SpectrogramPicture(finished, sampleRate).Save(path);
}

} // namespace quietfloor
