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

// Writes all frames but the first `drop`.
class DelayedWriter {
public:
    DelayedWriter(AudioWriter &writer, int channels, sf_count_t drop)
        : target(writer), channelCount(channels), toDrop(drop) {}

    void Write(const float *block, sf_count_t frames) {
        const sf_count_t dropped = std::min(toDrop, frames);
        toDrop -= dropped;
        target.Write(block + dropped * channelCount, frames - dropped);
    }

private:
    AudioWriter &target;
    int channelCount;
    sf_count_t toDrop;
};

} // namespace

void DenoiseFile(const std::filesystem::path &in, const std::filesystem::path &out,
                 const ParameterValues &values, const ProgressListener &progress) {
    AudioReader reader(in);
    AudioWriter writer(out, reader.Info());
    const int channels = reader.Info().channels;
    InterleavedDenoiser denoiser(reader.Info(), values);
    DelayedWriter aligned(writer, channels, denoiser.Latency());
    std::vector<float> block(static_cast<std::size_t>(blockFrames * channels));

    sf_count_t done = 0;
    while (const sf_count_t frames = reader.Read(block.data(), blockFrames)) {
        denoiser.Process(block.data(), frames);
        aligned.Write(block.data(), frames);
        done += frames;
        const auto total = static_cast<double>(std::max(done, reader.Info().frames));
        if (!progress(static_cast<double>(done) / total))
            throw FileError(in, "interrupted");
    }
    // Silence pushes out what the delay still holds.
    for (sf_count_t rest = denoiser.Latency(); rest > 0; rest -= blockFrames) {
        const sf_count_t frames = std::min(rest, blockFrames);
        std::fill(block.begin(), block.end(), 0.0f);
        denoiser.Process(block.data(), frames);
        aligned.Write(block.data(), frames);
    }
    writer.Commit();
}

} // namespace quietfloor
