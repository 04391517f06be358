// SPDX-License-Identifier: MIT
/// The noise engine once more, bin by bin and step by step with the C library's functions: slow, and sharing
/// no code with the vector kernels. It says what the engine means.
#ifndef QUIETFLOOR_TESTS_PLAINNOISEENGINE_H
#define QUIETFLOOR_TESTS_PLAINNOISEENGINE_H

#include <algorithm>
#include <cmath>
#include <complex>
#include <vector>

#include "noise/NoiseRemoverSettings.h"

namespace plain {

constexpr double twoPi = 6.283185307179586;
constexpr double b0 = 0.06628679254662644, b1 = 0.03621344803260061, a1 = -0.897499759420773;

template <class T>
struct Array : std::vector<T> {
    explicit Array(int count, T value = T()) : std::vector<T>(static_cast<std::size_t>(count), value) {}
    T &operator[](int i) { return this->data()[i]; }
    const T &operator[](int i) const { return this->data()[i]; }
};
using Doubles = Array<double>;
using Floats = Array<float>;

inline double Db(double gain) { return 20 * std::log10(gain); }
inline double FromDb(double db) { return std::pow(10.0, db / 20); }

inline double SampleDeviation(const float *x, int n) {
    double mean = 0, squares = 0;
    for (int i = 0; i < n; ++i)
        mean += x[i] / static_cast<double>(n);
    for (int i = 0; i < n; ++i)
        squares += (x[i] - mean) * (x[i] - mean);
    return std::sqrt(squares / (n - 1));
}

struct ModulationTables {
    Floats window{64};
    Array<std::complex<double>> roots{64};
    ModulationTables() {
        for (int n = 0; n < 64; ++n) {
            const double p = twoPi * n / 63;
            window[n] = static_cast<float>(0.35875 - 0.48829 * std::cos(p) + 0.14128 * std::cos(2 * p) -
                                           0.01168 * std::cos(3 * p));
            roots[n] = std::polar(1.0, -twoPi * n / 64);
        }
    }
};

struct Bin {
    float score = 0, activity = 0, slow[2] = {};
    bool isStarted = false;
    double state = 0;
    Floats levels{64}, residuals{64}, profile{32}, history{12};
    int calls = 0, analyses = 0;

    // |X[j]| of a ring's last 64 values, oldest first, under a symmetric Blackman-Harris window.
    float Modulation(const Floats &ring, int j) const {
        static const ModulationTables tables;
        std::complex<double> sum = 0;
        for (int n = 0; n < 64; ++n)
            sum += tables.roots[j * n % 64] * static_cast<double>(ring[(calls + n) % 64] * tables.window[n]);
        return static_cast<float>(std::abs(sum));
    }

    void Analyze(double x) {
        if (!isStarted)
            state = x / (b0 + b1);
        isStarted = true;
        const double previous = state;
        state = x - a1 * previous;
        residuals[calls % 64] = static_cast<float>(x - (b1 * previous + b0 * state));
        levels[calls % 64] = static_cast<float>(x);
        if (++calls % 8 == 0)
            Judge();
    }

    void Judge() {
        for (int i = 0; i < 2; ++i) {
            const float d = Modulation(levels, i);
            slow[i] = slow[i] > d ? 0.2f * slow[i] + 0.8f * d : 0.92f * slow[i] + 0.08f * d;
        }
        history[analyses++ % 12] = slow[1] + slow[0];
        float sum = 0;
        for (int j = 0; j < 32; ++j) {
            profile[j] = 0.3f * profile[j] + 0.7f * Modulation(residuals, j);
            sum += profile[j];
        }
        const float mean32 = sum * 0.03125f;
        const double a = SampleDeviation(&profile[0], 8), b = SampleDeviation(&profile[8], 16),
                     c = SampleDeviation(&profile[24], 8);
        double fresh = std::sqrt((7 * a * a + 15 * b * b + 7 * c * c) / 31);

        double mean12 = 0;
        for (const float entry : history)
            mean12 += entry / 12.0;
        double q = SampleDeviation(history.data(), 12);
        if (mean12 > 1e-10)
            q /= std::pow(mean12, 0.85);
        activity = static_cast<float>(activity > q ? 0.15 * activity + 0.85 * q : 0.95 * activity + 0.05 * q);

        if (mean32 > 1e-10f)
            fresh /= std::pow(mean32, 0.88);
        fresh = std::max(fresh, 0.0001);
        if (0.1f > activity)
            fresh *= (activity / 0.1) * (activity / 0.1) * 0.75 + 0.25;
        score = static_cast<float>(fresh > score ? fresh : 0.5 * score + 0.5 * fresh);
    }
};

struct Tracker {
    int bins, sampleRate = 0;
    double threshold = 0, rate = 0, level = 0, target = 250;
    bool isFirst = true;
    int silentFrames = 0;
    double deviationScore = 0, meanLevelDb = -80;
    Array<Bin> records;
    Doubles state, minimum, evidence, signals, lastPosition, floor, binScore, binActivity, previousDb;

