// The transform routines, compared with the definition and among themselves, through every way to call them.
#include <cstring>
#include <memory>

#include "fft/FFTWorkingData.h"
#include "tests/SlowTransform.h"
#include "tests/fuzz/FuzzedSound.h"

using namespace FftEngine;

namespace {

template <class Real>
using Row = std::vector<Real>;

template <class Real>
struct Sequence {
    Row<Real> re, im;

    bool operator==(const Sequence &other) const { // bit for bit
        return IsSameBits(re, other.re) && IsSameBits(im, other.im);
    }
    static bool IsSameBits(const Row<Real> &a, const Row<Real> &b) {
        return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(Real)) == 0;
    }
    std::vector<LongComplex> Wide(long double factor = 1) const {
        std::vector<LongComplex> z(re.size());
        for (std::size_t i = 0; i < z.size(); ++i)
            z[i] = {re[i] * factor, im[i] * factor};
        return z;
    }
};

template <class Real>
Row<Real> AnyRow(FuzzedDataProvider &input, std::size_t count) {
    const Samples x = AnySound(input, count);
    return Row<Real>(x.begin(), x.end());
}

template <class Real>
Sequence<Real> AnySequence(FuzzedDataProvider &input, std::size_t count) {
    return {AnyRow<Real>(input, count), AnyRow<Real>(input, count)};
}

long double Norm(const std::vector<LongComplex> &z) {
    long double sum = 0;
    for (const LongComplex &value : z)
        sum += std::norm(value);
    return std::sqrt(sum);
}

// The error of a transform is a few roundings of the norm per stage. Near the ends of the range of floats
// sums overflow, or lose bits to underflow, and nothing is promised.
template <class Real>
long double Tolerance(long double norm, long double n) {
    const bool isComparable = norm == 0 || (norm > 1e-20L && norm < 1e20L);
    const long double rounding = 4 * std::numeric_limits<Real>::epsilon() * (std::log2(n) + 1);
    return isComparable ? norm * rounding : std::numeric_limits<long double>::infinity();
}

template <class Real>
void RequireNear(const Sequence<Real> &got, std::vector<LongComplex> expected, long double norm) {
    const auto wide = got.Wide();
    for (std::size_t k = 0; k < expected.size(); ++k)
        expected[k] -= wide[k];
    const long double tolerance = Tolerance<Real>(norm, static_cast<long double>(expected.size()));
    REQUIRE(std::isinf(tolerance) || Norm(expected) <= tolerance);
}

// `got` is the transform of `x` over `divisor`: by the definition, and by Parseval's theorem where that
// takes too long.
template <class Real>
void RequireTransform(const Sequence<Real> &got, const Sequence<Real> &x, bool isInverse,
                      long double divisor = 1) {
    const auto n = static_cast<long double>(x.re.size());
    const long double norm = Norm(x.Wide(1 / divisor)) * std::sqrt(n), tolerance = Tolerance<Real>(norm, n);
    if (n <= 512 && std::isfinite(norm))
        RequireNear(got, SlowTransform(x.Wide(1 / divisor), isInverse), norm);
    else
        REQUIRE(std::isinf(tolerance) || std::abs(Norm(got.Wide()) - norm) <= tolerance);
}

template <class Real>
struct Engine;

template <>
struct Engine<float> {
    using Spec = FftSpec32f;
    static constexpr auto Init = FFTInitComplex32f;
    static constexpr auto Free = FFTFreeComplex32f;
    static constexpr auto BufSize = FFTGetBufSize32f;
    static constexpr auto Forward = FFTForwardComplex32f;
    static constexpr auto Inverse = FFTInverseComplex32f;
    static constexpr std::int32_t maxOrder = kMaxOrder32f;
};

template <>
struct Engine<double> {
    using Spec = FftSpec64f;
    static constexpr auto Init = FFTInitComplex64f;
    static constexpr auto Free = FFTFreeComplex64f;
    static constexpr auto BufSize = FFTGetBufSize64f;
    static constexpr auto Forward = FFTForwardComplex64f;
    static constexpr auto Inverse = FFTInverseComplex64f;
    static constexpr std::int32_t maxOrder = kMaxOrder64f;
};

