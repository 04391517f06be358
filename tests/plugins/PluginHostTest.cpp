// SPDX-License-Identifier: MIT
// The LV2 plug-ins in a host that has a worker or none, and that sees what its audio thread allocates.
#include <gtest/gtest.h>
#include <lilv/lilv.h>
#include <lv2/worker/worker.h>

#include <array>
#include <tuple>

#include "tests/Signals.h"

namespace {
bool isWatching = false;
int forbidden = 0, allocationsLeft = -1; // the one that makes it 0 fails

bool IsGranted() {
    forbidden += isWatching;
    return allocationsLeft < 0 || allocationsLeft-- != 0;
}
} // namespace

// These take the place of the C library's own, in the plug-ins too.
#pragma GCC visibility push(default)
extern "C" {
void *__libc_malloc(std::size_t);
void *__libc_memalign(std::size_t, std::size_t);
void __libc_free(void *);
void *malloc(std::size_t bytes) { return IsGranted() ? __libc_malloc(bytes) : nullptr; }
void *aligned_alloc(std::size_t to, std::size_t n) { return IsGranted() ? __libc_memalign(to, n) : nullptr; }
void free(void *block) {
    forbidden += isWatching;
    __libc_free(block);
}
}
#pragma GCC visibility pop

namespace {

using Channels = std::vector<Samples>;
enum Control : std::size_t {
    latency,
    enabled,
    reduction,
    offset,
    sensitivity,
    strength,
    bandwidth,
    fftSize,
    knee,
    release,
    filterMode,
    estimator,
    controlCount,
    link = controlCount // of the stereo plug-in alone
};

struct Host {
    Host(std::size_t channelCount, bool hasWorker, double rate = 48000) : channels(channelCount) {
        static LilvWorld *const world = lilv_world_new();
        if (lilv_plugins_size(lilv_world_get_all_plugins(world)) == 0)
            lilv_world_load_all(world); // from LV2_PATH
        LilvNode *uri = lilv_new_uri(world, channels == 1 ? "urn:quietfloor:mono" : "urn:quietfloor:stereo");
        const LilvPlugin *plugin = lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world), uri);
        lilv_node_free(uri);
        instance = lilv_plugin_instantiate(plugin, rate, hasWorker ? features : features + 1);
        for (std::vector<float> *numbers : {&lowest, &highest, &values})
            numbers->resize(lilv_plugin_get_num_ports(plugin));
        lilv_plugin_get_port_ranges_float(plugin, lowest.data(), highest.data(), values.data());
        for (std::size_t port = 2 * channels; port < values.size(); ++port)
            Connect(port, &values[port]);
        lilv_instance_activate(instance);
        message.reserve(1000);
    }
    ~Host() { lilv_instance_free(instance); }

    void Connect(std::size_t port, float *data) const {
        lilv_instance_connect_port(instance, static_cast<std::uint32_t>(port), data);
    }
    float &operator[](std::size_t control) { return values[2 * channels + control]; }

    // In blocks of many lengths; each output goes where the other channel's input was.
    Channels Run(Channels x) {
        const void *extension = lilv_instance_get_extension_data(instance, LV2_WORKER__interface);
        const auto work = static_cast<const LV2_Worker_Interface *>(extension)->work;
        taken = 0;
        for (std::uint32_t block = 1; taken + block <= x[0].size();
             taken += block, block = block * 7 % 1021) {
            for (std::size_t c = 0; c < channels; ++c) {
                Connect(c, &x[c][taken]);
                Connect(channels + c, &x[channels - 1 - c][taken]);
            }
            isWatching = true;
            lilv_instance_run(instance, block);
            isWatching = false;
            if (!message.empty()) {
                work(instance->lv2_handle, nullptr, nullptr, static_cast<std::uint32_t>(message.size()),
                     message.data());
                message.clear();
                ++workCount;
            }
        }
        std::swap(x.front(), x.back());
        return x;
    }

    static LV2_Worker_Status Schedule(void *host, std::uint32_t size, const void *data) {
        static_cast<Host *>(host)->message.assign(static_cast<const char *>(data), size);
        return LV2_WORKER_SUCCESS;
    }

    std::size_t channels;
    LilvInstance *instance;
    std::vector<float> lowest, highest, values; // of all ports
    std::string message;                        // to the worker
    int workCount = 0;
    std::size_t taken = 0; // samples of the last run; the others stay
    LV2_Worker_Schedule schedule{this, Schedule};
    LV2_Feature workerFeature{LV2_WORKER__schedule, &schedule};
    const LV2_Feature *features[2] = {&workerFeature, nullptr};
};

