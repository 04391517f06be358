// SPDX-License-Identifier: MIT
#include "tools/system/Interrupt.h"

#include <atomic>

namespace quietfloor {
namespace {

std::atomic<bool> isInterrupted{false}; // several threads ask
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may use nothing else");

} // namespace

bool IsInterrupted() noexcept { return isInterrupted.load(std::memory_order_relaxed); }

void RememberInterrupt() noexcept { isInterrupted.store(true, std::memory_order_relaxed); }

} // namespace quietfloor
