// SPDX-License-Identifier: MIT
/// Which file becomes which.
#ifndef QUIETFLOOR_TOOLS_COMMAND_JOBPLAN_H
#define QUIETFLOOR_TOOLS_COMMAND_JOBPLAN_H

#include <vector>

#include "tools/command/CommandLine.h"
#include "tools/denoise/FileDenoiser.h"

namespace quietfloor {

struct Job {
    DenoiseFiles files;
    DenoiseSettings settings;
};

/// One job for each sound file, in the order given, a folder's files by name. Writes nothing; opens no more
/// than a regular file to look at its format. Throws UsageError where two outputs would be the same file or
/// both go to standard output, or where an output is an input. On Windows and macOS names that differ only in
/// the case of the letters A to Z are one file.
std::vector<Job> PlanJobs(const CommandLine &commandLine);

/// Throws FileError if an output is something other than a file, or a file that must not be overwritten, or
/// in no folder that can be written; missing folders count as made where `makesFolders`.
void CheckOutputs(const Job &job, bool makesFolders);

} // namespace quietfloor

#endif
