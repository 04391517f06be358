// SPDX-License-Identifier: MIT
/// The user's wish to stop.
#ifndef QUIETFLOOR_TOOLS_SYSTEM_INTERRUPT_H
#define QUIETFLOOR_TOOLS_SYSTEM_INTERRUPT_H

namespace quietfloor {

/// From now on SIGINT, SIGTERM and SIGHUP (on Windows Ctrl+C and Ctrl+Break) are a wish to stop, unless
/// the program was started with them ignored. They end a blocked read early.
void ListenForInterrupts();

bool IsInterrupted() noexcept;

/// For the signal handlers.
void RememberInterrupt() noexcept;

} // namespace quietfloor

#endif
