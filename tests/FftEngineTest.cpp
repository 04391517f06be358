// SPDX-License-Identifier: MIT
#include "fft/engine/FftEngine.h"
#include "fft/engine/Allocator.h"
#include "tests/LevelTesting.h"
#include "tests/Signals.h"
#include "tests/SlowTransform.h"

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cstdlib>
#include <limits>
#include <memory>

using namespace FftEngine;
using namespace quietfloor;

namespace {

struct Single {
    static constexpr const char *name = "Single";
    using Real = float;
    using Spec = FftSpec32f;
    static constexpr auto Init = FFTInitComplex32f;
    static constexpr auto Free = FFTFreeComplex32f;
    static constexpr auto BufSize = FFTGetBufSize32f;
    static constexpr auto Forward = FFTForwardComplex32f;
    static constexpr auto Inverse = FFTInverseComplex32f;
    static constexpr int maxOrder = 28;
    static constexpr double errorPerOrder = 2e-7; // relative, root mean square
};

struct Double {
    static constexpr const char *name = "Double";
    using Real = double;
    using Spec = FftSpec64f;
    static constexpr auto Init = FFTInitComplex64f;
    static constexpr auto Free = FFTFreeComplex64f;
    static constexpr auto BufSize = FFTGetBufSize64f;
    static constexpr auto Forward = FFTForwardComplex64f;
    static constexpr auto Inverse = FFTInverseComplex64f;
    static constexpr int maxOrder = 27;
    static constexpr double errorPerOrder = 4e-16;
};

template <class P>
std::shared_ptr<typename P::Spec> MakeSpec(int order, int flag = kScaleNone) {
    typename P::Spec *spec = nullptr;
    EXPECT_EQ(P::Init(&spec, order, flag, kHintAccurate), kEngineOk);
    return {spec, P::Free};
}

template <class P>
std::vector<std::uint8_t> MakeWork(const typename P::Spec *spec) {
    std::int32_t bytes = -1;
    EXPECT_EQ(P::BufSize(spec, &bytes), kEngineOk);
    return std::vector<std::uint8_t>(static_cast<std::size_t>(bytes));
}

// Split values of exact size that begin `shift` values past an allocation's start.
template <class Real>
struct Signal {
    explicit Signal(std::size_t n, std::size_t shift = 0) : re(n + shift), im(n + shift), offset(shift) {}
    Real *Re() { return re.data() + offset; }
    Real *Im() { return im.data() + offset; }
    LongComplex At(std::size_t i) const { return {re[i + offset], im[i + offset]}; }
    std::vector<LongComplex> Values() const {
        std::vector<LongComplex> values;
        for (std::size_t i = 0; i + offset < re.size(); ++i)
            values.push_back(At(i));
        return values;
    }
    std::vector<Real> re, im;
    std::size_t offset;
};

template <class Real>
Signal<Real> Noise(std::size_t n, std::size_t shift = 0) {
    static unsigned seed = 1; // another signal each time
    Signal<Real> x(n, shift);
    for (Real *part : {x.Re(), x.Im()})
        std::ranges::copy(WhiteNoise<Real>(n, 0, seed++), part);
    return x;
}

// Root mean square of got - factor expected over that of factor expected.
template <class Real>
double RelativeError(const Signal<Real> &got, const std::vector<LongComplex> &expected,
                     long double factor = 1) {
    long double error = 0, power = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        error += std::norm(got.At(i) - factor * expected[i]);
        power += std::norm(factor * expected[i]);
    }
    return static_cast<double>(std::sqrt(error / power));
}

template <class P, std::int32_t atSlot>
struct At : P {
    static constexpr std::int32_t slot = atSlot;
};
using Cases = testing::Types<At<Single, kPortableSlot>, At<Single, kAvx2Slot>, At<Single, kAvx512Slot>,
                             At<Double, kPortableSlot>, At<Double, kAvx2Slot>, At<Double, kAvx512Slot>>;
struct CaseName {
    template <class P>
    static std::string GetName(int) {
        return std::string(P::name) + "_" + quietfloor::NameOfSlot(P::slot);
    }
};

template <class P>
class Transform : public PinnedTest {
    void SetUp() override { Pin(P::slot); }
};
TYPED_TEST_SUITE(Transform, Cases, CaseName);

