#include "fft/engine/FftEngine.h"
#include "fft/engine/Allocator.h"
#include "fft/engine/DenormalScope.h"
#include "fft/engine/Dispatch.h"
#include "tests/SlowTransform.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cstdlib>
#include <limits>
#include <memory>
#include <random>

using namespace FftEngine;

namespace {

struct Single {
    using Real = float;
    using Spec = FftSpec32f;
    using OtherSpec = FftSpec64f;
    static constexpr auto Init = FFTInitComplex32f;
    static constexpr auto Free = FFTFreeComplex32f;
    static constexpr auto BufSize = FFTGetBufSize32f;
    static constexpr auto Forward = FFTForwardComplex32f;
    static constexpr auto Inverse = FFTInverseComplex32f;
    static constexpr int maxOrder = 28;
    static constexpr double errorPerOrder = 2e-7;
};

struct Double {
    using Real = double;
    using Spec = FftSpec64f;
    using OtherSpec = FftSpec32f;
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

// One odd byte further than the allocator's alignment, and of the exact size.
template <class P>
std::vector<std::uint8_t> MakeWork(const typename P::Spec *spec) {
    std::int32_t bytes = -1;
    EXPECT_EQ(P::BufSize(spec, &bytes), kEngineOk);
    return std::vector<std::uint8_t>(static_cast<std::size_t>(bytes));
}

// Split values that begin `shift` values past an allocation's start.
template <class Real>
struct Signal {
    explicit Signal(std::size_t n, std::size_t shift = 0) : re(n + shift), im(n + shift), offset(shift) {}
    Real *Re() { return re.data() + offset; }
    Real *Im() { return im.data() + offset; }
    std::size_t Size() const { return re.size() - offset; }
    LongComplex At(std::size_t i) const { return {re[i + offset], im[i + offset]}; }
    std::vector<LongComplex> Values() const {
        std::vector<LongComplex> values;
        for (std::size_t i = 0; i < Size(); ++i)
            values.push_back(At(i));
        return values;
    }
    std::vector<Real> re, im;
    std::size_t offset;
};

template <class Real>
Signal<Real> Noise(std::size_t n, unsigned seed, std::size_t shift = 0) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<Real> uniform(-1, 1);
    Signal<Real> x(n, shift);
    for (std::size_t i = 0; i < n; ++i) {
        x.Re()[i] = uniform(generator);
        x.Im()[i] = uniform(generator);
    }
    return x;
}

// Root mean square of the difference over that of `expected` times `factor`.
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

template <class P>
class Transform : public testing::Test {};
using Precisions = testing::Types<Single, Double>;
TYPED_TEST_SUITE(Transform, Precisions);

TYPED_TEST(Transform, AgreesWithTheDefinitionInPlaceAndApartAtAnyAlignment) {
    using Real = typename TypeParam::Real;
    for (int order = 0; order <= 17; ++order) {
        const std::size_t n = std::size_t{1} << order;
        const double bound = TypeParam::errorPerOrder * std::max(order, 1);
        const auto spec = MakeSpec<TypeParam>(order);
        auto work = MakeWork<TypeParam>(spec.get());
        for (bool isInverse : {false, true}) {
            const auto run = isInverse ? TypeParam::Inverse : TypeParam::Forward;
            Signal<Real> x = Noise<Real>(n, 7, 1), apart(n, 3), back(n);
            const auto expected = SlowTransform(x.Values(), isInverse);
            ASSERT_EQ(run(x.Re(), x.Im(), apart.Re(), apart.Im(), spec.get(), work.data()), kEngineOk);
            EXPECT_LT(RelativeError(apart, expected), bound) << order << isInverse;
            const auto other = isInverse ? TypeParam::Forward : TypeParam::Inverse;
            other(apart.Re(), apart.Im(), back.Re(), back.Im(), spec.get(), nullptr);
            EXPECT_LT(RelativeError(back, x.Values(), static_cast<long double>(n)), 2 * bound) << order;
            run(x.Re(), x.Im(), x.Re(), x.Im(), spec.get(), nullptr);
            for (std::size_t i = 0; i < n; ++i)
                ASSERT_EQ(x.At(i), apart.At(i)) << order << " in place, own work buffer";
        }
    }
}

// An impulse becomes an exponential and the other way round.
TYPED_TEST(Transform, LongOnesTurnImpulseIntoExponential) {
    using Real = typename TypeParam::Real;
    for (int order : {20, 23}) {
        const std::size_t n = std::size_t{1} << order, place = n / 3 | 1;
        const auto spec = MakeSpec<TypeParam>(order);
        Signal<Real> x(n);
        x.Re()[place] = 1;
        const long double turn = -2 * std::numbers::pi_v<long double> / static_cast<long double>(n);
        std::vector<LongComplex> exponential, impulse(n);
        for (std::size_t k = 0; k < n; ++k)
            exponential.push_back(std::polar(1.0L, turn * static_cast<long double>(k * place % n)));
        impulse[place] = static_cast<long double>(n);
        TypeParam::Forward(x.Re(), x.Im(), x.Re(), x.Im(), spec.get(), nullptr);
        EXPECT_LT(RelativeError(x, exponential), TypeParam::errorPerOrder * order);
        Signal<Real> back(n);
        TypeParam::Inverse(x.Re(), x.Im(), back.Re(), back.Im(), spec.get(), nullptr);
        EXPECT_LT(RelativeError(back, impulse), TypeParam::errorPerOrder * order);
    }
}

TYPED_TEST(Transform, ScalesTheDirectionsThatTheFlagNames) {
    using Real = typename TypeParam::Real;
    for (int order : {0, 1, 3, 5, 6, 9, 17}) {
        const auto n = static_cast<Real>(1 << order);
        const struct {
            int flag;
            Real forward, inverse;
        } cases[] = {{kScaleForwardByN, 1 / n, 1},
                     {kScaleInverseByN, 1, 1 / n},
                     {kScaleBySqrtN, 1 / std::sqrt(n), 1 / std::sqrt(n)}};
        const auto plain = MakeSpec<TypeParam>(order);
        for (const auto &c : cases) {
            const auto spec = MakeSpec<TypeParam>(order, c.flag);
            Signal<Real> x = Noise<Real>(std::size_t{1} << order, 3), y(x.Size()), scaled(x.Size());
            for (bool isInverse : {false, true}) {
                const auto run = isInverse ? TypeParam::Inverse : TypeParam::Forward;
                run(x.Re(), x.Im(), y.Re(), y.Im(), plain.get(), nullptr);
                run(x.Re(), x.Im(), scaled.Re(), scaled.Im(), spec.get(), nullptr);
                EXPECT_LT(RelativeError(scaled, y.Values(), isInverse ? c.inverse : c.forward),
                          std::numeric_limits<Real>::epsilon())
                    << order << ' ' << c.flag;
            }
        }
    }
}

TYPED_TEST(Transform, FourPointsByHand) {
    using Real = typename TypeParam::Real;
    const auto spec = MakeSpec<TypeParam>(2);
    Signal<Real> x(4), y(4);
    x.Re()[0] = x.Im()[1] = 1;
    TypeParam::Forward(x.Re(), x.Im(), y.Re(), y.Im(), spec.get(), nullptr);
    EXPECT_EQ(y.At(1), LongComplex(2, 0));
    TypeParam::Inverse(x.Re(), x.Im(), y.Re(), y.Im(), spec.get(), nullptr);
    EXPECT_EQ(y.At(1), LongComplex(0, 0));
}

TYPED_TEST(Transform, RefusalsNameTheirReasonAndWriteNothing) {
    using Real = typename TypeParam::Real;
    typename TypeParam::Spec *spec = nullptr, *const none = nullptr;
    for (int order : {-1, TypeParam::maxOrder + 1, std::numeric_limits<int>::max()})
        EXPECT_EQ(TypeParam::Init(&spec, order, kScaleNone, kHintFast), kEngineBadOrder);
    for (int flag : {0, 3, 5, 16, -8})
        EXPECT_EQ(TypeParam::Init(&spec, 6, flag, kHintFast), kEngineBadFlag);
    EXPECT_EQ(TypeParam::Init(nullptr, 6, kScaleNone, kHintFast), kEngineNullPointer);
    EXPECT_EQ(spec, none);
    const auto good = MakeSpec<TypeParam>(6);
    // Freed records and those of the other precision differ in the tag, the first field of a record.
    alignas(32) std::uint8_t freed[1024] = {};
    const auto *wrong = reinterpret_cast<const typename TypeParam::Spec *>(freed);
    Signal<Real> x = Noise<Real>(64, 1), y(64);
    std::int32_t bytes = -1;
    EXPECT_EQ(TypeParam::BufSize(none, &bytes), kEngineNullPointer);
    EXPECT_EQ(TypeParam::BufSize(wrong, &bytes), kEngineWrongSpecKind);
    EXPECT_EQ(TypeParam::BufSize(good.get(), nullptr), kEngineNullPointer);
    EXPECT_EQ(bytes, -1);
    EXPECT_EQ(TypeParam::Free(nullptr), kEngineNullPointer);
    EXPECT_EQ(TypeParam::Free(reinterpret_cast<typename TypeParam::Spec *>(freed)), kEngineWrongSpecKind);
    for (auto run : {TypeParam::Forward, TypeParam::Inverse}) {
        EXPECT_EQ(run(x.Re(), x.Im(), y.Re(), y.Im(), nullptr, nullptr), kEngineNullPointer);
        EXPECT_EQ(run(nullptr, x.Im(), y.Re(), y.Im(), wrong, nullptr), kEngineWrongSpecKind);
        for (int missing = 0; missing < 4; ++missing) {
            Real *arrays[] = {x.Re(), x.Im(), y.Re(), y.Im()};
            arrays[missing] = nullptr;
            EXPECT_EQ(run(arrays[0], arrays[1], arrays[2], arrays[3], good.get(), nullptr),
                      kEngineNullPointer);
        }
    }
    for (std::size_t i = 0; i < y.Size(); ++i)
        ASSERT_EQ(y.At(i), LongComplex(0, 0));
}

TEST(Spec, OfTheOtherPrecisionIsRefused) {
    const auto single = MakeSpec<Single>(4);
    float x[16] = {}, y[16] = {};
    double wide[16] = {};
    const auto *asDouble = reinterpret_cast<const FftSpec64f *>(single.get());
    EXPECT_EQ(FFTForwardComplex64f(wide, wide, wide, wide, asDouble, nullptr), kEngineWrongSpecKind);
    const auto twice = MakeSpec<Double>(4);
    const auto *asSingle = reinterpret_cast<const FftSpec32f *>(twice.get());
    EXPECT_EQ(FFTInverseComplex32f(x, x, y, y, asSingle, nullptr), kEngineWrongSpecKind);
}

// Every byte count of the engine is an int32; the longest transforms stay far below its end.
TYPED_TEST(Transform, RecordAndWorkBufferStaySmallUpToTheLongest) {
    for (int order = 0; order <= TypeParam::maxOrder; ++order) {
        const auto work = MakeWork<TypeParam>(MakeSpec<TypeParam>(order).get());
        EXPECT_EQ(work.empty(), order <= 5) << order;
        EXPECT_LT(work.size(), 32u << 20) << order;
    }
}

// Counts down to the allocation that fails.
int allocationsLeft = 0;
void *FailingMalloc(std::size_t bytes) { return allocationsLeft-- > 0 ? std::malloc(bytes) : nullptr; }

TYPED_TEST(Transform, ReportsMissingMemory) {
    using Real = typename TypeParam::Real;
    const auto good = MakeSpec<TypeParam>(6);
    Signal<Real> x = Noise<Real>(64, 1), y(64);
    typename TypeParam::Spec *spec = nullptr;
    EngineAllocatorTable.malloc = FailingMalloc;
    allocationsLeft = 0;
    const EngineStatus init = TypeParam::Init(&spec, 6, kScaleNone, kHintAccurate);
    const EngineStatus run = TypeParam::Forward(x.Re(), x.Im(), y.Re(), y.Im(), good.get(), nullptr);
    EngineAllocatorTable.malloc = std::malloc;
    EXPECT_EQ(init, kEngineOutOfMemory);
    EXPECT_EQ(spec, nullptr);
    EXPECT_EQ(run, kEngineOutOfMemory);
    EXPECT_EQ(y.At(0), LongComplex(0, 0));
}

std::size_t bytesAsked = 0;
void *RefusingMalloc(std::size_t bytes) {
    bytesAsked = bytes;
    return nullptr;
}

TEST(Allocator, AlignsAndCountsWithoutOverflow) {
    for (int bytes : {1, 31, 32, 33, 4097}) {
        auto *block = static_cast<std::uint8_t *>(EngineMalloc(bytes));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 32, 0u);
        std::fill_n(block, bytes, std::uint8_t{255});
        EngineFree(block);
    }
    for (int bytes : {0, -1, std::numeric_limits<int>::min()})
        EXPECT_EQ(EngineMalloc(bytes), nullptr);
    EngineFree(nullptr);
    EngineAllocatorTable.malloc = RefusingMalloc;
    EXPECT_EQ(EngineMalloc(std::numeric_limits<int>::max()), nullptr);
    EngineAllocatorTable.malloc = std::malloc;
    EXPECT_EQ(bytesAsked, std::size_t{2147483647} + 40);
}

