// What a transform costs: forward, by size and precision, in place and apart.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "fft/engine/FftEngine.h"

namespace {

using namespace FftEngine;

struct Single {
    using Real = float;
    using Spec = FftSpec32f;
    static constexpr auto Init = FFTInitComplex32f;
    static constexpr auto Free = FFTFreeComplex32f;
    static constexpr auto BufSize = FFTGetBufSize32f;
    static constexpr auto Forward = FFTForwardComplex32f;
};

struct Double {
    using Real = double;
    using Spec = FftSpec64f;
    static constexpr auto Init = FFTInitComplex64f;
    static constexpr auto Free = FFTFreeComplex64f;
    static constexpr auto BufSize = FFTGetBufSize64f;
    static constexpr auto Forward = FFTForwardComplex64f;
};

// Scaled by 1/sqrt(N), a transform keeps the energy: repeated in place, the values neither fade nor grow.
template <class P>
void Transform(benchmark::State &state) {
    const auto order = static_cast<std::int32_t>(state.range(0));
    const bool inPlace = state.range(1) != 0;
    const std::size_t length = std::size_t{1} << order;
    typename P::Spec *spec = nullptr;
    std::int32_t workBytes = 0;
    if (P::Init(&spec, order, kScaleBySqrtN, kHintAccurate) != kEngineOk ||
        P::BufSize(spec, &workBytes) != kEngineOk) {
        state.SkipWithError("no spec of this order");
        return;
    }
    std::vector<std::uint8_t> work(static_cast<std::size_t>(workBytes));
    std::vector<typename P::Real> re(length), im(length), outRe(length), outIm(length);
    std::mt19937 generator(1);
    std::uniform_real_distribution<typename P::Real> uniform(-1, 1);
    for (std::size_t i = 0; i < length; ++i) {
        re[i] = uniform(generator);
        im[i] = uniform(generator);
    }
    auto &dstRe = inPlace ? re : outRe;
    auto &dstIm = inPlace ? im : outIm;
    for ([[maybe_unused]] auto step : state) {
        P::Forward(re.data(), im.data(), dstRe.data(), dstIm.data(), spec, work.data());
        benchmark::ClobberMemory();
    }
    P::Free(spec);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(length));
}

} // namespace

// Orders 2 to 18: 4 to 262144 points.
BENCHMARK(Transform<Single>)
    ->ArgNames({"order", "inPlace"})
    ->ArgsProduct({benchmark::CreateDenseRange(2, 18, 1), {0, 1}});
BENCHMARK(Transform<Double>)
    ->ArgNames({"order", "inPlace"})
    ->ArgsProduct({benchmark::CreateDenseRange(2, 18, 1), {0, 1}});

BENCHMARK_MAIN();
