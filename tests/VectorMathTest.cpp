#include "fft/engine/VectorSse2.h"

#include "fft/engine/VectorMath.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double quietNan = std::numeric_limits<double>::quiet_NaN();
constexpr double smallest = std::numeric_limits<double>::denorm_min();

template <class Function>
double Lane(Function function, double x) {
    double lanes[2];
    function(VectorD{_mm_set_pd(x, 0.5)}).StoreU(lanes);
    return lanes[1];
}

// Distance in units of the last place of the expected value.
double Ulps(double value, long double expected) {
    const auto rounded = static_cast<double>(expected);
    if (value == rounded)
        return 0;
    const double next = std::nextafter(std::fabs(rounded), infinity) - std::fabs(rounded);
    return static_cast<double>(std::fabs(static_cast<long double>(value) - expected) / next);
}

struct Measured {
    const char *name;
    double (*function)(double);
    long double (*expected)(long double);
    double low, high; // of the argument
    bool isLogarithmic;
};

const Measured measured[] = {
    {"Log10", [](double x) { return Lane([](VectorD v) { return Log10(v); }, x); }, std::log10, smallest,
     1.7e308, true},
    {"Log10 near 1", [](double x) { return Lane([](VectorD v) { return Log10(v); }, x); }, std::log10, 0.5, 2,
     false},
    {"Exp10", [](double x) { return Lane([](VectorD v) { return Exp10(v); }, x); },
     [](long double x) { return std::pow(10.0L, x); }, -325, 308.25, false},
    {"Pow 0.08", [](double x) { return Lane([](VectorD v) { return Pow(v, 0.08); }, x); },
     [](long double x) { return std::pow(x, static_cast<long double>(0.08)); }, smallest, 1.7e308, true},
    {"Pow 0.88", [](double x) { return Lane([](VectorD v) { return Pow(v, 0.88); }, x); },
     [](long double x) { return std::pow(x, static_cast<long double>(0.88)); }, smallest, 1.7e308, true},
    {"Pow 1.6", [](double x) { return Lane([](VectorD v) { return Pow(v, 1.6); }, x); },
     [](long double x) { return std::pow(x, static_cast<long double>(1.6)); }, 1e-200, 1e192, true},
};

} // namespace

TEST(VectorMath, IsAccurateOverTheWholeRange) {
    for (const Measured &m : measured) {
        std::mt19937_64 random(1);
        double worst = 0, at = 0;
        for (int i = 0; i < 400'000; ++i) {
            std::uniform_real_distribution uniform(m.isLogarithmic ? std::log2(m.low) : m.low,
                                                   m.isLogarithmic ? std::log2(m.high) : m.high);
            const double drawn = uniform(random), x = m.isLogarithmic ? std::exp2(drawn) : drawn;
            const double error = Ulps(m.function(x), m.expected(x));
            if (error > worst) {
                worst = error;
                at = x;
            }
        }
        std::printf("%s: at most %.3f units in the last place, at %.17g\n", m.name, worst, at);
        EXPECT_LT(worst, 2) << m.name;
    }
}

TEST(VectorMath, AnswersLimitsAsTheCLibraryDoes) {
    const double limits[] = {0.0,      -0.0,      1.0,      smallest, 1.7976931348623157e308,
                             infinity, -infinity, quietNan, -1.0,     -5e9,
                             5e9,      400.,      -400.};
    const std::pair<double (*)(double), double (*)(double)> pairs[] = {
        {[](double x) { return Lane([](VectorD v) { return Log10(v); }, x); },
         [](double x) { return std::log10(x); }},
        {[](double x) { return Lane([](VectorD v) { return Exp10(v); }, x); },
         [](double x) { return std::pow(10, x); }},
        {[](double x) { return Lane([](VectorD v) { return Pow(v, 0.88); }, x); },
         [](double x) { return x == -infinity ? quietNan : std::pow(x, 0.88); }},
    };
    for (const auto &[ours, theirs] : pairs)
        for (const double x : limits) {
            const double value = ours(x), expected = theirs(x);
            EXPECT_TRUE((std::isnan(value) && std::isnan(expected)) || Ulps(value, expected) < 2)
                << x << ": " << value << ", not " << expected;
        }
}
