// SPDX-License-Identifier: MIT
#include "tools/system/Interrupt.h"

#include <csignal>
#include <initializer_list>

namespace quietfloor {
namespace {

extern "C" void TakeSignal(int number) {
    RememberInterrupt();
    std::signal(number, TakeSignal); // each delivery takes it away
}

} // namespace

void ListenForInterrupts() {
    for (const int number : {SIGINT, SIGTERM, SIGBREAK})
        if (std::signal(number, TakeSignal) == SIG_IGN)
            std::signal(number, SIG_IGN);
}

} // namespace quietfloor
