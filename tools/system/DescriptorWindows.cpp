// SPDX-License-Identifier: MIT
#include "tools/system/Descriptor.h"

#include <cerrno>
#include <cstdio>

#define WIN32_LEAN_AND_MEAN
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include "tools/system/DescriptorCalls.h"
#include "tools/system/Interrupt.h"

namespace quietfloor {
namespace {

// There is no waiting for a pipe. Ctrl+C ends a read by itself.
bool MayGoOn() {
    errno = EINTR;
    return !IsInterrupted();
}

} // namespace

std::int64_t ReadSome(int descriptor, void *bytes, std::size_t count) {
    return _read(descriptor, bytes, static_cast<unsigned>(count));
}

std::int64_t WriteSome(int descriptor, const void *bytes, std::size_t count) {
    const int written = _write(descriptor, bytes, static_cast<unsigned>(count));
    if (written <= 0 && errno == EINVAL) // a pipe that nobody reads any more
        errno = EPIPE;
    return written;
}

bool AwaitReadable(int) { return MayGoOn(); }
bool AwaitWritable(int) { return MayGoOn(); }

int CreateNew(const std::filesystem::path &path) {
    return _wopen(path.c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY, _S_IREAD | _S_IWRITE);
}

int OpenExisting(const std::filesystem::path &path) { return _wopen(path.c_str(), _O_RDONLY | _O_BINARY); }

int StandardInput() {
    _setmode(_fileno(stdin), _O_BINARY);
    return _fileno(stdin);
}

int StandardOutput() {
    _setmode(_fileno(stdout), _O_BINARY);
    return _fileno(stdout);
}

bool IsSeekable(int descriptor) {
    struct _stat64 status;
    return _fstat64(descriptor, &status) == 0 && (status.st_mode & _S_IFMT) == _S_IFREG;
}

bool IsTerminal(int descriptor) {
    DWORD mode; // _isatty takes NUL for a terminal
    return GetConsoleMode(reinterpret_cast<HANDLE>(_get_osfhandle(descriptor)), &mode) != 0;
}

bool LeadsTo(int, const std::filesystem::path &) { return false; }

std::int64_t SeekTo(int descriptor, std::int64_t position) {
    return _lseeki64(descriptor, position, SEEK_SET);
}

std::int64_t Position(int descriptor) { return _telli64(descriptor); }

bool Synchronize(int descriptor) { return _commit(descriptor) == 0; }

bool Close(int descriptor) { return _close(descriptor) == 0; }

bool IsWritable(const std::filesystem::path &path) { return _waccess(path.c_str(), 2) == 0; }

} // namespace quietfloor