template <class Real>
void FuzzEngine(FuzzedDataProvider &input) {
    using E = Engine<Real>;
    using Other = Engine<std::conditional_t<std::is_same_v<Real, float>, double, float>>;
    const auto choice = input.ConsumeIntegral<std::uint8_t>();
    const std::int32_t order = choice % 16 == 15 ? input.ConsumeIntegral<std::int32_t>() : choice % 16;
    const std::int32_t flag = choice & 128 ? input.ConsumeIntegral<std::int32_t>() : 1 << choice / 16 % 4;
    if (order > 16 && order <= E::maxOrder) // valid, but it takes too long
        return;
    typename E::Spec *spec = nullptr;
    const EngineStatus status = E::Init(&spec, order, flag, input.ConsumeIntegral<std::int32_t>());
    const bool isOrder = order >= 0 && order <= E::maxOrder;
    const bool isFlag = flag == 1 || flag == 2 || flag == 4 || flag == 8;
    REQUIRE(status == (!isOrder ? kEngineBadOrder : !isFlag ? kEngineBadFlag : kEngineOk));
    REQUIRE((spec != nullptr) == (status == kEngineOk));
    if (spec == nullptr)
        return;
    auto *const otherKind = reinterpret_cast<typename Other::Spec *>(spec);
    REQUIRE(Other::Free(otherKind) == kEngineWrongSpecKind);
    std::int32_t bytes = 0;
    REQUIRE(E::BufSize(spec, &bytes) == kEngineOk && (bytes == 0) == (order <= 5));
    Row<std::uint8_t> buffer(static_cast<std::size_t>(bytes) + 1); // no alignment is promised

    const std::size_t n = std::size_t{1} << order;
    const auto length = static_cast<long double>(n);
    const auto x = AnySequence<Real>(input, n);
    auto turned = x;
    long double product = 1 / length; // of both divisors and 1 / n
    for (const bool isInverse : {false, true}) {
        const auto run = isInverse ? E::Inverse : E::Forward;
        const auto source = turned;
        auto inPlace = source;
        auto *const work = bytes == 0 ? nullptr : buffer.data() + choice % 2;
        run(source.re.data(), source.im.data(), turned.re.data(), turned.im.data(), spec, nullptr);
        REQUIRE(run(inPlace.re.data(), inPlace.im.data(), inPlace.re.data(), inPlace.im.data(), spec, work) ==
                kEngineOk);
        REQUIRE(inPlace == turned);
        const bool isScaled = flag == (isInverse ? kScaleInverseByN : kScaleForwardByN);
        const long double divisor = isScaled ? length : flag == kScaleBySqrtN ? std::sqrt(length) : 1;
        RequireTransform(turned, source, isInverse, divisor);
        product *= divisor;
    }
    RequireNear(turned, x.Wide(1 / product), 2 * Norm(x.Wide(1 / product)));
    REQUIRE(E::Free(spec) == kEngineOk);
}

