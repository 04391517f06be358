// SPDX-License-Identifier: MIT
// What the system calls when it loads or unloads the library; only Windows asks for one.
#if defined(_WIN32) && defined(QUIETFLOOR_BUILDING) // a static library leaves this to its user

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

// Nothing here cares about threads that come and go, so the loader need not report them.
extern "C" BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH)
        DisableThreadLibraryCalls(library);
    return TRUE;
}

#endif
