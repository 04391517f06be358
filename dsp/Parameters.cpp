#include "dsp/Parameters.h"

namespace quietfloor {
namespace {

// The fractional bounds of sizes and switches leave room for a host that rounds a slider's value.
constexpr ParameterInfo parameters[parameterCount] = {
    {"reduction", "dB", 20.0f, 0.0f, 40.0f, true, "most that noise is turned down"},
    {"offset", "dB", 2.0f, -10.0f, 10.0f, true, "shift of the threshold below which sound counts as noise"},
    {"sensitivity", "", 2.5f, -20.0f, 20.0f, true, "how uneven a sound may be and still be learnt as noise"},
    {"tracker-rate", "", 6.0f, 1.0f, 20.0f, false, "no effect; follows from strength"},
    {"strength", "%", 30.0f, 0.0f, 100.0f, true, "strength of the whole reduction"},
    {"reserved", "", 8.0f, 0.0f, 20.0f, false, "no effect"},
    {"bandwidth", "Hz", 100.0f, 0.0f, 500.0f, true,
     "width of the local comparison with the noise floor; 0 turns it off"},
    {"fft-size", "samples", 512.0f, 0x1.fe001ap+6f, 16384.5f, true,
     "FFT size; the nearest power of two is taken"},
    {"overlap", "", 2.0f, 0x1.80068ep+0f, 0x1.0fff2ep+3f, false, "read back: frames per FFT size"},
    {"knee", "dB", 14.0f, 1.0f, 20.0f, true, "width of the knee between kept and reduced"},
    {"release", "ms", 140.0f, 20.0f, 750.0f, true, "fall time of the level smoothing"},
    {"filter-mode", "", 0.0f, -0.5f, 0x1.7d70a4p+0f, true,
     "1: reduce by a linear-phase filter, 0: by a gain per bin"},
    {"unused", "", 0.0f, -0.5f, 1.49f, false, "no effect"},
    {"active", "", 0.0f, -0.5f, 1.49f, false, "read back: 1 after resume, 0 after suspend"},
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
