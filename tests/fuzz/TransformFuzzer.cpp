// SPDX-License-Identifier: MIT
// The transform routines, compared with the definition and among themselves, through every way to call them.
#include <cstring>
#include <memory>

#include "fft/FFTWorkingData.h"
#include "tests/SlowTransform.h"
#include "tests/fuzz/FuzzedSound.h"

using namespace FftEngine;
using namespace quietfloor;

namespace {

constexpr std::int32_t kPoints = 64, kMostPoints = 20'000; // in single precision; more takes too long

template <class Real>
struct Sequence {
    std::vector<Real> re, im;

    Sequence(const Samples &x, const Samples &y) : re(x.begin(), x.end()), im(y.begin(), y.end()) {}

    bool operator==(const Sequence &other) const { // bit for bit
        const std::size_t bytes = re.size() * sizeof(Real);
        return std::memcmp(re.data(), other.re.data(), bytes) == 0 &&
               std::memcmp(im.data(), other.im.data(), bytes) == 0;
    }
    std::vector<LongComplex> Wide() const {
        std::vector<LongComplex> z;
        for (std::size_t i = 0; i < re.size(); ++i)
            z.emplace_back(re[i], im[i]);
        return z;
    }
};

template <class Real>
Sequence<Real> AnySequence(FuzzedDataProvider &input, std::size_t count) {
    const Samples re = AnySound(input, count);
    return {re, AnySound(input, count)};
}

long double Norm(const std::vector<LongComplex> &z) {
    long double sum = 0;
    for (const LongComplex &value : z)
        sum += std::norm(value);
    return std::sqrt(sum);
}

// The error is a few roundings of the norm per stage. Near the ends of the range of floats, where sums
// overflow or lose bits to underflow, nothing is promised, and nothing for what is not finite.
template <class Real>
void RequireNear(const Sequence<Real> &got, std::vector<LongComplex> expected, long double norm) {
    const auto wide = got.Wide();
    for (std::size_t k = 0; k < expected.size(); ++k)
        expected[k] -= wide[k];
    const long double stages = std::log2(static_cast<long double>(expected.size())) + 1;
    REQUIRE((norm != 0 && !(norm > 1e-20L && norm < 1e20L)) ||
            Norm(expected) <= norm * stages * 4 * std::numeric_limits<Real>::epsilon());
}

// By the definition, or by Parseval's theorem where that takes too long.
template <class Real>
void RequireTransform(const Sequence<Real> &got, const Sequence<Real> &x, bool isInverse) {
    const auto source = x.Wide();
    const long double norm = Norm(source) * std::sqrt(static_cast<long double>(source.size()));
    if (source.size() <= 512 && std::isfinite(norm))
        return RequireNear(got, SlowTransform(source, isInverse), norm);
    const Samples energy{static_cast<float>(Norm(got.Wide()))};
    RequireNear(Sequence<float>(energy, {0}), {norm}, norm);
}

// Of both precisions with working data of all kinds; with that of another kind not a bit may change.
void FuzzRoutines(FuzzedDataProvider &input) {
    const unsigned choice = AnyByte(input), kind = choice % 4;
    const auto any = input.ConsumeIntegral<std::int32_t>();
    const std::int32_t requested = choice & 4 ? any : any % kMostPoints;
    if (requested > kMostPoints && requested <= 1 << kMaxOrder64f)
        return;
    const auto dir = static_cast<quietfloor::Int32>(choice & 8 ? any : static_cast<int>(choice / 64) - 1);
    const auto n = static_cast<quietfloor::Int32>(choice & 16 ? any : kPoints);
    const std::unique_ptr<FFTWORKINGDATA> data(kind == 0   ? CreateFFTWORKINGDATA_F()
                                               : kind == 1 ? CreateFFTWORKINGDATA_D(requested)
                                               : kind == 2 ? new FFTWORKINGDATA_F
                                                           : new FFTWORKINGDATA);
    const auto x = AnySequence<float>(input, kPoints);
    auto y = x;
    LFFTF(y.re.data(), y.im.data(), n, dir, *data);
    kind == 0 ? RequireTransform(y, x, dir == -1) : REQUIRE(y == x);

    const bool isPrepared = kind == 1 && requested <= kMostPoints;
    const auto points = std::bit_ceil(static_cast<std::uint32_t>(isPrepared ? std::max(requested, 2) : 2));
    const auto source = AnySequence<double>(input, points);
    auto kept = source, inPlace = source, target = source;
    LFFTSD(kept.re.data(), kept.im.data(), target.re.data(), target.im.data(), n, dir, *data);
    LFFTD(inPlace.re.data(), inPlace.im.data(), n, dir, *data);
    REQUIRE(kept == source && inPlace == target);
    isPrepared ? RequireTransform(target, source, dir == -1) : REQUIRE(target == source);
    LFFTD(inPlace.re.data(), inPlace.im.data(), n, dir == -1 ? 1 : -1, *data); // and back, times the length
    auto expected = source.Wide();
    for (LongComplex &value : expected)
        value *= static_cast<long double>(isPrepared ? points : 1);
    RequireNear(inPlace, expected, 2 * Norm(expected));

    auto pair = x, spectrum = AnySequence<float>(input, kPoints), other = AnySequence<float>(input, kPoints);
    const auto before = spectrum;
    LFFT2CF(pair.re.data(), pair.im.data(), spectrum.re.data(), spectrum.im.data(), other.re.data(),
            other.im.data(), n, dir, *data);
    if (kind != 0 || n != kPoints)
        REQUIRE(pair == x && spectrum == before);
    else if (const long double norm = 8 * Norm(x.Wide()); dir > 0 && std::isfinite(norm))
        RequireNear(spectrum, SlowTransform(Sequence<float>(x.re, Samples(kPoints)).Wide()), norm);
}

// Left + i right is the spectrum that was taken apart; the results may lie over it. Nobody reads the upper
// half when it is put together again.
template <class Real>
void FuzzPacking(FuzzedDataProvider &input) {
    const std::size_t half = AnyByte(input) % 100 + 1, channel = AnyByte(input) % 3;
    const auto z = AnySequence<Real>(input, 2 * half);
    Sequence<Real> first = z, second = z;
    Real *re[4] = {}, *im[4] = {};
    re[channel] = first.re.data(), im[channel] = second.re.data();
    re[channel + 1] = first.im.data(), im[channel + 1] = second.im.data();
    const int at = static_cast<int>(channel), n = static_cast<int>(2 * half);
    SplitComplexSpectrumToLR(first.re.data(), first.im.data(), at, re, im, n);
    auto joint = first.Wide();
    for (std::size_t k = 0; k < joint.size(); ++k)
        joint[k] += LongComplex(-second.im[k], second.re[k]);
    RequireNear(z, joint, Norm(z.Wide()));
    if constexpr (std::is_same_v<Real, float>) {
        for (auto *row : {&first.re, &first.im, &second.re, &second.im})
            std::fill(row->begin() + static_cast<std::ptrdiff_t>(half) + 1, row->end(), NAN);
        CombineLRSpectrumToComplex(at, re, im, first.re.data(), first.im.data(), n);
        RequireNear(first, z.Wide(), Norm(z.Wide()));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    void (*const parts[])(FuzzedDataProvider &) = {FuzzPacking<float>, FuzzPacking<double>, FuzzRoutines};
    parts[std::min(AnyByte(input) % 8, 2u)](input);
    return 0;
}
