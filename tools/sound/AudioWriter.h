// SPDX-License-Identifier: MIT
/// Sound into a file or to standard output, block by block.
#ifndef QUIETFLOOR_TOOLS_SOUND_AUDIOWRITER_H
#define QUIETFLOOR_TOOLS_SOUND_AUDIOWRITER_H

#include <cstdint>
#include <filesystem>
#include <vector>

#include <sndfile.h>

#include "tools/sound/AudioReader.h"
#include "tools/system/OutputFile.h"

namespace quietfloor {

/// Whole numbers are rounded to nearest and clipped at full scale, so that what was read from as many bits,
/// up to a float's 24, is written as it was. Vorbis, Opus and MPEG take floats beyond full scale as they are.
/// Compression is libsndfile's default. The target is written whole or not at all, as by OutputFile.
class AudioWriter {
public:
    /// "-" is standard output. Container, sample format, rate and channels are those of `format`; tags
    /// and the like come from `source`, and so does the length in a header that cannot be completed later.
    /// Throws FileError.
    AudioWriter(const std::filesystem::path &path, const SF_INFO &format, bool overwrites,
                const AudioReader &source);

    AudioWriter(const AudioWriter &) = delete;
    AudioWriter &operator=(const AudioWriter &) = delete;

    /// Interleaved frames. Throws FileError.
    void Write(const float *block, sf_count_t frames);

    /// Samples so far that were beyond full scale and were clipped to it.
    sf_count_t ClippedSamples() const noexcept { return clipped; }

    /// Ends the file and gives it its name. Throws FileError.
    void Commit();

private:
    void Start(const AudioReader &source);
    void Quantize(const float *samples, std::size_t count);

    SF_INFO info;
    int bits; // of an integer format, else 0
    OutputFile output;
    SoundFile file;
    std::vector<std::int32_t> numbers; // left-justified
    sf_count_t clipped = 0;            // samples
};

} // namespace quietfloor

#endif
