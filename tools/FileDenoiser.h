/// Cleans one sound file into another.
#ifndef QUIETFLOOR_TOOLS_FILEDENOISER_H
#define QUIETFLOOR_TOOLS_FILEDENOISER_H

#include <filesystem>
#include <functional>

#include "dsp/Parameters.h"

namespace quietfloor {

/// Hears the share that is done, 0 to 1, after every block; false ends the work.
using ProgressListener = std::function<bool(double share)>;

/// Reads `in` and writes `out` in the same container, sample format, rate and channels, with as many
/// frames and no shift. Each channel is cleaned alone. Memory does not grow with the file. Throws
/// FileError, and then `out` is what it was before.
void DenoiseFile(const std::filesystem::path &in, const std::filesystem::path &out,
                 const ParameterValues &values, const ProgressListener &progress);

} // namespace quietfloor

#endif
