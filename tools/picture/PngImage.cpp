// SPDX-License-Identifier: MIT
#include "tools/picture/PngImage.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include <png.h>

#include "tools/picture/PixelFont.h"
#include "tools/system/OutputFile.h"

namespace quietfloor {
namespace {

// How much ink there is about a point of a character that is drawn at twice its size: between the centres of
// the cells it changes linearly, which joins cells that touch by a corner, and is then steepened, which keeps
// straight strokes sharp.
float Ink(char character, int x, int y) {
    const int column = (x + 1) / 2 - 1, row = (y + 1) / 2 - 1;
    const float right = x % 2 == 0 ? 0.75f : 0.25f, lower = y % 2 == 0 ? 0.75f : 0.25f;
    const auto Row = [&](int at) {
        const float here = PixelFont::HasInk(character, column, at) ? 1.0f : 0.0f;
        const float next = PixelFont::HasInk(character, column + 1, at) ? 1.0f : 0.0f;
        return std::lerp(here, next, right);
    };
    return std::clamp((std::lerp(Row(row), Row(row + 1), lower) - 0.25f) / 0.4f, 0.0f, 1.0f);
}

std::vector<char> Encode(int width, int height, const Row<std::uint8_t> &pixels,
                         const std::filesystem::path &path) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(height);
    image.format = PNG_FORMAT_RGB;
    png_alloc_size_t bytes = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::vector<char> encoded(bytes);
    if (!png_image_write_to_memory(&image, encoded.data(), &bytes, 0, pixels.begin(), 0, nullptr))
        throw FileError(path, image.message);
    encoded.resize(bytes);
    return encoded;
}

} // namespace

PngImage::PngImage(int width_, int height_, Colour background)
    : width(width_), height(height_), pixels(3 * width_ * height_) {
    Fill(0, 0, width, height, background);
}

void PngImage::Blend(int x, int y, Colour colour, float share) {
    if (x < 0 || x >= width || y < 0 || y >= height)
        return;
    std::uint8_t *pixel = &pixels[3 * (y * width + x)];
    const auto Mix = [share](std::uint8_t &there, std::uint8_t added) {
        there = static_cast<std::uint8_t>(std::lround(std::lerp(there, added, share)));
    };
    Mix(pixel[0], colour.red);
    Mix(pixel[1], colour.green);
    Mix(pixel[2], colour.blue);
}

void PngImage::Fill(int x, int y, int columns, int rows, Colour colour) {
    for (int row = y; row < y + rows; ++row)
        for (int column = x; column < x + columns; ++column)
            Set(column, row, colour);
}

void PngImage::Write(int x, int y, std::string_view text, Colour colour) {
    for (const char character : text) {
        for (int row = 0; row < 2 * PixelFont::rows; ++row)
            for (int column = 0; column < 2 * PixelFont::columns; ++column)
                Blend(x + column, y + row, colour, Ink(character, column, row));
        x += characterWidth;
    }
}

void PngImage::Save(const std::filesystem::path &path) const {
    const std::vector<char> encoded = Encode(width, height, pixels, path);
    OutputFile file(path, true);
    file.Write(encoded.data(), encoded.size());
    file.Commit();
}

} // namespace quietfloor
