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

// Played backwards, so that it ends where the sound begins. A jump there, from silence or from whatever the
// stretch ends with, would be heard in the first frames, and the reducers would learn anew.
void SoundStream::Prime(const Row<float> &interleaved) {
    int filled = 0;
    for (std::int64_t at = interleaved.Length() - channels; at >= 0; at -= channels) {
        std::copy_n(interleaved.begin() + at, channels, wet.begin() + filled * channels);
        if (++filled == blockFrames || at == 0) {
            reducers.ProcessInterleaved(wet.begin(), wet.begin(), filled);
            filled = 0;
        }
    }
    isPrimed = interleaved.Length() > 0;
}

void SoundStream::Begin() {
    const int leadIn = isPrimed ? 0 : reducers.GetLeadIn();
    toDrop = leadIn + (settings.keepsLatency ? 0 : reducers.GetLatency());
    FeedSilence(leadIn);
}

void SoundStream::Push(const float *frames, int count) {
    before.Push(frames, count);
    Feed(frames, count);
}

void SoundStream::End() {
    if (!settings.keepsLatency)
        FeedSilence(reducers.GetLatency());
}

void SoundStream::FeedSilence(int frames) {
    const Row<float> silence(std::min(frames, blockFrames) * channels);
    for (; frames > 0; frames -= blockFrames)
        Feed(silence.begin(), std::min(frames, blockFrames));
}

void SoundStream::Feed(const float *frames, int count) {
    const int samples = count * channels;
    std::copy_n(frames, samples, dry.begin());
    std::copy_n(frames, samples, wet.begin());
    reducers.ProcessInterleaved(wet.begin(), wet.begin(), count);
    delay.Process(dry.begin(), samples);
    const int dropped = std::min(toDrop, count), front = dropped * channels;
    toDrop -= dropped;
    std::copy(dry.begin() + front, dry.begin() + samples, dry.begin());
    std::copy(wet.begin() + front, wet.begin() + samples, wet.begin());
    Mix(count - dropped);
}

void SoundStream::Mix(int frames) {
    const int skipped = std::min(toSkip, frames);
    toSkip -= skipped;
    if (isPrimed) // what was taught last
        std::fill_n(wet.begin(), skipped * channels, 0.0f);
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
