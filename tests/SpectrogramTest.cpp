// The pictures of sounds: levels and places in their columns, their axes, and the file.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numbers>

#include <png.h>

#include "tools/AxisTicks.h"
#include "tools/Spectrogram.h"

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
            live.Push(Tone(rate, 0.307, count).data(), count);
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

// Reads the file back: the tone is in the first panel, half up, in the second quarter, and not in the second
// panel.
TEST(Spectrogram, IsWrittenAsPicture) {
    const std::filesystem::path path = std::filesystem::temp_directory_path() / "quietfloor-spectrogram.png";
    Spectrogram spectrogram(8000);
    const std::vector<float> tone = Tone(8000, 0.5, 9000), silence(9000);
    spectrogram.Push(tone.data(), silence.data(), silence.data(), 9000);
    spectrogram.Save(path);
    png_image picture{};
    picture.version = PNG_IMAGE_VERSION;
    ASSERT_TRUE(png_image_begin_read_from_file(&picture, path.string().c_str())) << picture.message;
    picture.format = PNG_FORMAT_GRAY;
    std::vector<unsigned char> grey(PNG_IMAGE_SIZE(picture));
    ASSERT_TRUE(png_image_finish_read(&picture, nullptr, grey.data(), 0, nullptr)) << picture.message;
    const auto GreyAt = [&](double x, std::size_t y) {
        return grey[y * picture.width + static_cast<std::size_t>(x * picture.width)];
    };
    EXPECT_GT(GreyAt(0.375, 171), 200);
    EXPECT_LT(std::max({GreyAt(0.375, 140), GreyAt(0.1, 171), GreyAt(0.7, 171), GreyAt(0.375, 467)}), 60);
    std::filesystem::remove(path);
}

} // namespace
