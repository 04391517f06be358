// SPDX-License-Identifier: MIT
/// What a run did or would do, for people and for scripts.
#ifndef QUIETFLOOR_TOOLS_COMMAND_REPORTPRINTER_H
#define QUIETFLOOR_TOOLS_COMMAND_REPORTPRINTER_H

#include <span>
#include <string>

#include "tools/command/BatchRunner.h"
#include "tools/command/DryRun.h"

namespace quietfloor {

/// One line, without its end.
std::string ReportText(const Job &job, const DenoiseReport &report);
std::string DryRunText(const Job &job, const DryRunResult &result);

/// A JSON array with one object per job; figures are left out where there is an error.
std::string ReportJson(std::span<const Job> jobs, std::span<const JobResult> results);
std::string DryRunJson(std::span<const Job> jobs, std::span<const DryRunResult> results);

} // namespace quietfloor

#endif
