// Two noise reducers live through the same calls, with other block lengths: whatever these are, both give
// the same finite samples, store what the interface promises, and recover.
#include <cstring>
#include <memory>
#include <utility>

#include "dsp/Parameters.h"
#include "tests/StreamInspector.h"
#include "tests/fuzz/FuzzedSound.h"

using Reducer = dsp::SingleChannelAdaptiveNoise;

namespace {

constexpr int parameterCount = Reducer::kParamCount;

bool IsSameBits(const Samples &a, const Samples &b) {
    return a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

bool IsSameValue(float a, float b) { return a == b || (std::isnan(a) && std::isnan(b)); }

double LevelDb(const Samples &x, std::size_t from) {
    double energy = 0;
    for (std::size_t i = from; i < x.size(); ++i)
        energy += static_cast<double>(x[i]) * x[i];
    return 10 * std::log10(energy / static_cast<double>(x.size() - from) + 1e-30);
}

// The dither of a rebuild is drawn alike every time.
template <class Call>
void WithSameDither(Call call) {
    std::srand(7);
    call();
}

Samples Through(Reducer &reducer, Samples x, unsigned cut) {
    std::minstd_rand random(cut + 1);
    WithSameDither([&] { reducer.Process(x.data(), x.data(), 0); });
    for (std::size_t at = 0; at < x.size();) {
        const std::size_t wanted = cut == 0 ? x.size() : random() % (cut * cut) + 1;
        const std::size_t n = std::min(wanted, x.size() - at);
        reducer.Process(x.data() + at, x.data() + at, static_cast<int>(n));
        at += n;
    }
    return x;
}

// What the interface says about stored values.
struct ExpectedParameters {
    float stored[parameterCount], lastFinite[parameterCount];
    bool isRebuildPending = false;

    explicit ExpectedParameters(const Reducer &reducer) {
        for (int i = 0; i < parameterCount; ++i)
            stored[i] = lastFinite[i] = reducer.GetParameter(i);
    }

    dsp::FrameGeometry Geometry() const {
        return dsp::MakeFrameGeometry(static_cast<int>(stored[Reducer::kFftSize]),
                                      stored[Reducer::kFilterMode] == 1.0f);
    }

    void Set(int index, float value, const Reducer &reducer) {
        const float now = reducer.GetParameter(index);
        if (index < 0 || index >= parameterCount) {
            REQUIRE(now == 0.0f);
            return;
        }
        if (index == Reducer::kFftSize) {
            CheckSize(value, now);
            isRebuildPending |= now != stored[index];
            value = now;
        } else if (index == Reducer::kFilterMode) {
            value = value < 0.5f ? 0.0f : 1.0f;
            isRebuildPending = true;
        }
        REQUIRE(IsSameValue(now, value));
        stored[index] = value;
        if (std::isfinite(value))
            lastFinite[index] = value;
    }

    // Nearest to the value rounded to whole samples; huge values and NaN leave the size alone.
    void CheckSize(float value, float now) const {
        if (!(std::fabs(value) < 1.1e9f)) {
            REQUIRE(now == stored[Reducer::kFftSize]);
        } else if (std::fabs(value) < 1e9f) {
            const double distance = std::fabs(double(now) - value);
            for (int size = 64; size <= 16384; size *= 2)
                REQUIRE(distance <= std::fabs(size - double(value)) + 1.0);
        }
    }

    void Rebuilt() {
        isRebuildPending = false;
        stored[Reducer::kOverlap] = lastFinite[Reducer::kOverlap] = static_cast<float>(Geometry().overlap);
    }

    void Check(Reducer &reducer) const {
        for (int i = 0; i < parameterCount; ++i)
            REQUIRE(IsSameValue(reducer.GetParameter(i), stored[i]));
        if (!isRebuildPending)
            REQUIRE(reducer.GetLatency() == Geometry().Latency(stored[Reducer::kFilterMode] == 1.0f));
    }
};

class Scene {
public:
    explicit Scene(FuzzedDataProvider &bytes) : input(bytes) {
        constexpr int rates[] = {1, 1000, 2000, 4000, 8000, 44100, 384'000, 0x7fffffff};
        const auto choice = input.ConsumeIntegral<std::uint8_t>();
        SetParameter(Reducer::kFftSize, static_cast<float>(64 << choice % 4));
        SetParameter(Reducer::kFilterMode, choice & 4 ? 1.0f : 0.0f);
        SetRate(choice & 8 ? input.ConsumeIntegral<int>() : rates[choice >> 5]);
        ending = input.ConsumeIntegral<std::uint8_t>();
    }

    void Run() {
        while (input.remaining_bytes() > 0 && cost < 30'000) {
            Step();
            expected.Check(*one);
            expected.Check(*other);
        }
        switch (ending % 3) {
        case 0:
            CheckResumedIsNew();
            break;
        case 1:
            CheckRecovery();
            break;
        case 2:
            CheckDelay();
            break;
        }
    }

private:
    void Step() {
        switch (input.ConsumeIntegral<std::uint8_t>() % 16) {
        case 0:
            SetParameter(input.ConsumeIntegral<int>(), AnyFloat(input));
            break;
        case 1:
        case 2: // any bits
            SetParameter(input.ConsumeIntegral<std::uint8_t>() % parameterCount, AnyFloat(input));
            break;
        case 3:
        case 4:
        case 5: { // somewhat beyond the bounds
            const int index = input.ConsumeIntegral<std::uint8_t>() % parameterCount;
            float lower = 0, upper = 0;
            one->GetBounds(index, lower, upper);
            const float share = static_cast<float>(input.ConsumeIntegral<std::int8_t>()) / 100.0f;
            SetParameter(index, lower + share * (upper - lower));
            break;
        }
        case 6:
            SetRate(input.ConsumeIntegral<int>());
            break;
        case 7:
            OnBoth([](Reducer &reducer) { reducer.Suspend(); });
            expected.Set(Reducer::kActive, 0, *one);
            break;
        case 8:
            Resume();
            break;
        case 9:
            Copy(input.ConsumeIntegral<std::uint8_t>() % 4);
            break;
        case 10:
            RunTwice();
            break;
        default:
            Process(AnySound(input, input.ConsumeIntegral<std::uint16_t>() % 6000));
        }
    }

    template <class Call>
    void OnBoth(Call call) {
        WithSameDither([&] { call(*one); });
        WithSameDither([&] { call(*other); });
    }

    void SetParameter(int index, float value) {
        OnBoth([=](Reducer &reducer) { reducer.SetParameter(index, value); });
        expected.Set(index, value, *one);
    }

    void SetRate(int hertz) {
        OnBoth([=](Reducer &reducer) { reducer.SetSampleRate(hertz); });
        if (hertz < 1)
            return;
        rate = hertz;
        expected.isRebuildPending = true;
        REQUIRE(one->GetLatency() == 0);
    }

    void Resume() {
        OnBoth([](Reducer &reducer) { reducer.Resume(); });
        expected.Set(Reducer::kActive, 1, *one);
        Rebuilt();
    }

    void Rebuilt() {
        expected.Rebuilt();
        cost += 2000 + static_cast<std::size_t>(expected.Geometry().fftSize);
    }

    // Whatever is copied from what, and whatever is destroyed, both stay alike.
    void Copy(int way) {
        if (way == 0)
            *one = *other;
        else if (way == 1)
            *one = *std::as_const(one);
        else
            one = std::make_unique<Reducer>(way == 2 ? *one : *other);
        cost += static_cast<std::size_t>(expected.Geometry().fftSize);
    }

    Samples Process(const Samples &x) {
        if (expected.isRebuildPending)
            Rebuilt();
        cost += x.size() * (expected.Geometry().overlap > 8 ? 8 : 2);
        Samples first = Through(*one, x, input.ConsumeIntegral<std::uint8_t>());
        REQUIRE(IsSameBits(first, Through(*other, x, 0)));
        for (const float sample : first)
            REQUIRE(std::isfinite(sample));
        return first;
    }

    // A copy knows nothing of what the original does later.
    void RunTwice() {
        const Reducer before(*one);
        const Samples x = AnySound(input, 1000);
        const bool wasPending = expected.isRebuildPending;
        const Samples first = Process(x);
        *one = *other = before;
        expected.isRebuildPending = wasPending;
        REQUIRE(IsSameBits(first, Process(x)));
    }

    std::unique_ptr<Reducer> FreshOne() const {
        auto fresh = std::make_unique<Reducer>();
        for (int i = 0; i < parameterCount; ++i)
            fresh->SetParameter(i, expected.lastFinite[i]);
        fresh->SetSampleRate(rate);
        WithSameDither([&] { fresh->Resume(); });
        return fresh;
    }

    std::size_t Latency() const { return static_cast<std::size_t>(one->GetLatency()); }

    void CheckResumedIsNew() {
        Resume();
        const auto fresh = FreshOne();
        const Samples x = Noise(2 * Latency() + 2000, 3, 0.02f);
        REQUIRE(IsSameBits(Process(x), Through(*fresh, x, 0)));
    }

    // With the settings put back, noise falls as far as if nothing had happened. The knee alone waits for a
    // rebuild. At low frame rates learning takes long, and at high sample rates the fuzzer does.
    void CheckRecovery() {
        const double framesPerSecond = rate / static_cast<double>(expected.Geometry().hopSize);
        if (framesPerSecond < 60 || rate > 2500)
            return;
        Process(Samples(1));
        for (int i = 0; i < parameterCount; ++i)
            if (i != Reducer::kFftSize && i != Reducer::kFilterMode && i != Reducer::kOverlap)
                SetParameter(i, quietfloor::ParameterAt(i).defaultValue);
        expected.lastFinite[Reducer::kKneeDb] =
            dsp::StreamInspector::Record(*one).noiseRemover->GivenSettings().KneeDb;
        const auto spared = FreshOne();
        const auto second = static_cast<std::size_t>(rate);
        const Samples x = Noise(20 * second, 5, 0.02f);
        const double level = LevelDb(Through(*one, x, 0), 15 * second);
        REQUIRE(std::fabs(level - LevelDb(Through(*spared, x, 0), 15 * second)) < 2.0);
    }

    // With no reduction every sample comes out as it came in, the latency later.
    void CheckDelay() {
        SetParameter(Reducer::kReductionDb, 0);
        Resume();
        const dsp::FrameGeometry g = expected.Geometry();
        const auto lost =
            static_cast<std::size_t>(g.filterMode ? g.analysisLength - g.hopSize - g.writePos : 0);
        const Samples x = Noise(2 * Latency() + 2000, 9, 0.5f);
        const Samples y = Process(x);
        for (std::size_t i = Latency() + lost; i < y.size(); ++i)
            REQUIRE(std::fabs(y[i] - x[i - Latency()]) < 1e-6f);
    }

    FuzzedDataProvider &input;
    std::unique_ptr<Reducer> one = std::make_unique<Reducer>(), other = std::make_unique<Reducer>(*one);
    ExpectedParameters expected{*one};
    int rate = 44100, ending = 0;
    std::size_t cost = 0; // about the samples that have been processed
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    Scene(input).Run();
    return 0;
}