TYPED_TEST(Transform, AgreesWithTheDefinitionInPlaceAndApartAtAnyAlignment) {
    using Real = typename TypeParam::Real;
    for (int order = 0; order <= 17; ++order) {
        const std::size_t n = std::size_t{1} << order;
        const double bound = TypeParam::errorPerOrder * std::max(order, 1);
        const auto spec = MakeSpec<TypeParam>(order);
        auto work = MakeWork<TypeParam>(spec.get());
        const std::size_t end = work.size() + 1; // the buffer begins anywhere, and what follows it stays
        work.resize(end + 63, 0xa5);
        for (bool isInverse : {false, true}) {
            const auto run = isInverse ? TypeParam::Inverse : TypeParam::Forward;
            const auto other = isInverse ? TypeParam::Forward : TypeParam::Inverse;
            Signal<Real> x = Noise<Real>(n, 1), apart(n, 3), back(n);
            ASSERT_EQ(run(x.Re(), x.Im(), apart.Re(), apart.Im(), spec.get(), work.data() + 1), kEngineOk);
            EXPECT_LT(RelativeError(apart, SlowTransform(x.Values(), isInverse)), bound)
                << order << isInverse;
            other(apart.Re(), apart.Im(), back.Re(), back.Im(), spec.get(), nullptr);
            EXPECT_LT(RelativeError(back, x.Values(), static_cast<long double>(n)), 2 * bound) << order;
            run(x.Re(), x.Im(), x.Re(), x.Im(), spec.get(), nullptr);
            EXPECT_EQ(x.Values(), apart.Values()) << order << " in place, with a buffer of the call's own";
        }
        EXPECT_EQ(std::count(work.begin() + static_cast<std::ptrdiff_t>(end), work.end(), 0xa5), 63) << order;
    }
}

TYPED_TEST(Transform, LongOnesTurnImpulseIntoExponentialAndBack) {
    using Real = typename TypeParam::Real;
    for (int order : {20, 21}) {
        const std::size_t n = std::size_t{1} << order, place = n / 3 | 1;
        const auto spec = MakeSpec<TypeParam>(order);
        Signal<Real> x(n), back(n);
        x.Re()[place] = 1;
        const long double turn = -2 * std::numbers::pi_v<long double> / static_cast<long double>(n);
        std::vector<LongComplex> exponential, impulse = x.Values();
        for (std::size_t k = 0; k < n; ++k)
            exponential.push_back(std::polar(1.0L, turn * static_cast<long double>(k * place % n)));
        TypeParam::Forward(x.Re(), x.Im(), x.Re(), x.Im(), spec.get(), nullptr);
        EXPECT_LT(RelativeError(x, exponential), TypeParam::errorPerOrder * order);
        TypeParam::Inverse(x.Re(), x.Im(), back.Re(), back.Im(), spec.get(), nullptr);
        EXPECT_LT(RelativeError(back, impulse, static_cast<long double>(n)),
                  TypeParam::errorPerOrder * order);
    }
}

TYPED_TEST(Transform, ScalesTheDirectionsThatTheFlagNames) {
    using Real = typename TypeParam::Real;
    for (int order : {0, 1, 3, 5, 6, 9, 17}) {
        const std::size_t n = std::size_t{1} << order;
        const Real byN = 1 / static_cast<Real>(n), bySqrtN = std::sqrt(byN);
        const struct {
            int flag;
            Real forward, inverse;
        } cases[] = {
            {kScaleForwardByN, byN, 1}, {kScaleInverseByN, 1, byN}, {kScaleBySqrtN, bySqrtN, bySqrtN}};
        const auto plain = MakeSpec<TypeParam>(order);
        for (const auto &c : cases) {
            const auto spec = MakeSpec<TypeParam>(order, c.flag);
            for (bool isInverse : {false, true}) {
                const auto run = isInverse ? TypeParam::Inverse : TypeParam::Forward;
                Signal<Real> x = Noise<Real>(n), y(n), scaled(n);
                run(x.Re(), x.Im(), y.Re(), y.Im(), plain.get(), nullptr);
                run(x.Re(), x.Im(), scaled.Re(), scaled.Im(), spec.get(), nullptr);
                EXPECT_LT(RelativeError(scaled, y.Values(), isInverse ? c.inverse : c.forward),
                          2 * std::numeric_limits<Real>::epsilon()) // of the factor and of the product
                    << order << ' ' << c.flag << isInverse;
            }
        }
    }
}

