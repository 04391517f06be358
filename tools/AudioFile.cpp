#include "tools/AudioFile.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

namespace fs = std::filesystem;

namespace quietfloor {
namespace {

// A link is followed, so that the file it points to is replaced and not the link.
fs::path ResolveTarget(const fs::path &path) {
    if (!fs::exists(path))
        return path;
    if (!fs::is_regular_file(path))
        throw FileError(path, "is not a regular file");
    return fs::canonical(path);
}

// False, with errno, where a file of this name exists. The standard library's mode "x" would do, but
// Windows has runtimes that ignore it.
bool CreateNew(const fs::path &path) {
#if defined(_WIN32)
    const int file = _wopen(path.c_str(), _O_CREAT | _O_EXCL | _O_WRONLY, _S_IREAD | _S_IWRITE);
    return file >= 0 && _close(file) == 0;
#else
    const int file = open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY, 0666);
    return file >= 0 && close(file) == 0;
#endif
}

// Takes a name that nobody has.
fs::path CreateBeside(const fs::path &target) {
    for (int attempt = 1; attempt <= 100; ++attempt) {
        fs::path name = target.string() + ".part" + std::to_string(attempt);
        if (CreateNew(name))
            return name;
        if (errno != EEXIST)
            break;
    }
    throw FileError(target, std::strerror(errno));
}

// Windows ends its messages with a new line.
std::string WithoutLineEnd(const std::string &text) {
    return text.substr(0, text.find_last_not_of("\r\n") + 1);
}

} // namespace

FileError::FileError(const fs::path &path, const std::string &reason)
    : std::runtime_error(path.string() + ": " + WithoutLineEnd(reason)) {}

AudioReader::AudioReader(const fs::path &where)
    : path(where), file(sf_open(where.string().c_str(), SFM_READ, &info), sf_close) {
    if (!file)
        throw FileError(path, sf_strerror(nullptr));
}

sf_count_t AudioReader::Read(float *block, sf_count_t frames) {
    const sf_count_t count = sf_readf_float(file.get(), block, frames);
    if (sf_error(file.get()) != SF_ERR_NO_ERROR)
        throw FileError(path, sf_strerror(file.get()));
    return count;
}

AudioWriter::AudioWriter(const fs::path &path, const SF_INFO &like)
    : target(ResolveTarget(path)), temporary(CreateBeside(target)), file(nullptr, sf_close) {
    SF_INFO info{};
    info.format = like.format;
    info.channels = like.channels;
    info.samplerate = like.samplerate;
    file.reset(sf_open(temporary.string().c_str(), SFM_WRITE, &info));
    if (!file) {
        std::error_code ignored;
        fs::remove(temporary, ignored);
        throw FileError(path, sf_strerror(nullptr));
    }
    sf_command(file.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);
    // The peak chunk carries the time of day: without it the same input gives the same file.
    sf_command(file.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
}

AudioWriter::~AudioWriter() {
    if (temporary.empty())
        return;
    file.reset();
    std::error_code ignored;
    fs::remove(temporary, ignored);
}

void AudioWriter::Write(const float *block, sf_count_t frames) {
    if (sf_writef_float(file.get(), block, frames) != frames)
        throw FileError(target, sf_strerror(file.get()));
}

void AudioWriter::Commit() {
    if (const int status = sf_close(file.release()); status != SF_ERR_NO_ERROR)
        throw FileError(target, sf_error_number(status));
    std::error_code failure;
    fs::rename(temporary, target, failure);
    if (failure)
        throw FileError(target, failure.message());
    temporary.clear();
}

} // namespace quietfloor
