// SPDX-License-Identifier: MIT
#include "tools/command/Program.h"

#include <algorithm>
#include <cstdio>
#include <exception>

#include "tools/command/BatchRunner.h"
#include "tools/command/CommandLine.h"
#include "tools/command/Configuration.h"
#include "tools/command/DryRun.h"
#include "tools/command/JobPlan.h"
#include "tools/command/ReportPrinter.h"
#include "tools/command/UsageError.h"
#include "tools/system/FileError.h"
#include "tools/system/Interrupt.h"
#include "tools/system/NativeText.h"
#include "tools/system/OutputFile.h"
#include "tools/system/StandardStreams.h"

namespace quietfloor {
namespace {

enum ExitStatus : int { exitDone = 0, exitUsage = 1, exitFileFailed = 2, exitInterrupted = 130 };

// One run over its jobs. Standard output belongs to the sound where a target is "-"; the reports then go
// to standard error, and nothing else does.
class Run {
public:
    Run(const CommandLine &wishes, const std::vector<Job> &work)
        : commandLine(wishes), jobs(work),
          writesSoundOut(std::any_of(work.begin(), work.end(),
                                     [](const Job &job) { return IsStandardStream(job.files.target); })),
          errorOutputIsJson(wishes.printsJson && writesSoundOut) {}

    ExitStatus Try() const {
        std::vector<DryRunResult> results;
        for (const Job &job : jobs)
            results.push_back(TryJob(job, !commandLine.folder.empty()));
        std::string text;
        for (std::size_t i = 0; i < jobs.size(); ++i)
            if (results[i].error.empty())
                text += OneLine(DryRunText(jobs[i], results[i])) + '\n';
        Report(commandLine.printsJson ? DryRunJson(jobs, results) : text);
        return Errors(results);
    }

    ExitStatus Clean() const {
        MakeFolders();
        const bool showsProgress = !commandLine.isQuiet && !errorOutputIsJson && IsErrorOutputTerminal();
        const std::vector<JobResult> results = RunJobs(jobs, commandLine.jobs, showsProgress);
        if (!errorOutputIsJson)
            PrintForPeople(results);
        if (commandLine.printsJson)
            Report(ReportJson(jobs, results));
        return IsInterrupted() ? exitInterrupted : Errors(results);
    }

private:
    void MakeFolders() const {
        for (const std::filesystem::path &folder : {commandLine.folder, commandLine.spectrogram}) {
            if (commandLine.folder.empty() || folder.empty())
                continue;
            std::error_code failure;
            std::filesystem::create_directories(folder, failure);
            if (failure)
                throw FileError(folder, failure.message());
        }
    }

    void Report(const std::string &text) const {
        if (writesSoundOut)
            std::fputs(text.c_str(), stderr);
        else
            WriteStandardOutput(text);
    }

    void PrintForPeople(const std::vector<JobResult> &results) const {
        for (std::size_t i = 0; i < jobs.size(); ++i) {
            if (!results[i].error.empty())
                continue;
            if (!commandLine.isQuiet)
                Warn(jobs[i], results[i].report);
            if (commandLine.isVerbose)
                Complain(ReportText(jobs[i], results[i].report));
        }
    }

    static void Warn(const Job &job, const DenoiseReport &report) {
        if (report.truncated)
            Complain(TextOf(job.files.source) + ": ends before its header says");
        if (report.unreduced)
            Complain(TextOf(job.files.source) + ": nothing was reduced; no steady noise was found");
        if (report.clippedSamples > 0)
            Complain(TextOf(job.files.target) + ": " + std::to_string(report.clippedSamples) +
                     (report.clippedSamples == 1 ? " sample" : " samples") + " clipped");
    }

    template <class Result>
    ExitStatus Errors(const std::vector<Result> &results) const {
        ExitStatus status = exitDone;
        for (const Result &result : results) {
            if (result.error.empty())
                continue;
            status = exitFileFailed;
            if (!errorOutputIsJson)
                Complain(result.error);
        }
        return status;
    }

    const CommandLine &commandLine;
    const std::vector<Job> &jobs;
    bool writesSoundOut, errorOutputIsJson;
};

ExitStatus RunWithin(const std::vector<std::string> &arguments) {
    const CommandLine commandLine = ParseCommandLine(arguments);
    if (!commandLine.answer.empty()) {
        WriteStandardOutput(commandLine.answer);
        return exitDone;
    }
    const std::vector<Job> jobs = PlanJobs(commandLine);
    if (!commandLine.savedConfiguration.empty() && !commandLine.isDryRun)
        WriteConfiguration(commandLine.savedConfiguration, commandLine.settings);
    const Run run(commandLine, jobs);
    return commandLine.isDryRun ? run.Try() : run.Clean();
}

} // namespace

int RunProgram(const std::vector<std::string> &arguments) {
    PrepareStandardStreams();
    ListenForInterrupts();
    try {
        return RunWithin(arguments);
    } catch (const UsageError &error) {
        Complain(error.what());
        return exitUsage;
    } catch (const std::bad_alloc &) {
        Complain("out of memory");
    } catch (const std::exception &error) {
        Complain(error.what());
    }
    return exitFileFailed;
}

} // namespace quietfloor
