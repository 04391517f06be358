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

namespace {

// UTF-8 until the program ends; the console outlives it.
class ConsoleCodePage {
public:
    ConsoleCodePage() : before(GetConsoleOutputCP()) { SetConsoleOutputCP(CP_UTF8); }
    ~ConsoleCodePage() {
        if (before != 0) // there is a console
            SetConsoleOutputCP(before);
    }

    ConsoleCodePage(const ConsoleCodePage &) = delete;
    ConsoleCodePage &operator=(const ConsoleCodePage &) = delete;

private:
    unsigned before;
};

} // namespace

void PrepareStandardStreams() { static const ConsoleCodePage codePage; }

bool IsErrorOutputTerminal() { return _isatty(_fileno(stderr)) != 0; }

#else

void PrepareStandardStreams() {
    // The lowest free number is given out, so each lands where one is missing. Opened the wrong way
    // round, so that use fails.
    for (int stream = 0; stream <= 2; ++stream)
        if (fcntl(stream, F_GETFD) < 0)
            static_cast<void>(open("/dev/null", stream == 0 ? O_WRONLY : O_RDONLY));
    std::signal(SIGPIPE, SIG_IGN);
}

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