// Noise so low that neighbouring samples differ by less than half of `largestStep`.
constexpr float largestStep = 0.08f;
Channels Rumble(std::size_t channels, std::size_t seconds) {
    Channels x;
    for (unsigned seed = 1; seed <= channels; ++seed) {
        x.push_back(WhiteNoise(seconds * 48000, 0, seed));
        for (int pass = 0; pass < 2; ++pass)
            for (float state = 0; float &sample : x.back())
                sample = state += 0.05f * (sample - state);
    }
    return x;
}

// Whether y is x `delay` samples late, until shortly before `to`: the ends of the last block are left out.
bool IsWithin(float bound, const Channels &x, const Channels &y, unsigned from, unsigned to, int delay) {
    const auto late = static_cast<std::size_t>(delay);
    for (std::size_t c = 0; c < x.size(); ++c)
        for (std::size_t i = from + late; i < to - 1021; ++i)
            if (!(std::abs(y[c][i] - x[c][i - late]) <= bound))
                return false;
    return true;
}

TEST(PluginHost, ASizeOrModeChangesWithoutAClickAndStaysInTime) {
    for (const std::size_t channels : {1u, 2u})
        for (const bool hasWorker : {true, false})
            for (const auto &[size, mode, delay] : std::array<std::array<int, 3>, 4>{
                     {{128, 0, 128}, {2048, 1, 1920}, {16384, 0, 13107}, {512, 1, 704}}}) {
                SCOPED_TRACE(testing::Message() << channels << hasWorker << ' ' << size << ' ' << mode);
                Host host(channels, hasWorker);
                host[reduction] = 0;
                host[fftSize] = static_cast<float>(size);
                host[filterMode] = static_cast<float>(mode);
                forbidden = 0;
                const Channels x = Rumble(channels, 8);
                Channels y = host.Run(x);
                EXPECT_EQ(forbidden, 0);
                EXPECT_EQ(host.workCount, hasWorker ? 2 : 0) << "one request to build, one to free";
                EXPECT_TRUE(IsWithin(1e-5f, x, y, 0, 48000, 512));
                EXPECT_TRUE(IsWithin(largestStep, y, y, 0, 8 * 48000, 1));
                if (!hasWorker) {
                    EXPECT_EQ(host[latency], 512) << "it waits";
                    lilv_instance_activate(host.instance);
                    y = host.Run(x);
                }
                EXPECT_EQ(host[latency], static_cast<float>(delay));
                EXPECT_TRUE(IsWithin(1e-5f, x, y, 6 * 48000, 8 * 48000, delay));
            }
}

// Equal channels, which share the dither, stay equal bit for bit.
TEST(PluginHost, ANewGroupIsNotHeardBeforeItHasLearntTheNoise) {
    const Channels learnt(2, WhiteNoise(2 * 48000, -40)), x(2, WhiteNoise(8 * 48000, -40, 2));
    for (int size = 128; size <= 16384; size *= 2)
        for (const float mode : {0.0f, 1.0f}) {
            Host host(2, true);
            host.Run(learnt);
            host[fftSize] = static_cast<float>(size);
            host[filterMode] = mode;
            const Channels y = host.Run(x);
            double loudest = -200;
            for (std::size_t at = 0; at + 4800 < y[0].size() - 1021; at += 2400)
                loudest = std::max(loudest, LevelDb(y[0], at, at + 4800));
            EXPECT_LT(loudest, -47) << size << ' ' << mode;
            EXPECT_TRUE(IsWithin(0, {y[0]}, {y[1]}, 0, 8 * 48000, 0)) << size << ' ' << mode;
        }
}

