// SPDX-License-Identifier: MIT
// The LV2 plug-ins.
#include <array>
#include <climits>
#include <cmath>
#include <cstring>

#include <lv2/core/lv2.h>
#include <lv2/worker/worker.h>

#include "plugins/Controls.h"
#include "plugins/StreamAdapter.h"
#include "plugins/lv2/PortLayout.h"
#include "plugins/lv2/RebuildExchange.h"

namespace {

using namespace quietfloor;

struct Plugin {
    Plugin(int channels, int sampleRate, const LV2_Worker_Schedule *offered)
        : layout{channels}, adapter(channels, sampleRate, offered != nullptr), worker(offered) {
        for (const Control &control : Controls())
            places.push_back(control.place);
    }

    PortLayout layout;
    StreamAdapter adapter;
    std::vector<int> places;           // of the control ports, in their order
    const LV2_Worker_Schedule *worker; // null if the host offers none
    RebuildExchange exchange;
};

Plugin &From(LV2_Handle handle) noexcept { return *static_cast<Plugin *>(handle); }

const LV2_Worker_Schedule *FindWorker(const LV2_Feature *const *features) noexcept {
    for (; features && *features; ++features)
        if (std::strcmp((*features)->URI, LV2_WORKER__schedule) == 0)
            return static_cast<const LV2_Worker_Schedule *>((*features)->data);
    return nullptr;
}

LV2_Handle Instantiate(const LV2_Descriptor *descriptor, double rate, const char *,
                       const LV2_Feature *const *features) {
    if (!(rate >= 1 && rate <= INT_MAX))
        return nullptr;
    for (const PluginKind &kind : pluginKinds)
        if (std::strcmp(kind.uri, descriptor->URI) == 0)
            try {
                return new Plugin(kind.channels, static_cast<int>(std::lround(rate)), FindWorker(features));
            } catch (...) { // out of memory
                return nullptr;
            }
    return nullptr;
}

void ConnectPort(LV2_Handle handle, std::uint32_t port, void *data) {
    Plugin &plugin = From(handle);
    const PortLayout &layout = plugin.layout;
    PortConnections &ports = plugin.adapter.ports;
    auto *const value = static_cast<float *>(data);
    const auto position = static_cast<int>(port);
    if (position < layout.Output(0))
        ports.in[port] = value;
    else if (position < layout.Latency())
        ports.out[port - static_cast<std::uint32_t>(layout.channels)] = value;
    else if (position == layout.Latency())
        ports.latency = value;
    else if (position == layout.Enabled())
        ports.enabled = value;
    else if (const auto control = static_cast<std::size_t>(position - layout.Control(0));
             control < plugin.places.size())
        ports.controls[static_cast<std::size_t>(plugin.places[control])] = value;
    else
        ports.link = value;
}

void Activate(LV2_Handle handle) {
    From(handle).exchange.Reset();
    From(handle).adapter.Activate();
}

void Run(LV2_Handle handle, std::uint32_t frames) {
    Plugin &plugin = From(handle);
    plugin.adapter.Process(frames);
    if (plugin.worker)
        plugin.exchange.Exchange(plugin.adapter, [&](const RebuildExchange::Request &request) {
            return plugin.worker->schedule_work(plugin.worker->handle, sizeof request, &request) ==
                   LV2_WORKER_SUCCESS;
        });
}

void Cleanup(LV2_Handle handle) { delete &From(handle); }

LV2_Worker_Status Work(LV2_Handle handle, LV2_Worker_Respond_Function, LV2_Worker_Respond_Handle,
                       std::uint32_t size, const void *data) {
    RebuildExchange::Request request;
    if (size != sizeof request)
        return LV2_WORKER_ERR_UNKNOWN;
    std::memcpy(&request, data, sizeof request); // the host's copy may lie at any address
    Plugin &plugin = From(handle);
    return plugin.exchange.Serve(plugin.adapter, request) ? LV2_WORKER_SUCCESS : LV2_WORKER_ERR_UNKNOWN;
}

// The worker never answers: the audio thread looks into the exchange itself.
LV2_Worker_Status WorkResponse(LV2_Handle, std::uint32_t, const void *) { return LV2_WORKER_SUCCESS; }

const void *ExtensionData(const char *uri) {
    static constexpr LV2_Worker_Interface workerInterface{Work, WorkResponse, nullptr};
    return std::strcmp(uri, LV2_WORKER__interface) == 0 ? &workerInterface : nullptr;
}

constexpr LV2_Descriptor DescriptorOf(const PluginKind &kind) {
    return {kind.uri, Instantiate, ConnectPort, Activate, Run, nullptr, Cleanup, ExtensionData};
}

constexpr std::array descriptors{DescriptorOf(pluginKinds[0]), DescriptorOf(pluginKinds[1])};
static_assert(descriptors.size() == pluginKinds.size());

} // namespace

LV2_SYMBOL_EXPORT const LV2_Descriptor *lv2_descriptor(std::uint32_t index) {
    return index < descriptors.size() ? &descriptors[index] : nullptr;
}
