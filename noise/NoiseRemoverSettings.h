/// The ten settings of the noise engine and the one place where derived ones come from given ones.
#ifndef QUIETFLOOR_NOISE_NOISEREMOVERSETTINGS_H
#define QUIETFLOOR_NOISE_NOISEREMOVERSETTINGS_H

namespace quietfloor {

struct NoiseRemoverSettings {
    float OffsetDb = -1.0f;     // shift of the detection threshold
    float ReductionDb = 24.0f;  // most that noise is turned down
    float ReleaseMs = 10.0f;    // time in which a falling level smooths by 60 dB
    float KneeDb = 14.0f;       // width of the gain knee below the floor
    float Sensitivity = 12.0f;  // given in dB-like steps, derived to a decision level
    float TrackerRate = 1.0f;   // dB per second; always derived from Strength
    float Strength = 30.0f;     // percent
    float Reserved = 0.0f;      // kept, not read
    float BandWidthHz = 270.0f; // width of the deviation window; 0 turns the deviation off
    bool TransientBoost = true; // lifts the reference for a moment where the spectrum jumps up
};

/// What the engine works with, from settings as given (finite values): limited to the range in which
/// every formula stays finite and floors come back soon after a correction (offset +-100 dB, knee 0.5 to
/// 1000 dB, reduction -200 to 1000 dB, sensitivity +-1000, strength +-10000 %, release from 0 ms), then
/// offset, sensitivity, rate and knee derived.
NoiseRemoverSettings Derived(const NoiseRemoverSettings &given) noexcept;

} // namespace quietfloor

#endif
