// SPDX-License-Identifier: MIT
#include "tools/denoise/FileDenoiser.h"

#include <chrono>
#include <optional>
#include <utility>
#include <vector>

#include "tools/denoise/LearningPass.h"
#include "tools/denoise/SoundStream.h"
#include "tools/denoise/WorkMeter.h"
#include "tools/picture/Spectrogram.h"
#include "tools/sound/AudioReader.h"
#include "tools/sound/AudioWriter.h"
#include "tools/sound/TargetFormat.h"
#include "tools/system/Descriptor.h"
#include "tools/system/Row.h"

namespace quietfloor {
namespace {

// By any name: through links of either kind, and as what standard output leads to.
void CheckDistinct(const DenoiseFiles &files) {
    if (IsStandardStream(files.source))
        return;
    if (IsStandardStream(files.target)) {
        if (LeadsTo(StandardOutput(), files.source))
            throw FileError("standard output", "is the source, too");
        return;
    }
    std::error_code ignored; // one of them does not exist: they differ
    if (std::filesystem::is_regular_file(files.target, ignored) &&
        std::filesystem::equivalent(files.source, files.target, ignored))
        throw FileError(files.target, "is the source, too");
}

// Brings the sound into the stream block by block.
class Transfer {
public:
    Transfer(AudioReader &from, SoundStream &to, WorkMeter &toTell)
        : reader(from), stream(to), meter(toTell) {}

    sf_count_t Done() const { return done; }

    // Frees the rows as it goes.
    void PushKept(std::vector<Row<float>> rows) {
        for (Row<float> &row : rows) {
            Push(row.begin(), row.Length() / reader.Info().channels);
            row = {};
        }
    }

    void PushRest() {
        Row<float> block(SoundStream::blockFrames * reader.Info().channels);
        sf_count_t count = 0;
        do { // the meter hears of the end, too: an interrupt looks like one
            count = reader.Read(block.begin(), SoundStream::blockFrames);
            Push(block.begin(), count);
        } while (count > 0);
    }

private:
    void Push(const float *frames, sf_count_t count) {
        stream.Push(frames, static_cast<int>(count));
        done += count;
        meter.Advance(count);
    }

    AudioReader &reader;
    SoundStream &stream;
    WorkMeter &meter;
    sf_count_t done = 0;
};

} // namespace

DenoiseReport DenoiseFile(const DenoiseFiles &files, const DenoiseSettings &settings,
                          const ProgressListener &progress) {
    const auto start = std::chrono::steady_clock::now();
    CheckDistinct(files);
    AudioReader reader(files.source);
    const SF_INFO &source = reader.Info();
    const SF_INFO format = TargetInfo(source, settings.container, settings.sampleFormat, files.target);
    AudioWriter writer(files.target, format, settings.overwrites, reader);
    std::optional<Spectrogram> picture;
    if (!files.spectrogram.empty())
        picture.emplace(source.samplerate);
    SoundStream stream(source, settings, writer, picture ? &*picture : nullptr);
    WorkMeter meter(progress, reader.KnownFrames());
    const bool writesToPipe = IsStandardStream(files.target);
    LearningSource learnt(files.source, reader, settings.learning, writesToPipe, meter);
    const bool scales = !(learnt.IsPipe() && writesToPipe);
    if (const auto lesson = Learn(learnt, stream.Reducers(), source.samplerate, scales, meter))
        stream.SetLearnt(*lesson);
    stream.Begin();
    Transfer transfer(reader, stream, meter);
    transfer.PushKept(learnt.TakeKept());
    transfer.PushRest();
    stream.End();
    if (picture)
        picture->Save(files.spectrogram);
    writer.Commit();
    DenoiseReport report;
    report.frames = transfer.Done();
    report.truncated = reader.EndedEarly();
    report.unreduced = stream.IsUnreduced();
    report.sampleRate = source.samplerate;
    report.channels = source.channels;
    report.latency = stream.Latency();
    report.noiseFloorBefore = stream.FloorBeforeDb();
    report.noiseFloorAfter = stream.FloorAfterDb();
    report.clippedSamples = writer.ClippedSamples();
    report.elapsedSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return report;
}

} // namespace quietfloor
