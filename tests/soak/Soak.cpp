// SPDX-License-Identifier: MIT
// More than a day of audio through one object, faster than it would sound. Every hour of it ends in a minute
// of noisy speech that is measured. Usage: Soak gains|filter [HOURS]; exits with 1 on the first violation.
#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <span>
#include <string>

#include "tests/Signals.h"

namespace {

constexpr std::uint64_t second = 44100, hour = 3600 * second, syllable = 35280; // samples; 0.8 s
constexpr int hop = 128; // of the default size, in both modes
constexpr std::uint64_t frames = 20'000, measured = frames * hop;
constexpr int block = 400;                   // in which the rest of the hour comes
constexpr std::size_t heapRounding = 16'384; // bytes: one block leaked in a thousand frames is more

// Two loops whose lengths have no small common multiple, so that no hour hears the same sum.
class Source {
public:
    Source() {
        speech.erase(speech.begin(), speech.begin() + 4 * syllable); // its silent start
    }

    // What a device delivers in an hour: noise that moves in steps under speech, then what it should not.
    void Fill(std::span<float> target, std::uint64_t position) const {
        constexpr float nan = std::numeric_limits<float>::quiet_NaN();
        constexpr float infinity = std::numeric_limits<float>::infinity();
        constexpr float odd[] = {nan, infinity, -infinity, 1e30f, -1e30f, 1e-40f};
        constexpr float steps[] = {1.0f, 0.3f, 3.0f};
        for (float &x : target) {
            const std::uint64_t at = position % hour / second;
            if (at < 3000 || at >= 3240) {
                const bool isAlone = at < 10 || (at >= 3240 && at < 3250); // noise is heard before speech
                x = (isAlone ? 0.0f : speech[position % speech.size()]) +
                    noise[position % noise.size()] * (at < 3000 ? steps[at / 250 % 3] : 1.0f);
            } else if (at < 3120)
                x = 0.0f;
            else if (at < 3150)
                x = position / 50 % 2 == 0 ? 1.0f : -1.0f;
            else
                x = at < 3180 ? 0.5f : at < 3210 ? 1e-40f : odd[position % 6];
            ++position;
        }
    }

private:
    Samples noise = WhiteNoise(97 * second, -40);
    Samples speech = Syllables(79 * syllable, -20);
};

struct Figures {
    double pauseDb, speechDb; // what is left of the noise; the change of the speech
    int latency;              // samples, as measured
    double frameUs, ageing;   // median; over that of an object from the first hour, on the same samples
    std::size_t heap, resident;
};

double TimedUs(Reducer &reducer, const float *in, float *out) {
    const auto start = std::chrono::steady_clock::now();
    reducer.Process(const_cast<float *>(in), out, hop);
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
}

double Median(std::vector<double> &x) {
    std::nth_element(x.begin(), x.begin() + static_cast<std::ptrdiff_t>(x.size() / 2), x.end());
    return x[x.size() / 2];
}

int LikeliestLag(const Samples &in, const Samples &out, int about) {
    const auto correlation = [&](int lag) {
        double sum = 0;
        for (std::size_t i = 0; i < 5 * second; ++i)
            sum += static_cast<double>(in[i]) * out[i + static_cast<std::size_t>(lag)];
        return sum;
    };
    int best = about - 64;
    for (int lag = best + 1; lag <= about + 64; ++lag)
        best = correlation(lag) > correlation(best) ? lag : best;
    return best;
}

// The measured minute, which an object from the first hour hears too, frame by frame in turns.
Figures Measure(Reducer &reducer, Reducer &young, const Source &source, std::uint64_t position) {
    static Samples in(measured), out(measured), other(measured);
    static std::vector<double> us(frames), youngUs(frames);
    source.Fill(in, position);
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const std::size_t at = frame * hop;
        youngUs[frame] = TimedUs(young, in.data() + at, other.data() + at);
        us[frame] = TimedUs(reducer, in.data() + at, out.data() + at);
    }
    const int latency = reducer.GetLatency();
    Figures f{};
    f.latency = LikeliestLag(in, out, latency);
    out.erase(out.begin(), out.begin() + latency);
    const auto sinceSyllable = [position](std::size_t i) { return (position + i) % syllable; };
    const auto isPause = [&](std::size_t i) {
        return sinceSyllable(i) > 17'640 && sinceSyllable(i) < 33'075;
    };
    const auto isSpeech = [&](std::size_t i) { return sinceSyllable(i) < 13'230; };
    f.pauseDb = LevelDb(out, 0, out.size(), isPause);
    f.speechDb = LevelDb(out, 0, out.size(), isSpeech) - LevelDb(in, 0, out.size(), isSpeech);
    out.resize(measured);
    f.frameUs = Median(us);
    f.ageing = f.frameUs / Median(youngUs);
    const struct mallinfo2 heap = mallinfo2();
    f.heap = heap.uordblks + heap.hblkhd;
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages;
    f.resident = pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return f;
}

// Up to the minute that is measured. Tells whether every sample was finite.
bool Run(Reducer &reducer, const Source &source, std::uint64_t from, std::uint64_t to) {
    float x[block], wrong = 0;
    for (std::uint64_t position = from; position < to; position += block) {
        source.Fill(x, position);
        reducer.Process(x, x, block);
        for (const float y : x)
            wrong += y - y; // 0 for what is finite, else NaN
    }
    return wrong == 0;
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 2)
        return 2;
    const bool filterMode = std::string(argv[1]) == "filter";
    const int hours = argc > 2 ? std::atoi(argv[2]) : 28;
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    std::printf("%s, %d hours\n", argv[1], hours); // before the heap is looked at: it allocates the buffer
    const Source source;
    Reducer reducer, young;
    Configure(reducer, 512, filterMode);
    Figures first{};
    for (int h = 0; h < hours; ++h) {
        const std::uint64_t start = static_cast<std::uint64_t>(h) * hour, end = start + hour - measured;
        const bool isFinite = Run(reducer, source, start, end);
        static const Reducer early(reducer); // from the end of the first hour
        young = early;
        const Figures f = Measure(reducer, young, source, end);
        first = h == 0 ? f : first;
        std::printf("%s hour %d: %llu samples, pauses %.2f dB, speech %+.2f dB, latency %d, frame %.2f us, "
                    "%.3f of a young one, heap %zu KiB, resident %zu KiB\n",
                    argv[1], h + 1, static_cast<unsigned long long>(start + hour), f.pauseDb, f.speechDb,
                    f.latency, f.frameUs, f.ageing, f.heap / 1024, f.resident / 1024);
        if (!isFinite || !(f.pauseDb < -54.5) || !(std::fabs(f.speechDb) < 0.3) ||
            std::fabs(f.pauseDb - first.pauseDb) > 1 || f.latency != reducer.GetLatency() ||
            f.ageing > 1.25 || f.heap > first.heap + heapRounding ||
            f.resident > first.resident + (1 << 20)) {
            std::printf("%s violated in hour %d%s\n", argv[1], h + 1, isFinite ? "" : ": not finite");
            return 1;
        }
    }
    return hours > 0 ? 0 : 2;
}
