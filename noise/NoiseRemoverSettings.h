// SPDX-License-Identifier: MIT
/// The settings that the noise engine is given, and what it makes of them.
#ifndef QUIETFLOOR_NOISE_NOISEREMOVERSETTINGS_H
#define QUIETFLOOR_NOISE_NOISEREMOVERSETTINGS_H

namespace quietfloor {

/// As a host gives them: ten slots, any finite values.
struct NoiseRemoverSettings {
    float OffsetDb = -1.0f;     // shift of the detection threshold
    float ReductionDb = 24.0f;  // most that noise is turned down
    float ReleaseMs = 10.0f;    // time in which a falling level smooths by 60 dB
    float KneeDb = 14.0f;       // width of the gain knee below the floor
    float Sensitivity = 12.0f;  // in steps of which 10 double the decision level
    float TrackerRate = 1.0f;   // not read: always derived from Strength
    float Strength = 30.0f;     // percent
    float Reserved = 0.0f;      // kept, not read
    float BandWidthHz = 270.0f; // width of the deviation window; 0 turns the deviation off
    bool TransientBoost = true; // lifts the reference for a moment where the spectrum jumps up
};

/// What the engine works with: these values until it is given any.
struct DerivedSettings {
    float OffsetDb = -1.0f;
    float NoiseShiftDb = 0.0f; // of the log-spectral estimate of the noise
    float ReductionDb = 24.0f;
    float ReleaseMs = 10.0f;
    float KneeDb = 14.0f;
    float DecisionLevel = 12.0f; // of the scores, times 150
    float TrackerRate = 1.0f;    // dB per second
    float Strength = 30.0f;      // percent
    float BandWidthHz = 270.0f;
    bool TransientBoost = true;
};

/// Limits the given settings to the range in which every formula stays finite and floors come back soon
/// after a correction (offset +-100 dB, knee 0.5 to 1000 dB, reduction -200 to 1000 dB, sensitivity +-1000,
/// strength +-10000 %, release from 0 ms), then derives: the strength moves the offset, whose distance from
/// its default shifts the estimate of the noise, the sensitivity and it give the decision level, and the
/// tracker's rate follows from it alone.
DerivedSettings Derived(const NoiseRemoverSettings &given) noexcept;

} // namespace quietfloor

#endif
