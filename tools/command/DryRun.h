// SPDX-License-Identifier: MIT
/// What a run would do.
#ifndef QUIETFLOOR_TOOLS_COMMAND_DRYRUN_H
#define QUIETFLOOR_TOOLS_COMMAND_DRYRUN_H

#include <string>

#include "tools/command/JobPlan.h"

namespace quietfloor {

struct DryRunResult {
    SF_INFO info{};    // of the source; all 0 for a stream, which is not opened
    int format = 0;    // of the target; 0 with a stream
    std::string error; // what would fail, one line for people; empty if nothing is known to
};

/// Opens the source, unless it is a stream, and looks whether the outputs could be made; missing folders
/// count as made where `makesFolders`. Writes nothing.
DryRunResult TryJob(const Job &job, bool makesFolders);

} // namespace quietfloor

#endif
