// SPDX-License-Identifier: MIT
/// What the audio thread and a host's worker hand each other while a change is built.
#ifndef QUIETFLOOR_PLUGINS_LV2_REBUILDEXCHANGE_H
#define QUIETFLOOR_PLUGINS_LV2_REBUILDEXCHANGE_H

#include <atomic>
#include <memory>
#include <utility>

#include "plugins/StreamAdapter.h"

namespace quietfloor {

/// The groups lie in slots of their own rather than in the host's messages, so that a message that never
/// arrives costs nothing but time. One request is under way at a time.
class RebuildExchange {
public:
    struct Request {
        bool isBuild; // otherwise the worker only frees
        ReducerSettings settings;
    };

    RebuildExchange() = default;
    ~RebuildExchange() {
        FreeRetired();
        delete built.load();
    }
    RebuildExchange(const RebuildExchange &) = delete;
    RebuildExchange &operator=(const RebuildExchange &) = delete;

    /// While the audio thread rests: requests that the host may have dropped are forgotten.
    void Reset() noexcept {
        FreeRetired();
        delete built.exchange(nullptr);
        isAsked = false;
    }

    /// [audio] Takes in what is built, gives out what is to be freed, and passes a request to
    /// `schedule(const Request &)`, which returns whether it was taken.
    template <class Schedule>
    void Exchange(StreamAdapter &adapter, Schedule schedule) noexcept {
        const bool isIdle = !isAsked.load(); // read first: what the worker has built is then in its slot
        if (adapter.CanTakeOver())
            if (std::unique_ptr<ReducerGroup> group{built.exchange(nullptr)})
                adapter.TakeOver(std::move(group));
        if (!retired.load())
            retired.store(adapter.ReleaseRetired().release());
        const Request request{adapter.CanTakeOver() && adapter.NeedsRebuild(), adapter.WantedSettings()};
        if (!isIdle || (!request.isBuild && !retired.load()))
            return;
        isAsked = true;
        if (!schedule(request))
            isAsked = false;
    }

    /// [worker] Carries the request out. False if memory ran out; the audio thread asks again.
    bool Serve(const StreamAdapter &adapter, const Request &request) noexcept {
        FreeRetired();
        std::unique_ptr<ReducerGroup> group = request.isBuild ? adapter.Build(request.settings) : nullptr;
        const bool isServed = group || !request.isBuild;
        if (group)
            delete built.exchange(group.release());
        isAsked = false;
        return isServed;
    }

private:
    void FreeRetired() noexcept { delete retired.exchange(nullptr); }

    static_assert(std::atomic<ReducerGroup *>::is_always_lock_free);
    std::atomic<ReducerGroup *> built = nullptr, retired = nullptr; // owned
    std::atomic<bool> isAsked = false;
};

} // namespace quietfloor

#endif
