// SPDX-License-Identifier: MIT
// The LADSPA plug-in.
#include <array>
#include <climits>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include <ladspa.h>

#include "plugins/Controls.h"
#include "plugins/StreamAdapter.h"

#if defined(_WIN32)
#define QUIETFLOOR_PLUGIN_API __declspec(dllexport)
#elif defined(__GNUC__)
#define QUIETFLOOR_PLUGIN_API __attribute__((visibility("default")))
#else
#define QUIETFLOOR_PLUGIN_API
#endif

namespace {

using namespace quietfloor;

// Hosts compensate the delay by the output control of this name.
constexpr const char *latencyName = "latency";
enum Port : unsigned long { inputPort, outputPort, latencyPort, firstControl };

struct Plugin {
    explicit Plugin(int sampleRate) : adapter(1, sampleRate, false) {
        for (const Control &control : Controls())
            places.push_back(control.place);
    }

    StreamAdapter adapter;
    std::vector<int> places; // of the control ports, in their order
};

Plugin &From(LADSPA_Handle handle) noexcept { return *static_cast<Plugin *>(handle); }

LADSPA_Handle Instantiate(const LADSPA_Descriptor *, unsigned long rate) {
    if (rate < 1 || rate > INT_MAX)
        return nullptr;
    try {
        return new Plugin(static_cast<int>(rate));
    } catch (...) { // out of memory
        return nullptr;
    }
}

void ConnectPort(LADSPA_Handle handle, unsigned long port, LADSPA_Data *data) {
    Plugin &plugin = From(handle);
    PortConnections &ports = plugin.adapter.ports;
    if (port == inputPort)
        ports.in[0] = data;
    else if (port == outputPort)
        ports.out[0] = data;
    else if (port == latencyPort)
        ports.latency = data;
    else if (port - firstControl < plugin.places.size())
        ports.controls[static_cast<std::size_t>(plugin.places[port - firstControl])] = data;
}

void Activate(LADSPA_Handle handle) { From(handle).adapter.Activate(); }

void Run(LADSPA_Handle handle, unsigned long frames) { From(handle).adapter.Process(frames); }

void Cleanup(LADSPA_Handle handle) { delete &From(handle); }

struct DefaultHint {
    LADSPA_PortRangeHintDescriptor hint;
    float value;
};

// The format knows only some defaults; this is the one nearest to the wanted value.
LADSPA_PortRangeHintDescriptor NearestDefault(const Control &control) {
    const auto between = [&](float share) {
        return control.isLogarithmic
                   ? std::exp((1 - share) * std::log(control.lowest) + share * std::log(control.highest))
                   : (1 - share) * control.lowest + share * control.highest;
    };
    const DefaultHint hints[] = {
        {LADSPA_HINT_DEFAULT_MINIMUM, control.lowest},
        {LADSPA_HINT_DEFAULT_LOW, between(0.25f)},
        {LADSPA_HINT_DEFAULT_MIDDLE, between(0.5f)},
        {LADSPA_HINT_DEFAULT_HIGH, between(0.75f)},
        {LADSPA_HINT_DEFAULT_MAXIMUM, control.highest},
        {LADSPA_HINT_DEFAULT_0, 0.0f},
        {LADSPA_HINT_DEFAULT_1, 1.0f},
        {LADSPA_HINT_DEFAULT_100, 100.0f},
    };
    const auto distance = [&](const DefaultHint &hint) {
        const bool isInside = hint.value >= control.lowest && hint.value <= control.highest;
        return isInside ? std::abs(hint.value - control.defaultValue) : INFINITY;
    };
    const auto nearer = [&](const DefaultHint &a, const DefaultHint &b) { return distance(a) < distance(b); };
    return std::min_element(std::begin(hints), std::end(hints), nearer)->hint;
}

LADSPA_PortRangeHint RangeOf(const Control &control) {
    if (control.choices.size() == 2)
        return {LADSPA_HINT_TOGGLED |
                    (control.defaultValue > 0 ? LADSPA_HINT_DEFAULT_1 : LADSPA_HINT_DEFAULT_0),
                0, 0};
    LADSPA_PortRangeHintDescriptor hints =
        LADSPA_HINT_BOUNDED_BELOW | LADSPA_HINT_BOUNDED_ABOVE | NearestDefault(control);
    if (control.isLogarithmic)
        hints |= LADSPA_HINT_LOGARITHMIC;
    if (!control.choices.empty())
        hints |= LADSPA_HINT_INTEGER;
    return {hints, control.lowest, control.highest};
}

// The descriptor and the arrays that it points to.
class Description {
public:
    Description() {
        Add("Input", LADSPA_PORT_AUDIO | LADSPA_PORT_INPUT, {0, 0, 0});
        Add("Output", LADSPA_PORT_AUDIO | LADSPA_PORT_OUTPUT, {0, 0, 0});
        Add(latencyName, LADSPA_PORT_CONTROL | LADSPA_PORT_OUTPUT, {LADSPA_HINT_INTEGER, 0, 0});
        for (const Control &control : Controls()) {
            const std::string unit = control.unit.empty() ? "" : " (" + control.unit + ")";
            Add(control.title + unit, LADSPA_PORT_CONTROL | LADSPA_PORT_INPUT, RangeOf(control));
        }
        for (const std::string &name : names)
            namePointers.push_back(name.c_str());
        FillDescriptor();
    }

    const LADSPA_Descriptor *Get() const noexcept { return &descriptor; }

private:
    void Add(const std::string &name, LADSPA_PortDescriptor type, const LADSPA_PortRangeHint &range) {
        names.push_back(name);
        types.push_back(type);
        ranges.push_back(range);
    }

    void FillDescriptor() {
        descriptor.UniqueID = 0x51464C; // "QFL"; nobody registers these numbers any more
        descriptor.Label = "quietfloor";
        descriptor.Properties = LADSPA_PROPERTY_HARD_RT_CAPABLE;
        descriptor.Name = "quietfloor: steady noise out of one channel";
        descriptor.Maker = "The quietfloor authors <quietfloor@example.org>";
        descriptor.Copyright = "MIT";
        descriptor.PortCount = static_cast<unsigned long>(names.size());
        descriptor.PortDescriptors = types.data();
        descriptor.PortNames = namePointers.data();
        descriptor.PortRangeHints = ranges.data();
        descriptor.instantiate = Instantiate;
        descriptor.connect_port = ConnectPort;
        descriptor.activate = Activate;
        descriptor.run = Run;
        descriptor.cleanup = Cleanup;
    }

    std::vector<std::string> names;
    std::vector<const char *> namePointers;
    std::vector<LADSPA_PortDescriptor> types;
    std::vector<LADSPA_PortRangeHint> ranges;
    LADSPA_Descriptor descriptor{};
};

} // namespace

extern "C" QUIETFLOOR_PLUGIN_API const LADSPA_Descriptor *ladspa_descriptor(unsigned long index) {
    try {
        static const Description description;
        return index == 0 ? description.Get() : nullptr;
    } catch (...) { // out of memory
        return nullptr;
    }
}
