// SPDX-License-Identifier: MIT
// The pictures of sounds: levels and places in their columns, their axes, and the file.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <filesystem>
#include <numbers>
#include <random>
#include <string>

#include <png.h>
#include <sndfile.hh>

#include "tests/Signals.h"
#include "tools/denoise/FileDenoiser.h"
#include "tools/picture/AxisTicks.h"
#include "tools/picture/PixelFont.h"
#include "tools/picture/PngImage.h"
#include "tools/picture/SpectrogramColumns.h"

namespace fs = std::filesystem;
using namespace quietfloor;

namespace {

// At `position` of the frequency axis, an amplitude of 0.1 in the second quarter, elsewhere NaN, which is
// silence.
std::vector<float> Tone(int rate, double position, std::size_t count) {
    const double step = 2 * std::numbers::pi * FrequencyAxis(rate).HzAt(position) / rate;
    std::vector<float> x(count, NAN);
    for (std::size_t i = count / 4; i < count / 2; ++i)
        x[i] = static_cast<float>(0.1 * std::sin(step * static_cast<double>(i)));
    return x;
}

// However long the sound, the columns are few and cover it, and a tone's level, frequency, beginning and end
// are where they belong. Hann loses up to 1.4 dB between two bins.
TEST(SpectrogramColumns, HoldAToneAtItsLevelAndPlaceInBoundedMemory) {
    for (const int rate : {1, 8000, 44100, 768000})
        for (const std::size_t count : {200001u, 3000000u}) {
            SpectrogramColumns live(rate, 200);
            live.Push(Tone(rate, 0.307, count).data(), static_cast<std::int64_t>(count));
            const SpectrogramColumns columns = live.Finished();
            const auto length = static_cast<double>(count),
                       span = static_cast<double>(columns.SamplesPerColumn());
            ASSERT_LE(columns.ColumnCount(), SpectrogramColumns::maxColumns);
            ASSERT_EQ(columns.ColumnCount(), std::ceil(length / span));
            const auto Db = [&](double sample, int row) {
                return 10 * std::log10(columns.Power(static_cast<int>(sample / span), row) + 1e-30);
            };
            const double begin = 0.25 * length, end = 0.5 * length,
                         reach = std::max(64.0, rate / 40.0) + span;
            for (const double sample : {begin + reach, 0.375 * length, end - reach}) {
                EXPECT_NEAR(Db(sample, 61), -20.7, 0.75) << rate << ' ' << count << ' ' << sample;
                EXPECT_LT(std::max(Db(sample, 31), Db(sample, 81)), -75) << rate << ' ' << count;
            }
            EXPECT_LT(std::max(Db(begin - reach, 61), Db(end + reach, 61)), -200) << rate << ' ' << count;
        }
}

// Labels in order, none like another, none over another.
std::string Labels(std::vector<Tick> ticks, int characterRoom, int room) {
    std::sort(ticks.begin(), ticks.end(), [](const Tick &a, const Tick &b) { return a.pixel < b.pixel; });
    std::string all = ticks[0].label;
    for (std::size_t i = 1; i < ticks.size(); ++i) {
        all += ' ' + ticks[i].label;
        EXPECT_GE(ticks[i].pixel - ticks[i - 1].pixel, room + characterRoom * std::ssize(ticks[i].label))
            << all;
        EXPECT_NE(ticks[i].label, ticks[i - 1].label);
    }
    return all;
}

TEST(AxisTicks, AreRoundAndHaveRoomAtAnyLengthAndRate) {
    const auto Times = [](double seconds) { return Labels(TimeTicks(seconds, 1000, 12), 12, 10); };
    EXPECT_EQ(Times(5e-6), "0 0.000001 0.000002 0.000003 0.000004 0.000005");
    EXPECT_EQ(Times(300000), "0 12:00:00 24:00:00 36:00:00 48:00:00 60:00:00 72:00:00");
    for (double seconds = 1e-6; seconds < 1e7; seconds *= 1.37)
        EXPECT_GT(Times(seconds).size(), 8u) << seconds;
    for (int rate = 1; rate <= 768000; rate += rate / 3 + 1)
        EXPECT_GT(Labels(FrequencyTicks(FrequencyAxis(rate), rate, 255, 24), 0, 24).size(), 8u) << rate;
    EXPECT_EQ(Labels(FrequencyTicks(FrequencyAxis(44100), 44100, 255, 24), 0, 24), "0 500 1k 2k 5k 10k 20k");
}

// A picture as whoever looks at it reads it.
class Picture {
public:
    explicit Picture(const fs::path &path) {
        picture.version = PNG_IMAGE_VERSION;
        EXPECT_TRUE(png_image_begin_read_from_file(&picture, path.string().c_str())) << picture.message;
        picture.format = PNG_FORMAT_RGB;
        pixels.resize(PNG_IMAGE_SIZE(picture));
        EXPECT_TRUE(png_image_finish_read(&picture, nullptr, pixels.data(), 0, nullptr)) << picture.message;
    }

    // The upper left corner of the first capital.
    std::string Text(int x, int y, int length) const {
        std::string text;
        for (int i = 0; i < length; ++i)
            text += Character(x + 12 * i, y);
        return text;
    }

    // In one of the panels, of which each share of the time and of the axis is 0 to 1: what stands beside
    // that colour on the scale.
    double LevelDb(int panel, double time, double position) const {
        const int row = std::min(255, static_cast<int>(256 * position));
        const int x = 76 + static_cast<int>(1104 * time), y = top + 296 * panel + 255 - row;
        int nearest = top;
        for (int at = top; at < bottom; ++at)
            if (Distance(At(x, y), At(1212, at)) < Distance(At(x, y), At(1212, nearest)))
                nearest = at;
        return std::lerp(Number(top), Lowest(), (nearest - top) / (bottom - 1.0 - top));
    }

