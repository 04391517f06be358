#include "noise/NoiseRemoverSettings.h"

#include <algorithm>
#include <cmath>

namespace quietfloor {
namespace {

NoiseRemoverSettings Limited(NoiseRemoverSettings settings) noexcept {
    settings.OffsetDb = std::clamp(settings.OffsetDb, -100.0f, 100.0f);
    settings.ReductionDb = std::clamp(settings.ReductionDb, -200.0f, 1000.0f);
    settings.ReleaseMs = std::max(settings.ReleaseMs, 0.0f);
    settings.KneeDb = std::clamp(settings.KneeDb, 0.5f, 1000.0f);
    settings.Sensitivity = std::clamp(settings.Sensitivity, -1000.0f, 1000.0f);
    settings.Strength = std::clamp(settings.Strength, -10000.0f, 10000.0f);
    return settings;
}

} // namespace

NoiseRemoverSettings Derived(const NoiseRemoverSettings &given) noexcept {
    NoiseRemoverSettings derived = Limited(given);
    const double strength = derived.Strength;
    derived.OffsetDb = static_cast<float>(derived.OffsetDb + (strength * 5.0 / 100.0 - 1.0));
    derived.Sensitivity =
        static_cast<float>(std::pow(2.0, derived.Sensitivity / 10.0) * (strength / 100.0 * 51.0 + 9.0));
    derived.TrackerRate = static_cast<float>(strength * 20.0 / 100.0 + 2.0);
    return derived;
}

} // namespace quietfloor
