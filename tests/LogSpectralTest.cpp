// SPDX-License-Identifier: MIT
#include "noise/LogSpectralEstimator.h"

#include <numbers>

#include "tests/LevelTesting.h"
#include "tests/Signals.h"

using namespace quietfloor;

namespace {

using namespace quietfloor::tuning;
using Doubles = Row<double>;

double Square(double x) { return x * x; }

// The estimator once more by its formulas, with the C library's functions. Minima and means are taken by
// loops over all that they are of.
struct PlainEstimator {
    int bins;
    double hopMs, binHz;
    LogSpectralSettings settings;
    std::vector<Doubles> levels; // of the frames that taught
    Doubles level{bins}, age{bins}, floorPower{bins}, noise{bins}, presence{bins}, clean{bins}, held{bins};
    Doubles posterior{bins}, prior{bins}, smoothedPrior{bins}, logGain{bins}, present{bins};

    PlainEstimator(int h, int sampleRate, int hop)
        : bins(h), hopMs(hop * 1000.0 / sampleRate), binHz(sampleRate / 2.0 / h) {}

    int Frames(double milliseconds) const { return static_cast<int>(milliseconds / hopMs); }

    // Moves a mean over about so long a time, but over no more than `count` values.
    void Move(double &mean, double value, double milliseconds, double count = 1e9) const {
        mean += std::max(1 - std::exp(-hopMs / milliseconds), 1 / count) * (value - mean);
    }

    // Over the bins not further away than that. Entry 0 never counts.
    double Mean(const Doubles &row, int k, double hz) const {
        const int reach = static_cast<int>(std::clamp(hz / binHz + 0.5, 1.0, bins / 2.0));
        double sum = 0, count = 0;
        for (int i = std::max(1, k - reach); i <= std::min(bins - 1, k + reach); ++i, ++count)
            sum += row[i];
        return sum / count;
    }

    int FirstFrames() const { return std::max(2, Frames(provisionalStartMs)); }

    // From the least level of this stretch and the one before.
    double Minimum(int k) const {
        const int last = static_cast<int>(levels.size()) - 1, stretch = std::max(1, Frames(provisionalMs));
        double least = level[k];
        for (int i = std::max(FirstFrames(), (last / stretch - 1) * stretch); i <= last; ++i)
            least = std::min(least, levels[static_cast<std::size_t>(i)][k]);
        return provisionalFactor * least;
    }

    void FollowFloor(int k, double floor, bool isHeard, bool hasMinimum) {
        const double minimum = Minimum(k);
        const double power =
            Square(floor / levelOffset) * std::pow(10, (noiseOverFloorDb - settings.ThresholdDb) / 10);
        const double startAge = hasMinimum ? takeOverMs / hopMs : 1e9;
        if (floor > 0 && age[k] == 0) {
            floorPower[k] = hasMinimum ? minimum : power;
            age[k] = startAge;
        }
        const double step = power / floorPower[k];
        if (step > farFromMean || step < 1 / farFromMean)
            age[k] = std::min(age[k], startAge);
        age[k] = floor > 0 ? age[k] + 1 : 0;
        if (floor == 0)
            floorPower[k] = minimum;
        else if (isHeard)
            Move(floorPower[k], power, floorSmoothingMs, age[k]);
        floorPower[k] = std::max(floorPower[k], leastNoisePower);
    }

    void FollowNoise(int k, double power, bool isHeard) {
        const bool isYoung = age[k] > 0 && age[k] < youngFloorMs / hopMs;
        const double low = floorPower[k] * (isYoung ? 1 : noiseBelowFloor),
                     high = floorPower[k] * noiseAboveFloor;
        noise[k] = std::clamp(noise[k] == 0 ? floorPower[k] : noise[k], low, high);
        const double exponent = power / noise[k] * speechRatio / (1 + speechRatio);
        double speech = 1 / (1 + (1 + speechRatio) * std::exp(-exponent));
        const double keep = std::pow(presenceAt16Ms, hopMs / 16);
        presence[k] = keep * presence[k] + (1 - keep) * speech;
        if (presence[k] > sureSpeech)
            speech = std::min(speech, sureSpeech);
        if (isHeard)
            Move(noise[k], speech * noise[k] + (1 - speech) * power, noiseSmoothingMs);
        noise[k] = std::clamp(noise[k], low, high);
    }

    void ComputeGains(const Doubles &mag, const Doubles &floor, bool teaches, Doubles &gain) {
        const int before = static_cast<int>(levels.size());
        const auto isHeard = [&](int k) { return teaches && Square(mag[k]) >= ditherPower; };
        for (int k = 0; k < bins; ++k)
            if (isHeard(k))
                Move(level[k], Square(mag[k]), provisionalLevelMs, before + 1);
        if (teaches)
            levels.push_back(level);
        for (int k = 0; k < bins; ++k) {
            FollowFloor(k, floor[k], isHeard(k), before > FirstFrames());
            FollowNoise(k, Square(mag[k]), isHeard(k));
            posterior[k] = std::min(Square(mag[k]) / noise[k], highestRatio);
            const double old = std::pow(priorWeightAt8Ms, hopMs / 8);
            prior[k] = std::clamp(old * clean[k] / noise[k] + (1 - old) * std::max(posterior[k] - 1, 0.0),
                                  leastPrior, highestRatio);
            const double keep = std::pow(smoothingAt8Ms, hopMs / 8);
            smoothedPrior[k] = keep * smoothedPrior[k] + (1 - keep) * prior[k];
        }
        double whole = 0;
        const int top = std::clamp(static_cast<int>(framePresenceHz / binHz), 1, bins - 1);
        for (int k = 1; k <= top; ++k)
            whole += smoothedPrior[k] / top;
        const double rise = std::clamp((before * hopMs - provisionalStartMs) / provisionalRiseMs, 0.0, 1.0);
        const double lowest = -std::max(settings.ReductionDb, 0.0) / 20;
        for (int k = 0; k < bins; ++k)
            Estimate(k, Square(mag[k]), whole, floor[k] > 0 ? lowest : rise * lowest);
        Blend(gain);
    }

