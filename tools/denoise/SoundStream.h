// SPDX-License-Identifier: MIT
/// A sound on its way through the noise reducers.
#ifndef QUIETFLOOR_TOOLS_DENOISE_SOUNDSTREAM_H
#define QUIETFLOOR_TOOLS_DENOISE_SOUNDSTREAM_H

#include <cstdint>

#include <sndfile.h>

#include "dsp/ChannelGroup.h"
#include "tools/denoise/DenoiseSettings.h"
#include "tools/denoise/LearningPass.h"
#include "tools/denoise/NoiseFloorMeter.h"
#include "tools/picture/Spectrogram.h"
#include "tools/sound/AudioWriter.h"
#include "tools/system/Row.h"

namespace quietfloor {

/// Holds interleaved frames back by a fixed number of them.
class FrameDelay {
public:
    FrameDelay(sf_count_t frames, int channels) : ring(frames * channels) {}

    /// In place; `count` samples of all channels together.
    void Process(float *samples, std::int64_t count);

private:
    Row<float> ring;
    std::int64_t at = 0;
};

/// Keeps source, cleaned sound and what was removed in step. The reducers are late: their latency is dropped
/// at the front and pushed out by silence at the end, and the source is delayed by as much before it is mixed
/// or compared.
class SoundStream {
public:
    static constexpr int blockFrames = 1024; // how far a live pipe may be behind

    SoundStream(const SF_INFO &source, const DenoiseSettings &settings, AudioWriter &target,
                Spectrogram *picture);

    int Latency() const { return reducers.GetLatency(); }

    /// To be taught before Begin, by what is not heard.
    dsp::ChannelGroup &Reducers() { return reducers; }

    /// They have been taught.
    void SetLearnt(const Lesson &lesson);

    /// Makes the target begin where the source does.
    void Begin();

    /// At most `blockFrames` interleaved frames.
    void Push(const float *frames, int count);

    void End();

    /// Whether there was sound, and all of it came out as it was.
    bool IsUnreduced() const { return hasSound && !isReduced; }

    double FloorBeforeDb() const { return before.FloorDb(); }
    double FloorAfterDb() const { return after.FloorDb(); }

private:
    void Feed(const float *frames, int count);
    void FeedSilence(int frames);
    int CountSilent(const float *frames, int count) const;
    void PassOn(const float *frames, int count);
    void CompareLevels(int skipped, int frames);
    void Mix(int frames);
    void Put(int skipped, int frames);
    void Draw(int frames);

    const DenoiseSettings &settings;
    AudioWriter &writer;
    Spectrogram *picture; // null for none
    dsp::ChannelGroup reducers;
    FrameDelay delay;
    NoiseFloorMeter before, after;
    int channels;
    Row<float> dry, wet, residual; // one block each; wet becomes the mix
    Row<float> means[3];           // of the channels, for the picture
    float scale = 1.0f;   // of what the reducers get; a power of two, so that taking it off rounds nothing
    float silence = 0.0f; // of the source: a beginning that is no louder is passed on as it is
    bool isLearnt = false, hasBegun = false, hasSound = false, isReduced = false;
    int toDrop = 0; // frames
    int toSkip;     // frames before the sound begins in a late target
};

} // namespace quietfloor

#endif