TEST(PluginHost, ControlsActAsTheObjectsParametersDo) {
    constexpr std::tuple<Control, int, float> moves[] = {
        {reduction, Reducer::kReductionDb, 12.0f},  {offset, Reducer::kOffsetDb, -3.0f},
        {sensitivity, Reducer::kSensitivity, 8.0f}, {strength, Reducer::kStrength, 55.0f},
        {bandwidth, Reducer::kBandWidthHz, 0.0f},   {release, Reducer::kReleaseMs, 50.0f},
        {estimator, Reducer::kParamCount, 1.0f},    {estimator, Reducer::kParamCount, 0.4f}};
    const Samples x = WhiteNoise(48000, -40);
    Host host(1, false);
    Reducer object;
    object.SetSampleRate(48000);
    object.Resume();
    for (const auto &[control, parameter, value] : moves) {
        host[control] = value;
        object.SetParameter(parameter, value);
        if (control == estimator)
            object.SetEstimator(estimators[std::lround(value)]);
        const Channels y = host.Run({x});
        Samples expected = x;
        object.Process(expected.data(), expected.data(), static_cast<int>(host.taken));
        EXPECT_TRUE(IsWithin(1e-5f, {expected}, y, 0, 48000, 0)) << control;
    }
}

// A loud channel beside a quiet one opens the gains of both, from the block on in which they are linked.
TEST(PluginHost, LinkedChannelsShareTheirGains) {
    const Samples noise = WhiteNoise(3 * 48000, -50);
    Samples loud = WhiteNoise(3 * 48000, -50, 2);
    std::transform(&loud[96000], &loud[0] + loud.size(), &loud[96000], [](float x) { return 30 * x; });
    double level[2];
    for (const int isLinked : {0, 1}) {
        Host host(2, false);
        EXPECT_EQ(host[link], 1);
        host[link] = static_cast<float>(isLinked);
        level[isLinked] = LevelDb(host.Run({noise, loud})[0], 100'000, 140'000);
    }
    EXPECT_LT(level[0], -65);
    EXPECT_NEAR(level[1], -50, 1);
}

TEST(PluginHost, AGroupThatListensFollowsTheControls) {
    Host host(1, true);
    host[fftSize] = 4096;
    host.Run({WhiteNoise(48000, -40, 2)});
    EXPECT_EQ(host[latency], 512) << "what is heard";
    host[reduction] = 0;
    const Channels y = host.Run({WhiteNoise(3 * 48000, -40)});
    EXPECT_EQ(host[latency], 3584);
    double faintest = 0;
    for (std::size_t at = 24000; at < 2 * 48000; at += 480)
        faintest = std::min(faintest, LevelDb(y[0], at, at + 480));
    EXPECT_GT(faintest, -45) << "3 dB and some chance in the middle of the fade";
}

TEST(PluginHost, OnlyWhatTakesARebuildIsBuiltAnew) {
    for (std::size_t control = reduction; control < controlCount; ++control) {
        Host host(1, true);
        host[control] = host.highest[2 + control];
        host.Run({Samples(2000)});
        const bool isBuilt = control == fftSize || control == knee || control == filterMode;
        EXPECT_EQ(host.workCount, isBuilt ? 1 : 0) << control;
    }
}

TEST(PluginHost, OfQuickChangesOnlyTheLastIsHeard) {
    const Channels x = Rumble(2, 1);
    Host host(2, true), plain(2, true);
    for (const float size : {4096.0f, 1024.0f, 512.0f, 512.0f, 512.0f}) {
        host[fftSize] = size; // the next comes while this one still listens
        EXPECT_TRUE(IsWithin(1e-5f, plain.Run(x), host.Run(x), 0, 48000, 0)) << size;
    }
    EXPECT_EQ(host.workCount, 3) << "two requests to build, the last frees";
}

