// SPDX-License-Identifier: MIT
#include "tools/system/ClockText.h"

#include <cmath>
#include <cstdio>

namespace quietfloor {

std::string ClockText(double seconds, bool showsHours) {
    const long long whole = std::llround(seconds);
    char text[48];
    if (showsHours)
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60, whole % 60);
    else
        std::snprintf(text, sizeof text, "%lld:%02lld", whole / 60, whole % 60);
    return text;
}

} // namespace quietfloor
