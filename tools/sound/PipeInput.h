// SPDX-License-Identifier: MIT
/// A pipe that libsndfile can read like a file.
#ifndef QUIETFLOOR_TOOLS_SOUND_PIPEINPUT_H
#define QUIETFLOOR_TOOLS_SOUND_PIPEINPUT_H

#include <cstdint>
#include <vector>

#include <sndfile.h>

namespace quietfloor {

/// Shows libsndfile a pipe as an endless file whose header is buffered and can be re-read. libsndfile's own
/// way to read a pipe cannot go back at all, which some formats need, and trusts the sizes in the header,
/// which a program that writes to a pipe does not know.
class PipeInput {
public:
    explicit PipeInput(int openDescriptor);
    ~PipeInput(); ///< closes it unless it is standard input

    PipeInput(const PipeInput &) = delete;
    PipeInput &operator=(const PipeInput &) = delete;

    /// Null if libsndfile does not know the format, with the reason in sf_strerror. The object must outlive
    /// what is returned.
    SNDFILE *Open(SF_INFO &info);

    /// Whether it is a WAV or RF64 stream whose header does not know the size. It is shown as a file of many
    /// whole blocks; from their end a seek to any frame goes on with the sound that follows.
    bool IsEndless() const noexcept { return isEndless; }

    /// Whether sound was asked for when there was none left.
    bool HasEnded() const noexcept { return hasEnded; }

    /// To be called before the first sound is read. From then on nothing is buffered.
    void EndHeader() noexcept { keepsHead = false; }

    /// After the end of the sound: whether anything follows.
    bool HasMore();

private:
    static sf_count_t Length(void *self);
    static sf_count_t Seek(sf_count_t offset, int whence, void *self);
    static sf_count_t Read(void *to, sf_count_t count, void *self);
    static sf_count_t Tell(void *self);

    // Makes the head that long, or as long as there are bytes.
    void FetchTo(std::size_t count);
    std::uint32_t Number(std::size_t at) const; // little endian
    bool StartsWith(std::size_t at, const char *id) const;
    void MakeWavOfRf64WithoutSize();
    void MakeEndlessIfWithoutSize();

    int descriptor;
    std::vector<unsigned char> head; // what has come so far, up to the end of the header
    bool keepsHead = true, isEndless = false, hasEnded = false, wasRf64 = false;
    sf_count_t position = 0, passed = 0; // bytes; those that came after the head
};

} // namespace quietfloor

#endif