TEST(PluginHost, BypassFadesToTheDelayedInput) {
    const Channels x = Rumble(2, 5);
    Host host(2, false);
    for (int pass = 0; pass < 8; ++pass) {
        host[enabled] = static_cast<float>(pass % 2);
        const Channels y = host.Run(x);
        EXPECT_EQ(IsWithin(pass % 2 ? 0.1f : 0, x, y, 1000, 5 * 48000, 512), pass % 2 == 0);
        EXPECT_TRUE(IsWithin(largestStep, y, y, 0, 5 * 48000, 1));
    }
}

// No sample differs from the input while the other group listens and after it has taken over.
TEST(PluginHost, ABypassedChangeStaysInTimeAndActivationForgetsTheInput) {
    const Channels x = Rumble(2, 8);
    for (const auto &[size, mode, delay] :
         std::array<std::array<int, 3>, 3>{{{128, 0, 128}, {2048, 1, 1920}, {16384, 0, 13107}}}) {
        Host host(2, true);
        host[enabled] = 0;
        lilv_instance_activate(host.instance);
        host[fftSize] = static_cast<float>(size);
        host[filterMode] = static_cast<float>(mode);
        Channels y = host.Run(x);
        EXPECT_TRUE(IsWithin(0, x, y, 0, 48000, 512)) << size;
        EXPECT_TRUE(IsWithin(0, x, y, 6 * 48000, 8 * 48000, delay)) << size;
        EXPECT_TRUE(IsWithin(largestStep, y, y, 0, 8 * 48000, 1)) << size;
        lilv_instance_activate(host.instance);
        y = host.Run(x);
        EXPECT_EQ(std::count(y[1].begin(), y[1].begin() + delay, 0.0f), delay) << size;
        EXPECT_TRUE(IsWithin(0, x, y, 0, 48000, delay)) << size;
    }
}

TEST(PluginHost, NonsenseIsHarmlessAndActivationForgets) {
    const Channels x = Rumble(1, 1);
    for (const double rate : {1.0, 8000.4, 768000.0})
        for (const float nonsense : {NAN, -INFINITY, INFINITY}) {
            Host plain(1, false, rate), odd(1, true, rate);
            const Channels first = plain.Run(x), second = (odd.Run(x), plain.Run(x));
            for (std::size_t control = reduction; control < controlCount; ++control)
                odd[control] = nonsense;
            EXPECT_TRUE(IsWithin(1e-5f, second, odd.Run(x), 0, 48000, 0)) << rate << ' ' << nonsense;
            lilv_instance_activate(odd.instance);
            EXPECT_TRUE(IsWithin(1e-5f, first, odd.Run(x), 0, 48000, 0)) << rate << ' ' << nonsense;
        }
}

TEST(PluginHost, ValuesOutOfRangeAreTakenAsItsEnds) {
    const Channels x = Rumble(1, 2);
    for (const float sign : {-1.0f, 1.0f}) {
        Host odd(1, false), plain(1, false);
        for (std::size_t control = reduction; control < controlCount; ++control) {
            odd[control] = sign * 1e9f;
            plain[control] = (sign < 0 ? plain.lowest : plain.highest)[2 + control];
        }
        for (const Host *host : {&odd, &plain})
            lilv_instance_activate(host->instance);
        EXPECT_TRUE(IsWithin(1e-5f, plain.Run(x), odd.Run(x), 0, 96000, 0)) << sign;
    }
}

TEST(PluginHost, WithoutMemoryThereIsNoInstanceAndNoStreamStops) {
    Host host(2, false);
    const LV2_Descriptor *plugin = lilv_instance_get_descriptor(host.instance);
    for (const double rate : {0.0, 1e10, static_cast<double>(NAN)})
        EXPECT_EQ(plugin->instantiate(plugin, rate, "", nullptr), nullptr) << rate;
    LV2_Handle made = nullptr;
    int granted = 0;
    for (; !made; ++granted) {
        allocationsLeft = granted;
        made = plugin->instantiate(plugin, 48000, "", nullptr);
        allocationsLeft = granted;
        lilv_instance_activate(host.instance);
        allocationsLeft = -1;
    }
    plugin->cleanup(made);
    EXPECT_GT(granted, 50);
    const Channels x = Rumble(2, 1);
    EXPECT_TRUE(IsWithin(4, x, host.Run(x), 0, 48000, 512));
}

} // namespace
