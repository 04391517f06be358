// The program end to end: what it does to files, and what it says when it cannot.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include <sndfile.h>

namespace fs = std::filesystem;

namespace {

struct Sound {
    SF_INFO info{};
    std::vector<float> samples; // interleaved
};

void Save(const fs::path &path, const Sound &sound) {
    SF_INFO info = sound.info;
    SNDFILE *file = sf_open(path.string().c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
    const auto count = static_cast<sf_count_t>(sound.samples.size());
    EXPECT_EQ(sf_write_float(file, sound.samples.data(), count), count);
    sf_close(file);
}

Sound Load(const fs::path &path) {
    Sound sound;
    SNDFILE *file = sf_open(path.string().c_str(), SFM_READ, &sound.info);
    EXPECT_NE(file, nullptr) << path << sf_strerror(nullptr);
    if (file == nullptr)
        return sound;
    sound.samples.resize(static_cast<std::size_t>(sound.info.frames * sound.info.channels));
    sf_read_float(file, sound.samples.data(), static_cast<sf_count_t>(sound.samples.size()));
    sf_close(file);
    return sound;
}

Sound Silence(int format, int channels, int rate, int frames) {
    Sound sound;
    sound.info.format = format;
    sound.info.channels = channels;
    sound.info.samplerate = rate;
    sound.samples.resize(static_cast<std::size_t>(frames * channels));
    return sound;
}

class Program : public testing::Test {
protected:
    // A folder of its own: every test may run at the same time as the others.
    fs::path folder = fs::temp_directory_path() / ("quietfloor-" + std::to_string(std::random_device()()));
    fs::path callersFolder = fs::current_path(), program = fs::absolute(QUIETFLOOR_PROGRAM).make_preferred();

    void SetUp() override {
        ASSERT_TRUE(fs::create_directory(folder));
        fs::current_path(folder);
    }
    void TearDown() override {
        fs::current_path(callersFolder);
        fs::remove_all(folder);
    }

    // Returns the exit status; what the program says goes to the file `said`.
    int Run(const std::string &arguments) const {
        const std::string line = '"' + program.string() + "\" " + arguments + " >said 2>&1";
#if defined(_WIN32)
        return std::system(('"' + line + '"').c_str()); // cmd takes the outermost quotes away
#else
        const int status = std::system(line.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
    }

    std::string Said() const {
        std::ifstream file(folder / "said");
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::size_t FileCount() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), {}));
    }
};

// Impulses this quiet (four steps of 16 bits) never start the tracking, so they come back as they are:
// each in its own channel, at its own place, whatever the delay, and nothing else beside them.
TEST_F(Program, KeepsFormatLengthAndPlace) {
    constexpr float height = 4.0f / 32768.0f;
    const struct {
        int format, channels, rate, frames;
        const char *options;
    } cases[] = {
        {SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, 44100, 30001, ""},
        {SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, 48000, 20000, "--fft-size 2048"},
        {SF_FORMAT_WAV | SF_FORMAT_FLOAT, 3, 11111, 8192, "--filter-mode 1"},
#if defined(_WIN32) // the library is built without other libraries' codecs there
        {SF_FORMAT_W64 | SF_FORMAT_PCM_16, 2, 96000, 9000, "--fft-size 16384 --filter-mode 1"},
#else
        {SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 2, 96000, 9000, "--fft-size 16384 --filter-mode 1"},
#endif
        {SF_FORMAT_AIFF | SF_FORMAT_PCM_24, 1, 8000, 100, ""}, // shorter than the delay
        {SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, 44100, 0, ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.format << std::dec << ' ' << c.frames << c.options);
        Sound in = Silence(c.format, c.channels, c.rate, c.frames);
        for (int channel = 0; channel < c.channels; ++channel)
            for (int at = channel; at < c.frames; at += 7000)
                in.samples[static_cast<std::size_t>(at * c.channels + channel)] = height;
        Save(folder / "in", in);
        ASSERT_EQ(Run(std::string(c.options) + " --force in out"), 0) << Said();
        const Sound out = Load(folder / "out");
        EXPECT_EQ(out.info.format, c.format);
        EXPECT_EQ(out.info.channels, c.channels);
        EXPECT_EQ(out.info.samplerate, c.rate);
        ASSERT_EQ(out.info.frames, c.frames);
        for (std::size_t i = 0; i < out.samples.size(); ++i)
            ASSERT_NEAR(out.samples[i], in.samples[i], 0.3f * height) << "sample " << i;
        EXPECT_EQ(Said(), "");
    }
}

