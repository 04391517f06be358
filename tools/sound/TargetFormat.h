// SPDX-License-Identifier: MIT
/// Formats of samples, and the format that a target gets, as libsndfile's bits.
#ifndef QUIETFLOOR_TOOLS_SOUND_TARGETFORMAT_H
#define QUIETFLOOR_TOOLS_SOUND_TARGETFORMAT_H

#include <filesystem>

#include <sndfile.h>

namespace quietfloor {

inline int ContainerOf(int format) { return format & SF_FORMAT_TYPEMASK; }
inline int SamplesOf(int format) { return format & SF_FORMAT_SUBMASK; }

inline bool IsWav(int format) {
    return ContainerOf(format) == SF_FORMAT_WAV || ContainerOf(format) == SF_FORMAT_WAVEX;
}

/// Whether libsndfile can write this. For MPEG in WAV files it says so itself, but fails.
bool IsPossible(const SF_INFO &info) noexcept;

/// Bits of a sample where samples become whole numbers before anything else happens to them; 0 where the
/// encoder takes floats (floats, doubles, Vorbis, Opus, MPEG).
int IntegerBits(int format) noexcept;

/// Of one sample where all are of one length, else 0.
int BytesPerSample(int format) noexcept;

/// Whether samples are coded in blocks of as many bytes each: ADPCM and GSM.
bool IsCodedInBlocks(int format) noexcept;

/// Whether the container can be written without going back to complete its beginning.
bool CanStream(int format) noexcept;

/// Whether the beginning of a container that can be streamed says how long the rest is.
bool HasSizes(int format) noexcept;

/// The most bytes that the container's sizes can count.
sf_count_t LargestFile(int format) noexcept;

/// The source's format, with another container or sample format if given (0: not given). If no sample
/// format is given, one that the container cannot hold becomes the one it can hold that loses least: the
/// codec of a compressing container, else 24 bits for sound that is finer than 16, else 16. Throws FileError,
/// with the target's name, for what cannot be.
SF_INFO TargetInfo(const SF_INFO &source, int container, int sampleFormat,
                   const std::filesystem::path &target);

} // namespace quietfloor

#endif
