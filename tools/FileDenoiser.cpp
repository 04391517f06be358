#include "tools/FileDenoiser.h"

#include <algorithm>
#include <chrono>
#include <vector>

#include "dsp/SingleChannelAdaptiveNoise.h"
#include "tools/AudioFile.h"

namespace quietfloor {
namespace {

constexpr sf_count_t blockFrames = 8192;

// One reducer per channel over interleaved frames.
class InterleavedDenoiser {
public:
    InterleavedDenoiser(const SF_INFO &info, const ParameterValues &values)
        : reducers(static_cast<std::size_t>(info.channels)), channel(blockFrames) {
        for (dsp::SingleChannelAdaptiveNoise &reducer : reducers) {
            for (int i = 0; i < parameterCount; ++i)
                if (ParameterAt(i).isSettable)
                    reducer.SetParameter(i, values[static_cast<std::size_t>(i)]);
            reducer.SetSampleRate(info.samplerate);
            reducer.Resume();
        }
    }

    sf_count_t Latency() const { return reducers.front().GetLatency(); }

    // Silence to send ahead: the filter's first block begins half a hop into the stream.
    sf_count_t LeadIn() const {
        const bool isFilter =
            reducers.front().GetParameter(dsp::SingleChannelAdaptiveNoise::kFilterMode) != 0.0f;
        return isFilter ? Latency() : 0;
    }

    // In place; at most `blockFrames` frames.
    void Process(float *block, sf_count_t frames) {
        const auto count = static_cast<std::size_t>(frames);
        for (std::size_t c = 0; c < reducers.size(); ++c) {
            for (std::size_t i = 0; i < count; ++i)
                channel[i] = block[i * reducers.size() + c];
            reducers[c].Process(channel.data(), channel.data(), static_cast<int>(count));
            for (std::size_t i = 0; i < count; ++i)
                block[i * reducers.size() + c] = channel[i];
        }
    }

private:
    std::vector<dsp::SingleChannelAdaptiveNoise> reducers;
    std::vector<float> channel;
};

// A file's way through the reducers: what they are late is dropped at the front and pushed out by
// silence at the end.
class FileStream {
public:
    FileStream(const SF_INFO &info, const DenoiseSettings &settings, AudioWriter &target)
        : denoiser(info, settings.parameters), writer(target),
          block(static_cast<std::size_t>(blockFrames * info.channels)), channels(info.channels),
          toFlush(settings.keepsLatency ? 0 : denoiser.Latency()), toDrop(denoiser.LeadIn() + toFlush) {
        PushSilence(denoiser.LeadIn());
    }

    // Returns how many frames there were; 0 at the end of the file.
    sf_count_t PushBlockOf(AudioReader &reader) {
        const sf_count_t frames = reader.Read(block.data(), blockFrames);
        Push(frames);
        return frames;
    }

    void Flush() { PushSilence(toFlush); }

    int Latency() const { return static_cast<int>(denoiser.Latency()); }

private:
    void Push(sf_count_t frames) {
        denoiser.Process(block.data(), frames);
        const sf_count_t dropped = std::min(toDrop, frames);
        toDrop -= dropped;
        writer.Write(block.data() + dropped * channels, frames - dropped);
    }

    void PushSilence(sf_count_t frames) {
        for (; frames > 0; frames -= blockFrames) {
            std::fill(block.begin(), block.end(), 0.0f);
            Push(std::min(frames, blockFrames));
        }
    }

    InterleavedDenoiser denoiser;
    AudioWriter &writer;
    std::vector<float> block;
    int channels;
    sf_count_t toFlush, toDrop;
};

SF_INFO TargetInfo(const SF_INFO &source, const DenoiseSettings &settings) {
    SF_INFO info = source;
    if (settings.container != 0 && settings.container != (source.format & SF_FORMAT_TYPEMASK))
        info.format = settings.container | (source.format & SF_FORMAT_SUBMASK);
    if (settings.sampleFormat != 0)
        info.format = (info.format & ~SF_FORMAT_SUBMASK) | settings.sampleFormat;
    return info;
}

} // namespace

DenoiseReport DenoiseFile(const DenoiseFiles &files, const DenoiseSettings &settings,
                          const ProgressListener &progress) {
    const auto start = std::chrono::steady_clock::now();
    AudioReader reader(files.source);
    const SF_INFO &source = reader.Info();
    std::error_code ignored; // one of them does not exist: they differ
    if (std::filesystem::equivalent(files.source, files.target, ignored))
        throw FileError(files.target, "is the source, too");
    if (!settings.overwrites && std::filesystem::exists(files.target))
        throw FileError(files.target, "exists already");
    AudioWriter writer(files.target, TargetInfo(source, settings));
    FileStream stream(source, settings, writer);
    DenoiseReport report;
    report.sampleRate = source.samplerate;
    report.channels = source.channels;
    report.latency = stream.Latency();
    while (const sf_count_t frames = stream.PushBlockOf(reader)) {
        report.frames += frames;
        if (!progress(report.frames, std::max(report.frames, source.frames)))
            throw Interrupted();
    }
    stream.Flush();
    writer.Commit();
    report.elapsedSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return report;
}

} // namespace quietfloor
