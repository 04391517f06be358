#include "tools/FileDenoiser.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <optional>
#include <utility>
#include <vector>

#include "tools/AudioReader.h"
#include "tools/AudioWriter.h"
#include "tools/Descriptor.h"
#include "tools/SoundStream.h"
#include "tools/Spectrogram.h"
#include "tools/TargetFormat.h"

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
std::vector<float> ReadBeginning(AudioReader &reader, double seconds) {
    const sf_count_t channels = reader.Info().channels;
    const double most = std::ceil(seconds * reader.Info().samplerate);
    std::vector<float> beginning;
    sf_count_t frames = 0;
    while (static_cast<double>(frames) < most) {
        const auto wanted = static_cast<sf_count_t>(
            std::min(most - static_cast<double>(frames), static_cast<double>(SoundStream::blockFrames)));
        beginning.resize(static_cast<std::size_t>((frames + wanted) * channels));
        const sf_count_t count = reader.Read(beginning.data() + frames * channels, wanted);
        frames += count;
        beginning.resize(static_cast<std::size_t>(frames * channels));
        if (count == 0)
            break;
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
    void PushBeginning(std::vector<float> frames) {
        const sf_count_t count = static_cast<sf_count_t>(frames.size()) / reader.Info().channels;
        while (done < count)
            Push(frames.data() + done * reader.Info().channels,
                 std::min(count - done, SoundStream::blockFrames));
    }

    void PushRest() {
        std::vector<float> block(static_cast<std::size_t>(SoundStream::blockFrames * reader.Info().channels));
        sf_count_t count = 0;
        do { // the listener hears of the end, too: an interrupt looks like one
            count = reader.Read(block.data(), SoundStream::blockFrames);
            Push(block.data(), count);
        } while (count > 0);
    }

private:
    void Push(const float *frames, sf_count_t count) {
        stream.Push(frames, count);
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
    std::vector<float> beginning = ReadBeginning(reader, settings.primeSeconds);
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
