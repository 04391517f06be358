// SPDX-License-Identifier: MIT
#include "fft/FFTWorkingData.h"
#include "tests/Signals.h"
#include "tests/SlowTransform.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>

using quietfloor::Int32;

namespace {

constexpr std::size_t kPoints = 64; // of all single-precision working data

template <class Real>
std::vector<LongComplex> Joined(const std::vector<Real> &re, const std::vector<Real> &im) {
    std::vector<LongComplex> z;
    for (std::size_t i = 0; i < re.size(); ++i)
        z.emplace_back(re[i], im[i]);
    return z;
}

template <class Real>
std::vector<LongComplex> SpectrumOf(const std::vector<Real> &x) {
    return SlowTransform(Joined(x, std::vector<Real>(x.size())));
}

// Each value within a few rounding errors of the largest one.
template <class Real>
void ExpectNear(const std::vector<Real> &re, const std::vector<Real> &im,
                const std::vector<LongComplex> &expected, long double factor = 1) {
    long double largest = 0;
    for (const LongComplex &value : expected)
        largest = std::max(largest, std::abs(factor * value));
    const auto got = Joined(re, im);
    for (std::size_t k = 0; k < expected.size(); ++k)
        ASSERT_LE(std::abs(got[k] - factor * expected[k]), largest * 8 * std::numeric_limits<Real>::epsilon())
            << k;
}

using Data = std::unique_ptr<FFTWORKINGDATA>;
Data Single() { return Data(CreateFFTWORKINGDATA_F()); }
Data Double(std::int32_t points) { return Data(CreateFFTWORKINGDATA_D(points)); }

} // namespace

TEST(WorkingData, RoundsUpToAPowerOfTwo) {
    const std::int32_t most = std::numeric_limits<std::int32_t>::max();
    const std::int32_t requests[] = {-5, 0, 1, 2, 3, 4096, 4097, 200'000'000, most};
    const std::int32_t sizes[] = {2, 2, 2, 2, 4, 4096, 8192, 1 << 28, 1 << 30};
    for (std::size_t i = 0; i < std::size(requests); ++i) {
        const std::int32_t requested = requests[i], size = sizes[i];
        const FFTWORKINGDATA_D data(requested);
        EXPECT_EQ(data.fftSpec->size, size);
        EXPECT_EQ(data.fftSpec->spec != nullptr, size <= 8192);
        EXPECT_EQ(data.fftSpec->workBuffer != nullptr, size > 32 && size <= 8192);
    }
    const std::unique_ptr<FFTWORKINGDATA_F> single(CreateFFTWORKINGDATA_F());
    EXPECT_EQ(single->fftSpec->size, 64);
    EXPECT_NE(single->fftSpec->workBuffer, nullptr);
}

TEST(SplitComplexFFT, RunsTheInverseForMinusOneOnlyWhateverTheLengthSays) {
    const auto single = Single(), twice = Double(1000);
    for (Int32 dir : {Int32{-1}, Int32{0}, Int32{1}, Int32{-2}}) {
        auto re = WhiteNoise<float>(kPoints, 0, 1), im = WhiteNoise<float>(kPoints, 0, 2);
        const auto expected = SlowTransform(Joined(re, im), dir == -1);
        LFFTF(re.data(), im.data(), -3, dir, *single);
        ExpectNear(re, im, expected);

        auto srcRe = WhiteNoise<double>(1024, 0, 3), srcIm = WhiteNoise<double>(1024, 0, 4);
        const auto source = Joined(srcRe, srcIm);
        std::vector<double> dstRe(1024), dstIm(1024);
        LFFTSD(srcRe.data(), srcIm.data(), dstRe.data(), dstIm.data(), 5, dir, *twice);
        ExpectNear(dstRe, dstIm, SlowTransform(source, dir == -1));
        EXPECT_EQ(Joined(srcRe, srcIm), source);
        LFFTD(srcRe.data(), srcIm.data(), 0, dir, *twice);
        EXPECT_EQ(srcRe, dstRe);
        LFFTD(srcRe.data(), srcIm.data(), 0, dir == -1 ? 1 : -1, *twice);
        ExpectNear(srcRe, srcIm, source, 1024);
    }
}

TEST(SplitComplexFFT, TwoRealChannelsAreTwoTransforms) {
    const auto single = Single();
    const auto x = WhiteNoise<float>(kPoints, 0, 5), y = WhiteNoise<float>(kPoints, 0, 6);
    for (Int32 dir : {Int32{0}, Int32{-1}, Int32{-9}}) {
        auto xRe = x, yRe = y; // real parts over the signals, and back
        std::vector<float> xIm(kPoints), yIm(kPoints);
        LFFT2CF(xRe.data(), yRe.data(), xRe.data(), xIm.data(), yRe.data(), yIm.data(), kPoints, 1, *single);
        ExpectNear(xRe, xIm, SpectrumOf(x));
        ExpectNear(yRe, yIm, SpectrumOf(y));
        EXPECT_TRUE(xIm[0] == 0 && yIm[0] == 0 && xIm[kPoints / 2] == 0 && yIm[kPoints / 2] == 0);
        for (std::size_t k = 1; k < kPoints; ++k)
            ASSERT_TRUE(xRe[k] == xRe[kPoints - k] && yIm[k] == -yIm[kPoints - k]) << k;
        LFFT2CF(xRe.data(), yRe.data(), xRe.data(), xIm.data(), yRe.data(), yIm.data(), kPoints, dir,
                *single);
        ExpectNear(xRe, yRe, Joined(x, y), kPoints);
    }
}

