// SPDX-License-Identifier: MIT
// The command-line program: quietfloor IN OUT.
#include <filesystem>
#include <string>
#include <vector>

#include "tools/command/Program.h"
#include "tools/system/NativeText.h"

#if defined(__MINGW32__)
extern "C" {
int _dowildcard = -1; // *.wav becomes the files' names: the command prompt leaves that to programs
}
#endif

// The narrow main gets names without the letters that the system's code page lacks.
int wmain(int argc, wchar_t **argv) {
    std::vector<std::string> arguments;
    for (int i = 1; i < argc; ++i)
        arguments.push_back(quietfloor::TextOf(std::filesystem::path(argv[i])));
    return quietfloor::RunProgram(arguments);
}
