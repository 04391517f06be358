// SPDX-License-Identifier: MIT
#include "tools/system/Interrupt.h"

#include <csignal>
#include <initializer_list>

namespace quietfloor {
namespace {

extern "C" void TakeSignal(int) { RememberInterrupt(); }

} // namespace

void ListenForInterrupts() {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction previous {};
        sigaction(number, nullptr, &previous);
        if (previous.sa_handler == SIG_IGN) // started in the background, or by nohup
            continue;
        struct sigaction action {};
        action.sa_handler = TakeSignal;
        sigaction(number, &action, nullptr); // without SA_RESTART
    }
}

} // namespace quietfloor
