// SPDX-License-Identifier: MIT
#include "tools/system/StandardStreams.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "tools/system/FileError.h"
#include "tools/system/NativeText.h"

namespace quietfloor {

void WriteStandardOutput(std::string_view text) {
    errno = 0;
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        throw FileError("standard output", errno != 0 ? std::strerror(errno) : "cannot be written");
}

void Complain(std::string_view text) {
    const std::string line = "quietfloor: " + OneLine(text) + '\n';
    std::fwrite(line.data(), 1, line.size(), stderr); // one piece, since others may write there, too
}

} // namespace quietfloor
