// SPDX-License-Identifier: MIT
/// Files cleaned several at once.
#ifndef QUIETFLOOR_TOOLS_COMMAND_BATCHRUNNER_H
#define QUIETFLOOR_TOOLS_COMMAND_BATCHRUNNER_H

#include <span>
#include <string>
#include <vector>

#include "tools/command/JobPlan.h"
#include "tools/denoise/FileDenoiser.h"

namespace quietfloor {

struct JobResult {
    DenoiseReport report; // means nothing where there is an error
    std::string error;    // one line for people; empty if all went well
};

/// Results in the order of the jobs, which do not depend on `threads`. A job that fails does not stop the
/// others; an interrupt stops all.
std::vector<JobResult> RunJobs(std::span<const Job> jobs, int threads, bool showsProgress);

} // namespace quietfloor

#endif
