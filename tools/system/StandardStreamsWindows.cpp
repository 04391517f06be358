// SPDX-License-Identifier: MIT
#include "tools/system/StandardStreams.h"

#include <cstdio>

#define WIN32_LEAN_AND_MEAN
#include <io.h>
#include <windows.h>

namespace quietfloor {
namespace {

// UTF-8 until the program ends; the console outlives it.
class ConsoleCodePage {
public:
    ConsoleCodePage() : before(GetConsoleOutputCP()) { SetConsoleOutputCP(CP_UTF8); }
    ~ConsoleCodePage() {
        if (before != 0) // there is a console
            SetConsoleOutputCP(before);
    }

    ConsoleCodePage(const ConsoleCodePage &) = delete;
    ConsoleCodePage &operator=(const ConsoleCodePage &) = delete;

private:
    unsigned before;
};

} // namespace

void PrepareStandardStreams() { static const ConsoleCodePage codePage; }

bool IsErrorOutputTerminal() { return _isatty(_fileno(stderr)) != 0; }

} // namespace quietfloor
