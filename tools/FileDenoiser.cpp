#include "tools/FileDenoiser.h"

#include <algorithm>
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
    FileStream(const SF_INFO &info, const ParameterValues &values, AudioWriter &target)
        : denoiser(info, values), writer(target),
          block(static_cast<std::size_t>(blockFrames * info.channels)), channels(info.channels),
          toDrop(denoiser.LeadIn() + denoiser.Latency()) {
        PushSilence(denoiser.LeadIn());
    }

    // Returns how many frames there were; 0 at the end of the file.
    sf_count_t PushBlockOf(AudioReader &reader) {
        const sf_count_t frames = reader.Read(block.data(), blockFrames);
        Push(frames);
        return frames;
    }

    void Flush() { PushSilence(denoiser.Latency()); }

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
    sf_count_t toDrop;
};

} // namespace

void DenoiseFile(const std::filesystem::path &in, const std::filesystem::path &out,
                 const ParameterValues &values, const ProgressListener &progress) {
    AudioReader reader(in);
    AudioWriter writer(out, reader.Info());
    FileStream stream(reader.Info(), values, writer);
    sf_count_t done = 0;
    while (const sf_count_t frames = stream.PushBlockOf(reader)) {
        done += frames;
        const auto total = static_cast<double>(std::max(done, reader.Info().frames));
        if (!progress(static_cast<double>(done) / total))
            throw FileError(in, "interrupted");
    }
    stream.Flush();
    writer.Commit();
}

} // namespace quietfloor
