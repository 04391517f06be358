// SPDX-License-Identifier: MIT
#include "tools/command/ReportPrinter.h"

#include <cmath>
#include <cstdio>

#include "tools/command/JsonWriter.h"
#include "tools/denoise/NoiseFloorMeter.h"
#include "tools/sound/SoundFormat.h"
#include "tools/system/NativeText.h"

namespace quietfloor {
namespace {

double Seconds(sf_count_t frames, int sampleRate) {
    return sampleRate > 0 ? static_cast<double>(frames) / sampleRate : 0.0;
}

// NaN where nothing was measured.
double TimesRealTime(const DenoiseReport &report) {
    return Seconds(report.frames, report.sampleRate) / report.elapsedSeconds;
}

// In dBFS; NaN for silence.
double Floor(double measured) { return measured > NoiseFloorMeter::lowest ? measured : std::nan(""); }

// In dB; NaN where there is silence before or after.
double Reduction(const DenoiseReport &report) {
    return Floor(report.noiseFloorBefore) - Floor(report.noiseFloorAfter);
}

std::string Decimal(double value, int decimals) {
    char text[400];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

std::string ArrowText(const Job &job) { return TextOf(job.files.source) + " -> " + TextOf(job.files.target); }

JsonObject FileNames(const Job &job) {
    JsonObject object;
    object.Add("input", TextOf(job.files.source));
    object.Add("output", TextOf(job.files.target));
    if (!job.files.spectrogram.empty())
        object.Add("spectrogram", TextOf(job.files.spectrogram));
    return object;
}

void AddFigures(JsonObject &object, const DenoiseReport &report) {
    object.Add("frames", report.frames);
    object.Add("sampleRate", std::int64_t{report.sampleRate});
    object.Add("channels", std::int64_t{report.channels});
    object.Add("latency", std::int64_t{report.latency});
    object.Add("noiseFloorBefore", Floor(report.noiseFloorBefore), 2);
    object.Add("noiseFloorAfter", Floor(report.noiseFloorAfter), 2);
    object.Add("reduction", Reduction(report), 2);
    object.Add("clippedSamples", report.clippedSamples);
    object.AddToken("truncated", report.truncated ? "true" : "false");
    object.AddToken("unreduced", report.unreduced ? "true" : "false");
    object.Add("timesRealTime", TimesRealTime(report), 1);
}

} // namespace

std::string ReportText(const Job &job, const DenoiseReport &report) {
    std::string text = ArrowText(job) + ": " + Decimal(Seconds(report.frames, report.sampleRate), 1) + " s";
    if (const double reduction = Reduction(report); std::isfinite(reduction))
        text += ", noise floor " + Decimal(report.noiseFloorBefore, 1) + " to " +
                Decimal(report.noiseFloorAfter, 1) + " dBFS (" + Decimal(reduction, 1) + " dB less)";
    text += ", latency " + std::to_string(report.latency) + " samples";
    if (const double speed = TimesRealTime(report); std::isfinite(speed))
        text += ", " + Decimal(speed, 0) + " times real time";
    return text;
}

std::string DryRunText(const Job &job, const DryRunResult &result) {
    std::string text = ArrowText(job) + ": ";
    if (result.format == 0)
        return text + "a stream, not opened";
    const SF_INFO &info = result.info;
    text += FormatText(info.format);
    if ((info.format & ~SF_FORMAT_ENDMASK) != result.format)
        text += " to " + FormatText(result.format);
    return text + ", " + std::to_string(info.samplerate) + " Hz, " + std::to_string(info.channels) +
           (info.channels == 1 ? " channel, " : " channels, ") +
           Decimal(Seconds(info.frames, info.samplerate), 1) + " s";
}

std::string ReportJson(std::span<const Job> jobs, std::span<const JobResult> results) {
    JsonArray array;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        JsonObject object = FileNames(jobs[i]);
        if (results[i].error.empty())
            AddFigures(object, results[i].report);
        else
            object.Add("error", results[i].error);
        array.Add(object);
    }
    return array.Text();
}

std::string DryRunJson(std::span<const Job> jobs, std::span<const DryRunResult> results) {
    JsonArray array;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        JsonObject object = FileNames(jobs[i]);
        const DryRunResult &result = results[i];
        if (result.format != 0) {
            object.Add("inputFormat", FormatText(result.info.format));
            object.Add("outputFormat", FormatText(result.format));
            object.Add("frames", result.info.frames);
            object.Add("sampleRate", std::int64_t{result.info.samplerate});
            object.Add("channels", std::int64_t{result.info.channels});
        }
        if (!result.error.empty())
            object.Add("error", result.error);
        array.Add(object);
    }
    return array.Text();
}

} // namespace quietfloor