    static double Share(double ratio) { return 1 / (1 + Square(presenceRatio / ratio)); }

    void Estimate(int k, double power, double whole, double lowest) {
        const double wiener = prior[k] / (1 + prior[k]);
        clean[k] = Square(wiener) * power;
        const double second = std::max(Square(wiener) * posterior[k], leastPrior);
        const double xi = std::max(std::sqrt(prior[k] * second), leastPrior);
        const double v = std::max(posterior[k] * xi / (1 + xi), leastExponent);
        const double amplitude = xi / (1 + xi) * std::exp(-0.5 * std::expint(-v));
        const double local = Mean(smoothedPrior, k, localShare * settings.BandWidthHz);
        const double all = Share(whole) * Share(local) * Share(Mean(smoothedPrior, k, wideHz));
        const double absence = 1 - std::max(all, leastPresence);
        present[k] = 1 / (1 + absence / (1 - absence) * (1 + xi) * std::exp(-v));
        const double own = std::max(std::log10(amplitude), lowest - 1);
        logGain[k] = std::clamp(present[k] * std::min(own, 0.0) + (1 - present[k]) * lowest, lowest, 0.0);
    }

    void Blend(Doubles &gain) {
        for (int k = 0; k < bins; ++k) {
            const double filled = Mean(present, k, noiseBandHz * 0.5) / blendPresence;
            const double share = std::sqrt(std::max(1 - filled, 0.0));
            const double mixed = (1 - share) * logGain[k] + share * Mean(logGain, k, blendHz);
            held[k] = mixed + share * blendHold * (held[k] - mixed);
            gain[k + 1] = std::pow(10, held[k]);
        }
        gain[0] = gain[1] = gain[2];
        gain[bins] = gain[bins - 1];
    }
};

class LogSpectralLevel : public EachLevelTest {};
INSTANTIATE_TEST_SUITE_P(, LogSpectralLevel, AtEachLevel(), LevelName);

} // namespace

// Noise with spoken stretches and a moment of silence, in some bins nothing but dither. Floors are there from
// the start, go, come back one after the other, move, go for a while in every third bin and never come in the
// last ones. What the estimator has heard before it must have forgotten.
TEST_P(LogSpectralLevel, MeansWhatTheFormulasSay) {
    const LogSpectralSettings settings[] = {
        {24, 8, 270}, {0, 8, 50}, {40, -3, 12000}, {-6, 20, 1000}, {12, 8, 0}};
    for (const auto &[bins, hop, sampleRate] :
         {std::tuple{32, 16, 8000}, {256, 128, 44100}, {1024, 512, 48000}, {8192, 819, 192'000}}) {
        LogSpectralEstimator estimator(bins, sampleRate, hop, SelectedNoiseKernels());
        PlainEstimator plain(bins, sampleRate, hop);
        Doubles mag(bins, 1.0), floor(bins, 1.0), gain(bins + 1), expected(bins + 1);
        for (int i = 0; i < 40; ++i)
            estimator.ComputeGains(mag.data(), floor.data(), true, gain.data());
        estimator.Restart();
        std::mt19937 random(11);
        std::exponential_distribution<double> power;
        int low = 0;
        for (int frame = 0; frame < 250; ++frame) {
            for (int k = 0; k < bins; ++k) {
                const double level = (k % 16 == 9 ? 1e-11 : 1e-3) / (1 + 30.0 * k / bins);
                const double voice = frame / 20 % 3 == 2 && (k + frame / 5) % 7 < 2 ? 40 : 1;
                mag[k] = frame / 8 == 18 ? 0 : std::sqrt(power(random)) * level * voice;
                const bool isKnown = frame < 3 || (frame > 60 + k % 50 && (frame / 30 != 6 || k % 3 != 0));
                const bool hasFloor = isKnown && k < bins * 0.9;
                floor[k] = hasFloor ? level * (1 + frame / 25 % 3 * 3) : 0;
            }
            plain.settings = settings[frame / 50];
            estimator.SetSettings(plain.settings);
            const bool teaches = frame < 40 || frame % 40 > 3;
            estimator.ComputeGains(mag.data(), floor.data(), teaches, gain.data());
            plain.ComputeGains(mag, floor, teaches, expected);
            for (int k = 0; k <= bins; ++k) {
                ASSERT_NEAR(gain[k], expected[k], 1e-5 * expected[k]) << bins << ' ' << frame << " bin " << k;
                low += expected[k] < 0.5;
            }
        }
        EXPECT_NEAR(low / 250.0 / bins, 0.4, 0.3);
    }
}
