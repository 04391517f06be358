// SPDX-License-Identifier: MIT
#include "tools/command/JobPlan.h"

#include <algorithm>
#include <set>

#include "tools/command/UsageError.h"
#include "tools/sound/AudioReader.h"
#include "tools/sound/SoundFormat.h"
#include "tools/sound/TargetFormat.h"
#include "tools/system/Descriptor.h"
#include "tools/system/FileIdentity.h"
#include "tools/system/NativeText.h"
#include "tools/system/OutputFile.h"

namespace fs = std::filesystem;

namespace quietfloor {
namespace {

// The sound files in it, not those in folders below, by name.
std::vector<fs::path> FilesIn(const fs::path &folder) {
    std::vector<fs::path> files;
    std::error_code failure;
    for (fs::directory_iterator entry(folder, failure), end; !failure && entry != end;
         entry.increment(failure))
        if (ContainerOfExtension(entry->path()) != 0 && entry->is_regular_file(failure))
            files.push_back(entry->path());
    if (failure)
        throw UsageError(TextOf(folder) + ": " + failure.message());
    if (files.empty())
        throw UsageError(TextOf(folder) + ": no sound files in this folder");
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<fs::path> ExpandFolders(const std::vector<fs::path> &sources) {
    std::vector<fs::path> files;
    for (const fs::path &source : sources) {
        std::error_code ignored; // DenoiseFile says what is wrong with a file
        if (fs::is_directory(source, ignored)) {
            const std::vector<fs::path> inside = FilesIn(source);
            files.insert(files.end(), inside.begin(), inside.end());
        } else {
            files.push_back(source);
        }
    }
    return files;
}

Job JobIntoFolder(const CommandLine &commandLine, const fs::path &source) {
    if (IsStandardStream(source))
        throw UsageError("-: standard input has no name, which -o needs; give an output file instead");
    Job job{{source, commandLine.folder / source.filename(), {}}, commandLine.settings};
    if (job.settings.container != 0)
        job.files.target.replace_extension(ExtensionFor(job.settings.container, job.settings.sampleFormat));
    if (!commandLine.spectrogram.empty()) {
        job.files.spectrogram = commandLine.spectrogram / job.files.target.filename();
        job.files.spectrogram += ".png";
    }
    return job;
}

// 0 for a stream, which cannot be read twice, and for a file that cannot be read.
int FormatOf(const fs::path &source) {
    std::error_code ignored;
    if (!fs::is_regular_file(source, ignored))
        return 0;
    try {
        return AudioReader(source).Info().format;
    } catch (const FileError &) {
        return 0;
    }
}

// The target's extension decides where the options do not, unless the source's format fits it.
void FollowExtension(Job &job) {
    DenoiseSettings &settings = job.settings;
    const fs::path &target = job.files.target;
    const int container = ContainerOfExtension(target), sourceFormat = FormatOf(job.files.source);
    if (settings.container != 0 || container == 0)
        return;
    if (!Fits(ContainerOf(sourceFormat), target))
        settings.container = container;
    if (IsOpusName(target) && settings.sampleFormat == 0)
        settings.sampleFormat = SF_FORMAT_OPUS;
}

std::vector<Job> MakeJobs(const CommandLine &commandLine) {
    std::vector<Job> jobs;
    if (commandLine.folder.empty() && !commandLine.sources.empty()) {
        jobs.push_back({{commandLine.sources.front(), commandLine.target, commandLine.spectrogram},
                        commandLine.settings});
        FollowExtension(jobs.back());
        return jobs;
    }
    for (const fs::path &source : ExpandFolders(commandLine.sources))
        jobs.push_back(JobIntoFolder(commandLine, source));
    return jobs;
}

// What is written, to files or to standard output, each only once.
class OutputNames {
public:
    explicit OutputNames(const std::vector<Job> &jobs) {
        for (const Job &job : jobs)
            if (!IsStandardStream(job.files.source))
                sources.insert(FileIdentity(job.files.source));
    }

    // No name is no output.
    void Take(const fs::path &output) {
        if (output.empty())
            return;
        const fs::path identity = IsStandardStream(output) ? output : FileIdentity(output);
        if (sources.contains(identity))
            throw UsageError(TextOf(output) + ": input and output are the same file");
        if (!taken.insert(identity).second)
            throw UsageError(IsStandardStream(output)
                                 ? "standard output: two outputs would go there"
                                 : TextOf(output) + ": two outputs would have this name");
    }

private:
    std::set<fs::path> sources, taken;
};

void RefuseMixUps(const CommandLine &commandLine, const std::vector<Job> &jobs) {
    OutputNames names(jobs);
    bool reportsThere = commandLine.printsJson; // on standard output
    for (const Job &job : jobs) {
        const DenoiseFiles &files = job.files;
        std::error_code ignored; // one of them does not exist: they differ
        if (fs::equivalent(files.source, files.target, ignored))
            throw UsageError(TextOf(files.target) + ": input and output are the same file");
        names.Take(files.target);
        names.Take(files.spectrogram);
        reportsThere = reportsThere && !IsStandardStream(files.target);
    }
    names.Take(commandLine.savedConfiguration);
    if (reportsThere)
        names.Take("-");
}

// Throws FileError unless a file could be made there.
void CheckFolderOf(const fs::path &file, bool makesFolders) {
    fs::path folder = CanonicalPath(file).parent_path(); // where a link leads
    std::error_code ignored;                             // what cannot be looked at is as good as missing
    while (makesFolders && !fs::exists(folder, ignored) && folder.has_relative_path())
        folder = folder.parent_path();
    if (!fs::is_directory(folder, ignored))
        throw FileError(file, "there is no such folder");
    if (!IsWritable(folder))
        throw FileError(file, "its folder cannot be written");
}

} // namespace

std::vector<Job> PlanJobs(const CommandLine &commandLine) {
    if (!commandLine.folder.empty()) {
        std::error_code ignored;
        if (fs::exists(commandLine.folder, ignored) && !fs::is_directory(commandLine.folder, ignored))
            throw UsageError(TextOf(commandLine.folder) + ": is not a folder");
    }
    std::vector<Job> jobs = MakeJobs(commandLine);
    RefuseMixUps(commandLine, jobs);
    return jobs;
}

void CheckOutputs(const Job &job, bool makesFolders) {
    for (const fs::path *output : {&job.files.target, &job.files.spectrogram}) {
        if (output->empty() || IsStandardStream(*output))
            continue;
        std::error_code failure;
        const fs::file_status status = fs::status(*output, failure);
        if (!fs::status_known(status))
            throw FileError(*output, failure.message());
        if (fs::exists(status) && !fs::is_regular_file(status))
            throw FileError(*output, fs::is_directory(status) ? "is a directory" : "is not a regular file");
        if (fs::exists(status) && !job.settings.overwrites)
            throw FileError(*output, "exists; --force overwrites it");
        CheckFolderOf(*output, makesFolders);
    }
}

} // namespace quietfloor