    double Lowest() const { return Number(bottom - 1); }

private:
    static constexpr int top = 44, bottom = 892;
    using Pixel = std::array<int, 3>;

    Pixel At(int x, int y) const {
        const auto *pixel = pixels.data() + 3 * (y * static_cast<int>(picture.width) + x);
        return {pixel[0], pixel[1], pixel[2]};
    }
    static int Distance(const Pixel &a, const Pixel &b) {
        return std::abs(a[0] - b[0]) + std::abs(a[1] - b[1]) + std::abs(a[2] - b[2]);
    }
    double Number(int y) const { return std::stod(Text(1230, y - 7, 5)); }

    char Character(int x, int y) const {
        const auto Misses = [&](char character) {
            int count = 0;
            for (int row = 0; row < PixelFont::rows; ++row)
                for (int column = 0; column < PixelFont::columns; ++column)
                    count += PixelFont::HasInk(character, column, row) !=
                             (At(x + 2 * column, y + 2 * row)[1] < 120);
            return count;
        };
        char best = ' ';
        for (char character = ' '; character <= '~'; ++character)
            best = Misses(character) < Misses(best) ? character : best;
        return Misses(best) == 0 ? best : '\0';
    }

    png_image picture{};
    std::vector<unsigned char> pixels;
};

// A folder of its own: every test may run at the same time as the others.
class Spectrogram : public testing::Test {
protected:
    fs::path folder = fs::temp_directory_path() / ("quietfloor-" + std::to_string(std::random_device()()));
    void SetUp() override { ASSERT_TRUE(fs::create_directory(folder)); }
    void TearDown() override { fs::remove_all(folder); }
};

TEST_F(Spectrogram, CanWriteEveryCharacter) {
    std::string all;
    for (char character = ' '; character <= '~'; ++character)
        all += character;
    PngImage image(1200, 30, {255, 255, 255});
    image.Write(2, 2, all + "\n\xe4", {0, 0, 0});
    image.Save(folder / "png");
    EXPECT_EQ(Picture(folder / "png").Text(2, 2, 97), all + "??");
}

// Amplitude of one frequency about the middle of some seconds, under a Hann window of 32 ms: dB to 1.
double AmplitudeDb(const fs::path &sound, double seconds, double hz) {
    constexpr double pi = std::numbers::pi, rate = 8000;
    constexpr int length = 256;
    SndfileHandle file(sound.string());
    std::vector<float> x(length);
    file.seek(static_cast<sf_count_t>(rate * seconds) - length / 2, SEEK_SET);
    EXPECT_EQ(file.read(x.data(), length), length);
    std::complex<double> sum = 0;
    for (int i = 0; i < length; ++i)
        sum += (1 - std::cos(2 * pi * i / length)) * x[static_cast<std::size_t>(i)] *
               std::polar(1.0, -2 * pi * hz / rate * i);
    const bool isEnd = hz == 0 || hz == rate / 2; // whose mirror is itself
    return 20 * std::log10(std::abs(sum) / length * (isEnd ? 1 : 2) + 1e-30);
}

// Each panel has the levels of the sound file that it shows: what lasts is taken for noise, the beeps are
// not.
TEST_F(Spectrogram, ShowsTheLevelsOfAWholeRun) {
    std::vector<float> in = WhiteNoise(32000, -60);
    for (std::size_t i = 0; i < in.size(); ++i) {
        const double t = static_cast<double>(i) / 8000, turn = 2 * std::numbers::pi * t;
        const double beep = std::fmod(t, 0.8) < 0.4 ? 0.03 : 0;
        in[i] += static_cast<float>(0.02 + 0.03 * std::cos(4000 * turn) + 0.07 * std::sin(500 * turn) +
                                    beep * std::sin(2000 * turn));
    }
    SndfileHandle((folder / "0").string(), SFM_WRITE, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 1, 8000)
        .write(in.data(), 32000);
    const auto goOn = [](auto, auto) { return true; };
    DenoiseFile({folder / "0", folder / "1", folder / "png"}, {}, goOn);
    DenoiseFile({folder / "0", folder / "2", {}}, {.writesResidual = true}, goOn);
    const Picture picture(folder / "png");
    EXPECT_EQ(picture.Lowest(), -110);           // 90 dB below -20, which is next above the loudest tone
    EXPECT_EQ(picture.Text(611, 902, 3), "2.0"); // in the middle of the time
    EXPECT_EQ(picture.Text(44, 173, 2), "1k");   // at 46.6 % of the axis from 0 to 4 kHz
    constexpr double noise = -70;                // dB, which no bin of it reaches
    for (int panel = 0; panel < 3; ++panel)
        for (const double time : {0.05, 0.85})
            for (const double hz : {0.0, 500.0, 2000.0, 4000.0}) {
                const double position = std::log(1 + hz / 700) / std::log(1 + 4000.0 / 700);
                const double db = AmplitudeDb(folder / std::to_string(panel), 4 * time, hz);
                EXPECT_NEAR(std::max(picture.LevelDb(panel, time, position), noise), std::max(db, noise), 1)
                    << panel << ' ' << time << ' ' << hz;
            }
    EXPECT_GT(AmplitudeDb(folder / "0", 3.4, 2000), AmplitudeDb(folder / "2", 3.4, 2000) + 10);
}

} // namespace
