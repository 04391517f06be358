// SPDX-License-Identifier: MIT
/// What the LV2 plug-ins and their description share: identifiers and the order of the ports.
#ifndef QUIETFLOOR_PLUGINS_LV2_PORTLAYOUT_H
#define QUIETFLOOR_PLUGINS_LV2_PORTLAYOUT_H

#include <array>

namespace quietfloor {

struct PluginKind {
    const char *uri;
    const char *name; // for people
    int channels;
};

inline constexpr std::array pluginKinds{
    PluginKind{"urn:quietfloor:mono", "quietfloor (mono)", 1},
    PluginKind{"urn:quietfloor:stereo", "quietfloor (stereo)", 2},
};

/// Inputs come first, then outputs, then these, then the controls in the order of Controls(), and with two
/// channels the link. Hosts save ports by their place, too: what is new goes to the end.
struct PortLayout {
    int channels;

    constexpr int Input(int channel) const noexcept { return channel; }
    constexpr int Output(int channel) const noexcept { return channels + channel; }
    constexpr int Latency() const noexcept { return 2 * channels; }
    constexpr int Enabled() const noexcept { return Latency() + 1; }
    constexpr int Control(int position) const noexcept { return Enabled() + 1 + position; }
};

} // namespace quietfloor

#endif