TEST(SplitComplexFFT, WorkingDataThatDoesNotFitLeavesEveryByteAlone) {
    const auto single = Single(), twice = Double(64), tooLarge = Double(200'000'000);
    FFTWORKINGDATA neither;
    FFTWORKINGDATA_F empty;
    auto f = WhiteNoise<float>(6 * kPoints, 0, 8);
    auto d = WhiteNoise<double>(4 * kPoints, 0, 9);
    const auto floatsBefore = f;
    const auto doublesBefore = d;
    float *const a = f.data();
    double *const p = d.data();
    for (Int32 dir : {Int32{-1}, Int32{1}}) {
        const auto twoChannels = [&](Int32 n, FFTWORKINGDATA &wd) {
            LFFT2CF(a, a + 64, a + 128, a + 192, a + 256, a + 320, n, dir, wd);
        };
        FFTWORKINGDATA *const notSingle[] = {twice.get(), tooLarge.get(), &neither, &empty};
        for (FFTWORKINGDATA *wrong : notSingle) {
            LFFTF(a, a + 64, kPoints, dir, *wrong);
            twoChannels(kPoints, *wrong);
        }
        for (Int32 n : {Int32{-64}, Int32{0}, Int32{32}, Int32{63}, Int32{128}})
            twoChannels(n, *single);
        FFTWORKINGDATA *const notDouble[] = {single.get(), tooLarge.get(), &neither, &empty};
        for (FFTWORKINGDATA *wrong : notDouble) {
            LFFTD(p, p + 64, kPoints, dir, *wrong);
            LFFTSD(p, p + 64, p + 128, p + 192, kPoints, dir, *wrong);
        }
    }
    EXPECT_EQ(f, floatsBefore);
    EXPECT_EQ(d, doublesBefore);
}

template <class Real>
class StereoSpectrum : public testing::Test {};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(StereoSpectrum, Precisions);

// A packed pair comes apart into both transforms, exact and symmetric; the pair is entries 1 and 2 of the
// pointer arrays. Combining needs the lower halves alone: the rest holds NaN.
TYPED_TEST(StereoSpectrum, SplitsByDefinitionAndCombinesFromTheLowerHalves) {
    using Real = TypeParam;
    for (std::size_t n : {2u, 4u, 64u, 1024u}) {
        const int length = static_cast<int>(n);
        const auto left = WhiteNoise<Real>(n, 0, 1), right = WhiteNoise<Real>(n, 0, 2);
        std::vector<Real> zRe, zIm, lRe(n, NAN), lIm(lRe), rRe(lRe), rIm(lRe);
        for (const LongComplex &bin : SlowTransform(Joined(left, right))) {
            zRe.push_back(static_cast<Real>(bin.real()));
            zIm.push_back(static_cast<Real>(bin.imag()));
        }
        Real *re[] = {nullptr, lRe.data(), rRe.data()}, *im[] = {nullptr, lIm.data(), rIm.data()};
        SplitComplexSpectrumToLR(zRe.data(), zIm.data(), 1, re, im, length);
        ExpectNear(lRe, lIm, SpectrumOf(left));
        ExpectNear(rRe, rIm, SpectrumOf(right));
        for (const std::size_t k : {std::size_t{0}, n / 2})
            EXPECT_TRUE(lRe[k] == zRe[k] && rRe[k] == zIm[k] && lIm[k] == 0 && rIm[k] == 0) << k;
        for (std::size_t k = 1; k < n / 2; ++k)
            ASSERT_TRUE(lRe[k] == lRe[n - k] && lIm[k] == -lIm[n - k] && rRe[k] == rRe[n - k] &&
                        rIm[k] == -rIm[n - k]);

        auto overRe = zRe, overIm = zIm; // the left channel over its source
        Real *inRe[] = {nullptr, overRe.data(), rRe.data()}, *inIm[] = {nullptr, overIm.data(), rIm.data()};
        SplitComplexSpectrumToLR(overRe.data(), overIm.data(), 1, inRe, inIm, length);
        EXPECT_EQ(Joined(overRe, overIm), Joined(lRe, lIm));
        if constexpr (std::is_same_v<Real, float>) {
            lIm[0] = lIm[n / 2] = rIm[0] = rIm[n / 2] = NAN;
            for (std::size_t k = n / 2 + 1; k < n; ++k)
                lRe[k] = lIm[k] = rRe[k] = rIm[k] = NAN;
            std::vector<Real> backRe(n, NAN), backIm(n, NAN);
            CombineLRSpectrumToComplex(1, re, im, backRe.data(), backIm.data(), length);
            ExpectNear(backRe, backIm, Joined(zRe, zIm));
            for (const std::size_t k : {std::size_t{0}, n / 2})
                EXPECT_TRUE(backRe[k] == zRe[k] && backIm[k] == zIm[k]) << k;
        }
    }
}

// Halved one by one, two values near the largest float do not overflow.
TEST(StereoSpectrumSplit, HoldsTheLargestValues) {
    const float big = std::numeric_limits<float>::max();
    float zRe[] = {0, big, 0, big}, zIm[] = {0, big, 0, big}, out[4][4];
    float *re[] = {out[0], out[1]}, *im[] = {out[2], out[3]};
    SplitComplexSpectrumToLR(zRe, zIm, 0, re, im, 4);
    EXPECT_TRUE(re[0][1] == big && re[1][3] == big && im[0][1] == 0 && im[1][1] == 0);
}

template <class Record>
class FftRecord : public testing::Test {};
using Records = testing::Types<dsp::IppFFT, dsp::IppFFT32, dsp::IppFFT32fReal, dsp::IppFFT64fReal>;
TYPED_TEST_SUITE(FftRecord, Records);

TYPED_TEST(FftRecord, AssignmentCopiesTheSize) {
    TypeParam record, copy;
    record.size = 4096;
    copy = record;
    EXPECT_EQ(copy.GetSize(), 4096);
}
