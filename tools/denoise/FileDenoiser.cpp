// SPDX-License-Identifier: MIT
#include "tools/denoise/FileDenoiser.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <optional>
#include <utility>

#include "tools/denoise/SoundStream.h"
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

// The beginning of the sound, up to so many seconds. Grows with what there is, not with what is allowed.
Row<float> ReadBeginning(AudioReader &reader, double seconds) {
    const int channels = reader.Info().channels;
    const auto most = static_cast<sf_count_t>(std::ceil(seconds * reader.Info().samplerate));
    Row<float> beginning;
    for (sf_count_t frames = 0, count = 1; count > 0 && frames < most; frames += count) {
        const sf_count_t wanted = std::min<sf_count_t>(most - frames, SoundStream::blockFrames);
        beginning.Resize((frames + wanted) * channels);
        count = reader.Read(beginning.begin() + frames * channels, wanted);
        beginning.Resize((frames + count) * channels);
    }
    return beginning;
}

// Brings the sound block by block and tells the listener.
class Transfer {
public:
    Transfer(AudioReader &from, SoundStream &to, const ProgressListener &toTell)
        : reader(from), stream(to), listener(toTell) {}

    sf_count_t Done() const { return done; }

    // Takes the frames, so that their memory is free when the rest comes.
    void PushBeginning(Row<float> frames) {
        const int channels = reader.Info().channels;
        const sf_count_t count = frames.Length() / channels;
        while (done < count)
            Push(frames.begin() + done * channels,
                 std::min<sf_count_t>(count - done, SoundStream::blockFrames));
    }

    void PushRest() {
        Row<float> block(SoundStream::blockFrames * reader.Info().channels);
        sf_count_t count = 0;
        do { // the listener hears of the end, too: an interrupt looks like one
            count = reader.Read(block.begin(), SoundStream::blockFrames);
            Push(block.begin(), count);
        } while (count > 0);
    }

private:
    void Push(const float *frames, sf_count_t count) {
        stream.Push(frames, static_cast<int>(count));
        done += count;
        const sf_count_t known = reader.KnownFrames();
        if (!listener(done, known > 0 ? std::max(done, known) : 0))
            throw Interrupted();
    }

    AudioReader &reader;
    SoundStream &stream;
    const ProgressListener &listener;
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
    Transfer transfer(reader, stream, progress);
    Row<float> beginning = ReadBeginning(reader, settings.primeSeconds);
    stream.Prime(beginning);
    stream.Begin();
    transfer.PushBeginning(std::move(beginning));
    transfer.PushRest();
    stream.End();
    if (picture)
        picture->Save(files.spectrogram);
    writer.Commit();
    DenoiseReport report;
    report.frames = transfer.Done();
    report.truncated = reader.EndedEarly();
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
