// SPDX-License-Identifier: MIT
#include "tools/system/StandardStreams.h"

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace quietfloor {

void PrepareStandardStreams() {
    // The lowest free number is given out, so each lands where one is missing. Opened the wrong way
    // round, so that use fails.
    for (int stream = 0; stream <= 2; ++stream)
        if (fcntl(stream, F_GETFD) < 0)
            static_cast<void>(open("/dev/null", stream == 0 ? O_WRONLY : O_RDONLY));
    std::signal(SIGPIPE, SIG_IGN);
}

bool IsErrorOutputTerminal() { return isatty(STDERR_FILENO) != 0; }

} // namespace quietfloor
