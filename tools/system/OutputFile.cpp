// SPDX-License-Identifier: MIT
#include "tools/system/OutputFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <string>
#include <utility>

#include "tools/system/Descriptor.h"

namespace fs = std::filesystem;

namespace quietfloor {
namespace {

[[noreturn]] void Throw(const fs::path &path, int reason) { throw FileError(path, std::strerror(reason)); }

// A link is followed, so that the file it points to is replaced and not the link.
fs::path ResolveTarget(const fs::path &path, bool overwrites) {
    std::error_code failure;
    const fs::file_status status = fs::status(path, failure);
    const bool isLink = fs::is_symlink(path, failure);
    if (!overwrites && (fs::exists(status) || isLink))
        Throw(path, EEXIST);
    if (!fs::exists(status))
        return isLink ? path.parent_path() / fs::read_symlink(path) : path;
    if (!fs::is_regular_file(status))
        throw FileError(path, fs::is_directory(status) ? "is a directory" : "is not a regular file");
    if (!IsWritable(path))
        Throw(path, errno);
    return fs::canonical(path);
}

// Under a name that does not exist yet: a short one where the target's is too long to add to. -1, with errno,
// if none can be had.
int CreateBeside(const fs::path &target, fs::path &temporary) {
    fs::path base = target;
    for (int attempt = 1; attempt <= 100; ++attempt) {
        temporary = base;
        temporary += ".part" + std::to_string(attempt);
        if (const int descriptor = CreateNew(temporary); descriptor >= 0)
            return descriptor;
        if (errno == ENAMETOOLONG && base == target)
            base.replace_filename("quietfloor");
        else if (errno != EEXIST)
            break;
    }
    return -1;
}

} // namespace

OutputFile::OutputFile(const fs::path &path, bool mayOverwrite) : name(path), overwrites(mayOverwrite) {
    if (IsStandardStream(path)) {
        name = "standard output";
        descriptor = StandardOutput();
        if (IsTerminal(descriptor))
            throw FileError(name, "is a terminal; redirect it to a file or a pipe");
        isSeekable = quietfloor::IsSeekable(descriptor);
        start = isSeekable ? Position(descriptor) : 0;
        return;
    }
    target = ResolveTarget(path, overwrites);
    descriptor = CreateBeside(target, temporary);
    if (descriptor < 0)
        Fail();
}

OutputFile::~OutputFile() {
    if (temporary.empty())
        return;
    if (descriptor >= 0)
        Close(descriptor);
    std::error_code ignored;
    fs::remove(temporary, ignored);
}

void OutputFile::Fail() const { Throw(name, errno); }

void OutputFile::ThrowIfFailed() const {
    if (failure != 0)
        Throw(name, failure);
}

void OutputFile::Release() {
    isHolding = false;
    const std::vector<unsigned char> bytes = std::move(held);
    length = 0;
    const std::int64_t end = position;
    position = 0;
    Write(bytes.data(), bytes.size());
    position = end;
}

bool OutputFile::Write(const void *bytes, std::size_t count) noexcept {
    try {
        if (failure == 0 && !Put(bytes, count))
            failure = errno;
    } catch (const std::bad_alloc &) {
        failure = ENOMEM;
    }
    return failure == 0;
}

bool OutputFile::Put(const void *bytes, std::size_t count) {
    const auto *from = static_cast<const unsigned char *>(bytes);
    const std::int64_t end = position + static_cast<std::int64_t>(count);
    if (end > limit) {
        errno = EFBIG;
        return false;
    }
    if (isHolding) {
        held.resize(std::max(held.size(), static_cast<std::size_t>(end)));
        std::copy_n(from, count, held.begin() + position);
    } else {
        const std::int64_t gone =
            isSeekable ? 0 : std::clamp<std::int64_t>(length - position, 0, end - position);
        if (isSeekable && written != position && SeekTo(descriptor, start + position) < 0)
            return false;
        if (!WriteAll(descriptor, from + gone, count - static_cast<std::size_t>(gone)))
            return false;
        written = end;
    }
    position = end;
    length = std::max(length, end);
    return true;
}

void OutputFile::Commit() {
    ThrowIfFailed();
    if (isSeekable && !Synchronize(descriptor))
        Fail();
    if (temporary.empty())
        return;
    if (!Close(std::exchange(descriptor, -1)))
        Fail();
    TakeName();
    temporary.clear();
}

void OutputFile::TakeName() {
    std::error_code failed;
    if (overwrites && fs::exists(target, failed))
        fs::permissions(temporary, fs::status(target).permissions(), failed);
    // Renaming replaces whatever has the name, so an empty file takes the name first.
    const int claim = overwrites ? -1 : CreateNew(target);
    if (!overwrites && (claim < 0 || !Close(claim)))
        Fail();
    fs::rename(temporary, target, failed);
    if (!failed)
        return;
    std::error_code ignored;
    if (!overwrites)
        fs::remove(target, ignored);
    throw FileError(name, failed.message());
}

} // namespace quietfloor
