#include "tools/StandardStreams.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#include <io.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

#include "tools/FileError.h"
#include "tools/NativeText.h"

namespace quietfloor {

#if defined(_WIN32)

StandardStreams::StandardStreams() : consoleCodePage(GetConsoleOutputCP()) { SetConsoleOutputCP(CP_UTF8); }

StandardStreams::~StandardStreams() {
    if (consoleCodePage != 0)
        SetConsoleOutputCP(consoleCodePage);
}

bool IsErrorOutputTerminal() { return _isatty(_fileno(stderr)) != 0; }

#else

StandardStreams::StandardStreams() {
    // The lowest free number is given out, so each lands where one is missing. Opened the wrong way
    // round, so that use fails.
    for (int stream = 0; stream <= 2; ++stream)
        if (fcntl(stream, F_GETFD) < 0)
            static_cast<void>(open("/dev/null", stream == 0 ? O_WRONLY : O_RDONLY));
    std::signal(SIGPIPE, SIG_IGN);
}

StandardStreams::~StandardStreams() = default;

bool IsErrorOutputTerminal() { return isatty(STDERR_FILENO) != 0; }

#endif

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
