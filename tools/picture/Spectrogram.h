// SPDX-License-Identifier: MIT
/// What was done to a sound, as a picture.
#ifndef QUIETFLOOR_TOOLS_PICTURE_SPECTROGRAM_H
#define QUIETFLOOR_TOOLS_PICTURE_SPECTROGRAM_H

#include <array>
#include <cstdint>
#include <filesystem>

#include "tools/picture/SpectrogramColumns.h"

namespace quietfloor {

/// What a file's sound, its cleaned sound and what was removed look like over time, one above the other on
/// one scale. Memory does not grow with the sound: as it gets longer, neighbouring columns are merged.
class Spectrogram {
public:
    static constexpr int panelRows = 256;

    /// In Hz, from 1 up. Throws std::bad_alloc, as does all else.
    explicit Spectrogram(int sampleRate);

    /// Three aligned stretches of one channel (or the mean of the channels), `count` samples each, full scale
    /// +-1; NaN and infinities are taken as 0.
    void Push(const float *input, const float *output, const float *residual, std::int64_t count);

    /// PNG with axes in Hz and s and a scale in dB to the power of a full-scale sine, fitted to the
    /// input: its upper end is what 1 in 1000 points exceed, rounded up to 10 dB. Writes to `path` whole or
    /// not at all; throws FileError. More may be pushed afterwards.
    void Save(const std::filesystem::path &path) const;

private:
    int sampleRate;
    std::array<SpectrogramColumns, 3> panels; // input, output, residual
};

} // namespace quietfloor

#endif
