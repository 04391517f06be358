// SPDX-License-Identifier: MIT
// What a transform costs at each processor level, beside FFTW's and KissFFT's on the same arrays.
//
// The contestants take turns of a fifth of a millisecond, so that what else the machine does hits all
// of them; a ratio is the median over the turns. FFTW is planned by measurement for split arrays and
// takes its own best instructions whatever our level; KissFFT knows only interleaved data in floats.
#include <benchmark/benchmark.h>
#include <fftw3.h>
#include <kissfft/kiss_fft.h>

#include <algorithm>
#include <bit>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <random>
#include <type_traits>
#include <utility>
#include <vector>

#include "fft/engine/FftEngine.h"
#include "simd/LevelIndex.h"

namespace {

using namespace FftEngine;
using namespace quietfloor;

struct Single {
    using Real = float;
    using Spec = FftSpec32f;
    using Dimension = fftwf_iodim;
    static constexpr auto Init = FFTInitComplex32f;
    static constexpr auto Free = FFTFreeComplex32f;
    static constexpr auto BufSize = FFTGetBufSize32f;
    static constexpr auto Forward = FFTForwardComplex32f;
    static constexpr auto FftwPlan = fftwf_plan_guru_split_dft;
    static constexpr auto FftwExecute = fftwf_execute_split_dft;
    static constexpr auto FftwDestroy = fftwf_destroy_plan;
};

struct Double {
    using Real = double;
    using Spec = FftSpec64f;
    using Dimension = fftw_iodim;
    static constexpr auto Init = FFTInitComplex64f;
    static constexpr auto Free = FFTFreeComplex64f;
    static constexpr auto BufSize = FFTGetBufSize64f;
    static constexpr auto Forward = FFTForwardComplex64f;
    static constexpr auto FftwPlan = fftw_plan_guru_split_dft;
    static constexpr auto FftwExecute = fftw_execute_split_dft;
    static constexpr auto FftwDestroy = fftw_destroy_plan;
};

double Seconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Times one way to do the transform.
template <class Transform>
class Contestant {
public:
    explicit Contestant(Transform transform) : run(std::move(transform)) {
        while (Batch() < 1e-4) // warms up, too
            repeats *= 2;
        repeats *= 2;
    }

    double Turn() {
        times.push_back(Batch() / repeats);
        return times.back();
    }

    double Nanoseconds() const { return 1e9 * Median(times); }

private:
    Transform run;
    int repeats = 1;
    std::vector<double> times;

    double Batch() {
        const double start = Seconds();
        for (int i = 0; i < repeats; ++i)
            run();
        return Seconds() - start;
    }
};

// Memory as FFTW likes it best. Out of place it holds noise; in place zeros, since unscaled transforms of
// anything else would grow without end and no processor is faster on them.
template <class Real>
struct Arrays {
    struct Release {
        void operator()(Real *values) const { fftw_free(values); }
    };
    std::unique_ptr<Real, Release> block;
    Real *srcRe, *srcIm, *dstRe, *dstIm;

    Arrays(std::size_t length, bool inPlace)
        : block(static_cast<Real *>(fftw_malloc(4 * length * sizeof(Real)))), srcRe(block.get()),
          srcIm(srcRe + length), dstRe(inPlace ? srcRe : srcIm + length), dstIm(dstRe + length) {}

