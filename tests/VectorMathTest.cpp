// SPDX-License-Identifier: MIT
#include "tests/LevelTesting.h"
#include "tests/levels/VectorMathTable.h"

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double quietNan = std::numeric_limits<double>::quiet_NaN();
constexpr double smallest = std::numeric_limits<double>::denorm_min();

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
    void (*function)(const VectorMathTable &level, const double *x, double *y, int count);
    long double (*expected)(long double);
    double low, high; // of the argument
    bool isLogarithmic;
    double limit = 2; // units in the last place
};

void Log10(const VectorMathTable &level, const double *x, double *y, int count) { level.log10(x, y, count); }
void Exp10(const VectorMathTable &level, const double *x, double *y, int count) { level.exp10(x, y, count); }
void Sqrt(const VectorMathTable &level, const double *x, double *y, int count) { level.sqrt(x, y, count); }
void PowFiveQuarters(const VectorMathTable &level, const double *x, double *y, int count) {
    level.powFiveQuarters(x, y, count);
}
template <int hundredths>
void Pow(const VectorMathTable &level, const double *x, double *y, int count) {
    level.pow(x, hundredths / 100.0, y, count);
}
template <int hundredths>
long double ExactPow(long double x) {
    return std::pow(x, static_cast<long double>(hundredths / 100.0));
}

const Measured measured[] = {
    {"Log10", Log10, std::log10, smallest, 1.7e308, true},
    {"Log10 near 1", Log10, std::log10, 0.5, 2, false},
    {"Exp10", Exp10, [](long double x) { return std::pow(10.0L, x); }, -325, 308.25, false},
    {"Pow 0.08", Pow<8>, ExactPow<8>, smallest, 1.7e308, true},
    {"Pow 0.88", Pow<88>, ExactPow<88>, smallest, 1.7e308, true},
    {"Pow 1.6", Pow<160>, ExactPow<160>, 1e-200, 1e192, true},
    {"Sqrt", Sqrt, std::sqrt, smallest, 1.7e308, true},
    {"PowFiveQuarters", PowFiveQuarters, ExactPow<125>, 1e-60, 1, true, 10},
};

class VectorMath : public EachLevelTest {
protected:
    const VectorMathTable &Level() const {
        static constexpr const VectorMathTable *tables[] =
            QUIETFLOOR_BY_SLOT(portableVectorMath, avx2VectorMath, avx512VectorMath);
        return *tables[GetParam()];
    }
};
INSTANTIATE_TEST_SUITE_P(, VectorMath, AtEachLevel(), LevelName);

TEST_P(VectorMath, IsAccurateOverTheWholeRange) {
    for (const Measured &m : measured) {
        std::mt19937_64 random(1);
        std::uniform_real_distribution uniform(m.isLogarithmic ? std::log2(m.low) : m.low,
                                               m.isLogarithmic ? std::log2(m.high) : m.high);
        std::vector<double> x(400'000), y(x.size());
        for (double &argument : x)
            argument = m.isLogarithmic ? std::exp2(uniform(random)) : uniform(random);
        m.function(Level(), x.data(), y.data(), static_cast<int>(x.size()));
        double worst = 0, at = 0;
        for (std::size_t i = 0; i < x.size(); ++i)
            if (const double error = Ulps(y[i], m.expected(x[i])); error > worst) {
                worst = error;
                at = x[i];
            }
        std::printf("%s: at most %.3f units in the last place, at %.17g\n", m.name, worst, at);
        EXPECT_LT(worst, m.limit) << m.name;
    }
}

TEST_P(VectorMath, AnswersLimitsAsTheCLibraryDoesInAnyLane) {
    const double limits[] = {0.0,      -0.0,      1.0,      smallest, 1.7976931348623157e308,
                             infinity, -infinity, quietNan, -1.0,     -5e9,
                             5e9,      400.,      -400.};
    const std::pair<decltype(Measured::function), double (*)(double)> pairs[] = {
        {Log10, [](double x) { return std::log10(x); }},
        {Exp10, [](double x) { return std::pow(10, x); }},
        {Pow<88>, [](double x) { return x == -infinity ? quietNan : std::pow(x, 0.88); }},
        {Sqrt, [](double x) { return std::sqrt(x); }},
    };
    for (const auto &[ours, theirs] : pairs)
        for (const double limit : limits)
            for (int lane = 0; lane < 8; ++lane) {
                double x[8], y[8];
                std::fill_n(x, 8, 0.5);
                x[lane] = limit;
                ours(Level(), x, y, 8);
                for (int i = 0; i < 8; ++i) {
                    const double expected = theirs(x[i]);
                    EXPECT_TRUE((std::isnan(y[i]) && std::isnan(expected)) || Ulps(y[i], expected) < 2)
                        << x[i] << ": " << y[i] << ", not " << expected;
                }
            }
}

} // namespace