    explicit Tracker(int h)
        : bins(h), records(h), state(h), minimum(h), evidence(h + 2), signals(h + 2), lastPosition(h),
          floor(h), binScore(h), binActivity(h), previousDb(h, -145.0) {}

    void Update(double position, const double *mag, const double *db) {
        if (isFirst)
            std::fill(floor.begin(), floor.end(), 0.0);
        double flux = 0;
        bool wasUpdated = false;
        for (int k = 1; k < bins; ++k) {
            records[k].Analyze(mag[k]);
            const double rise = std::max(0.0, db[k] - previousDb[k]);
            flux += rise * rise;
            previousDb[k] = db[k];
            if (isFirst) {
                state[k] = db[k] / (b0 + b1);
                minimum[k] = db[k] - 4;
                evidence[k] = signals[k] = 0;
                silentFrames = 0;
            }
            const double old = state[k];
            state[k] = db[k] - a1 * old;
            const double y = b0 * state[k] + b1 * old;
            const double keep = minimum[k] > y ? 0.8 : 0.98;
            minimum[k] = keep * minimum[k] + (1 - keep) * y;
            const double a = records[k].activity;
            if (a != 0)
                binActivity[k] = binActivity[k] > a ? a : 0.08 * a + 0.92 * binActivity[k];
            if (records[k].score != 0)
                wasUpdated = Weigh(k, position, y) || wasUpdated;
        }
        deviationScore = std::sqrt(flux / (bins - 1)) - 3.5;
        isFirst = false;
        if (wasUpdated)
            MeasureMean();
    }

    bool Weigh(int k, double position, double y) {
        const double s = records[k].score;
        bool isUpdate = false;
        if (s >= level) {
            signals[k] += 0.8;
            signals[k - 1] += 0.1;
            signals[k + 1] += 0.1;
            if (signals[k] >= std::trunc(target * 0.2 + 0.5)) {
                evidence[k] *= 0.5;
                signals[k] *= 0.5;
                lastPosition[k] = position;
            }
        } else {
            const double e = level / (0.8 * std::pow(s / level, 1.5) + 0.2);
            evidence[k] += 0.7 * e;
            evidence[k - 1] += 0.15 * e;
            evidence[k + 1] += 0.15 * e;
            if (signals[k] > 1)
                signals[k] -= 0.5;
            isUpdate = evidence[k] > target;
            if (isUpdate)
                MoveFloor(k, position, s);
        }
        if (Db(floor[k]) - threshold > y)
            floor[k] = std::max(0.85 * FromDb(threshold + y) + 0.15 * floor[k], 1e-6);
        return isUpdate;
    }

    void MoveFloor(int k, double position, double s) {
        double candidate = FromDb(minimum[k] + threshold);
        const double dbPerSecond = rate + (minimum[k] < -120 ? -120 - minimum[k] : 0);
        if (lastPosition[k] != 0 && floor[k] != 0) {
            const double seconds = (position - lastPosition[k]) / sampleRate;
            candidate = std::min(
                candidate, floor[k] * FromDb((60 * std::pow(1 - s / level, 3) + dbPerSecond) * seconds));
        }
        floor[k] = candidate;
        evidence[k] = 0.95 * target;
        signals[k] *= 0.5;
        lastPosition[k] = position;
        binScore[k] = s;
    }

