// SPDX-License-Identifier: MIT
#include "tools/picture/ColourMap.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quietfloor {
namespace {

std::uint8_t GammaEncoded(double linear) { // IEC 61966-2-1
    const double clamped = std::clamp(linear, 0.0, 1.0);
    const double encoded =
        clamped <= 0.0031308 ? 12.92 * clamped : 1.055 * std::pow(clamped, 1.0 / 2.4) - 0.055;
    return static_cast<std::uint8_t>(std::lround(255.0 * encoded));
}

// Of the colour space Oklab: B. Ottosson, "A perceptual color space for image processing", 2020.
Colour FromOklab(double lightness, double chroma, double hue) {
    const double a = chroma * std::cos(hue), b = chroma * std::sin(hue);
    const double l = std::pow(lightness + 0.3963377774 * a + 0.2158037573 * b, 3.0);
    const double m = std::pow(lightness - 0.1055613458 * a - 0.0638541728 * b, 3.0);
    const double s = std::pow(lightness - 0.0894841775 * a - 1.2914855480 * b, 3.0);
    return {GammaEncoded(4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s),
            GammaEncoded(-1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s),
            GammaEncoded(-0.0041960863 * l - 0.7034186147 * m + 1.7076147010 * s)};
}

} // namespace

// The chroma stays below what sRGB can show for each lightness and hue on the way.
ColourMap::ColourMap() {
    for (std::size_t i = 0; i < table.size(); ++i) {
        const double t = static_cast<double>(i) / static_cast<double>(table.size() - 1);
        const double chroma = 0.01 + 0.16 * std::sin(std::numbers::pi * t) + 0.05 * t;
        const double hueDegrees = 275.0 + 190.0 * t;
        table[i] = FromOklab(0.07 + 0.90 * t, chroma, hueDegrees * std::numbers::pi / 180.0);
    }
}

Colour ColourMap::At(double position) const {
    const double last = static_cast<double>(table.size() - 1);
    return table[static_cast<std::size_t>(std::lround(last * std::clamp(position, 0.0, 1.0)))];
}

} // namespace quietfloor
