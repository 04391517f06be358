#include "tools/SoundStream.h"

#include <algorithm>
#include <utility>

namespace quietfloor {

void FrameDelay::Process(float *samples, std::size_t count) {
    if (ring.empty())
        return;
    for (std::size_t i = 0; i < count; ++i) {
        std::swap(samples[i], ring[at]);
        at = at + 1 < ring.size() ? at + 1 : 0;
    }
}

SoundStream::SoundStream(const SF_INFO &source, const DenoiseSettings &given, AudioWriter &target,
                         Spectrogram *spectrogram)
    : settings(given), writer(target), picture(spectrogram),
      reducers(source.channels, source.samplerate, given.parameters),
      delay(reducers.Latency(), source.channels), before(source.samplerate, source.channels),
      after(source.samplerate, source.channels), channels(source.channels),
      blockSamples(static_cast<std::size_t>(blockFrames * source.channels)), dry(blockSamples),
      wet(blockSamples), residual(blockSamples), toSkip(given.keepsLatency ? reducers.Latency() : 0) {}

// Backwards, so that the beginning runs into itself: a jump in the noise, to silence or from whatever is
// heard at the end of the stretch, would be heard in the first frames, and the reducers would learn anew.
void SoundStream::Prime(const std::vector<float> &interleaved) {
    const auto width = static_cast<std::size_t>(channels);
    sf_count_t filled = 0;
    for (std::size_t end = interleaved.size(); end > 0; end -= width) {
        const auto frame = interleaved.begin() + static_cast<std::ptrdiff_t>(end - width);
        std::copy_n(frame, width, wet.begin() + static_cast<std::ptrdiff_t>(filled * channels));
        if (++filled == blockFrames || end == width) {
            reducers.Process(wet.data(), filled);
            filled = 0;
        }
    }
    isPrimed = !interleaved.empty();
}

void SoundStream::Begin() {
    const sf_count_t leadIn = isPrimed ? 0 : reducers.LeadIn();
    toDrop = leadIn + (settings.keepsLatency ? 0 : reducers.Latency());
    FeedSilence(leadIn);
}

void SoundStream::Push(const float *frames, sf_count_t count) {
    before.Push(frames, count);
    Feed(frames, count);
}

void SoundStream::End() {
    if (!settings.keepsLatency)
        FeedSilence(reducers.Latency());
}

void SoundStream::FeedSilence(sf_count_t frames) {
    const std::vector<float> silence(static_cast<std::size_t>(std::min(frames, blockFrames) * channels));
    for (; frames > 0; frames -= blockFrames)
        Feed(silence.data(), std::min(frames, blockFrames));
}

void SoundStream::Feed(const float *frames, sf_count_t count) {
    const std::size_t samples = static_cast<std::size_t>(count * channels);
    std::copy_n(frames, samples, dry.begin());
    std::copy_n(frames, samples, wet.begin());
    reducers.Process(wet.data(), count);
    delay.Process(dry.data(), samples);
    const sf_count_t dropped = std::min(toDrop, count);
    toDrop -= dropped;
    const auto front = static_cast<std::ptrdiff_t>(dropped * channels);
    std::copy(dry.begin() + front, dry.begin() + static_cast<std::ptrdiff_t>(samples), dry.begin());
    std::copy(wet.begin() + front, wet.begin() + static_cast<std::ptrdiff_t>(samples), wet.begin());
    Mix(count - dropped);
}

void SoundStream::Mix(sf_count_t frames) {
    const sf_count_t skipped = std::min(toSkip, frames);
    toSkip -= skipped;
    if (isPrimed) // what was taught last
        std::fill_n(wet.begin(), skipped * channels, 0.0f);
    const auto share = static_cast<float>(settings.mix), rest = static_cast<float>(1.0 - settings.mix);
    for (std::size_t i = 0; i < static_cast<std::size_t>(frames * channels); ++i) {
        wet[i] = share * wet[i] + rest * dry[i];
        residual[i] = dry[i] - wet[i];
    }
    after.Push(wet.data() + skipped * channels, frames - skipped);
    writer.Write(settings.writesResidual ? residual.data() : wet.data(), frames);
    if (picture != nullptr)
        Draw(frames);
}

void SoundStream::Draw(sf_count_t frames) {
    const auto count = static_cast<std::size_t>(frames), width = static_cast<std::size_t>(channels);
    const std::vector<float> *sounds[] = {&dry, &wet, &residual};
    for (std::size_t s = 0; s < 3; ++s) {
        means[s].assign(count, 0.0f);
        for (std::size_t i = 0; i < count * width; ++i)
            means[s][i / width] += (*sounds[s])[i] / static_cast<float>(channels);
    }
    picture->Push(means[0].data(), means[1].data(), means[2].data(), count);
}

} // namespace quietfloor
