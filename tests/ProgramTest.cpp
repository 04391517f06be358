// SPDX-License-Identifier: MIT
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
#include <utility>
#include <vector>

#include <sndfile.h>

#include "tests/Signals.h"
#include "tools/command/ProgressBar.h"

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

Sound Noise(int format, int channels, int frames, unsigned seed) {
    Sound sound = Silence(format, channels, 22050, frames);
    sound.samples = WhiteNoise(sound.samples.size(), -40, seed);
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

    static int Shell(const std::string &line) {
#if defined(_WIN32)
        return std::system(('"' + line + '"').c_str()); // cmd takes the outermost quotes away
#else
        const int status = std::system(line.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
    }

    // Returns the exit status; what the program says goes to the file `said`.
    int Run(const std::string &arguments, const char *redirection = " >said 2>&1") const {
        return Shell('"' + program.string() + "\" " + arguments + redirection);
    }

    std::string Content(const fs::path &name) const {
        std::ifstream file(folder / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    // With the same line ends on every system.
    std::string Said() const {
        std::string text = Content("said");
        std::erase(text, '\r');
        return text;
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
        EXPECT_EQ(Said(),
                  c.frames == 0 ? "" : "quietfloor: in: nothing was reduced; no steady noise was found\n");
    }
}

// Without a word two channels are linked, and neither one nor more than two.
TEST_F(Program, LinksTwoChannelsUnlessToldOtherwise) {
    std::ofstream(folder / "linked") << "link = on\n";
    for (const int channels : {1, 2, 3}) {
        Save(folder / "in", Noise(SF_FORMAT_WAV | SF_FORMAT_FLOAT, channels, 40000, 1));
        const auto Cleaned = [this](const char *options) {
            EXPECT_EQ(Run(std::string(options) + " --force in out"), 0) << Said();
            return Content("out");
        };
        const std::string apart = Cleaned("--config linked --link off"), linked = Cleaned("--link on");
        EXPECT_EQ(linked == apart, channels == 1);
        EXPECT_EQ(Cleaned(""), channels == 2 ? linked : apart);
        EXPECT_EQ(Cleaned("--config linked --save-config kept"), linked);
        EXPECT_NE(Content("kept").find("\nlink = on\n"), std::string::npos);
        fs::remove(folder / "kept");
    }
}

// A channel of noise falls by what the options ask, whatever its neighbour holds; integers clip where
// floats go beyond full scale, as the edges of a hard-limited neighbour do once noise is taken out.
TEST_F(Program, CleansEachChannelAndClips) {
    Sound in = Silence(SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, 22050, 22050 * 6);
    const Samples quiet = WhiteNoise(in.samples.size(), -40, 1), loud = WhiteNoise(in.samples.size(), 0, 2);
    for (std::size_t i = 0; i < in.samples.size(); i += 2) {
        in.samples[i] = quiet[i];
        in.samples[i + 1] = std::clamp(loud[i], -0.999f, 0.999f);
    }
    Save(folder / "in", in);
    const Sound rounded = Load(folder / "in");
    const auto Clean = [this](const std::string &options) {
        EXPECT_EQ(Run(options + " --learn off --force in out"), 0) << Said();
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
    const std::string sound = Content("in"), foreign = "not a sound, but worth keeping";
    fs::create_directory(folder / "directory");
    const auto Patched = [&](std::size_t at, const std::string &bytes) {
        return std::string(sound).replace(at, bytes.size(), bytes);
    };
    const std::pair<const char *, std::string> files[] = {
        {"text", foreign},
        {"empty", ""},
        {"cut", sound.substr(0, 30)},
        {"mute", Patched(22, std::string(2, '\0'))},   // no channels
        {"fast", Patched(24, std::string(4, '\x7f'))}, // 2139062143 Hz
        {"directory/in", sound},
        {"config", "knee = 3 # dB\n ; harder\nrelease = 50 ; ms\n\nnonsense = 1\n"},
        {"loud", "reduction = 50\n"},
        {"twice", "knee = 3\nknee = 3\n"},
        {"word", "link = yes\n"},
    };
    for (const auto &[name, content] : files)
        std::ofstream(folder / name, std::ios::binary) << content;
    const struct {
        const char *arguments;
        int status;
        const char *part = ""; // of what is said
    } cases[] = {
        {"", 1},
        {"in", 1},
        {"in out more", 1, "-o"},
        {"--nonsense in out", 1, "--nonsense"},
        {"--reduction 40.1 in out", 1, "--reduction: 40.1 is not in 0 to 40 dB"},
        {"--offset -10.1 in out", 1},
        {"--knee nan in out", 1},
        {"--release long in out", 1},
        {"--mix 101 in out", 1},
        {"--jobs 0 in out", 1},
        {"--learn 61 in out", 1, "--learn: '61' is not auto, off or 0 to 60 s"},
        {"--quiet --verbose in out", 1},
        {"--preset nobody in out", 1, "nobody"},
        {"--format nothing in out", 1, "nothing"},
        {"--format au --subtype vorbis in out", 1, "--list-formats"},
        {"--format wav --subtype mp3 in out", 1, "--list-formats"},
        {"--reduction \"\" in out", 1, "empty"},
        {"\"\" out", 1, "empty"},
        {"--estimator Gate in out", 1, "--estimator: 'Gate' is not gate or log-spectral"},
        {"--link maybe in out", 1, "--link: 'maybe' is not on or off"},
        {"--config word in out", 1, "word:1: link: 'yes'"},
        {"--config missing in out", 1, "missing"},
        {"--config config in out", 1, "config:5: unknown parameter 'nonsense'"},
        {"--config loud --reduction 3 in out", 1, "loud:1: reduction: 50"},
        {"--config twice in out", 1, "twice:2: knee is given twice"},
        {"-o text in", 1, "text"},
        {"-o out -", 1},
        {"-o out in directory/in", 1, "two outputs"},
        {"-o out directory", 1, "no sound files"},
        {"-o directory directory/in text", 1, "the same file"},
        {"in ./directory/../in", 1, "the same file"},
        {"--spectrogram in in out", 1, "the same file"},
        {"--save-config in --force in out", 1, "the same file"},
        {"--save-config - in -", 1, "two outputs"},
        {"--json --spectrogram - in out", 1, "two outputs"},
#if defined(_WIN32) // names ignore case
        {"-o out in directory/IN", 1, "two outputs"},
#endif
        {"missing out", 2, "missing"},
        {"text out", 2},
        {"empty out", 2},
        {"cut out", 2},
        {"mute out", 2},
        {"fast out", 2},
        {"in directory", 2},
        {"in missing/out", 2},
        {"in text", 2, "--force"},
        {"text loud --force", 2, "text"},
        {"in out --spectrogram text", 2, "--force"},
        {"in out --spectrogram directory", 2, "is a directory"},
        {"in out --spectrogram missing/out", 2, "folder"},
        {"in --dry-run text", 2, "--force"},
        {"in --dry-run missing/out", 2, "folder"},
        {"--save-config text", 2, "--force"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(Run(c.arguments), c.status) << c.arguments << ": " << Said();
        const std::string said = Said();
        EXPECT_EQ(said.rfind("quietfloor: ", 0), 0u) << c.arguments << ": " << said;
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
        EXPECT_NE(said.find(c.part), std::string::npos) << c.arguments << ": " << said;
        EXPECT_EQ(FileCount(), std::size(files) + 2)
            << c.arguments; // in, said, directory instead of its file
    }
    for (const auto &[name, content] : files)
        EXPECT_EQ(Content(name), content);
    EXPECT_EQ(Content("in"), sound);
    EXPECT_EQ(Run("--help"), 0);
    EXPECT_NE(Said().find("--fft-size"), std::string::npos);
}

// What one file gives neither depends on the others nor on how many are cleaned at once, and one that
// fails does not stop them.
TEST_F(Program, CleansManyFilesAtOnce) {
    fs::create_directory(folder / "sounds");
    for (int i = 0; i < 5; ++i)
        Save(folder / "sounds" / (std::to_string(i) + ".wav"),
             Noise(SF_FORMAT_WAV | SF_FORMAT_FLOAT, 1 + i % 2, 60000 - 9000 * i, 1));
    std::ofstream(folder / "sounds" / "bad.wav") << "not a sound";
    std::ofstream(folder / "sounds" / "readme") << "not a sound either";
    ASSERT_EQ(Run("--dry-run --json --format w64 -o all sounds"), 2);
    EXPECT_NE(Said().find("\"w64 float\""), std::string::npos) << Said();
    EXPECT_EQ(Said().find("folder"), std::string::npos); // a run would make it
    EXPECT_FALSE(fs::exists(folder / "all"));
    for (const char *options : {"-j 1 -o one", "-j 4 -o four", "-j 4 -o four --force"})
        ASSERT_EQ(Run(options + std::string(" --format w64 sounds")), 2);
    for (const char *name : {"0.w64", "1.w64", "2.w64", "3.w64", "4.w64"}) {
        const std::string sound = Content(fs::path("one") / name);
        EXPECT_GT(sound.size(), 4u * 24000);
        EXPECT_EQ(sound, Content(fs::path("four") / name)) << name;
    }
    ASSERT_EQ(Run("sounds/3.wav alone.w64"), 0);
    EXPECT_EQ(Content("alone.w64"), Content("one/3.w64"));
    EXPECT_EQ(FileCount(), 5u); // sounds, one, four, alone.w64, said
}

// More than 16 bits or two channels are WAVE_FORMAT_EXTENSIBLE's in a new WAV file, as its makers ask.
TEST_F(Program, ExtendsTheHeaderOfWavFilesThatNeedIt) {
    const struct {
        int samples, channels;
        const char *target, *tag; // the first two bytes of the format chunk
    } cases[] = {{SF_FORMAT_PCM_16, 2, "out.wav", "\x01"},
                 {SF_FORMAT_PCM_24, 1, "out.wav", "\xfe\xff"},
                 {SF_FORMAT_PCM_16, 3, "out.wav", "\xfe\xff"},
                 {SF_FORMAT_PCM_24, 2, "- >out.wav", "\xfe\xff"}};
    for (const auto &c : cases) {
        Save(folder / "in.aiff", Noise(SF_FORMAT_AIFF | c.samples, c.channels, 1000, 1));
        ASSERT_EQ(Run(std::string("--force --format wav in.aiff ") + c.target, " 2>said"), 0) << Said();
        EXPECT_EQ(Content("out.wav").find("fmt "), 12u);
        EXPECT_EQ(Content("out.wav").substr(20, 2), std::string(c.tag).append(1, '\0').substr(0, 2))
            << c.samples;
    }
}

TEST_F(Program, ParametersComeFromPresetFileAndOptions) {
    Save(folder / "in", Noise(SF_FORMAT_WAV | SF_FORMAT_FLOAT, 1, 50000, 1));
    ASSERT_EQ(Run("--preset strong --knee 3 --release 33.3 --prime 0.5 --estimator log-spectral "
                  "--save-config kept in a"),
              0)
        << Said();
    ASSERT_EQ(Run("--config kept in b"), 0) << Said();
    EXPECT_EQ(Content("a"), Content("b"));
    ASSERT_EQ(Run("--config kept --preset gentle --release 50 --save-config -"), 0);
    EXPECT_NE(Said().find("\nknee = 3"), std::string::npos);
    EXPECT_NE(Said().find("\nlearn = 0.5\n"), std::string::npos);
    EXPECT_NE(Said().find("\nrelease = 50"), std::string::npos);
    EXPECT_NE(Said().find("\nestimator = log-spectral\n"), std::string::npos);
    ASSERT_EQ(Run("--config kept --estimator gate in gated"), 0) << Said();
    EXPECT_NE(Content("gated"), Content("a"));
    ASSERT_EQ(Run("--config kept --residual in removed"), 0) << Said();
    const Sound in = Load(folder / "in"), cleaned = Load(folder / "a"), removed = Load(folder / "removed");
    for (std::size_t i = 0; i < in.samples.size(); ++i)
        ASSERT_NEAR(cleaned.samples[i] + removed.samples[i], in.samples[i], 1e-6f) << "sample " << i;
}

// What is left takes as long per frame as what is done, and a file that failed takes no time any more.
TEST(Progress, SaysWhatIsLeft) {
    const struct {
        std::vector<quietfloor::FileProgress> files;
        double seconds;
        const char *text;
    } cases[] = {
        {{{250, 1000, false}}, 30, "[=======                       ]  25 %  1:30 left"},
        {{{1000, 1000, true}, {800, 2000, false}},
         5400,
         "[==================            ]  60 %  1:00:00 left  1 of 2 files"},
        {{{0, 1000, false}}, 3, "[                              ]   0 %"},
        {{{500, 1000, false}, {700, -1, false}}, 65, "1:05 so far  0 of 2 files"},
        {{{500, 1000, false}, {0, -1, true}},
         65,
         "[===============               ]  50 %  1:05 left  1 of 2 files"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(quietfloor::ProgressText(c.files, c.seconds), c.text);
}

#if !defined(_WIN32)
// Streams that break, and a source that stands still when the user has had enough.
TEST_F(Program, LeavesNothingBehindWhenInterruptedOrCutOff) {
    Save(folder / "in", Noise(SF_FORMAT_AU | SF_FORMAT_FLOAT, 2, 100000, 1));
    EXPECT_EQ(Run("in -", " 2>said >/dev/full"), 2);
    EXPECT_EQ(Run("in -", " 2>said >&-"), 2);
    EXPECT_EQ(Run("--help", " 2>said >/dev/full"), 2);
    EXPECT_EQ(Shell("bash -o pipefail -c \"'" + program.string() + "' in - 2>said | true\""), 2);
    EXPECT_EQ(Said().rfind("quietfloor: standard output: ", 0), 0u) << Said();
    for (const char *source : {"-", "pipe"}) {
        const std::string quietfloor = "timeout --preserve-status -s INT 1 '" + program.string() + "' ";
        EXPECT_EQ(Shell("mkfifo pipe && exec 3<>pipe && head -c 60000 in >&3 && " + quietfloor + source +
                        " out <&3 >said 2>&1"),
                  130);
        EXPECT_EQ(Said(), "");
        fs::remove(folder / "pipe");
        EXPECT_EQ(FileCount(), 2u); // in, said
    }
}

// As nohup starts it.
TEST_F(Program, GoesOnAfterASignalThatItWasToldToIgnore) {
    Save(folder / "in", Noise(SF_FORMAT_AU | SF_FORMAT_FLOAT, 1, 10000, 1));
    EXPECT_EQ(Shell("trap '' HUP; (cat in; sleep 1) | '" + program.string() +
                    "' - out & sleep 0.5; kill -HUP $!; wait $!"),
              0);
    EXPECT_EQ(Load("out").info.frames, 10000);
}

TEST_F(Program, ReportsInJsonWhateverTheNames) {
    const std::string name = "a \"b\\c\n\xff\xed\xa0\x80 \xe2\x82\xac.wav"; // 0xff and a surrogate: no UTF-8
    Save(folder / name, Silence(SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, 8000, 8000));
    Save(folder / "noise.au", Noise(SF_FORMAT_AU | SF_FORMAT_FLOAT, 1, 60000, 1)); // -40 dB
    EXPECT_EQ(Run("--json -o out missing *.wav noise.au", " >said 2>errors"), 2);
    std::ofstream(folder / "check.py")
        << "import json; bad, good, noise = json.load(open('said', encoding='utf-8'))\n"
           "assert 'missing' in bad['error'] and good['frames'] == 8000, bad\n"
           "assert good['noiseFloorBefore'] is None and good['sampleRate'] == 8000, good\n"
           "before, after = noise['noiseFloorBefore'], noise['noiseFloorAfter']\n"
           "assert abs(before + 40) < 1 and after < -50, noise\n"
           "assert abs(before - after - noise['reduction']) < 0.02, noise\n"
           "assert good['input'] == 'a \"b\\\\c\\n' + '\\ufffd' * 4 + ' \\u20ac.wav', good\n";
    EXPECT_EQ(Shell("python3 check.py"), 0) << Said();
    EXPECT_EQ(Shell('"' + program.string() + "\" --json --list-formats | python3 -m json.tool >said"), 0);
}
#endif

} // namespace
