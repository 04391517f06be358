// SPDX-License-Identifier: MIT
/// What every fuzzer decodes from its bytes: sounds and values of any bit pattern.
#ifndef QUIETFLOOR_TESTS_FUZZ_FUZZEDSOUND_H
#define QUIETFLOOR_TESTS_FUZZ_FUZZEDSOUND_H

#include <bit>
#include <cstdio>
#include <cstdlib>

#include <fuzzer/FuzzedDataProvider.h>

#include "tests/Signals.h"

/// Ends the program, so that the fuzzer keeps the input, where something promised does not hold.
#define REQUIRE(condition)                                                                                   \
    ((condition) ? void()                                                                                    \
                 : (std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition), std::abort()))

inline unsigned AnyByte(FuzzedDataProvider &input) { return input.ConsumeIntegral<std::uint8_t>(); }

inline float AnyFloat(FuzzedDataProvider &input) {
    return std::bit_cast<float>(input.ConsumeIntegral<std::uint32_t>());
}

/// `count` values: one of the sounds that matter, or bits from the input, 0 after its end.
inline Samples AnySound(FuzzedDataProvider &input, std::size_t count) {
    constexpr float oddities[] = {-INFINITY, NAN, 1e-40f, -3e38f, INFINITY, 1e15f, -0.0f, 0.5f, -1e-3f, 0};
    const unsigned kind = AnyByte(input), seed = AnyByte(input) + 1;
    const float peak = kind & 8 ? AnyFloat(input) : 0.03f * static_cast<float>(seed % 32);
    Samples x = WhiteNoise(count, 0, seed);
    for (std::size_t i = 0; i < count; ++i) {
        x[i] *= peak;
        const float sounds[] = {x[i], // noise, a tone, direct current, bursts, a square wave, impulses
                                peak * std::sin(0.0123f * static_cast<float>(i * seed)),
                                peak,
                                i / 500 % 2 == 0 ? 0 : x[i],
                                i / seed % 2 == 0 ? peak : -peak,
                                i % (16 * seed) == 0 ? oddities[seed % 10] : x[i],
                                oddities[(i + seed) % 10]};
        x[i] = kind % 8 == 7 ? AnyFloat(input) : sounds[kind % 8];
    }
    return x;
}

#endif
