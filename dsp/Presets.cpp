#include "dsp/Presets.h"

#include <algorithm>
#include <array>
#include <initializer_list>

#include "dsp/SingleChannelAdaptiveNoise.h"

namespace quietfloor {
namespace {

using Object = dsp::SingleChannelAdaptiveNoise;

struct Setting {
    Object::Parameter parameter;
    float value;
};

// The defaults but for what is given.
Preset Make(const char *name, const char *description, std::initializer_list<Setting> settings) {
    Preset preset{name, description, DefaultValues()};
    for (const Setting &setting : settings)
        preset.values[static_cast<std::size_t>(setting.parameter)] = setting.value;
    return preset;
}

} // namespace

std::span<const Preset> Presets() noexcept {
    static const std::array presets{
        Make("gentle", "a little less noise and no audible trace of it; keeps the room",
             {{Object::kReductionDb, 10.0f},
              {Object::kOffsetDb, -1.0f},
              {Object::kFftSize, 2048.0f},
              {Object::kFilterMode, 1.0f}}),
        Make("speech", "voices over a fan or a room; keeps weak consonants and leaves some noise",
             {{Object::kOffsetDb, -1.0f}, {Object::kFftSize, 2048.0f}, {Object::kFilterMode, 1.0f}}),
        Make("hiss", "tape, preamplifiers, white noise; dulls the faintest high tones",
             {{Object::kFftSize, 1024.0f}}),
        Make("hum", "mains and motors; fine in pitch, so late and soft on attacks",
             {{Object::kFftSize, 8192.0f}}),
        Make("strong", "as quiet as it gets; weak speech suffers",
             {{Object::kReductionDb, 30.0f}, {Object::kStrength, 60.0f}, {Object::kFftSize, 2048.0f}}),
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
