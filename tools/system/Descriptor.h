// SPDX-License-Identifier: MIT
/// Open files as numbers, the same way on POSIX systems and Windows.
#ifndef QUIETFLOOR_TOOLS_SYSTEM_DESCRIPTOR_H
#define QUIETFLOOR_TOOLS_SYSTEM_DESCRIPTOR_H

#include <cstdint>
#include <filesystem>

namespace quietfloor {

/// -1, with errno, where a file of this name exists or none can be made.
int CreateNew(const std::filesystem::path &path);

/// For reading; -1 on failure, with errno.
int OpenExisting(const std::filesystem::path &path);

/// In binary mode on Windows. From then on the process ignores SIGPIPE: when the reader goes away, the next
/// write fails.
int StandardInput();
int StandardOutput();

/// Whether it is a file that can be read and written at any place, as opposed to a pipe, a device or a file
/// opened for appending.
bool IsSeekable(int descriptor);

/// Whether it is a terminal or console.
bool IsTerminal(int descriptor);

/// Whether it leads to the regular file of this name. Always false on Windows, which does not tell.
bool LeadsTo(int descriptor, const std::filesystem::path &path);

/// In bytes from the file's beginning; -1 on failure, with errno.
std::int64_t SeekTo(int descriptor, std::int64_t position);
std::int64_t Position(int descriptor);

/// As many bytes as there are, up to `count`: fewer only at the end, on failure or when interrupted.
std::size_t ReadAll(int descriptor, void *bytes, std::size_t count);

/// False on failure or when interrupted, with errno.
bool WriteAll(int descriptor, const void *bytes, std::size_t count);
bool Synchronize(int descriptor); ///< all that was written is on the disk
bool Close(int descriptor);

/// Whether the user may write to a file that exists.
bool IsWritable(const std::filesystem::path &path);

} // namespace quietfloor

#endif
