// SPDX-License-Identifier: MIT
// What cleaning a file does to everything in it but the noise, through files and pipes, and what it leaves
// behind when it cannot.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

#if !defined(_WIN32)
#include <csignal>
#include <cstdio>

#include <sys/resource.h>
#include <unistd.h>
#endif

#include <sndfile.hh>

#include "dsp/Presets.h"
#include "tests/Signals.h"
#include "tools/denoise/FileDenoiser.h"
#include "tools/denoise/LearningSource.h"
#include "tools/sound/AudioReader.h"
#include "tools/system/FileError.h"

namespace fs = std::filesystem;
using namespace quietfloor;

namespace {

constexpr int wavFloat = SF_FORMAT_WAV | SF_FORMAT_FLOAT, wav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
const ProgressListener goOn = [](sf_count_t, sf_count_t) { return true; };

// With what a file can say about its sound, as far as the format has it; false for a format that libsndfile
// is built without. It misplaces cue points in big-endian WAV files by itself, and adds a line to the history
// in a broadcast chunk whenever it writes one.
bool Save(const fs::path &path, int format, int channels, const Samples &samples) {
    SndfileHandle file(path.string(), SFM_WRITE, format, channels, 44100);
    SF_CUES cues{2, {{1, 10, 0, 0, 0, 10, {}}, {2, 2000, 0, 0, 0, 2000, {}}}};
    SF_INSTRUMENT instrument{1, 60, 0, 0, 127, 0, 127, 1, {{SF_LOOP_FORWARD, 100, 700, 0}}};
    const std::vector<int> map(static_cast<std::size_t>(channels), SF_CHANNEL_MAP_REAR_RIGHT);
    for (int tag = SF_STR_FIRST; tag <= SF_STR_LAST; ++tag)
        file.setString(tag, "2026");
    if ((format & SF_FORMAT_ENDMASK) == 0)
        file.command(SFC_SET_CUE, &cues, sizeof cues);
    SF_CHUNK_INFO chunk{{'i', 'X', 'M', 'L'}, 4, sizeof instrument, &instrument};
    if ((format & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAV)
        sf_set_chunk(file.rawHandle(), &chunk);
    file.command(SFC_SET_INSTRUMENT, &instrument, sizeof instrument);
    file.command(SFC_SET_CHANNEL_MAP_INFO, const_cast<int *>(map.data()), channels * 4);
    if ((format & SF_FORMAT_TYPEMASK) != SF_FORMAT_RF64) // there it would add one
        file.command(SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
    return file.write(samples.data(), static_cast<sf_count_t>(samples.size())) ==
           static_cast<sf_count_t>(samples.size());
}

// Without trust in the length that the file states.
Samples Load(const fs::path &path) {
    AudioReader reader(path);
    Samples samples, block(static_cast<std::size_t>(1000 * reader.Info().channels));
    while (const sf_count_t frames = reader.Read(block.data(), 1000))
        samples.insert(samples.end(), block.data(), block.data() + frames * reader.Info().channels);
    return samples;
}

std::string Bytes(const fs::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class FileDenoiser : public testing::Test {
protected:
    fs::path folder = fs::temp_directory_path() / ("quietfloor-" + std::to_string(std::random_device()()));
    DenoiseSettings settings;

    void SetUp() override { ASSERT_TRUE(fs::create_directory(folder)); }
    void TearDown() override { fs::remove_all(folder); }

    DenoiseReport Clean(const std::string &in, const std::string &out) const {
        return DenoiseFile({folder / in, folder / out, {}}, settings, goOn);
    }
    Samples Cleaned(const std::string &in, DenoiseSettings how) const {
        how.overwrites = true;
        DenoiseFile({folder / in, folder / "cleaned", {}}, how, goOn);
        return Load(folder / "cleaned");
    }
    void PutSizes(const fs::path &wav, const char *file, const char *data) const {
        const std::string bytes = Bytes(wav);
        std::ofstream(wav, std::ios::binary)
            << std::string(bytes).replace(4, 4, file, 4).replace(bytes.find("data") + 4, 4, data, 4);
    }
};

TEST_F(FileDenoiser, KeepsEveryByteWhereNothingIsMixedIn) {
    settings.mix = 0.0;
    settings.overwrites = true;
    SF_INFO info{0, 44100, 3, 0, 0, 0};
    int count = 0;
    for (const int container : {SF_FORMAT_WAV, SF_FORMAT_WAVEX, SF_FORMAT_RF64, SF_FORMAT_W64, SF_FORMAT_AIFF,
                                SF_FORMAT_AU, SF_FORMAT_CAF, SF_FORMAT_FLAC})
        for (const int samples : {SF_FORMAT_PCM_U8, SF_FORMAT_PCM_S8, SF_FORMAT_PCM_16, SF_FORMAT_PCM_24,
                                  SF_FORMAT_FLOAT, SF_FORMAT_ALAC_16})
            for (const int endian : {SF_ENDIAN_FILE, SF_ENDIAN_LITTLE, SF_ENDIAN_BIG}) {
                info.format = container | samples | endian;
                if (!sf_format_check(&info) || !Save(folder / "in", info.format, 3, WhiteNoise(6000, -14)))
                    continue;
                ++count;
                EXPECT_EQ(Clean("in", "out").frames, 2000);
                EXPECT_TRUE(Bytes(folder / "out") == Bytes(folder / "in")) << std::hex << info.format;
            }
    EXPECT_GT(count, 50);
    SF_BROADCAST_INFO written{
        {'t', 'a', 'k', 'e'}, {}, {}, {}, {}, 123456, 0, 0, {}, 0, 0, 0, 0, 0, {}, 0, {}},
        read{};
    SndfileHandle((folder / "in").string(), SFM_WRITE, wav16, 1, 48000)
        .command(SFC_SET_BROADCAST_INFO, &written, sizeof written);
    Clean("in", "out");
    SndfileHandle((folder / "out").string()).command(SFC_GET_BROADCAST_INFO, &read, sizeof read);
    EXPECT_STREQ(read.description, "take");
    EXPECT_EQ(read.time_reference_low, 123456u);
}

// The source is what is written and what is removed, frame by frame, and a late target is only late.
TEST_F(FileDenoiser, DividesTheSourceInStep) {
    const Samples in = WhiteNoise(2 * 60000, -30);
    Save(folder / "in", wavFloat, 2, in);
    for (const float filterMode : {0.0f, 1.0f})
        for (const double mix : {1.0, 0.4}) {
            DenoiseSettings some;
            some.mix = mix;
            some.parameters[Reducer::kFilterMode] = filterMode;
            const Samples cleaned = Cleaned("in", some);
            EXPECT_LT(LevelDb(cleaned, 80000, 120000), mix < 1.0 ? -33 : -38);
            some.writesResidual = true;
            const Samples removed = Cleaned("in", some);
            some.writesResidual = false;
            some.keepsLatency = true;
            const Samples late = Cleaned("in", some);
            const std::size_t delay = filterMode != 0 ? 2 * 704 : 2 * 512; // at FFT size 512
            ASSERT_EQ(late.size(), in.size());
            for (std::size_t i = 0; i < in.size(); ++i) {
                ASSERT_NEAR(cleaned[i] + removed[i], in[i], 1e-7f) << i;
                ASSERT_TRUE(i < delay || late[i] == cleaned[i - delay]) << i;
            }
        }
}

// What is cut off, what a recorder that was not ended properly leaves (no size in the header), and no
// numbers.
TEST_F(FileDenoiser, TakesWhatADamagedFileStillHas) {
    settings.overwrites = true;
    for (const int container : {SF_FORMAT_WAV, SF_FORMAT_AIFF, SF_FORMAT_W64, SF_FORMAT_AU, SF_FORMAT_FLAC}) {
        if (!Save(folder / "in", container | SF_FORMAT_PCM_16, 1, WhiteNoise(40000, -30)))
            continue; // as above
        EXPECT_FALSE(Clean("in", "out").truncated) << std::hex << container;
        fs::resize_file(folder / "in", fs::file_size(folder / "in") / 2);
        const DenoiseReport report = Clean("in", "out");
        EXPECT_TRUE(report.truncated) << std::hex << container;
        EXPECT_NEAR(static_cast<double>(report.frames), 20000, 4500); // a FLAC frame is long
    }
    Save(folder / "in", wav16, 1, Samples(40000));
    PutSizes(folder / "in", "\0\0\0\0", "\0\0\0\0");
    EXPECT_EQ(Clean("in", "out").frames, 40000);
    Samples sound(40000, NAN);
    Save(folder / "in", wavFloat, 1, sound);
    Clean("in", "out");
    SndfileHandle((folder / "out").string()).read(sound.data(), 40000); // what is not read stays NaN
    EXPECT_TRUE(
        std::all_of(sound.begin(), sound.end(), [](float sample) { return std::abs(sample) < 1e-6f; }));
}

// Some formats get their header with the first frame only.
TEST_F(FileDenoiser, MakesAFileOfNoSound) {
    ASSERT_TRUE(Save(folder / "in", wav16, 2, {}));
    for (settings.container = SF_FORMAT_WAV; const char *target : {"wav", "flac"}) {
        EXPECT_EQ(Clean("in", target).frames, 0);
        EXPECT_EQ(AudioReader(folder / target).Info().channels, 2) << target;
#if !defined(_WIN32) // built without other libraries' codecs there
        settings.container = SF_FORMAT_FLAC;
#endif
    }
}

// Of a sound that speaks from the first sample on, the pauses after the first word are as clean as later
// ones. A word too loud for the rest is heard last before the sound begins anew.
TEST_F(FileDenoiser, LearnsAheadSoThatTheBeginningIsAsCleanAsTheRest) {
    const Samples speech = Syllables(12 * 44100, -25);
    Samples in = WhiteNoise(8 * 44100, -45);
    for (std::size_t i = 0; i < in.size(); ++i)
        in[i] += speech[4 * 44100 + i] + (i > in.size() - 4000 && i / 20 % 2 ? 0.5f : 0.0f);
    Save(folder / "in", wavFloat, 1, in);
    const auto isPause = [](std::size_t i) { return SinceSyllable(i) > 0.4; };
    const auto FirstPauseDb = [&] { return LevelDb(Cleaned("in", settings), 0, 22050, isPause); };
    for (const float fftSize : {512.0f, 2048.0f})
        for (const float filterMode : {0.0f, 1.0f}) {
            settings.parameters[Reducer::kFftSize] = fftSize;
            settings.parameters[Reducer::kFilterMode] = filterMode;
            settings.learning = {Learning::Amount::nothing};
            const double unlearnt = FirstPauseDb();
            settings.learning = {};
            const Samples cleaned = Cleaned("in", settings);
            const double rest = LevelDb(cleaned, 5 * 44100, 7 * 44100, isPause);
            EXPECT_LT(rest, -53);
            EXPECT_TRUE(fftSize < 2048 || unlearnt > rest + 4);
            EXPECT_LT(FirstPauseDb(), rest + 1.5) << fftSize << ' ' << filterMode;
            settings.learning = {Learning::Amount::seconds, 4.0};
            EXPECT_LT(FirstPauseDb(), rest + 1.5) << fftSize << ' ' << filterMode;
        }
    settings.keepsLatency = true;
    EXPECT_EQ(Cleaned("in", settings)[500], 0.0f); // not what was learnt from
}

// Down to levels below the tracker's gate, and where half the spectrum is empty.
TEST_F(FileDenoiser, ReducesAlikeAtEveryLevelAndBandwidth) {
    settings.parameters = FindPreset("speech")->values;
    const Samples noise = WhiteNoise(8 * 44100, -40);
    const auto Reduced = [&](Samples in, float gain) {
        for (float &sample : in)
            sample *= gain;
        Save(folder / "in", wavFloat, 1, in);
        Samples out = Cleaned("in", settings);
        for (float &sample : out)
            sample /= gain;
        return out;
    };
    const Samples at0 = Reduced(noise, 1.0f);
    const double level = LevelDb(at0, 44100, at0.size());
    EXPECT_LT(level, -53);
    EXPECT_EQ(Reduced(noise, 0x1p-10f), at0);
    for (const float gain : {0.1f, 0.01f, 0.001f, 10.0f}) {
        const Samples out = Reduced(noise, gain);
        EXPECT_NEAR(LevelDb(out, 44100, out.size()), level, 0.5) << gain;
    }
    Samples narrow(noise.size()); // below 5.5 kHz, by a windowed sinc
    for (std::size_t i = 64; i + 64 < narrow.size(); ++i)
        for (int k = -63; k < 64; ++k) {
            const double t = 3.141592653589793 * k / 4;
            const double tap = (k == 0 ? 1.0 : std::sin(t) / t) * (1 + std::cos(t / 16)) / 8;
            narrow[i] += static_cast<float>(tap * noise[i + static_cast<std::size_t>(64 + k) - 64]);
        }
    const Samples out = Reduced(narrow, 0.01f);
    EXPECT_NEAR(LevelDb(narrow, 44100, out.size()) - LevelDb(out, 44100, out.size()), -40 - level, 0.7);
}

// Noise below the tracker's gate, silence, and hiss far below a sound that goes on and on.
TEST_F(FileDenoiser, SaysWhatWasNotReduced) {
    const Samples quiet = WhiteNoise(4 * 44100, -95), hiss = WhiteNoise(quiet.size(), -75);
    Samples tone(hiss);
    for (std::size_t i = 0; i < tone.size(); ++i)
        tone[i] += 0.3f * static_cast<float>(std::sin(0.05 * static_cast<double>(i)));
    settings.overwrites = true;
    settings.learning = {Learning::Amount::nothing};
    for (const auto &[sound, isUnreduced] :
         {std::pair(quiet, true), {Samples(44100), false}, {tone, false}}) {
        Save(folder / "in", wavFloat, 1, sound);
        EXPECT_EQ(Clean("in", "out").unreduced, isUnreduced);
    }
    settings.learning = {};
    Save(folder / "in", wavFloat, 1, quiet);
    EXPECT_FALSE(Clean("in", "out").unreduced);
}

// However many files are cleaned at once, and whatever each one asks for.
TEST_F(FileDenoiser, GivesTheSameOnManyThreads) {
    Save(folder / "in", wavFloat, 2, WhiteNoise(20000, -30));
    const auto Run = [this](int i) {
        DenoiseSettings some;
        some.parameters[Reducer::kFftSize] = static_cast<float>(256 << i % 3);
        DenoiseFile({folder / "in", folder / std::to_string(i), {}}, some, goOn);
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 12; ++i)
        i < 3 ? Run(i) : void(threads.emplace_back(Run, i));
    for (std::thread &thread : threads)
        thread.join();
    for (int i = 3; i < 12; ++i)
        EXPECT_TRUE(Bytes(folder / std::to_string(i)) == Bytes(folder / std::to_string(i % 3))) << i;
}

TEST_F(FileDenoiser, CountsWhatClipsAndMeasuresTheQuietParts) {
    Samples in(44100);
    for (std::size_t i = 0; i < in.size(); ++i) // every eighth 50 ms at -40 dB, the rest at 0 dB
        in[i] = i / 2205 % 8 == 0 ? 0.01f : i % 2 ? 1.0f : -1.0f;
    in[3000] = 1.01f;
    in[3001] = -7.0f;
    in[3002] = 0.7f / 32768;
    Save(folder / "in", wavFloat, 1, in);
    settings.mix = 0.0;
    settings.sampleFormat = SF_FORMAT_PCM_16;
    const DenoiseReport report = Clean("in", "out");
    EXPECT_EQ(report.clippedSamples, 2);
    EXPECT_EQ(Load(folder / "out")[3000], 32767 / 32768.0f);
    EXPECT_EQ(Load(folder / "out")[3002], 1 / 32768.0f);
    EXPECT_NEAR(report.noiseFloorBefore, -40.0, 0.011);
    EXPECT_NEAR(report.noiseFloorAfter, -40.0, 0.011);
}

TEST_F(FileDenoiser, LeavesEverythingAsItWasWhenItCannot) {
    Save(folder / "in", wav16, 2, WhiteNoise(100000, -30));
    Save(folder / "wide", SF_FORMAT_AU | SF_FORMAT_PCM_16, 300, Samples(300));
    std::ofstream(folder / "old") << "old";
    fs::create_hard_link(folder / "in", folder / "hard");
    const auto Reason = [this](const char *in, const char *out, const ProgressListener &listener) {
        try {
            DenoiseFile({folder / in, folder / out, {}}, settings, listener);
        } catch (const std::exception &error) {
            return std::string(error.what());
        }
        return std::string("none");
    };
    const auto Entries = [this] { return std::distance(fs::directory_iterator(folder), {}); };
    const struct {
        const char *in, *out;
        int sampleFormat;
        bool overwrites;
        const char *reason;
    } cases[] = {{"wide", "out", 0, true, "300 channels"},
                 {"in", "old", 0, false, "exists"},
                 {"in", "in", 0, true, "is the source"},
                 {"in", "hard", 0, true, "is the source"},
                 {"in", "out", SF_FORMAT_VORBIS, true, "does not go into"}};
    const std::string before = Bytes(folder / "in");
    const auto count = Entries();
    for (const auto &c : cases) {
        settings.sampleFormat = c.sampleFormat;
        settings.overwrites = c.overwrites;
        const std::string reason = Reason(c.in, c.out, goOn);
        EXPECT_NE(reason.find(c.reason), std::string::npos) << c.in << ' ' << c.out << ": " << reason;
        EXPECT_EQ(reason.find('\n'), std::string::npos);
    }
    settings = {};
    EXPECT_EQ(Reason("in", "out", [](auto, auto) { return false; }), "interrupted");
#if !defined(_WIN32)
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit low{100'000, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &low); // as a full disk, in the middle of the file
    EXPECT_NE(Reason("in", "out", goOn).find("File too large"), std::string::npos);
    setrlimit(RLIMIT_FSIZE, &limit);
#endif
    EXPECT_EQ(Entries(), count);
    const auto TakeName = [this](auto, auto) { return !!(std::ofstream(folder / "late") << "late"); };
    EXPECT_NE(Reason("in", "late", TakeName).find("exists"), std::string::npos);
    EXPECT_EQ(Bytes(folder / "late") + Bytes(folder / "old"), "lateold");
    EXPECT_EQ(Entries(), count + 1);
    EXPECT_EQ(Bytes(folder / "in"), before);
}

#if !defined(_WIN32)
TEST_F(FileDenoiser, ReplacesWhatALinkLeadsToAndKeepsItsMode) {
    Save(folder / "in", wav16, 1, WhiteNoise(1000, -30));
    std::ofstream(folder / "old") << "old";
    const auto mode = fs::perms::owner_read | fs::perms::owner_write;
    fs::permissions(folder / "old", mode);
    fs::create_symlink("old", folder / "link");
    settings.overwrites = true;
    Clean("in", "link");
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(Load(folder / "old").size(), 1000u);
    EXPECT_EQ(fs::status(folder / "old").permissions(), mode);
}

class FileDenoiserStreams : public FileDenoiser {
protected:
    DenoiseReport report;

    // With standard input and output as pipes from and to what the shell runs in the folder.
    std::string Through(const std::string &source, const std::string &feed,
                        const char *drain = "cat >drained") {
        const std::string there = "cd " + folder.string() + ";";
        std::FILE *in = popen((there + feed).c_str(), "r"), *out = popen((there + drain).c_str(), "w");
        const int saved[] = {dup(0), dup(1)};
        dup2(fileno(in), 0);
        dup2(fileno(out), 1);
        std::string reason;
        try {
            report = DenoiseFile({source, "-", {}}, settings, [](auto, auto) { return true; });
        } catch (const FileError &error) {
            reason = error.what();
        }
        dup2(saved[0], 0);
        dup2(saved[1], 1);
        pclose(in);
        pclose(out);
        return reason.empty() ? Bytes(folder / "drained") : reason;
    }
};

TEST_F(FileDenoiserStreams, AreTheSameAsFiles) {
    Save(folder / "in", wav16, 2, WhiteNoise(60000, -30));
    Clean("in", "out");
    EXPECT_TRUE(Through((folder / "in").string(), "") == Bytes(folder / "out"));
    settings.learning = {Learning::Amount::nothing}; // as from a pipe to a pipe by itself
    Clean("in", "unlearnt");
    settings.learning = {};
    Through("-", "cat in");
    EXPECT_EQ(Load(folder / "drained"), Load(folder / "unlearnt"));
    std::FILE *const pipe = popen(("cat " + (folder / "in").string()).c_str(), "r");
    DenoiseFile({"/dev/fd/" + std::to_string(fileno(pipe)), folder / "kept", {}}, settings, goOn);
    pclose(pipe);
    EXPECT_EQ(Load(folder / "kept"), Load(folder / "out"));
    settings.learning.amount = Learning::Amount::nothing;
    settings.overwrites = true;
    Clean("in", "out");
    Save(folder / "odd", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 1, WhiteNoise(101, -30));
    Clean("odd", "padded");
    EXPECT_TRUE(Through((folder / "odd").string(), "") == Bytes(folder / "padded"));
    PutSizes(folder / "out", "\xff\xff\xff\xff", "\xff\xff\xff\xff");
    EXPECT_TRUE(Through("-", "cat in; printf 'LIST\\4\\0\\0\\0INFO'") == Bytes(folder / "out"));
    for (const auto &[file, data] : {std::pair("\0\0\0\0", "\0\0\0\0"),
                                     {"\xff\xff\xff\xff", "\xff\xff\xff\xff"},
                                     {"\xff\xff\xff\x7f", "\xff\xff\xff\x7f"},
                                     {"\x24\xf0\xff\x7f", "\0\xf0\xff\x7f"}}) {
        PutSizes(folder / "in", file, data);
        EXPECT_TRUE(Through("-", "cat in") == Bytes(folder / "out"));
    }
    for (const int format : {SF_FORMAT_WAVEX | SF_FORMAT_PCM_24, SF_FORMAT_AU | SF_FORMAT_FLOAT,
                             SF_FORMAT_FLAC | SF_FORMAT_PCM_16, SF_FORMAT_OGG | SF_FORMAT_VORBIS}) {
        Save(folder / "other", format, 3, WhiteNoise(60000, -30));
        EXPECT_EQ(Through("-", "cat other").find("standard"), std::string::npos);
        EXPECT_EQ(Load(folder / "drained"), Cleaned("other", settings)) << std::hex << format;
    }
    // Without a size, too, and whether it was looked for behind the end.
    Save(folder / "sized", SF_FORMAT_RF64 | SF_FORMAT_PCM_16, 2, WhiteNoise(60000, -30));
    std::string bytes = Bytes(folder / "sized");
    bytes.replace(20, 24, std::string(24, '\0'));
    std::ofstream(folder / "unsized", std::ios::binary) << bytes;
    EXPECT_EQ(Cleaned("unsized", settings), Cleaned("sized", settings));
    Save(folder / "caf", SF_FORMAT_CAF | SF_FORMAT_PCM_16, 2, WhiteNoise(60000, -30));
    bytes = Bytes(folder / "caf");
    std::ofstream(folder / "caf", std::ios::binary)
        << bytes.replace(bytes.find("data") + 4, 8, std::string(7, '\0') + '\4');
    Save(folder / "svx", SF_FORMAT_SVX | SF_FORMAT_PCM_16, 1, WhiteNoise(100, -30));
    // Decoders of blocks do not notice the end by themselves.
    settings.sampleFormat = SF_FORMAT_PCM_16;
    for (const int samples : {SF_FORMAT_IMA_ADPCM, SF_FORMAT_MS_ADPCM, SF_FORMAT_GSM610})
        for (const char *size : {"\xff\xff\xff\xff", "\0\0\0\x10"}) {
            Save(folder / "coded", SF_FORMAT_WAV | samples, 1, WhiteNoise(30000, -30));
            const Samples expected = Cleaned("coded", settings);
            PutSizes(folder / "coded", size, size);
            Through("-", "cat coded");
            EXPECT_EQ(Load(folder / "drained"), expected) << std::hex << samples;
        }
    settings.sampleFormat = 0;
    settings.container = SF_FORMAT_AIFF;
    for (const char *feed : {"cat in", "cat svx"})
        EXPECT_NE(Through("-", feed).find("--format wav"), std::string::npos) << feed;
    settings.container = SF_FORMAT_WAV;
    EXPECT_NE(Through("-", "cat caf").find("does not say how long"), std::string::npos);
    settings.container = settings.sampleFormat = 0;
    EXPECT_EQ(Through("-", "cat in", "true"), "standard output: Broken pipe");
}

// Of many channels no more than 64 MiB.
TEST_F(FileDenoiserStreams, AreKeptUpToALimit) {
    Save(folder / "in", wavFloat, 256, {});
    PutSizes(folder / "in", "\xff\xff\xff\xff", "\xff\xff\xff\xff");
    std::FILE *const pipe =
        popen(("cat " + (folder / "in").string() + "; head -c 80000000 /dev/zero").c_str(), "r");
    const fs::path name = "/dev/fd/" + std::to_string(fileno(pipe));
    std::int64_t samples = 0;
    {
        AudioReader reader(name);
        WorkMeter meter(goOn, 0);
        for (const Row<float> &row : LearningSource(name, reader, {}, false, meter).TakeKept())
            samples += row.Length();
    }
    pclose(pipe);
    EXPECT_EQ(samples * 4, 64 << 20);
}

// Nor for a chunk that only claims to be large.
TEST_F(FileDenoiserStreams, TakeNoMoreMemoryForMoreSound) {
    Save(folder / "in", SF_FORMAT_WAV | SF_FORMAT_DOUBLE, 1, {});
    PutSizes(folder / "in", "\xff\xff\xff\xff", "\xff\xff\xff\xff");
    rusage before{}, after{};
    getrusage(RUSAGE_SELF, &before);
    Through("-", "cat in; head -c 64000000 /dev/zero", "cat >/dev/null");
    EXPECT_EQ(report.frames, 8'000'000);
    Save(folder / "claims", wav16, 1, WhiteNoise(1000, -30));
    std::ofstream(folder / "claims", std::ios::app | std::ios::binary) << "iXML\xff\xff\xff\x7f<x/>";
    settings.overwrites = true;
    Clean("claims", "out");
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 24'000); // KiB
}
#endif

} // namespace