    void MeasureMean() {
        double sum = 0;
        int audible = 0, absent = 0;
        for (int k = 1; k < bins; ++k) {
            if (floor[k] > std::pow(10.0, -4.5)) {
                ++audible;
                sum += Db(floor[k]);
            }
            absent += floor[k] < 1e-6;
        }
        if (audible > 0) {
            silentFrames = 0;
            isFirst = meanLevelDb == -150;
            meanLevelDb = isFirst ? std::pow(10.0, -4.5) : sum / audible;
        } else {
            silentFrames += absent >= bins - 2;
            meanLevelDb = silentFrames > 3 ? -150 : std::pow(10.0, -4.5);
        }
    }
};

struct Engine {
    int half, rate, hop;
    quietfloor::NoiseRemoverSettings s; // with the derived ones in place
    Tracker tracker;
    bool isTracking = false, isFirst = true, isFloorValid = false;
    double position = 0, boostDb = 0, fall = 0, rise = 0;
    int bandCount = 0;
    Doubles reference, floor, gain, deviation, hold;

    Engine(int h, int sampleRate, int p)
        : half(h), rate(sampleRate), hop(p), tracker(h), reference(h + 1), floor(h + 1, 1e-6), gain(h + 1),
          deviation(h + 1), hold(h + 1) {
        Derive();
    }

    void Set(const quietfloor::NoiseRemoverSettings &given) {
        s = given;
        s.OffsetDb = static_cast<float>(s.OffsetDb + (s.Strength * 5.0 / 100 - 1));
        s.Sensitivity =
            static_cast<float>(std::pow(2.0, s.Sensitivity / 10.0) * (s.Strength / 100.0 * 51 + 9));
        s.TrackerRate = static_cast<float>(s.Strength * 20.0 / 100 + 2);
        s.KneeDb = std::max(s.KneeDb, 0.5f);
        Derive();
    }

    void Derive() {
        const double hopMs = hop * 1000.0 / rate;
        fall = std::pow(0.001, hopMs / s.ReleaseMs);
        rise = std::pow(0.001, hopMs / 10);
        boostDb = 0;
        bandCount = s.BandWidthHz != 0 ? static_cast<int>(rate * 0.5 / s.BandWidthHz) : 0;
        tracker.threshold = s.OffsetDb + 8.5 - 0.5 * std::log2(2.0 * half) + 6.8 + 0.6 * s.KneeDb;
        tracker.sampleRate = rate;
        tracker.target = std::trunc(rate * 0.25 / (2 * hop));
        tracker.rate = s.TrackerRate;
        tracker.level = s.Sensitivity / 150.0;
    }

    static void Spread(Doubles &x, int first, int last, int back, int end) {
        for (int k = first; k <= last; ++k)
            x[k] = std::max(x[k], 0.2 * x[k - 1]);
        for (int k = back; k >= end; --k)
            x[k] = std::max(x[k], 0.2 * x[k + 1]);
    }

    void ProcessFrame(const double *mag, const double *db, double *out, const double *refDb) {
        if (!isTracking) {
            double sum = 0;
            for (int k = 0; k <= half; ++k)
                sum += db[k];
            if (sum / half > -110) {
                tracker.Update(position, mag, db);
                isTracking = true;
            }
            std::fill(out + 1, out + half, 1.0);
        } else {
            Track(mag, db, refDb);
            Smooth();
            Shape(out);
            isFirst = false;
        }
        std::fill(floor.begin(), floor.end(), 1e-6);
        isFloorValid = isTracking;
        if (isTracking) {
            for (int k = 1; k < half; ++k)
                floor[k] += tracker.floor[k];
            Spread(floor, 2, half - 1, half - 2, 1);
        }
        const int overlap = 2 * half / hop;
        boostDb = std::max(0.0, boostDb - 60000.0 / 40 * overlap / rate);
        position += hop;
    }

