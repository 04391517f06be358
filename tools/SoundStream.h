/// A sound on its way through the noise reducers.
#ifndef QUIETFLOOR_TOOLS_SOUNDSTREAM_H
#define QUIETFLOOR_TOOLS_SOUNDSTREAM_H

#include <memory>
#include <vector>

#include <sndfile.h>

#include "tools/AudioWriter.h"
#include "tools/ChannelReducers.h"
#include "tools/FileDenoiser.h"
#include "tools/NoiseFloorMeter.h"
#include "tools/Spectrogram.h"

namespace quietfloor {

/// Holds interleaved frames back by a fixed number of them.
class FrameDelay {
public:
    FrameDelay(sf_count_t frames, int channels) : ring(static_cast<std::size_t>(frames * channels)) {}

    /// In place; `count` samples of all channels together.
    void Process(float *samples, std::size_t count);

private:
    std::vector<float> ring;
    std::size_t at = 0;
};

/// Source, cleaned sound and what was removed, in step: what the reducers are late is dropped at the front
/// and pushed out by silence at the end, and the source is held back by as much to be mixed or compared.
class SoundStream {
public:
    static constexpr sf_count_t blockFrames = 1024; // a live pipe is no more than this behind

    SoundStream(const SF_INFO &source, const DenoiseSettings &settings, AudioWriter &target,
                Spectrogram *picture);

    int Latency() const { return static_cast<int>(reducers.Latency()); }

    /// Teaches the reducers the noise of a stretch of the source, of which nothing is heard.
    void Prime(const std::vector<float> &interleaved);

    /// After Prime. Makes the target begin where the source does.
    void Begin();

    /// At most `blockFrames` interleaved frames.
    void Push(const float *frames, sf_count_t count);

    void End();

    double FloorBeforeDb() const { return before.FloorDb(); }
    double FloorAfterDb() const { return after.FloorDb(); }

private:
    void Feed(const float *frames, sf_count_t count);
    void FeedSilence(sf_count_t frames);
    void Mix(sf_count_t frames);
    void Draw(sf_count_t frames);

    const DenoiseSettings &settings;
    AudioWriter &writer;
    Spectrogram *picture; // null for none
    ChannelReducers reducers;
    FrameDelay delay;
    NoiseFloorMeter before, after;
    int channels;
    std::size_t blockSamples;
    std::vector<float> dry, wet, residual; // one block each; wet becomes the mix
    std::vector<float> means[3];           // of the channels, for the picture
    bool isPrimed = false;
    sf_count_t toDrop = 0; // frames
    sf_count_t toSkip;     // frames before the sound begins in a late target
};

} // namespace quietfloor

#endif
