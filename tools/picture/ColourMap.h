// SPDX-License-Identifier: MIT
/// Colours for levels.
#ifndef QUIETFLOOR_TOOLS_PICTURE_COLOURMAP_H
#define QUIETFLOOR_TOOLS_PICTURE_COLOURMAP_H

#include <array>

#include "tools/picture/PngImage.h"

namespace quietfloor {

/// From nearly black by violet, red and orange to a light yellow: even steps of perceived lightness, so that
/// equal differences in dB look equal, in print without colours, too.
class ColourMap {
public:
    ColourMap();

    /// 0 to 1; beyond that the end's colour.
    Colour At(double position) const;

private:
    std::array<Colour, 256> table;
};

} // namespace quietfloor

#endif