// A channel of noise falls by what the options ask, whatever its neighbour holds; integers clip where
// floats go beyond full scale, as the edges of a hard-limited neighbour do once noise is taken out.
TEST_F(Program, CleansEachChannelAloneAndClips) {
    Sound in = Silence(SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, 22050, 22050 * 6);
    std::mt19937 generator(1);
    std::normal_distribution<float> noise;
    for (std::size_t i = 0; i < in.samples.size(); i += 2) {
        in.samples[i] = 0.01f * noise(generator);
        in.samples[i + 1] = std::clamp(noise(generator), -0.999f, 0.999f);
    }
    Save(folder / "in", in);
    const Sound rounded = Load(folder / "in");
    const auto Clean = [this](const std::string &options) {
        EXPECT_EQ(Run(options + " --force in out"), 0) << Said();
        return Load(folder / "out").samples;
    };
    const auto LeftFallDb = [&](const std::vector<float> &out) {
        double before = 0.0, after = 0.0;
        for (std::size_t i = out.size() / 4 * 3; i < out.size(); i += 2) {
            before += std::pow(rounded.samples[i], 2);
            after += std::pow(out[i], 2);
        }
        return 10.0 * std::log10(before / after);
    };
    EXPECT_NEAR(LeftFallDb(Clean("--reduction 0")), 0.0, 0.3);
    EXPECT_NEAR(LeftFallDb(Clean("--reduction 10")), 10.0, 1.5);
    const std::vector<float> clipped = Clean("");
    EXPECT_GT(LeftFallDb(clipped), 17.0);

    in.samples = rounded.samples;
    in.info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    Save(folder / "in", in);
    const std::vector<float> unclipped = Clean("");
    ASSERT_GT(*std::max_element(unclipped.begin(), unclipped.end()), 1.1f);
    for (std::size_t i = 0; i < clipped.size(); ++i)
        ASSERT_NEAR(clipped[i], std::clamp(unclipped[i], -1.0f, 1.0f), 1e-4f) << "sample " << i;
}

TEST_F(Program, SaysWhatIsWrongInOneLineAndLeavesNothingBehind) {
    Save(folder / "in", Silence(SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, 44100, 1000));
    std::ofstream(folder / "text") << "not a sound";
    fs::create_directory(folder / "directory");
    const struct {
        const char *arguments;
        int status;
    } cases[] = {
        {"", 1},
        {"in", 1},
        {"in out more", 1},
        {"--nonsense in out", 1},
        {"--reduction 40.1 in out", 1},
        {"--offset -10.1 in out", 1},
        {"--knee nan in out", 1},
        {"--release long in out", 1},
        {"in ./directory/../in", 1},
        {"missing out", 2},
        {"text out", 2},
        {"in directory", 2},
        {"in missing/out", 2},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(Run(c.arguments), c.status) << c.arguments << ": " << Said();
        const std::string said = Said();
        EXPECT_EQ(said.rfind("quietfloor: ", 0), 0u) << c.arguments << ": " << said;
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
        EXPECT_EQ(FileCount(), 4u) << c.arguments; // in, text, directory, said
    }
    EXPECT_EQ(Load(folder / "in").info.frames, 1000);
    EXPECT_EQ(Run("--version"), 0);
    EXPECT_EQ(Run("--help"), 0);
    EXPECT_NE(Said().find("--fft-size"), std::string::npos);
}

} // namespace
