// SPDX-License-Identifier: MIT
// Two noise reducers live through the same calls, with other block lengths: whatever these are, both give
// the same finite samples, store what the interface promises, and recover.
#include "dsp/Parameters.h"
#include "tests/Geometries.h"
#include "tests/StreamInspector.h"
#include "tests/fuzz/FuzzedSound.h"

namespace {

bool IsSame(float a, float b) { return a == b || (std::isnan(a) && std::isnan(b)); }

// A rebuild draws the same dither every time. With a `cut` of 0 in one block.
Samples Played(Reducer &reducer, Samples x, std::size_t cut) {
    std::srand(7);
    std::size_t at = 0;
    do {
        const std::size_t n = std::min(cut == 0 ? x.size() : at * 31 % cut + 1, x.size() - at);
        reducer.Process(x.data() + at, x.data() + at, static_cast<int>(n));
        at += n;
    } while (at < x.size());
    return x;
}

class Scene {
public:
    explicit Scene(FuzzedDataProvider &bytes) : input(bytes) {
        constexpr int rates[] = {1, 1000, 2000, 2000, 8000, 44100, 384'000, 0x7fffffff};
        for (int i = 0; i < Reducer::kParamCount; ++i)
            stored[i] = finite[i] = one.GetParameter(i);
        const unsigned choice = AnyByte(input);
        Set(Reducer::kFftSize, static_cast<float>(64 << choice % 4));
        Set(Reducer::kFilterMode, choice & 4 ? 1.0f : 0.0f);
        SetRate(choice & 8 ? input.ConsumeIntegral<int>() : rates[choice >> 5]);
    }

    void Run() {
        const unsigned ending = AnyByte(input) % 3;
        while (input.remaining_bytes() > 0 && cost < 30'000) {
            Step();
            for (int i = 0; i < Reducer::kParamCount; ++i)
                REQUIRE(IsSame(one.GetParameter(i), stored[i]) && IsSame(other.GetParameter(i), stored[i]));
            REQUIRE(isPending || one.GetLatency() == Expected().latency);
        }
        ending == 0 ? RequireResumedIsNew() : ending == 1 ? RequireRecovery() : RequireDelay();
    }

private:
    void Step() {
        const unsigned action = AnyByte(input) % 16;
        const int index = input.ConsumeIntegralInRange(0, Reducer::kParamCount - 1);
        if (action < 3) {
            Set(action == 0 ? input.ConsumeIntegral<int>() : index, AnyFloat(input));
        } else if (action < 6) { // somewhat beyond the bounds
            const quietfloor::ParameterInfo &info = quietfloor::ParameterAt(index);
            const float share = static_cast<float>(AnyByte(input)) / 100 - 1;
            Set(index, info.lowerBound + share * (info.upperBound - info.lowerBound));
        } else if (action == 6) {
            SetRate(input.ConsumeIntegral<int>());
        } else if (action == 7) {
            one.Suspend(), other.Suspend();
            stored[Reducer::kActive] = finite[Reducer::kActive] = 0;
        } else if (action == 8) {
            Resume();
        } else if (action == 9) { // both stay alike, whatever is copied
            one = Reducer(other);
            other = *&other;
        } else if (action == 10) { // a copy knows nothing of what the original does later
            const Reducer before(one);
            const bool wasPending = isPending;
            const Samples x = AnySound(input, 1000), first = Process(x);
            one = other = before;
            isPending = wasPending;
            REQUIRE(first == Process(x));
        } else if (action == 11) { // one of them is no estimator
            SetEstimator(AnyByte(input) % 3);
        } else {
            Process(AnySound(input, input.ConsumeIntegral<std::uint16_t>() % 6000));
        }
    }

    const Geometry &Expected() const {
        return GeometryOf(static_cast<int>(stored[Reducer::kFftSize]), stored[Reducer::kFilterMode] == 1);
    }

    void Set(int index, float value) {
        one.SetParameter(index, value), other.SetParameter(index, value);
        const float now = one.GetParameter(index);
        if (index < 0 || index >= Reducer::kParamCount)
            return REQUIRE(now == 0);
        if (index == Reducer::kFftSize) { // the nearest to the value rounded to whole samples
            for (int size = 64; size <= 16384 && std::fabs(value) < 1e9f; size *= 2)
                REQUIRE(std::fabs(now - value) <= std::fabs(static_cast<float>(size) - value) + 1);
            REQUIRE(std::fabs(value) < 1.1e9f || now == stored[index]);
            isPending |= now != stored[index];
            value = now;
        } else if (index == Reducer::kFilterMode) {
            value = value < 0.5f ? 0.0f : 1.0f;
            isPending = true;
        }
        stored[index] = value;
        finite[index] = std::isfinite(value) ? value : finite[index];
    }

    void SetEstimator(int number) {
        const Reducer::Estimator before = one.GetEstimator();
        for (Reducer *reducer : {&one, &other})
            reducer->SetEstimator(static_cast<Reducer::Estimator>(number));
        REQUIRE(one.GetEstimator() == (number < 2 ? number : before));
    }

    void SetRate(int hertz) {
        one.SetSampleRate(hertz), other.SetSampleRate(hertz);
        isPending |= hertz >= 1;
        rate = hertz >= 1 ? hertz : rate;
        REQUIRE(hertz < 1 || one.GetLatency() == 0);
    }

    void Resume() {
        for (Reducer *reducer : {&one, &other}) {
            std::srand(7);
            reducer->Resume();
        }
        stored[Reducer::kActive] = finite[Reducer::kActive] = 1;
        isPending = true;
        Process({});
    }

    Samples Process(const Samples &x) {
        const auto overlap = static_cast<float>(Expected().overlap);
        cost += static_cast<float>(x.size()) * overlap / 2 + (isPending ? stored[Reducer::kFftSize] : 0);
        if (isPending)
            stored[Reducer::kOverlap] = finite[Reducer::kOverlap] = overlap;
        isPending = false;
        Samples y = Played(one, x, AnyByte(input) * AnyByte(input));
        REQUIRE(y == Played(other, x, 0));
        for (const float sample : y)
            REQUIRE(std::isfinite(sample));
        return y;
    }

    // What a new object with the same settings gives.
    Samples Fresh(const Samples &x) const {
        Reducer fresh;
        for (int i = 0; i < Reducer::kParamCount; ++i)
            fresh.SetParameter(i, finite[i]);
        fresh.SetEstimator(one.GetEstimator());
        fresh.SetSampleRate(rate);
        return Played(fresh, x, 0);
    }

    std::size_t Latency() const { return static_cast<std::size_t>(one.GetLatency()); }

    void RequireResumedIsNew() {
        Resume();
        const Samples x = WhiteNoise(2 * Latency() + 2000, -40, 3);
        REQUIRE(Process(x) == Fresh(x));
    }

    // With the settings put back, nothing is amplified, and noise falls as far as if nothing had happened.
    // The knee alone waits for a rebuild; one far beyond its bounds leaves gains where they are. At low frame
    // rates learning takes long, and at high sample rates the fuzzer does.
    void RequireRecovery() {
        if (rate > 2500 || rate < 60 * Expected().hop)
            return;
        Process({});
        for (int i = 0; i < Reducer::kParamCount; ++i)
            if (i != Reducer::kFftSize && i != Reducer::kFilterMode && i != Reducer::kOverlap)
                Set(i, quietfloor::ParameterAt(i).defaultValue);
        finite[Reducer::kKneeDb] = dsp::StreamInspector::Record(one).noiseRemover->GivenSettings().KneeDb;
        const auto second = static_cast<std::size_t>(rate);
        Samples x = WhiteNoise(21 * second, -40, 5), loud = WhiteNoise(second, -10, 4);
        std::copy(loud.begin(), loud.end(), x.begin());
        Samples y = Process(x);
        REQUIRE(finite[Reducer::kKneeDb] > 25 ||
                std::fabs(LevelDb(y, 16 * second, x.size()) - LevelDb(Fresh(x), 16 * second, x.size())) < 2);
        y.resize(second);
        REQUIRE(LevelDb(y, second / 2, second) < LevelDb(loud, second / 2, second) + 1);
    }

    // With no reduction every sample comes out as it came in, the latency later.
    void RequireDelay() {
        Set(Reducer::kReductionDb, 0);
        Resume();
        const Geometry &g = Expected();
        const int lost = g.filterMode ? g.analysisLength - g.hop - g.writePos : 0;
        const Samples x = WhiteNoise(2 * Latency() + 2000, -10, 9), y = Process(x);
        for (std::size_t i = Latency() + static_cast<std::size_t>(lost); i < y.size(); ++i)
            REQUIRE(std::fabs(y[i] - x[i - Latency()]) < 1e-6f);
    }

    FuzzedDataProvider &input;
    Reducer one, other{one};
    float stored[Reducer::kParamCount] = {}, finite[Reducer::kParamCount] = {}; // finite: the last that was
    bool isPending = false;                                                     // a rebuild
    int rate = 44100;
    float cost = 0; // about the samples that have been processed
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    Scene(input).Run();
    return 0;
}
