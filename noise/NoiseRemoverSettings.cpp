// SPDX-License-Identifier: MIT
#include "noise/NoiseRemoverSettings.h"

#include <algorithm>
#include <cmath>

#include "noise/Tuning.h"

namespace quietfloor {
namespace {

using namespace tuning;

NoiseRemoverSettings Limited(NoiseRemoverSettings settings) noexcept {
    settings.OffsetDb = std::clamp(settings.OffsetDb, -100.0f, 100.0f);
    settings.ReductionDb = std::clamp(settings.ReductionDb, -200.0f, 1000.0f);
    settings.ReleaseMs = std::max(0.0f, settings.ReleaseMs); // 0 first: so -0 becomes 0; it is divided by
    settings.KneeDb = std::clamp(settings.KneeDb, 0.5f, 1000.0f);
    settings.Sensitivity = std::clamp(settings.Sensitivity, -1000.0f, 1000.0f);
    settings.Strength = std::clamp(settings.Strength, -10000.0f, 10000.0f);
    return settings;
}

} // namespace

DerivedSettings Derived(const NoiseRemoverSettings &given) noexcept {
    const NoiseRemoverSettings limited = Limited(given);
    const double strength = limited.Strength;
    const double offsetDb = strength * strengthOffsetDb / fullStrength - offsetShiftDb;
    const double decisionAtStrength = strength / fullStrength * strengthDecision + decisionAtNoStrength;
    DerivedSettings derived;
    derived.OffsetDb = static_cast<float>(limited.OffsetDb + offsetDb);
    derived.NoiseShiftDb = static_cast<float>(limited.OffsetDb - usualOffsetDb);
    derived.ReductionDb = limited.ReductionDb;
    derived.ReleaseMs = limited.ReleaseMs;
    derived.KneeDb = limited.KneeDb;
    derived.DecisionLevel =
        static_cast<float>(std::pow(2.0, limited.Sensitivity / sensitivityOctave) * decisionAtStrength);
    derived.TrackerRate = static_cast<float>(strength * strengthRateDb / fullStrength + rateAtNoStrengthDb);
    derived.Strength = limited.Strength;
    derived.BandWidthHz = limited.BandWidthHz;
    derived.TransientBoost = limited.TransientBoost;
    return derived;
}

} // namespace quietfloor