TEST(MagnitudeSplit, IsRightForEveryFiniteInput) {
    const float values[] = {0,      3,    -4,    1e-45f, 3e-42f, FLT_MIN, 1e-30f,
                            1e-22f, 1.5f, 2e19f, 1e38f,  -0.0f,  65504};
    for (int len = 1; len <= 13; ++len) {
        std::vector<float> re(values, values + len), im(re.rbegin(), re.rend()), magnitude(re.size());
        ASSERT_EQ(MagnitudeSplit32f(re.data(), im.data(), magnitude.data(), len), kEngineOk);
        for (std::size_t i = 0; i < re.size(); ++i) {
            const double exact = std::hypot(static_cast<double>(re[i]), static_cast<double>(im[i]));
            EXPECT_NEAR(magnitude[i], exact, exact * 6e-8 + 0.5 * 1.4e-45) << re[i] << ' ' << im[i];
        }
    }
    float x = 1;
    EXPECT_EQ(MagnitudeSplit32f(&x, &x, &x, 0), kEngineSizeError);
    EXPECT_EQ(MagnitudeSplit32f(nullptr, &x, &x, 1), kEngineNullPointer);
    EXPECT_EQ(MagnitudeSplit32f(&x, nullptr, &x, 1), kEngineNullPointer);
    EXPECT_EQ(MagnitudeSplit32f(&x, &x, nullptr, 0), kEngineNullPointer);
}

