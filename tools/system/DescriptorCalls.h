// SPDX-License-Identifier: MIT
/// The system's single calls behind ReadAll and WriteAll, one file for each system.
#ifndef QUIETFLOOR_TOOLS_SYSTEM_DESCRIPTORCALLS_H
#define QUIETFLOOR_TOOLS_SYSTEM_DESCRIPTORCALLS_H

#include <cstddef>
#include <cstdint>

namespace quietfloor {

/// Systems take more, but not all of them more than an int.
inline constexpr std::size_t largestCall = 1 << 20; // bytes

/// Up to `count` bytes, no more than `largestCall`: how many it was; -1 on failure, with errno.
std::int64_t ReadSome(int descriptor, void *bytes, std::size_t count);
std::int64_t WriteSome(int descriptor, const void *bytes, std::size_t count);

/// Return once the call would not block. False if the user wants to stop instead, with errno.
bool AwaitReadable(int descriptor);
bool AwaitWritable(int descriptor);

} // namespace quietfloor

#endif
