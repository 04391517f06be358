// SPDX-License-Identifier: MIT
#include "tools/picture/AxisTicks.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "tools/system/ClockText.h"

namespace quietfloor {
namespace {

// As short as it can be said exactly.
std::string FrequencyLabel(double hz) {
    const bool isKilo = hz >= 999.5;
    char text[32];
    std::snprintf(text, sizeof text, isKilo ? "%.3gk" : "%.3g", isKilo ? hz / 1000.0 : hz);
    return text;
}

// The next longer one: 1, 2 and 5 times powers of ten, from 20 s on whole parts and multiples of minutes,
// hours and days.
double NextStep(double step) {
    constexpr double clockSteps[] = {20,   30,   60,   120,   300,   600,   900,
                                     1800, 3600, 7200, 10800, 21600, 43200, 86400};
    if (step >= 86400.0)
        return 2.0 * step;
    if (step >= 10.0)
        return *std::upper_bound(std::begin(clockSteps), std::end(clockSteps), 1.01 * step);
    const double power = std::pow(10.0, std::floor(std::log10(1.01 * step)));
    const double digit = std::round(step / power);
    return (digit < 2.0 ? 2.0 : digit < 5.0 ? 5.0 : 10.0) * power;
}

std::string TimeLabel(double at, double step, double length) {
    if (length >= 120.0)
        return ClockText(at, length >= 3600.0);
    const int digits = std::max(0, static_cast<int>(std::ceil(-std::log10(1.01 * step))));
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", digits, at);
    return text;
}

} // namespace

std::vector<Tick> FrequencyTicks(const FrequencyAxis &axis, int sampleRate, int length, int spacing) {
    const double highest = 0.5 * sampleRate * (1.0 + 1e-9);
    std::vector<Tick> ticks{{0, "0"}};
    for (const double digit : {1.0, 5.0, 2.0, 3.0, 4.0, 7.0})
        for (double power = 1e-3; digit * power <= highest; power *= 10.0) {
            const int pixel = static_cast<int>(std::lround(axis.Position(digit * power) * length));
            const auto IsNear = [&](const Tick &tick) { return std::abs(tick.pixel - pixel) < spacing; };
            if (std::none_of(ticks.begin(), ticks.end(), IsNear))
                ticks.push_back({pixel, FrequencyLabel(digit * power)});
        }
    return ticks;
}

std::vector<Tick> TimeTicks(double seconds, int length, int glyphWidth) {
    if (!(seconds > 0.0))
        return {{0, "0"}};
    double step = 1e-9;
    const auto HasRoom = [&] {
        const auto widest = TimeLabel(seconds, step, seconds).size() + 2;
        return step / seconds * length >= static_cast<double>(widest) * glyphWidth;
    };
    while (!HasRoom())
        step = NextStep(step);
    std::vector<Tick> ticks;
    for (int i = 0; i * step <= seconds * (1.0 + 1e-9); ++i)
        ticks.push_back({static_cast<int>(std::lround(i * step / seconds * length)),
                         i == 0 ? "0" : TimeLabel(i * step, step, seconds)});
    return ticks;
}

} // namespace quietfloor