void FuzzRoutines(FuzzedDataProvider &input) {
    constexpr std::size_t kPoints = 64; // of all in single precision
    const auto choice = input.ConsumeIntegral<std::uint8_t>();
    const auto any = input.ConsumeIntegral<std::int32_t>();
    const std::int32_t requested = choice & 16 ? any : any % 3000;
    if (requested > 20'000 && requested <= 1 << kMaxOrder64f) // valid, but it takes too long
        return;
    const auto dir = static_cast<quietfloor::Int32>(choice & 32 ? any : choice / 64 - 1);
    const auto n = static_cast<quietfloor::Int32>(choice & 8 ? any : std::int32_t{kPoints});
    const bool isSingle = choice % 4 == 0, isDouble = choice % 4 == 1;
    const std::unique_ptr<FFTWORKINGDATA> data(isSingle          ? CreateFFTWORKINGDATA_F()
                                               : isDouble        ? CreateFFTWORKINGDATA_D(requested)
                                               : choice % 4 == 2 ? new FFTWORKINGDATA_F
                                                                 : new FFTWORKINGDATA);
    const auto x = AnySequence<float>(input, kPoints);
    auto y = x;
    LFFTF(y.re.data(), y.im.data(), n, dir, *data);
    if (isSingle)
        RequireTransform(y, x, dir == -1);
    else
        REQUIRE(y == x);

    std::size_t points = 2;
    while (requested < 20'001 && points < static_cast<std::size_t>(std::max(requested, 2)))
        points *= 2;
    const auto source = AnySequence<double>(input, points);
    auto kept = source, inPlace = source, target = source;
    LFFTSD(kept.re.data(), kept.im.data(), target.re.data(), target.im.data(), n, dir, *data);
    LFFTD(inPlace.re.data(), inPlace.im.data(), n, dir, *data);
    REQUIRE(kept == source && inPlace == target);
    if (isDouble && requested <= 20'000)
        RequireTransform(target, source, dir == -1);
    else
        REQUIRE(target == source);

    auto first = AnySequence<float>(input, kPoints), second = AnySequence<float>(input, kPoints);
    const auto spectra = first, others = second;
    y = x;
    const bool isForward = dir > 0;
    if (choice & 64) // results over the signals
        y = {first.re, second.re};
    auto &xOut = choice & 64 ? first.re : y.re;
    auto &yOut = choice & 64 ? second.re : y.im;
    const Sequence<float> signals{xOut, yOut};
    LFFT2CF(xOut.data(), yOut.data(), first.re.data(), first.im.data(), second.re.data(), second.im.data(), n,
            dir, *data);
    if (!isSingle || n != std::int32_t{kPoints}) {
        REQUIRE(first == spectra && second == others);
        return;
    }
    const auto joint = [](const Sequence<float> &a, const Sequence<float> &b) {
        auto z = a.Wide();
        const auto w = b.Wide();
        for (std::size_t k = 0; k < z.size(); ++k)
            z[k] += LongComplex(-w[k].imag(), w[k].real());
        return z;
    };
    const long double norm = 8 * Norm(isForward ? signals.Wide() : joint(spectra, others));
    if (!std::isfinite(norm))
        return;
    if (isForward)
        RequireNear(Sequence<float>{first.re, first.im},
                    SlowTransform(Sequence<float>{signals.re, Samples(kPoints)}.Wide()), norm);
    else
        RequireNear(Sequence<float>{xOut, yOut}, SlowTransform(joint(spectra, others), true), norm);
}

// Taking a spectrum apart and putting it together again is exact but for one rounding, reads no upper
// half and may write over its source.
template <class Real>
void FuzzPacking(FuzzedDataProvider &input) {
    const std::size_t half = input.ConsumeIntegral<std::uint8_t>() % 100 + 1, n = 2 * half;
    const int channel = input.ConsumeIntegral<std::uint8_t>() % 3;
    const auto z = AnySequence<Real>(input, n);
    Sequence<Real> left{Row<Real>(n), Row<Real>(n)}, right = left, source = z;
    Real *re[4] = {}, *im[4] = {};
    re[channel] = left.re.data(), im[channel] = left.im.data();
    re[channel + 1] = right.re.data(), im[channel + 1] = right.im.data();
    SplitComplexSpectrumToLR(source.re.data(), source.im.data(), channel, re, im, static_cast<int>(n));
    REQUIRE(source == z);
    const bool isFinite = std::isfinite(Norm(z.Wide()));
    for (std::size_t k = 1; isFinite && k < half; ++k)
        REQUIRE(left.re[k] == left.re[n - k] && right.im[k] == -right.im[n - k]);
    REQUIRE(left.im[0] == 0 && right.im[half] == 0);
    re[channel] = source.re.data(), im[channel + 1] = source.im.data(); // over the source
    SplitComplexSpectrumToLR(source.re.data(), source.im.data(), channel, re, im, static_cast<int>(n));
    REQUIRE(!isFinite || (source.re == left.re && source.im == right.im));
    if constexpr (std::is_same_v<Real, float>) {
        re[channel] = left.re.data(), im[channel + 1] = right.im.data();
        for (auto *row : {&left.re, &left.im, &right.re, &right.im})
            std::fill(row->begin() + static_cast<std::ptrdiff_t>(half) + 1, row->end(), std::nanf(""));
        Sequence<float> together{Samples(n), Samples(n)};
        CombineLRSpectrumToComplex(channel, re, im, together.re.data(), together.im.data(),
                                   static_cast<int>(n));
        if (isFinite)
            RequireNear(together, z.Wide(), Norm(z.Wide()));
    }
}

void FuzzPrimitives(FuzzedDataProvider &input) {
    const std::int32_t length = input.ConsumeIntegral<std::int16_t>() % 2000;
    const auto x = AnySequence<float>(input, static_cast<std::size_t>(std::max(length, 0)));
    Samples magnitude(x.re.size());
    float deviation = -1;
    float *const target = x.re.empty() ? &deviation : magnitude.data();
    const EngineStatus status = MagnitudeSplit32f(x.re.data(), x.im.data(), target, length);
    REQUIRE(length < 1 ? status < 0 : status == kEngineOk);
    REQUIRE((StdDev32f(x.re.data(), length, &deviation, 0) == kEngineOk) == (length >= 2));
    const auto wide = x.Wide();
    long double sum = 0, squares = 0;
    for (std::size_t k = 0; k < wide.size(); ++k) {
        const long double exact = std::abs(wide[k]);
        REQUIRE(!(exact > 1e-15L && exact < 1e15L) || std::abs(magnitude[k] - exact) <= exact * 1e-6L);
        sum += wide[k].real();
    }
    for (const LongComplex &value : wide)
        squares += std::pow(value.real() - sum / length, 2.0L);
    const long double exact = std::sqrt(squares / (length - 1));
    if (length < 2 || !std::isfinite(exact))
        return;
    REQUIRE(!std::isnan(deviation));
    REQUIRE(exact > 1e30L ||
            std::abs(deviation - exact) <= 1e-6L * (exact + std::abs(sum / length)) + 1e-38L);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    void (*const parts[])(FuzzedDataProvider &) = {FuzzEngine<float>,  FuzzEngine<double>,  FuzzRoutines,
                                                   FuzzPacking<float>, FuzzPacking<double>, FuzzPrimitives};
    parts[input.ConsumeIntegral<std::uint8_t>() % std::size(parts)](input);
    return 0;
}
