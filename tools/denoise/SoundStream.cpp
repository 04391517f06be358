// SPDX-License-Identifier: MIT
#include "tools/denoise/SoundStream.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <utility>

namespace quietfloor {
namespace {

// The dither comes from the C library's random numbers, of which the process has only one sequence. All files
// get the same ones, whatever is cleaned beside them: the same sound gives the same result.
dsp::ChannelGroup MakeReducers(const SF_INFO &source, const DenoiseSettings &settings) {
    static std::mutex generator;
    const std::lock_guard<std::mutex> lock(generator);
    std::srand(1);
    dsp::ChannelGroup reducers(source.channels, source.samplerate, settings.parameters);
    reducers.SetEstimator(settings.estimator);
    // Two channels are taken for a stereo image; more may as well be microphones of their own.
    reducers.SetLink(settings.linksChannels.value_or(source.channels == 2));
    return reducers;
}

} // namespace

void FrameDelay::Process(float *samples, std::int64_t count) {
    if (ring.Length() == 0)
        return;
    for (std::int64_t i = 0; i < count; ++i) {
        std::swap(samples[i], ring[at]);
        at = at + 1 < ring.Length() ? at + 1 : 0;
    }
}

SoundStream::SoundStream(const SF_INFO &source, const DenoiseSettings &given, AudioWriter &target,
                         Spectrogram *spectrogram)
    : settings(given), writer(target), picture(spectrogram), reducers(MakeReducers(source, given)),
      delay(reducers.GetLatency(), source.channels), before(source.samplerate, source.channels),
      after(source.samplerate, source.channels), channels(source.channels),
      dry(blockFrames * source.channels), wet(dry.Length()), residual(dry.Length()),
      toSkip(given.keepsLatency ? reducers.GetLatency() : 0) {}

void SoundStream::SetLearnt(const Lesson &lesson) {
    scale = lesson.scale;
    silence = lesson.silence;
    isLearnt = true;
}

void SoundStream::Begin() {
    const int leadIn = isLearnt ? 0 : reducers.GetLeadIn();
    toDrop = leadIn + (settings.keepsLatency ? 0 : reducers.GetLatency());
    FeedSilence(leadIn);
}

void SoundStream::Push(const float *frames, int count) {
    before.Push(frames, count);
    const int silent = isLearnt && !hasBegun ? CountSilent(frames, count) : 0;
    hasBegun = silent < count;
    PassOn(frames, silent);
    Feed(frames + silent * channels, count - silent);
}

int SoundStream::CountSilent(const float *frames, int count) const {
    const float *const end = frames + count * channels;
    const auto isSound = [this](float sample) { return std::abs(sample) > silence; };
    return static_cast<int>(std::find_if(frames, end, isSound) - frames) / channels;
}

// The reducers do not hear it: they would unlearn the noise, and what they were taught last would sound into
// it.
void SoundStream::PassOn(const float *frames, int count) {
    std::copy_n(frames, count * channels, dry.begin());
    std::copy_n(frames, count * channels, wet.begin());
    Put(0, count);
}

void SoundStream::End() {
    if (!settings.keepsLatency)
        FeedSilence(reducers.GetLatency());
}

void SoundStream::FeedSilence(int frames) {
    const Row<float> nothing(std::min(frames, blockFrames) * channels);
    for (; frames > 0; frames -= blockFrames)
        Feed(nothing.begin(), std::min(frames, blockFrames));
}

void SoundStream::Feed(const float *frames, int count) {
    const int samples = count * channels;
    std::copy_n(frames, samples, dry.begin());
    std::transform(frames, frames + samples, wet.begin(), [this](float sample) { return sample * scale; });
    reducers.ProcessInterleaved(wet.begin(), wet.begin(), count);
    std::for_each(wet.begin(), wet.begin() + samples, [this](float &sample) { sample /= scale; });
    delay.Process(dry.begin(), samples);
    const int dropped = std::min(toDrop, count), front = dropped * channels;
    toDrop -= dropped;
    std::copy(dry.begin() + front, dry.begin() + samples, dry.begin());
    std::copy(wet.begin() + front, wet.begin() + samples, wet.begin());
    Mix(count - dropped);
}

// Reduced is a block of which more is taken out than the dither, and more than a reduction by 0.01 dB would
// take out: noise far below the sound is worth it, too.
void SoundStream::CompareLevels(int skipped, int frames) {
    constexpr double ditherPower = 1e-16, leastShare = 1e-6;
    double sound = 0.0, removed = 0.0;
    for (int i = skipped * channels; i < frames * channels; ++i) {
        const double difference = static_cast<double>(dry[i]) - wet[i];
        sound += static_cast<double>(dry[i]) * dry[i];
        removed += difference * difference;
    }
    const double dither = ditherPower / (static_cast<double>(scale) * scale) * (frames - skipped) * channels;
    hasSound = hasSound || sound > dither;
    isReduced = isReduced || removed > dither + leastShare * sound;
}

void SoundStream::Mix(int frames) {
    const int skipped = std::min(toSkip, frames);
    toSkip -= skipped;
    if (isLearnt) // what was taught last
        std::fill_n(wet.begin(), skipped * channels, 0.0f);
    Put(skipped, frames);
}

void SoundStream::Put(int skipped, int frames) {
    CompareLevels(skipped, frames);
    const auto share = static_cast<float>(settings.mix), rest = static_cast<float>(1.0 - settings.mix);
    for (int i = 0; i < frames * channels; ++i) {
        wet[i] = share * wet[i] + rest * dry[i];
        residual[i] = dry[i] - wet[i];
    }
    after.Push(wet.begin() + skipped * channels, frames - skipped);
    writer.Write(settings.writesResidual ? residual.begin() : wet.begin(), frames);
    if (picture != nullptr)
        Draw(frames);
}

void SoundStream::Draw(int frames) {
    const Row<float> *sounds[] = {&dry, &wet, &residual};
    for (int s = 0; s < 3; ++s) {
        means[s] = Row<float>(frames);
        for (int i = 0; i < frames * channels; ++i)
            means[s][i / channels] += (*sounds[s])[i] / static_cast<float>(channels);
    }
    picture->Push(means[0].begin(), means[1].begin(), means[2].begin(), frames);
}

} // namespace quietfloor
