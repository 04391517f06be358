// SPDX-License-Identifier: MIT
/// The program but for how it gets its arguments.
#ifndef QUIETFLOOR_TOOLS_COMMAND_PROGRAM_H
#define QUIETFLOOR_TOOLS_COMMAND_PROGRAM_H

#include <string>
#include <vector>

namespace quietfloor {

/// Takes the arguments after the program's name, as UTF-8 on Windows. Returns the exit status: 0 done,
/// 1 wrong usage, 2 a file failed, 130 interrupted.
int RunProgram(const std::vector<std::string> &arguments);

} // namespace quietfloor

#endif
