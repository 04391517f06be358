// SPDX-License-Identifier: MIT
/// Bytes on their way into a file or to standard output.
#ifndef QUIETFLOOR_TOOLS_SYSTEM_OUTPUTFILE_H
#define QUIETFLOOR_TOOLS_SYSTEM_OUTPUTFILE_H

#include <cstdint>
#include <filesystem>
#include <vector>

#include "tools/system/FileError.h"

namespace quietfloor {

/// Whether `path` means standard input or output.
inline bool IsStandardStream(const std::filesystem::path &path) { return path == "-"; }

/// A file is written beside its target under a temporary name, so that the target is either the whole new
/// file or what it was before; a link's target is replaced and not the link. Where standard output is a
/// pipe, bytes are passed on at once; what a format would later write over its beginning is dropped.
class OutputFile {
public:
    /// "-" is standard output. Throws FileError; a target that exists must be a regular file.
    OutputFile(const std::filesystem::path &path, bool overwrites);
    ~OutputFile(); ///< removes the temporary file unless it was committed

    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    bool IsSeekable() const noexcept { return isSeekable; }

    /// Between these calls what is written stays in memory, for the header to be completed.
    void HoldBack() noexcept { isHolding = true; }
    std::vector<unsigned char> &Held() noexcept { return held; }
    void Release();

    /// Beyond so many bytes a write fails: a container's limit.
    void SetLimit(std::int64_t bytes) noexcept { limit = bytes; }

    /// False once a write has failed; Commit and ThrowIfFailed give the first reason. Never throws.
    bool Write(const void *bytes, std::size_t count) noexcept;

    /// Where the next write goes, in bytes from the beginning.
    std::int64_t position = 0;
    std::int64_t Length() const noexcept { return length; }

    /// Throws FileError.
    void ThrowIfFailed() const;

    /// Puts everything on the disk and gives the file its name. Unless it overwrites, a file that another
    /// process has created under that name meanwhile is left alone. Throws FileError.
    void Commit();

    const std::filesystem::path &Name() const noexcept { return name; }

private:
    bool Put(const void *bytes, std::size_t count);
    [[noreturn]] void Fail() const; // with errno
    void TakeName();

    std::filesystem::path name; // as errors show it
    std::filesystem::path target, temporary;
    bool overwrites, isSeekable = true, isHolding = false;
    int descriptor = -1;
    int failure = 0;                      // errno of the first one
    std::int64_t start = 0;               // standard output may have something before
    std::int64_t length = 0, written = 0; // bytes; where the descriptor stands
    std::int64_t limit = INT64_MAX;
    std::vector<unsigned char> held;
};

} // namespace quietfloor

#endif