TEST(StdDev, MatchesTwoPassesAndIsNeverNaN) {
    std::mt19937 generator(5);
    for (double level : {0.0, 1e3, 1e-40, 1e30})
        for (std::size_t len : {2u, 3u, 4u, 7u, 12u, 1001u})
            for (double spread : {0.0, 1e-3, 1.0}) {
                std::vector<float> x(len);
                std::uniform_real_distribution<double> uniform(-1, 1);
                for (float &value : x)
                    value =
                        static_cast<float>(level + spread * (level == 0 ? 1 : level) * uniform(generator));
                long double mean = 0, squares = 0;
                for (float value : x)
                    mean += value / static_cast<long double>(len);
                for (float value : x)
                    squares += (value - mean) * (value - mean);
                const double exact =
                    static_cast<double>(std::sqrt(squares / static_cast<long double>(len - 1)));
                for (int hint : {kHintFast, kHintAccurate}) {
                    float deviation = -1;
                    ASSERT_EQ(StdDev32f(x.data(), static_cast<int>(len), &deviation, hint), kEngineOk);
                    if (spread == 0)
                        EXPECT_EQ(deviation, 0) << level;
                    else
                        EXPECT_NEAR(deviation, exact, exact * 1e-6 + 1.4e-45) << level << ' ' << len;
                }
            }
    float x[2] = {1, 2}, y;
    EXPECT_EQ(StdDev32f(x, 1, &y, kHintAccurate), kEngineSizeError);
    EXPECT_EQ(StdDev32f(nullptr, 2, &y, kHintAccurate), kEngineNullPointer);
    EXPECT_EQ(StdDev32f(x, 1, nullptr, kHintAccurate), kEngineNullPointer);
}

TEST(DenormalScope, FlushesInsideAndRestoresOutside) {
    const volatile float small = FLT_MIN, half = 0.5f;
    EXPECT_GT(small * half, 0.0f);
    {
        const DenormalScope outer;
        EXPECT_EQ(small * half, 0.0f);
        { const DenormalScope inner; }
        EXPECT_EQ(small * half, 0.0f);
    }
    EXPECT_GT(small * half, 0.0f);
}

TEST(Dispatch, EverySlotHasKernelsAndTheIndexIsOneOfThem) {
    for (int slot = 0; slot < kDispatchSlots; ++slot)
        EXPECT_NE(KernelsOfSlot(slot).name, nullptr);
    EXPECT_GE(CpuDispatchIndex, 0);
    EXPECT_LT(CpuDispatchIndex, kDispatchSlots);
}

} // namespace