std::size_t bytesAsked = 0;
void *NoMemory(std::size_t bytes) {
    bytesAsked = bytes;
    return nullptr;
}

void *kept = nullptr;
void Keep(void *block) { kept = block; }

TYPED_TEST(Transform, RefusalsNameTheirReasonAndWriteNothing) {
    using P = TypeParam;
    using Real = typename P::Real;
    using Spec = typename P::Spec;
    using Other = std::conditional_t<std::is_same_v<Real, float>, Double, Single>;
    Spec *spec = nullptr, *const none = nullptr;
    for (int order : {-1, P::maxOrder + 1, INT_MAX})
        EXPECT_EQ(P::Init(&spec, order, kScaleNone, kHintFast), kEngineBadOrder);
    for (int flag : {0, 3, 5, 16, -8})
        EXPECT_EQ(P::Init(&spec, 6, flag, kHintFast), kEngineBadFlag);
    EXPECT_EQ(P::Init(nullptr, 6, kScaleNone, kHintFast), kEngineNullPointer);
    const auto good = MakeSpec<P>(6);
    const auto other = MakeSpec<Other>(6);
    auto owner = MakeSpec<P>(6);
    Spec *const freed = owner.get();
    EngineAllocatorTable.free = Keep; // so that a freed record can be told from a live one without harm
    owner.reset();
    EngineAllocatorTable.free = std::free;
    Signal<Real> x = Noise<Real>(64), y(64);
    std::int32_t bytes = -1;
    for (auto *wrong : {freed, reinterpret_cast<Spec *>(other.get())}) {
        EXPECT_EQ(P::BufSize(wrong, &bytes), kEngineWrongSpecKind);
        EXPECT_EQ(P::Free(wrong), kEngineWrongSpecKind);
        for (auto run : {P::Forward, P::Inverse})
            EXPECT_EQ(run(nullptr, x.Im(), y.Re(), y.Im(), wrong, nullptr), kEngineWrongSpecKind);
    }
    EXPECT_EQ(P::BufSize(none, &bytes), kEngineNullPointer);
    EXPECT_EQ(P::BufSize(good.get(), nullptr), kEngineNullPointer);
    EXPECT_EQ(P::Free(nullptr), kEngineNullPointer);
    EngineAllocatorTable.malloc = NoMemory;
    EXPECT_EQ(P::Init(&spec, 6, kScaleNone, kHintAccurate), kEngineOutOfMemory);
    for (auto run : {P::Forward, P::Inverse}) {
        EXPECT_EQ(run(x.Re(), x.Im(), y.Re(), y.Im(), good.get(), nullptr), kEngineOutOfMemory);
        EXPECT_EQ(run(x.Re(), x.Im(), y.Re(), y.Im(), nullptr, nullptr), kEngineNullPointer);
        for (std::size_t missing = 0; missing < 4; ++missing) {
            Real *a[] = {x.Re(), x.Im(), y.Re(), y.Im()};
            a[missing] = nullptr;
            EXPECT_EQ(run(a[0], a[1], a[2], a[3], good.get(), nullptr), kEngineNullPointer);
        }
    }
    EngineAllocatorTable.malloc = std::malloc;
    std::free(kept);
    EXPECT_EQ(bytes, -1);
    EXPECT_EQ(spec, none);
    EXPECT_EQ(y.Values(), std::vector<LongComplex>(64));
}

// All byte counts of the engine are int32; those of the longest transforms stay far from its end.
TYPED_TEST(Transform, RecordAndWorkBufferStaySmallUpToTheLongest) {
    for (int order = 0; order <= TypeParam::maxOrder; ++order) {
        const auto spec = MakeSpec<TypeParam>(order);
        const std::size_t work = MakeWork<TypeParam>(spec.get()).size();
        EXPECT_EQ(work == 0, order <= 5) << order;
        EXPECT_LT(work, 32u << 20) << order;
        typename TypeParam::Spec *refused = nullptr;
        EngineAllocatorTable.malloc = NoMemory;
        TypeParam::Init(&refused, order, kScaleNone, kHintAccurate);
        EngineAllocatorTable.malloc = std::malloc;
        EXPECT_LT(bytesAsked, 32u << 20) << order;
    }
}

