// SPDX-License-Identifier: MIT
/// Cross-fades, and the delay that keeps an unprocessed signal in time with a processed one.
#ifndef QUIETFLOOR_PLUGINS_FADE_H
#define QUIETFLOOR_PLUGINS_FADE_H

#include <algorithm>
#include <bit>
#include <span>
#include <vector>

namespace quietfloor {

/// A share between 0 and 1 that moves in equal steps.
class Fade {
public:
    explicit Fade(int sampleCount) : step(1.0f / static_cast<float>(std::max(sampleCount, 1))) {}

    void RestAt(float newShare) noexcept { share = newShare; }
    float Share() const noexcept { return share; }

    /// Writes the shares of the coming samples, on the way to `target`.
    void MoveTo(float target, std::span<float> shares) noexcept {
        for (float &entry : shares)
            entry = share = std::clamp(target, share - step, share + step);
    }

private:
    float step;
    float share = 0;
};

/// At the ends of the fade the other signal does not count at all, whatever it holds.
inline void CrossFade(std::span<const float> from, std::span<const float> to, std::span<const float> shares,
                      std::span<float> out) noexcept {
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = shares[i] <= 0 ? from[i] : shares[i] >= 1 ? to[i] : from[i] + shares[i] * (to[i] - from[i]);
}

/// The newest samples of a signal.
class DelayLine {
public:
    /// Block and delay together are at most `length`.
    explicit DelayLine(std::size_t length) : ring(std::bit_ceil(length)) {}

    void Clear() noexcept { std::fill(ring.begin(), ring.end(), 0.0f); }

    void Write(std::span<const float> block) noexcept {
        for (const float sample : block)
            ring[end++ & (ring.size() - 1)] = sample;
    }

    /// The block that was written last, as it was `delay` samples earlier.
    void Read(std::size_t delay, std::span<float> block) const noexcept {
        const std::size_t start = end - block.size() - delay;
        for (std::size_t i = 0; i < block.size(); ++i)
            block[i] = ring[(start + i) & (ring.size() - 1)];
    }

private:
    std::vector<float> ring; // a power of two, so that positions may wrap around
    std::size_t end = 0;
};

} // namespace quietfloor

#endif
