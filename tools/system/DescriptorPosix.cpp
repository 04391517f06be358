// SPDX-License-Identifier: MIT
#include "tools/system/Descriptor.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/system/DescriptorCalls.h"
#include "tools/system/Interrupt.h"

namespace quietfloor {
namespace {

// A signal may reach another thread, or this one just before it waits, so that it does not wait long.
bool Await(int descriptor, short event) {
    constexpr int longestWait = 200; // ms
    while (!IsInterrupted()) {
        pollfd wanted{descriptor, event, 0};
        const int ready = poll(&wanted, 1, longestWait);
        if (ready > 0 || (ready < 0 && errno != EINTR))
            return true;
    }
    errno = EINTR;
    return false;
}

} // namespace

std::int64_t ReadSome(int descriptor, void *bytes, std::size_t count) {
    return read(descriptor, bytes, count);
}

std::int64_t WriteSome(int descriptor, const void *bytes, std::size_t count) {
    return write(descriptor, bytes, count);
}

bool AwaitReadable(int descriptor) { return Await(descriptor, POLLIN); }
bool AwaitWritable(int descriptor) { return Await(descriptor, POLLOUT); }

int CreateNew(const std::filesystem::path &path) {
    return open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
}

int OpenExisting(const std::filesystem::path &path) { return open(path.c_str(), O_RDONLY | O_CLOEXEC); }

int StandardInput() { return STDIN_FILENO; }

int StandardOutput() {
    std::signal(SIGPIPE, SIG_IGN);
    return STDOUT_FILENO;
}

bool IsSeekable(int descriptor) {
    struct stat status;
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
           (fcntl(descriptor, F_GETFL) & O_APPEND) == 0;
}

bool IsTerminal(int descriptor) { return isatty(descriptor) != 0; }

bool LeadsTo(int descriptor, const std::filesystem::path &path) {
    struct stat here, there;
    return fstat(descriptor, &here) == 0 && stat(path.c_str(), &there) == 0 && S_ISREG(here.st_mode) &&
           here.st_dev == there.st_dev && here.st_ino == there.st_ino;
}

std::int64_t SeekTo(int descriptor, std::int64_t position) { return lseek(descriptor, position, SEEK_SET); }

std::int64_t Position(int descriptor) { return lseek(descriptor, 0, SEEK_CUR); }

bool Synchronize(int descriptor) { return fsync(descriptor) == 0; }

bool Close(int descriptor) { return close(descriptor) == 0; }

bool IsWritable(const std::filesystem::path &path) { return access(path.c_str(), W_OK) == 0; }

} // namespace quietfloor
