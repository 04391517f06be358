/// What every fuzzer decodes from its bytes: sounds and values of any bit pattern.
#ifndef QUIETFLOOR_TESTS_FUZZ_FUZZEDSOUND_H
#define QUIETFLOOR_TESTS_FUZZ_FUZZEDSOUND_H

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

/// Ends the program, so that the fuzzer keeps the input, where something promised does not hold.
#define REQUIRE(condition)                                                                                   \
    ((condition) ? void()                                                                                    \
                 : (std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition), std::abort()))

using Samples = std::vector<float>;

inline float AnyFloat(FuzzedDataProvider &input) {
    return std::bit_cast<float>(input.ConsumeIntegral<std::uint32_t>());
}

/// Uniform, within +-`peak`.
inline Samples Noise(std::size_t count, unsigned seed, float peak) {
    std::minstd_rand random(seed);
    Samples x(count);
    for (float &sample : x)
        sample = (static_cast<float>(random()) / 0x1p30f - 1.0f) * peak;
    return x;
}

/// `count` values: their bits from the input while it has some, or of one of the sounds that matter.
inline Samples AnySound(FuzzedDataProvider &input, std::size_t count) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    constexpr float oddities[] = {-infinity, std::numeric_limits<float>::quiet_NaN(),
                                  1e-40f,    -3e38f,
                                  infinity,  1e15f,
                                  -0.0f,     0.5f,
                                  -1e-3f,    0.0f};
    const auto kind = input.ConsumeIntegral<std::uint8_t>();
    const unsigned seed = input.ConsumeIntegral<std::uint8_t>() + 1u;
    const float peak = kind & 8 ? AnyFloat(input) : 0.03f * static_cast<float>(seed % 32);
    Samples x = Noise(count, seed, peak);
    for (std::size_t i = 0; i < count; ++i)
        switch (kind % 8) {
        case 0: // noise
            break;
        case 1:
            x[i] = peak * std::sin(static_cast<float>(i) * static_cast<float>(seed) * 0.0123f);
            break;
        case 2: // direct current
            x[i] = peak;
            break;
        case 3: // bursts, with silence between them
            x[i] *= i / 500 % 2 != 0 ? 1.0f : 0.0f;
            break;
        case 4: // a square wave
            x[i] = i / seed % 2 != 0 ? peak : -peak;
            break;
        case 5: // impulses in noise
            x[i] = i % (16 * seed) == 0 ? oddities[seed % 10] : x[i];
            break;
        case 6:
            x[i] = oddities[(i + seed) % 10];
            break;
        case 7:
            x[i] = AnyFloat(input); // 0 at the end
            break;
        }
    return x;
}

#endif
