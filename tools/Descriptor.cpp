#include "tools/Descriptor.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#if !defined(NOMINMAX) // GCC's library defines it
#define NOMINMAX
#endif
#include <io.h>
#include <windows.h>
#else
#include <poll.h>
#include <unistd.h>
#endif

#include "tools/Interrupt.h"

namespace quietfloor {
namespace {

constexpr std::size_t largestCall = 1 << 20; // bytes; Windows takes an int

// Bytes, or -1: one call each.
std::int64_t ReadSome(int descriptor, void *bytes, std::size_t count) {
#if defined(_WIN32)
    return _read(descriptor, bytes, static_cast<unsigned>(std::min(count, largestCall)));
#else
    return read(descriptor, bytes, std::min(count, largestCall));
#endif
}

std::int64_t WriteSome(int descriptor, const void *bytes, std::size_t count) {
#if defined(_WIN32)
    const int written = _write(descriptor, bytes, static_cast<unsigned>(std::min(count, largestCall)));
    if (written <= 0 && errno == EINVAL) // a pipe that nobody reads any more
        errno = EPIPE;
    return written;
#else
    return write(descriptor, bytes, std::min(count, largestCall));
#endif
}

// Returns once a call would not block: false, with errno, if the user wants to stop instead. A signal may
// reach another thread, or this one just before it waits, so that it does not wait long.
#if defined(_WIN32)
constexpr short isReadable = 0, isWritable = 0;

bool Await(int, short) {
    errno = EINTR;
    return !IsInterrupted();
}
#else
constexpr short isReadable = POLLIN, isWritable = POLLOUT;

bool Await(int descriptor, short event) {
    while (!IsInterrupted()) {
        pollfd wanted{descriptor, event, 0};
        const int ready = poll(&wanted, 1, 200);
        if (ready > 0 || (ready < 0 && errno != EINTR))
            return true;
    }
    errno = EINTR;
    return false;
}
#endif

} // namespace

int CreateNew(const std::filesystem::path &path) {
#if defined(_WIN32)
    return _wopen(path.c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY, _S_IREAD | _S_IWRITE);
#else
    return open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
#endif
}

int OpenExisting(const std::filesystem::path &path) {
#if defined(_WIN32)
    return _wopen(path.c_str(), _O_RDONLY | _O_BINARY);
#else
    return open(path.c_str(), O_RDONLY | O_CLOEXEC);
#endif
}

int StandardInput() {
#if defined(_WIN32)
    _setmode(_fileno(stdin), _O_BINARY);
    return _fileno(stdin);
#else
    return STDIN_FILENO;
#endif
}

int StandardOutput() {
#if defined(_WIN32)
    _setmode(_fileno(stdout), _O_BINARY);
    return _fileno(stdout);
#else
    std::signal(SIGPIPE, SIG_IGN);
    return STDOUT_FILENO;
#endif
}

bool IsSeekable(int descriptor) {
#if defined(_WIN32)
    struct _stat64 status;
    return _fstat64(descriptor, &status) == 0 && (status.st_mode & _S_IFMT) == _S_IFREG;
#else
    struct stat status;
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
           (fcntl(descriptor, F_GETFL) & O_APPEND) == 0;
#endif
}

bool IsTerminal(int descriptor) {
#if defined(_WIN32)
    DWORD mode; // _isatty takes NUL for a terminal
    return GetConsoleMode(reinterpret_cast<HANDLE>(_get_osfhandle(descriptor)), &mode) != 0;
#else
    return isatty(descriptor) != 0;
#endif
}

#if defined(_WIN32)
bool LeadsTo(int, const std::filesystem::path &) { return false; }
#else
bool LeadsTo(int descriptor, const std::filesystem::path &path) {
    struct stat here, there;
    return fstat(descriptor, &here) == 0 && stat(path.c_str(), &there) == 0 && S_ISREG(here.st_mode) &&
           here.st_dev == there.st_dev && here.st_ino == there.st_ino;
}
#endif

std::int64_t SeekTo(int descriptor, std::int64_t position) {
#if defined(_WIN32)
    return _lseeki64(descriptor, position, SEEK_SET);
#else
    return lseek(descriptor, position, SEEK_SET);
#endif
}

std::int64_t Position(int descriptor) {
#if defined(_WIN32)
    return _telli64(descriptor);
#else
    return lseek(descriptor, 0, SEEK_CUR);
#endif
}

std::size_t ReadAll(int descriptor, void *bytes, std::size_t count) {
    std::size_t done = 0;
    while (done < count && Await(descriptor, isReadable)) {
        const std::int64_t some = ReadSome(descriptor, static_cast<char *>(bytes) + done, count - done);
        if (some < 0 && errno == EINTR)
            continue;
        if (some <= 0)
            break;
        done += static_cast<std::size_t>(some);
    }
    return done;
}

bool WriteAll(int descriptor, const void *bytes, std::size_t count) {
    for (std::size_t done = 0; done < count;) {
        if (!Await(descriptor, isWritable))
            return false;
        const std::int64_t some =
            WriteSome(descriptor, static_cast<const char *>(bytes) + done, count - done);
        if (some < 0 && errno == EINTR)
            continue;
        if (some <= 0)
            return false;
        done += static_cast<std::size_t>(some);
    }
    return true;
}

bool Synchronize(int descriptor) {
#if defined(_WIN32)
    return _commit(descriptor) == 0;
#else
    return fsync(descriptor) == 0;
#endif
}

bool Close(int descriptor) {
#if defined(_WIN32)
    return _close(descriptor) == 0;
#else
    return close(descriptor) == 0;
#endif
}

bool IsWritable(const std::filesystem::path &path) {
#if defined(_WIN32)
    return _waccess(path.c_str(), 2) == 0;
#else
    return access(path.c_str(), W_OK) == 0;
#endif
}

} // namespace quietfloor