    void Fill(std::size_t length) const {
        std::mt19937 generator(1);
        std::uniform_real_distribution<Real> uniform(-1, 1);
        std::generate_n(srcRe, 4 * length, [&] { return dstRe == srcRe ? Real{} : uniform(generator); });
    }
};

template <class P>
class Ours {
public:
    Ours(std::int32_t slot, int length, const Arrays<typename P::Real> &arrays) : a(arrays) {
        const DispatchScope level(slot);
        typename P::Spec *made = nullptr;
        P::Init(&made, std::countr_zero(static_cast<unsigned>(length)), kScaleNone, kHintAccurate);
        spec.reset(made);
        std::int32_t bytes = 0;
        P::BufSize(made, &bytes);
        work.resize(static_cast<std::size_t>(bytes));
    }
    void operator()() { P::Forward(a.srcRe, a.srcIm, a.dstRe, a.dstIm, spec.get(), work.data()); }

private:
    struct Release {
        void operator()(typename P::Spec *unused) const { P::Free(unused); }
    };
    const Arrays<typename P::Real> &a;
    std::unique_ptr<typename P::Spec, Release> spec;
    std::vector<std::uint8_t> work;
};

template <class P>
class Fftw {
public:
    Fftw(int length, const Arrays<typename P::Real> &arrays) : a(arrays) {
        const typename P::Dimension dimension{length, 1, 1};
        plan.reset(P::FftwPlan(1, &dimension, 0, nullptr, a.srcRe, a.srcIm, a.dstRe, a.dstIm, FFTW_MEASURE));
        a.Fill(static_cast<std::size_t>(length)); // planning overwrites
    }
    void operator()() { P::FftwExecute(plan.get(), a.srcRe, a.srcIm, a.dstRe, a.dstIm); }

private:
    using Plan = decltype(P::FftwPlan(0, nullptr, 0, nullptr, nullptr, nullptr, nullptr, nullptr, 0));
    struct Release {
        void operator()(Plan unused) const { P::FftwDestroy(unused); }
    };
    const Arrays<typename P::Real> &a;
    std::unique_ptr<std::remove_pointer_t<Plan>, Release> plan;
};

// Out of place and on values of its own.
class Kiss {
public:
    explicit Kiss(int length)
        : config(kiss_fft_alloc(length, 0, nullptr, nullptr), std::free),
          in(static_cast<std::size_t>(length)), out(in.size()) {}
    void operator()() { kiss_fft(config.get(), in.data(), out.data()); }

private:
    std::unique_ptr<kiss_fft_state, void (*)(void *)> config;
    std::vector<kiss_fft_cpx> in, out;
};

template <class P>
void Transform(benchmark::State &state) {
    const auto slot = static_cast<std::int32_t>(state.range(0));
    const bool inPlace = state.range(1) != 0, hasKiss = std::is_same_v<P, Single> && !inPlace;
    const int length = static_cast<int>(state.range(2));
    const Arrays<typename P::Real> arrays(static_cast<std::size_t>(length), inPlace);
    Contestant fftw(Fftw<P>(length, arrays));
    Contestant ours(Ours<P>(slot, length, arrays));
    Contestant kiss{Kiss(length)};
    std::vector<double> ratios;
    for ([[maybe_unused]] auto turn : state) {
        const double spent = ours.Turn();
        ratios.push_back(spent / fftw.Turn());
        if (hasKiss)
            kiss.Turn();
        state.SetIterationTime(spent);
    }
    state.counters["ns"] = ours.Nanoseconds();
    state.counters["FFTW"] = fftw.Nanoseconds();
    state.counters["vsFFTW"] = Median(ratios);
    if (hasKiss) {
        state.counters["KissFFT"] = kiss.Nanoseconds();
        state.counters["vsKissFFT"] = ours.Nanoseconds() / kiss.Nanoseconds();
    }
    state.SetLabel(quietfloor::NameOfSlot(slot));
}

void Register() {
    std::vector<std::int64_t> levels, sizes;
    for (const std::int32_t slot : kLevelSlots)
        if (slot <= HighestSlot())
            levels.push_back(slot);
    for (std::int64_t size = 64; size <= 16384; size *= 2)
        sizes.push_back(size);
    const std::pair<const char *, void (*)(benchmark::State &)> precisions[] = {{"double", Transform<Double>},
                                                                                {"float", Transform<Single>}};
    for (const auto &[name, run] : precisions)
        benchmark::RegisterBenchmark(name, run)
            ->ArgNames({"level", "inPlace", "size"})
            ->ArgsProduct({levels, {0, 1}, sizes})
            ->UseManualTime()
            ->Iterations(41);
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    Register();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
