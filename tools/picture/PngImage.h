// SPDX-License-Identifier: MIT
/// A picture in memory, and as a file.
#ifndef QUIETFLOOR_TOOLS_PICTURE_PNGIMAGE_H
#define QUIETFLOOR_TOOLS_PICTURE_PNGIMAGE_H

#include <cstdint>
#include <filesystem>
#include <string_view>

#include "tools/system/Row.h"

namespace quietfloor {

struct Colour {
    std::uint8_t red, green, blue; // sRGB
};

/// Columns count from the left and rows from the top. What lies outside is not drawn.
class PngImage {
public:
    static constexpr int characterWidth = 12, capitalHeight = 14; // pixels

    PngImage(int width, int height, Colour background);

    int Width() const { return width; }
    int Height() const { return height; }

    void Set(int x, int y, Colour colour) { Blend(x, y, colour, 1.0f); }
    /// `share` of the colour over what is there, 0 to 1.
    void Blend(int x, int y, Colour colour, float share);
    void Fill(int x, int y, int columns, int rows, Colour colour);
    /// One line; (x, y) is the upper left corner of the first capital. What is not ASCII prints as '?'.
    void Write(int x, int y, std::string_view text, Colour colour);

    /// Writes to `path` whole or not at all. Throws FileError.
    void Save(const std::filesystem::path &path) const;

private:
    int width, height;
    Row<std::uint8_t> pixels; // red, green, blue, row by row
};

} // namespace quietfloor

#endif
