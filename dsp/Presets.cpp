// SPDX-License-Identifier: MIT
#include "dsp/Presets.h"

#include <algorithm>
#include <array>
#include <initializer_list>

namespace quietfloor {
namespace {

using Object = dsp::SingleChannelAdaptiveNoise;

struct Setting {
    Object::Parameter parameter;
    float value;
};

// The parameters' defaults but for what is given.
Preset Make(const char *name, const char *description, Object::Estimator estimator,
            std::initializer_list<Setting> settings) {
    Preset preset{name, description, estimator, DefaultValues()};
    for (const Setting &setting : settings)
        preset.values[static_cast<std::size_t>(setting.parameter)] = setting.value;
    return preset;
}

} // namespace

std::span<const Preset> Presets() noexcept {
    static const std::array presets{
        Make("default",
             "what the library starts with: short delay, even rest; takes weak speech with the noise",
             Object::kGate, {}),
        Make("gentle", "7 dB less noise and all of the speech; keeps the room", Object::kGate,
             {{Object::kReductionDb, 8.0f},
              {Object::kOffsetDb, -1.5f},
              {Object::kFftSize, 2048.0f},
              {Object::kKneeDb, 12.0f},
              {Object::kFilterMode, 1.0f}}),
        Make("speech", "voices over a fan or a room: keeps weak consonants, leaves some noise", Object::kGate,
             {{Object::kReductionDb, 15.0f},
              {Object::kOffsetDb, -1.0f},
              {Object::kSensitivity, 5.0f},
              {Object::kFftSize, 2048.0f},
              {Object::kFilterMode, 1.0f}}),
        Make("hiss", "tape and preamplifiers: keeps high tones and held notes, leaves what wavers",
             Object::kGate,
             {{Object::kReductionDb, 12.0f},
              {Object::kOffsetDb, -0.5f},
              {Object::kSensitivity, 0.0f},
              {Object::kFftSize, 2048.0f},
              {Object::kKneeDb, 12.0f},
              {Object::kFilterMode, 1.0f}}),
        Make("hum", "mains and motors: fine frequency resolution; long delay, softened attacks",
             Object::kGate,
             {{Object::kReductionDb, 30.0f},
              {Object::kOffsetDb, -3.0f},
              {Object::kFftSize, 8192.0f},
              {Object::kKneeDb, 12.0f}}),
        Make("strong", "the strongest that leaves speech intelligible; dulls weak sounds, long delay",
             Object::kGate,
             {{Object::kReductionDb, 30.0f},
              {Object::kOffsetDb, 1.0f},
              {Object::kSensitivity, 8.0f},
              {Object::kFftSize, 4096.0f},
              {Object::kKneeDb, 12.0f}}),
    };
    return presets;
}

const Preset *FindPreset(std::string_view name) noexcept {
    const std::span<const Preset> presets = Presets();
    const auto found = std::find_if(presets.begin(), presets.end(),
                                    [name](const Preset &preset) { return preset.name == name; });
    return found == presets.end() ? nullptr : &*found;
}

} // namespace quietfloor