    void Track(const double *mag, const double *db, const double *refDb) {
        if (!isFirst) {
            tracker.Update(position, mag, db);
            isTracking = tracker.meanLevelDb >= -140;
            if (s.TransientBoost && tracker.deviationScore > 0.7)
                boostDb = 3 * tracker.deviationScore;
        }
        for (int k = 1; k < half; ++k) {
            const double v = FromDb(refDb[k]) * (s.TransientBoost ? FromDb(boostDb) : 1);
            const double c = isFirst ? 0 : reference[k] > v ? fall : rise;
            reference[k] = (1 - c) * v + c * reference[k];
        }
        Spread(reference, 2, half - 1, half - 2, 1);
        if (bandCount != 0 && isFloorValid)
            Deviate(db);
    }

    void Deviate(const double *db) {
        const int w = std::max(1, static_cast<int>(std::floor(static_cast<double>(half) / bandCount + 0.5)));
        const auto square = [&](int j) {
            const double e = std::clamp(db[j] - (Db(floor[j]) + 3 - s.KneeDb), 0.0, 3.0);
            return e * e;
        };
        double sum = 0;
        for (int j = 1; j < std::min(2 * w, half); ++j)
            sum += square(j);
        for (int m = 2 * w; m < half; ++m) {
            sum += square(m);
            deviation[m - w] = std::sqrt(sum / (2 * w)) / 3;
            sum -= square(m - 2 * w + 1);
            if (sum < 1e-5)
                sum = 0;
        }
        for (int i = 1; i < w; ++i)
            deviation[i] = deviation[w];
        for (int i = half - w; i < half && w < half; ++i)
            deviation[i] = deviation[half - w - 1];
    }

    double Target(int k) const {
        const double steady = 0.1f, score = tracker.binScore[k], activity = tracker.binActivity[k];
        double cut = 0;
        if (tracker.level > score)
            cut = (1 - std::max(0.0, score / tracker.level - 0.85) * 6.666666666666666) * s.ReductionDb * 1.1;
        if (activity < steady)
            cut += (1 - std::pow(activity / steady, 1.6)) * 60 * (s.ReductionDb / 30.0);
        const double least = FromDb(cut != 0 ? -cut : -s.ReductionDb);
        const double upper = floor[k], lower = FromDb(-s.KneeDb) * upper;
        if (reference[k] >= upper)
            return 1;
        if (reference[k] < lower)
            return least;
        return std::pow((reference[k] - lower) / (upper - lower), 1.25) * (1 - least) + least;
    }

    void Smooth() {
        for (int k = 1; k < half; ++k) {
            const double g = Target(k);
            double keep = 0;
            if (g <= gain[k] && bandCount == 0) {
                keep = 0.7;
            } else if (g <= gain[k]) {
                const double h = deviation[k] > 0 ? std::max(0.5, std::pow(deviation[k], 0.08)) : 0.7;
                keep = hold[k] = h > hold[k] ? 0.9 * h + 0.1 * hold[k] : 0.2 * h + 0.8 * hold[k];
            }
            gain[k] = (1 - keep) * g + keep * gain[k];
        }
        gain[0] = 0;
        gain[half] = 1;
        Spread(gain, 1, half - 1, half - 1, 1);
    }

    void Shape(double *out) const {
        const float r = s.ReductionDb, w = r < 20 ? (r / 20) * (r / 20) : 1;
        const float extra = s.Strength > 33 ? std::pow((s.Strength - 33) / 67, 1.2f) * (r + 40) : 0;
        const auto linear = [](float db) { return std::pow(10.0f, db / 20); };
        const float least = linear(-r), lowest = linear(-(r + w * extra));
        const float high = std::clamp(linear(-r / 2), 0.15f, 1.0f);
        const float low = std::clamp(linear((-r - 8 * w) / 2), 0.15f, 1.0f);
        for (int k = 1; k < half - 1; ++k) {
            const double g = gain[k], t = (g - low) / (static_cast<double>(high) - low);
            if (g > high)
                out[k] = g;
            else if (g > low)
                out[k] = (1 - t) * least + t * g;
            else
                out[k] = g > least ? least : std::max<double>(g, lowest);
        }
    }
};

} // namespace plain

#endif
