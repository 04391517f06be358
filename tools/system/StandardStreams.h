// SPDX-License-Identifier: MIT
/// Standard input, output and error output.
#ifndef QUIETFLOOR_TOOLS_SYSTEM_STANDARDSTREAMS_H
#define QUIETFLOOR_TOOLS_SYSTEM_STANDARDSTREAMS_H

#include <string_view>

namespace quietfloor {

/// For the start of the program, whatever it was started with: a stream that is closed fails when it is
/// used, and no file takes its place; a closed pipe is an error and not the end; names show as they are on
/// the console of Windows.
void PrepareStandardStreams();

bool IsErrorOutputTerminal();

/// Throws FileError unless all of it went out.
void WriteStandardOutput(std::string_view text);

/// One line on standard error: "quietfloor: " and the text.
void Complain(std::string_view text);

} // namespace quietfloor

#endif
