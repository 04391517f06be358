// SPDX-License-Identifier: MIT
#include "tools/command/DryRun.h"

#include "tools/sound/AudioReader.h"
#include "tools/sound/TargetFormat.h"
#include "tools/system/OutputFile.h"

namespace fs = std::filesystem;

namespace quietfloor {
namespace {

bool IsStream(const fs::path &source) {
    return IsStandardStream(source) ||
           (fs::exists(source) && !fs::is_regular_file(source) && !fs::is_directory(source));
}

} // namespace

DryRunResult TryJob(const Job &job, bool makesFolders) {
    const DenoiseSettings &settings = job.settings;
    DryRunResult result;
    try {
        if (!IsStream(job.files.source)) {
            result.info = AudioReader(job.files.source).Info();
            result.format =
                TargetInfo(result.info, settings.container, settings.sampleFormat, job.files.target).format;
        }
        CheckOutputs(job, makesFolders);
    } catch (const std::exception &failure) {
        result.error = failure.what();
    }
    return result;
}

} // namespace quietfloor
