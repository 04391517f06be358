/// Sound files, read and written block by block.
#ifndef QUIETFLOOR_TOOLS_AUDIOFILE_H
#define QUIETFLOOR_TOOLS_AUDIOFILE_H

#include <filesystem>
#include <memory>
#include <stdexcept>

#include <sndfile.h>

namespace quietfloor {

/// What went wrong with a file, as one line for people.
class FileError : public std::runtime_error {
public:
    FileError(const std::filesystem::path &path, const std::string &reason);
};

using SoundFile = std::unique_ptr<SNDFILE, int (*)(SNDFILE *)>;

class AudioReader {
public:
    explicit AudioReader(const std::filesystem::path &path); ///< throws FileError

    const SF_INFO &Info() const noexcept { return info; }

    /// Interleaved frames, full scale +-1. Returns how many there were: fewer than `frames` only where
    /// the file ends. Throws FileError.
    sf_count_t Read(float *block, sf_count_t frames);

private:
    std::filesystem::path path;
    SF_INFO info{};
    SoundFile file;
};

/// Writes beside its target under a temporary name, so that the target is either the whole new file or
/// what it was before. A target that exists must be a regular file.
class AudioWriter {
public:
    /// Container, sample format, rate and channels as `like` says. Throws FileError.
    AudioWriter(const std::filesystem::path &path, const SF_INFO &like);
    ~AudioWriter(); ///< removes the temporary file unless it was committed

    AudioWriter(const AudioWriter &) = delete;
    AudioWriter &operator=(const AudioWriter &) = delete;

    /// Interleaved frames; integer formats clip beyond full scale. Throws FileError.
    void Write(const float *block, sf_count_t frames);

    /// Closes the file and gives it its name. Throws FileError.
    void Commit();

private:
    std::filesystem::path target, temporary;
    SoundFile file;
};

} // namespace quietfloor

#endif
