#include "tools/DryRun.h"

#include "tools/AudioReader.h"
#include "tools/Descriptor.h"
#include "tools/OutputFile.h"
#include "tools/TargetFormat.h"

namespace fs = std::filesystem;

namespace quietfloor {
namespace {

// Throws FileError unless a file could be made there.
void CheckFolderOf(const fs::path &file, bool makesFolders) {
    fs::path folder = fs::absolute(file).parent_path();
    while (makesFolders && !fs::exists(folder) && folder.has_relative_path())
        folder = folder.parent_path();
    if (!fs::is_directory(folder))
        throw FileError(file, "there is no such folder");
    if (!IsWritable(folder))
        throw FileError(file, "its folder cannot be written");
}

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
        CheckOutputs(job);
        if (!IsStandardStream(job.files.target))
            CheckFolderOf(job.files.target, makesFolders);
        if (!job.files.spectrogram.empty())
            CheckFolderOf(job.files.spectrogram, makesFolders);
    } catch (const std::exception &failure) {
        result.error = failure.what();
    }
    return result;
}

} // namespace quietfloor