TEST(Allocator, AlignsAndCountsWithoutOverflow) {
    for (int bytes : {1, 31, 32, 33, 4097}) {
        auto *block = static_cast<std::uint8_t *>(EngineMalloc(bytes));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 32, 0u);
        std::fill_n(block, bytes, std::uint8_t{255});
        EngineFree(block);
    }
    EngineFree(nullptr);
    EngineAllocatorTable.malloc = NoMemory;
    for (int bytes : {INT_MAX, 0, -1, INT_MIN})
        EXPECT_EQ(EngineMalloc(bytes), nullptr);
    EngineAllocatorTable.malloc = std::malloc;
    EXPECT_EQ(bytesAsked, std::size_t{INT_MAX} + 40);
}

class Primitives : public EachLevelTest {};
INSTANTIATE_TEST_SUITE_P(, Primitives, AtEachLevel(), LevelName);

TEST_P(Primitives, MagnitudeIsRightForEveryFiniteInput) {
    const float values[] = {0,      3,    -4,    1e-45f, 3e-42f, FLT_MIN, 1e-30f,
                            1e-22f, 1.5f, 2e19f, 1e38f,  -0.0f,  65504};
    for (int len = 1; len <= 39; ++len) {
        std::vector<float> re, magnitude(static_cast<std::size_t>(len));
        for (int i = 0; i < len; ++i)
            re.push_back(values[i % 13]);
        const std::vector<float> im(re.rbegin(), re.rend());
        ASSERT_EQ(MagnitudeSplit32f(re.data(), im.data(), magnitude.data(), len), kEngineOk);
        for (std::size_t i = 0; i < re.size(); ++i) {
            const double exact = std::hypot(static_cast<double>(re[i]), static_cast<double>(im[i]));
            EXPECT_NEAR(magnitude[i], exact, exact * 6e-8 + 0.5 * FLT_TRUE_MIN) << re[i] << ' ' << im[i];
        }
    }
    float x = 1;
    EXPECT_EQ(MagnitudeSplit32f(&x, &x, &x, 0), kEngineSizeError);
    EXPECT_EQ(MagnitudeSplit32f(nullptr, &x, &x, 1), kEngineNullPointer);
    EXPECT_EQ(MagnitudeSplit32f(&x, nullptr, &x, 1), kEngineNullPointer);
    EXPECT_EQ(MagnitudeSplit32f(&x, &x, nullptr, 0), kEngineNullPointer);
}

TEST_P(Primitives, DeviationMatchesTwoPassesAndIsNeverNaN) {
    for (double level : {0.0, 0.1, 1e3, 1e-40, 1e30})
        for (std::size_t len : {2u, 3u, 4u, 7u, 12u, 1001u})
            for (double spread : {0.0, 1e-3, 1.0}) {
                std::vector<float> x = WhiteNoise(len, 0);
                for (float &value : x)
                    value = static_cast<float>(level + spread * level * value);
                long double mean = 0, squares = 0;
                for (float value : x)
                    mean += value / static_cast<long double>(len);
                for (float value : x)
                    squares += (value - mean) * (value - mean);
                const auto exact =
                    static_cast<double>(std::sqrt(squares / static_cast<long double>(len - 1)));
                for (int hint : {kHintFast, kHintAccurate}) {
                    float deviation = -1;
                    ASSERT_EQ(StdDev32f(x.data(), static_cast<int>(len), &deviation, hint), kEngineOk);
                    EXPECT_NEAR(deviation, exact, spread == 0 ? exact : exact * 1e-6 + FLT_TRUE_MIN) << level;
                    EXPECT_EQ(deviation == 0, std::ranges::count(x, x[0]) == static_cast<long>(len)) << level;
                }
            }
    float x[2] = {1, 2}, y;
    EXPECT_EQ(StdDev32f(x, 1, &y, kHintAccurate), kEngineSizeError);
    EXPECT_EQ(StdDev32f(nullptr, 2, &y, kHintAccurate), kEngineNullPointer);
    EXPECT_EQ(StdDev32f(x, 1, nullptr, kHintAccurate), kEngineNullPointer);
}

} // namespace
