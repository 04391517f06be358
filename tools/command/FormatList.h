// SPDX-License-Identifier: MIT
/// What --list-formats prints.
#ifndef QUIETFLOOR_TOOLS_COMMAND_FORMATLIST_H
#define QUIETFLOOR_TOOLS_COMMAND_FORMATLIST_H

#include <string>

namespace quietfloor {

/// The containers that can be written, each with its sample formats: a line of names, or an object in a JSON
/// array.
std::string FormatList(bool isJson);

} // namespace quietfloor

#endif
