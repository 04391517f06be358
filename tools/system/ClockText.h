// SPDX-License-Identifier: MIT
/// Lengths of time for people.
#ifndef QUIETFLOOR_TOOLS_SYSTEM_CLOCKTEXT_H
#define QUIETFLOOR_TOOLS_SYSTEM_CLOCKTEXT_H

#include <string>

namespace quietfloor {

/// To whole seconds: "1:05", or "0:01:05" if it `showsHours`. Not negative.
std::string ClockText(double seconds, bool showsHours);

} // namespace quietfloor

#endif
