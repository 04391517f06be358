// SPDX-License-Identifier: MIT
/// Cleans one sound file into another.
#ifndef QUIETFLOOR_TOOLS_DENOISE_FILEDENOISER_H
#define QUIETFLOOR_TOOLS_DENOISE_FILEDENOISER_H

#include <exception>
#include <filesystem>
#include <functional>

#include <sndfile.h>

#include "tools/denoise/DenoiseSettings.h"

namespace quietfloor {

/// Files of one job. "-" is standard input or output.
struct DenoiseFiles {
    std::filesystem::path source, target;
    std::filesystem::path spectrogram; // PNG; empty for none
};

struct DenoiseReport {
    sf_count_t frames = 0;
    int sampleRate = 0, channels = 0;
    int latency = 0;               // samples; compensated unless kept
    double noiseFloorBefore = 0.0; // dBFS: 10th percentile of the levels of 50 ms blocks
    double noiseFloorAfter = 0.0;  // of what was written, or would have been for a residual
    sf_count_t clippedSamples = 0; // beyond full scale when converted to the target's format
    bool truncated = false;        // the source ended before its header says; what there was is done
    bool unreduced = false;        // there is sound, and no part of it was reduced
    double elapsedSeconds = 0.0;   // wall clock
};

/// Hears after every block how much of the work is done, as a number of frames, and how many frames there are
/// (0: unknown); false ends the work, and DenoiseFile then throws Interrupted.
using ProgressListener = std::function<bool(sf_count_t done, sf_count_t total)>;

class Interrupted : public std::exception {
public:
    const char *what() const noexcept override { return "interrupted"; }
};

/// Each channel is cleaned by its own gains unless they are linked; the target has as many frames as the
/// source and is not shifted. Memory does not grow with the file. A file is read twice if it is learnt from.
/// May run on several threads at once, with results independent of that. Throws FileError, Interrupted or
/// std::bad_alloc, and then the target is what it was before.
DenoiseReport DenoiseFile(const DenoiseFiles &files, const DenoiseSettings &settings,
                          const ProgressListener &progress);

} // namespace quietfloor

#endif
