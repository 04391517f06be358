// SPDX-License-Identifier: MIT
/// What is wrong with how the program was called.
#ifndef QUIETFLOOR_TOOLS_COMMAND_USAGEERROR_H
#define QUIETFLOOR_TOOLS_COMMAND_USAGEERROR_H

#include <stdexcept>

namespace quietfloor {

/// Thrown before any file is written; the text is one line for people.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace quietfloor

#endif
