#include "tools/Interrupt.h"

#include <atomic>
#include <csignal>

namespace quietfloor {
namespace {

std::atomic<bool> isInterrupted{false}; // several threads ask
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may use nothing else");

} // namespace

bool IsInterrupted() noexcept { return isInterrupted.load(std::memory_order_relaxed); }

#if defined(_WIN32)

namespace {

extern "C" void NoteInterrupt(int number) {
    isInterrupted.store(true, std::memory_order_relaxed);
    std::signal(number, NoteInterrupt); // each delivery takes it away
}

} // namespace

void ListenForInterrupts() {
    for (const int number : {SIGINT, SIGTERM, SIGBREAK})
        if (std::signal(number, NoteInterrupt) == SIG_IGN)
            std::signal(number, SIG_IGN);
}

#else

namespace {

extern "C" void NoteInterrupt(int) { isInterrupted.store(true, std::memory_order_relaxed); }

} // namespace

void ListenForInterrupts() {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction previous {};
        sigaction(number, nullptr, &previous);
        if (previous.sa_handler == SIG_IGN) // started in the background, or by nohup
            continue;
        struct sigaction action {};
        action.sa_handler = NoteInterrupt;
        sigaction(number, &action, nullptr); // without SA_RESTART
    }
}

#endif

} // namespace quietfloor
