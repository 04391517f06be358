#include "tools/JobPlan.h"

#include <algorithm>
#include <set>

#include "tools/AudioReader.h"
#include "tools/NativeText.h"
#include "tools/OutputFile.h"
#include "tools/SoundFormat.h"
#include "tools/TargetFormat.h"
#include "tools/UsageError.h"

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
        throw UsageError("-: standard input has no name to be written under in a folder");
    Job job{{source, commandLine.folder / source.filename(), {}}, commandLine.settings};
    if (job.settings.container != 0)
        job.files.target.replace_extension(ExtensionFor(job.settings.container, job.settings.sampleFormat));
    if (!commandLine.spectrogram.empty()) {
        job.files.spectrogram = commandLine.spectrogram / job.files.target.filename();
        job.files.spectrogram += ".png";
    }
    return job;
}

// 0 if nobody knows without reading a stream that cannot be read twice, or if the file cannot be read.
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

// One name for all ways to say it.
fs::path Identity(const fs::path &file) {
    std::error_code failure;
    const fs::path identity = fs::weakly_canonical(fs::absolute(file), failure);
    return failure ? file : identity;
}

void RefuseMixUps(const std::vector<Job> &jobs) {
    std::set<fs::path> sources, outputs;
    for (const Job &job : jobs)
        if (!IsStandardStream(job.files.source))
            sources.insert(Identity(job.files.source));
    for (const Job &job : jobs) {
        std::error_code ignored; // one of them does not exist: they differ
        const bool isSource = fs::equivalent(job.files.source, job.files.target, ignored);
        for (const fs::path *output : {&job.files.target, &job.files.spectrogram}) {
            if (output->empty() || (output == &job.files.target && IsStandardStream(*output)))
                continue;
            const fs::path identity = Identity(*output);
            if (isSource || sources.contains(identity))
                throw UsageError(TextOf(*output) + ": input and output are the same file");
            if (!outputs.insert(identity).second)
                throw UsageError(TextOf(*output) + ": two outputs would have this name");
        }
    }
}

} // namespace

std::vector<Job> PlanJobs(const CommandLine &commandLine) {
    if (!commandLine.folder.empty()) {
        std::error_code ignored;
        if (fs::exists(commandLine.folder, ignored) && !fs::is_directory(commandLine.folder, ignored))
            throw UsageError(TextOf(commandLine.folder) + ": is not a folder");
    }
    std::vector<Job> jobs = MakeJobs(commandLine);
    RefuseMixUps(jobs);
    return jobs;
}

void CheckOutputs(const Job &job) {
    for (const fs::path *output : {&job.files.target, &job.files.spectrogram}) {
        if (output->empty() || IsStandardStream(*output) || !fs::exists(*output))
            continue;
        if (!fs::is_regular_file(*output))
            throw FileError(*output, fs::is_directory(*output) ? "is a directory" : "is not a regular file");
        if (!job.settings.overwrites)
            throw FileError(*output, "exists; --force overwrites it");
    }
}

} // namespace quietfloor
