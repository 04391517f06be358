// SPDX-License-Identifier: MIT
#include "dsp/Parameters.h"

namespace quietfloor {
namespace {

constexpr ParameterInfo NotSettable(const char *name, float defaultValue, float lower, float upper,
                                    const char *description) {
    return {name, "", defaultValue, lower, upper, false, "", description, "", ""};
}

// The fractional bounds of sizes and switches leave room for a host that rounds a slider's value.
constexpr ParameterInfo parameters[parameterCount] = {
    {"reduction", "dB", 20.0f, 0.0f, 40.0f, true, "at once", "most that noise is turned down",
     "How far the noise goes down at most; 8 to 15 keeps a natural room.",
     "Sound hangs in a dead room, and what is left of the noise turns into musical noise."},
    {"offset", "dB", 2.0f, -10.0f, 10.0f, true, "at once",
     "shift of the threshold below which sound counts as noise",
     "Moves the line between noise and sound: up, more is turned down.",
     "Quiet details, reverb and the ends of words go with the noise."},
    {"sensitivity", "", 2.5f, -20.0f, 20.0f, true, "at once",
     "how uneven a sound may be and still be learnt as noise",
     "How uneven a sound may be and still be learnt as noise: up for wavering noise, 0 or less for held "
     "notes.",
     "Held notes are soon learnt as noise and sink."},
    NotSettable("tracker-rate", 6.0f, 1.0f, 20.0f, "no effect; follows from strength"),
    {"strength", "%", 30.0f, 0.0f, 100.0f, true, "at once", "strength of the whole reduction",
     "How boldly it works: what counts as noise, how fast the floor follows, above 33 how deep it goes.",
     "Weak consonants, reverb and breath vanish."},
    NotSettable("reserved", 8.0f, 0.0f, 20.0f, "no effect"),
    {"bandwidth", "Hz", 100.0f, 0.0f, 500.0f, true, "at once",
     "width of the local comparison with the noise floor; 0 turns it off",
     "How wide a neighbourhood must be quiet before a frequency closes quickly; 0 turns the check off.",
     "A little more noise stays around each sound."},
    {"fft-size", "samples", 512.0f, 0x1.fe001ap+6f, 16384.5f, true, "rebuild",
     "FFT size; the nearest power of two is taken",
     "Fineness in frequency against delay: 2048 with the filter for speech and music, 8192 without for hum.",
     "Attacks blur, and learning takes longer."},
    NotSettable("overlap", 2.0f, 0x1.80068ep+0f, 0x1.0fff2ep+3f, "read back: frames per FFT size"),
    {"knee", "dB", 14.0f, 1.0f, 20.0f, true, "waits", "width of the knee between kept and reduced",
     "How softly sound passes from kept to reduced: small gates and leaves musical noise, large fades.",
     "Faint sounds sink: the line moves up with the knee."},
    {"release", "ms", 140.0f, 20.0f, 750.0f, true, "at once", "fall time of the level smoothing",
     "How long a level is remembered as it falls: long keeps decays.", "Noise trails behind each word."},
    {"filter-mode", "", 0.0f, -0.5f, 0x1.7d70a4p+0f, true, "rebuild",
     "1: reduce by a linear-phase filter, 0: by a gain per bin",
     "1 reduces by a smooth linear-phase filter, which keeps speech and music whole; 0 by a gain per "
     "frequency, which tells close ones apart.",
     ""},
    NotSettable("unused", 0.0f, -0.5f, 1.49f, "no effect"),
    NotSettable("active", 0.0f, -0.5f, 1.49f, "read back: 1 after resume, 0 after suspend"),
};

} // namespace

const ParameterInfo &ParameterAt(int index) noexcept { return parameters[index]; }

ParameterValues DefaultValues() noexcept {
    ParameterValues values{};
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = parameters[i].defaultValue;
    return values;
}

} // namespace quietfloor
