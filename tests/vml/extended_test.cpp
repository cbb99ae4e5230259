#include <dlfcn.h>
#include <gtest/gtest.h>
#include <mpfr.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "ozk_vml_scalars.h"
#include "tools/accuracy/ulp.hpp"
#include "vml/extended/format.hpp"

namespace ozk::vml::extended {
namespace {

using Function = long double (*)(long double);
using Exact = int (*)(mpfr_t, const mpfr_t, mpfr_rnd_t);

constexpr long double kInfinity = std::numeric_limits<long double>::infinity();
constexpr long double kNaN = std::numeric_limits<long double>::quiet_NaN();
constexpr long double kSmallest = std::numeric_limits<long double>::denorm_min();
constexpr long double kLargest = std::numeric_limits<long double>::max();
constexpr mpfr_prec_t kPrecision = 256;

class Number {
  public:
    Number() { mpfr_init2(value_, kPrecision); }
    explicit Number(long double x) : Number() { mpfr_set_ld(value_, x, MPFR_RNDN); }
    ~Number() { mpfr_clear(value_); }
    Number(const Number&) = delete;
    Number& operator=(const Number&) = delete;
    operator mpfr_ptr() { return value_; }  // NOLINT

  private:
    mpfr_t value_;
};

bool same(long double a, long double b) {
    return (a != a && b != b) || (a == b && std::signbit(a) == std::signbit(b));
}

std::string text(long double x) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%La", x);
    return buffer;
}

// The largest error met, and where.
struct Worst {
    double ulp = 0;
    long double x = 0, y = 0, got = 0;

    void take(double error, long double at_x, long double at_y, long double result) {
        if (!(error <= ulp)) *this = {error, at_x, at_y, result};
    }
    std::string where() const {
        return std::to_string(ulp) + " ulp at " + text(x) + ", " + text(y) + ": " + text(got);
    }
};

long double random_in(std::mt19937_64& random, long double from, long double to) {
    return from + (to - from) * (static_cast<long double>(random()) * 0x1p-64L);
}
// Every significand and sign as likely as any other, exponents from `low` to `high`.
long double random_scale(std::mt19937_64& random, int low, int high) {
    const int exponent = low + static_cast<int>(random() % static_cast<uint64_t>(high - low + 1));
    const long double x = std::ldexp(static_cast<long double>(random() | uint64_t{1} << 63), exponent - 63);
    return random() % 2 == 0 ? x : -x;
}

struct Interval {
    long double from, to;
};
struct Subject {
    const char* name;
    Function function;
    Exact exact;
    std::vector<Interval> dense;       // uniformly, the ends and their neighbours too
    std::vector<long double> centres;  // a geometric cloud around each
    int lowest_exponent, highest_exponent;
    bool odd;
};

void PrintTo(const Subject& subject, std::ostream* out) { *out << subject.name; }

const long double kPi = 0x1.921fb54442d1846ap1L;
const Subject kSubjects[] = {
    {"expl",
     ozk_vml_kernel_expl_scalar,
     mpfr_exp,
     {{-0.01L, 0.01L}, {-2, 2}, {-11356, 11356}, {11356, 11357}, {-11400, -11355}},
     {0},
     -16445,
     13,
     false},
    {"logl",
     ozk_vml_kernel_logl_scalar,
     mpfr_log,
     {{0.4L, 2.5L}, {0.99L, 1.01L}},
     {1, 2, 0.5L},
     -16445,
     16383,
     false},
    {"log1pl",
     ozk_vml_kernel_log1pl_scalar,
     mpfr_log1p,
     {{-1, 2}, {-0.01L, 0.01L}},
     {0, -1, 1, -0.5L},
     -16445,
     16383,
     false},
    {"tanl",
     ozk_vml_kernel_tanl_scalar,
     mpfr_tan,
     {{0, 1}, {-10, 10}, {0.3L, 0.5L}},
     {kPi / 8, kPi / 4, kPi / 2, 3 * kPi / 4, kPi, 3 * kPi / 2, 2 * kPi, 1000 * kPi},
     -16445,
     16383,
     true},
    {"tanhl",
     ozk_vml_kernel_tanhl_scalar,
     mpfr_tanh,
     {{0, 0.02L}, {-3, 3}, {-25, 25}},
     {0, 22},
     -16445,
     5,
     true},
    {"atanl", ozk_vml_kernel_atanl_scalar, mpfr_atan, {{0, 0.02L}, {-2, 2}}, {0, 1}, -16445, 16383, true},
    {"asinl", ozk_vml_kernel_asinl_scalar, mpfr_asin, {{-1, 1}, {0, 0.02L}}, {0, 1, -1}, -16445, -1, true},
    {"acosl",
     ozk_vml_kernel_acosl_scalar,
     mpfr_acos,
     {{-1, 1}, {-0.02L, 0.02L}},
     {0, 1, -1},
     -16445,
     -1,
     false},
    {"asinhl", ozk_vml_kernel_asinhl_scalar, mpfr_asinh, {{-2, 2}, {0, 0.02L}}, {0, 1}, -16445, 16383, true},
    {"acoshl", ozk_vml_kernel_acoshl_scalar, mpfr_acosh, {{1, 3}, {1, 1.01L}}, {1, 2}, 0, 16383, false},
    {"atanhl", ozk_vml_kernel_atanhl_scalar, mpfr_atanh, {{-1, 1}, {0, 0.02L}}, {0, 1, -1}, -16445, -1, true},
};

class ExtendedFunction : public testing::TestWithParam<Subject> {};

INSTANTIATE_TEST_SUITE_P(Vml, ExtendedFunction, testing::ValuesIn(kSubjects),
                         [](const auto& subject) { return std::string(subject.param.name); });

std::vector<long double> arguments(const Subject& subject) {
    const int n = std::getenv("OZK_TEST_LONG") != nullptr ? 200000 : 3000;
    std::mt19937_64 random(11);
    std::vector<long double> x = {kLargest, -kLargest, kSmallest, -kSmallest,
                                  std::numeric_limits<long double>::min()};
    for (const Interval& interval : subject.dense) {
        for (int i = 0; i < n; ++i) x.push_back(random_in(random, interval.from, interval.to));
        for (const long double end : {interval.from, interval.to})
            for (const long double to : {-kInfinity, kInfinity}) x.push_back(std::nextafter(end, to));
    }
    for (const long double centre : subject.centres)
        for (int i = 0; i < n; ++i) x.push_back(centre + random_scale(random, -80, -1));
    for (int i = 0; i < n; ++i)
        x.push_back(random_scale(random, subject.lowest_exponent, subject.highest_exponent));
    return x;
}

TEST_P(ExtendedFunction, IsRoundedFromMoreThanItsPrecision) {
    Worst worst;
    Number exact, scratch;
    for (const long double x : arguments(GetParam())) {
        const Number argument(x);
        GetParam().exact(exact, const_cast<Number&>(argument), MPFR_RNDN);
        const long double result = GetParam().function(x);
        worst.take(accuracy::judge(result, exact, scratch).ulp, x, 0, result);
    }
    RecordProperty("ulp", worst.where());
    EXPECT_LT(worst.ulp, 0.51) << worst.where();
}

TEST_P(ExtendedFunction, IsOddBitForBitWhereTheFunctionIs) {
    if (!GetParam().odd) return;
    for (const long double x : arguments(GetParam()))
        ASSERT_TRUE(same(GetParam().function(-x), -GetParam().function(x))) << text(x);
    EXPECT_TRUE(same(GetParam().function(-0.0L), -0.0L));
    EXPECT_TRUE(same(GetParam().function(0.0L), 0.0L));
}

TEST(ExtendedFunctions, HaveTheirSpecialValues) {
    const struct {
        Function function;
        long double x, result;
    } cases[] = {
        {ozk_vml_kernel_expl_scalar, kInfinity, kInfinity},
        {ozk_vml_kernel_expl_scalar, -kInfinity, 0},
        {ozk_vml_kernel_expl_scalar, 11357, kInfinity},
        {ozk_vml_kernel_expl_scalar, -11400, 0},
        {ozk_vml_kernel_expl_scalar, -0.0L, 1},
        {ozk_vml_kernel_logl_scalar, 0, -kInfinity},
        {ozk_vml_kernel_logl_scalar, -0.0L, -kInfinity},
        {ozk_vml_kernel_logl_scalar, 1, 0},
        {ozk_vml_kernel_logl_scalar, -kSmallest, kNaN},
        {ozk_vml_kernel_logl_scalar, -kInfinity, kNaN},
        {ozk_vml_kernel_logl_scalar, kInfinity, kInfinity},
        {ozk_vml_kernel_log1pl_scalar, -0.0L, -0.0L},
        {ozk_vml_kernel_log1pl_scalar, -1, -kInfinity},
        {ozk_vml_kernel_log1pl_scalar, -2, kNaN},
        {ozk_vml_kernel_log1pl_scalar, kInfinity, kInfinity},
        {ozk_vml_kernel_tanl_scalar, kInfinity, kNaN},
        {ozk_vml_kernel_tanl_scalar, -kInfinity, kNaN},
        {ozk_vml_kernel_tanhl_scalar, kInfinity, 1},
        {ozk_vml_kernel_tanhl_scalar, -kInfinity, -1},
        {ozk_vml_kernel_atanl_scalar, kInfinity, kPi / 2},
        {ozk_vml_kernel_atanl_scalar, -kInfinity, -kPi / 2},
        {ozk_vml_kernel_asinl_scalar, 1, kPi / 2},
        {ozk_vml_kernel_asinl_scalar, 1 + 0x1p-63L, kNaN},
        {ozk_vml_kernel_asinl_scalar, -kInfinity, kNaN},
        {ozk_vml_kernel_acosl_scalar, 1, 0},
        {ozk_vml_kernel_acosl_scalar, -1, kPi},
        {ozk_vml_kernel_acosl_scalar, 0, kPi / 2},
        {ozk_vml_kernel_acosl_scalar, -2, kNaN},
        {ozk_vml_kernel_asinhl_scalar, -kInfinity, -kInfinity},
        {ozk_vml_kernel_acoshl_scalar, 1, 0},
        {ozk_vml_kernel_acoshl_scalar, 1 - 0x1p-64L, kNaN},
        {ozk_vml_kernel_acoshl_scalar, -kInfinity, kNaN},
        {ozk_vml_kernel_acoshl_scalar, kInfinity, kInfinity},
        {ozk_vml_kernel_atanhl_scalar, 1, kInfinity},
        {ozk_vml_kernel_atanhl_scalar, -1, -kInfinity},
        {ozk_vml_kernel_atanhl_scalar, kInfinity, kNaN},
        {ozk_vml_kernel_fabsl_scalar, -0.0L, 0},
        {ozk_vml_kernel_fabsl_scalar, -kInfinity, kInfinity},
        {ozk_vml_kernel_fabsl_scalar, -kSmallest, kSmallest},
    };
    for (const auto& c : cases)
        EXPECT_TRUE(same(c.function(c.x), c.result))
            << text(c.x) << ": " << text(c.function(c.x)) << ", not " << text(c.result);
    for (const Subject& subject : kSubjects) EXPECT_TRUE(std::isnan(subject.function(kNaN))) << subject.name;
    EXPECT_FALSE(std::signbit(ozk_vml_kernel_fabsl_scalar(-kNaN)));
    EXPECT_FALSE(std::signbit(ozk_vml_kernel__sabs_scalar(-0.0f)));
    EXPECT_EQ(ozk_vml_kernel__sabs_scalar(-0x1p-149f), 0x1p-149f);
    EXPECT_EQ(ozk_vml_kernel__dabs_scalar(-0x1p-1074), 0x1p-1074);
    EXPECT_FALSE(std::signbit(ozk_vml_kernel__dabs_scalar(-std::numeric_limits<double>::quiet_NaN())));
}

TEST(ExtendedAtan2, IsRoundedFromMoreThanItsPrecision) {
    const int n = std::getenv("OZK_TEST_LONG") != nullptr ? 400000 : 10000;
    std::mt19937_64 random(12);
    Worst worst;
    Number exact, scratch;
    for (int i = 0; i < n; ++i) {
        const int scale = static_cast<int>(random() % 32000) - 16000;
        const int spread = i % 2 == 0 ? 5 : 80;
        const long double x =
            i % 8 == 7 ? random_scale(random, -16445, 16383) : random_scale(random, scale, scale + spread);
        const long double y = i % 8 == 7   ? random_scale(random, -16445, 16383)
                              : i % 8 == 6 ? x * (1 + random_scale(random, -60, -2))
                                           : random_scale(random, scale, scale + spread);
        if (!std::isfinite(x) || !std::isfinite(y)) continue;
        Number ordinate(y), abscissa(x);
        mpfr_atan2(exact, ordinate, abscissa, MPFR_RNDN);
        const long double result = ozk_vml_kernel_atan2l_scalar(y, x);
        worst.take(accuracy::judge(result, exact, scratch).ulp, x, y, result);
    }
    RecordProperty("ulp", worst.where());
    EXPECT_LT(worst.ulp, 0.51) << worst.where();
}

TEST(ExtendedAtan2, TellsSidesBySignsOfZerosAndInfinities) {
    const long double values[] = {0,        -0.0L,     1,         -1,         kSmallest, -kSmallest,
                                  kLargest, -kLargest, kInfinity, -kInfinity, kNaN};
    Number exact;
    for (const long double y : values) {
        for (const long double x : values) {
            if (std::abs(y) == kSmallest && x == kLargest) continue;  // underflows, which MPFR doesn't
            Number ordinate(y), abscissa(x);
            mpfr_atan2(exact, ordinate, abscissa, MPFR_RNDN);
            EXPECT_TRUE(same(ozk_vml_kernel_atan2l_scalar(y, x), mpfr_get_ld(exact, MPFR_RNDN)))
                << text(y) << ", " << text(x);
        }
    }
    EXPECT_TRUE(same(ozk_vml_kernel_atan2l_scalar(-kSmallest, kLargest), -0.0L));
}

// x less the sum of n steps and the remainder, as a part of the remainder; 2^15 bits of precision hold all of it.
template <class Pair>
double reduction_error(long double x, int32_t n, int steps, const Pair& remainder) {
    mpfr_t turn, rest;
    mpfr_inits2(17500, turn, rest, static_cast<mpfr_ptr>(nullptr));
    mpfr_const_pi(turn, MPFR_RNDN);
    mpfr_mul_2si(turn, turn, 1, MPFR_RNDN);
    mpfr_set_ld(rest, x, MPFR_RNDN);
    mpfr_div_si(turn, turn, steps, MPFR_RNDN);
    {
        mpfr_t part;
        mpfr_init2(part, 17500);
        mpfr_mul_si(part, turn, n, MPFR_RNDN);
        mpfr_sub(rest, rest, part, MPFR_RNDN);
        mpfr_clear(part);
    }
    mpfr_mul_si(turn, turn, steps, MPFR_RNDN);
    mpfr_remainder(rest, rest, turn, MPFR_RNDN);
    mpfr_set_ld(turn, remainder.high, MPFR_RNDN);
    mpfr_sub(rest, rest, turn, MPFR_RNDN);
    mpfr_set_ld(turn, remainder.low, MPFR_RNDN);
    mpfr_sub(rest, rest, turn, MPFR_RNDN);
    const double error = std::abs(mpfr_get_d(rest, MPFR_RNDN) / static_cast<double>(remainder.high));
    mpfr_clears(turn, rest, static_cast<mpfr_ptr>(nullptr));
    return error;
}

TEST(Reducers, LeaveTheNearestMultipleAndAnExactRemainder) {
    std::mt19937_64 random(13);
    double worst_double = 0, worst_extended = 0;
    for (int i = 0; i < 1500; ++i) {
        long double x = random_scale(random, -3, i % 3 == 0 ? 16383 : i % 3 == 1 ? 60 : 4);
        if (i % 4 == 0) x = std::round(random_scale(random, 0, 60)) * (kPi / 4);
        OzkExtendedPair extended;
        const int32_t octant = ozk_vml_kernel_reduce_pi04l(x, &extended);
        ASSERT_TRUE(octant >= 0 && octant < 8);
        ASSERT_LE(std::abs(extended.high), kPi / 8 * (1 + 0x1p-60L)) << text(x);
        ASSERT_EQ(extended.high + extended.low, extended.high);
        worst_extended = std::max(worst_extended, reduction_error(x, octant, 8, extended));

        const double d =
            static_cast<double>(i % 3 == 0 ? std::ldexp(x, -15400 * (std::abs(x) > 0x1p1000L)) : x);
        if (d == 0) continue;
        OzkDoublePair pair;
        const int32_t quadrant = ozk_vml_kernel_reduce_pio2d(d, &pair);
        ASSERT_TRUE(quadrant >= 0 && quadrant < 4);
        ASSERT_LE(std::abs(pair.high), static_cast<double>(kPi / 4) * (1 + 0x1p-50)) << d;
        ASSERT_EQ(pair.high + pair.low, pair.high);
        worst_double = std::max(worst_double, reduction_error(d, quadrant, 4, pair));
    }
    EXPECT_LT(worst_extended, 0x1p-100);
    EXPECT_LT(worst_double, 0x1p-100);
}

TEST(Reducers, KeepSmallArgumentsAndRefuseInfinity) {
    OzkDoublePair pair;
    OzkExtendedPair extended;
    EXPECT_EQ(ozk_vml_kernel_reduce_pio2d(-0.0, &pair), 0);
    EXPECT_TRUE(pair.high == 0 && std::signbit(pair.high));
    EXPECT_EQ(ozk_vml_kernel_reduce_pio2d(0x1.921fb54442d18p0, &pair), 1);
    EXPECT_EQ(pair.high, 0x1.921fb54442d18p0 - static_cast<double>(kPi / 2) - 0x1.1a62633145c07p-54);
    EXPECT_EQ(ozk_vml_kernel_reduce_pi04l(kSmallest, &extended), 0);
    EXPECT_EQ(extended.high, kSmallest);
    for (const double x : {HUGE_VAL, -HUGE_VAL, std::nan("")}) {
        EXPECT_EQ(ozk_vml_kernel_reduce_pio2d(x, &pair), 0);
        EXPECT_TRUE(std::isnan(pair.high));
        EXPECT_EQ(ozk_vml_kernel_reduce_pi04l(x, &extended), 0);
        EXPECT_TRUE(std::isnan(extended.high));
    }
}

// What is left of f(argument) after high and low, relative to f.
template <class Pair>
double table_error(Exact f, long double argument, const Pair& entry, int sign = 1) {
    Number x(argument), value, part;
    f(value, x, MPFR_RNDN);
    if (mpfr_zero_p(static_cast<mpfr_ptr>(value))) return entry.high == 0 && entry.low == 0 ? 0 : 1;
    mpfr_mul_si(value, value, sign, MPFR_RNDN);
    const double exact = mpfr_get_d(value, MPFR_RNDN);
    mpfr_sub(value, value, Number(entry.high), MPFR_RNDN);
    mpfr_sub(value, value, Number(entry.low), MPFR_RNDN);
    return std::abs(mpfr_get_d(value, MPFR_RNDN) / exact);
}

TEST(CoreTables, HoldWhatTheirDescriptionSays) {
    for (int i = 0; i < 256; ++i) {
        const double c = ozk_vml_core_double_rcp_table_256[i];
        EXPECT_EQ(ozk_vml_core_rcp_table_256[i], c);
        EXPECT_EQ(std::rint(c * 2048), c * 2048);
        EXPECT_LE(std::abs((1 + i / 256.0) * c - 1), 0x1p-8) << i;
        EXPECT_LE(std::abs((1 + (i + 1) / 256.0) * c - 1), 0x1p-8) << i;
        EXPECT_LE(table_error(mpfr_log, c, ozk_vml_core_log_table_256[i], -1), 0x1p-85) << i;
        EXPECT_LE(table_error(mpfr_log, c, ozk_vml_core_logl_table_256[i], -1), 0x1p-102) << i;
        EXPECT_EQ(std::rint(std::ldexp(ozk_vml_core_log_table_256[i].high, 42)),
                  std::ldexp(ozk_vml_core_log_table_256[i].high, 42));
        EXPECT_LE(table_error(mpfr_exp2, i / 256.0L, ozk_vml_core_expl_table_256[i]), 0x1p-127) << i;
        if (i < 128) {
            EXPECT_LE(table_error(mpfr_atan, i / 128.0L, ozk_vml_core_atanl_table_128[i]), 0x1p-127) << i;
        }
    }
    EXPECT_EQ(ozk_vml_core_double_rcp_table_256[0], 1);
    EXPECT_EQ(ozk_vml_core_double_rcp_table_256[255], 0.5);
}

TEST(SharedData, IsExportedReadOnlyAtItsSize) {
    struct {
        std::string name;
        size_t size;
    } objects[] = {{"ozk_vml_core_rcp_table_256", 256 * sizeof(float)},
                   {"ozk_vml_core_double_rcp_table_256", 256 * sizeof(double)},
                   {"ozk_vml_core_log_table_256", 256 * sizeof(OzkDoublePair)},
                   {"ozk_vml_core_logl_table_256", 256 * sizeof(OzkExtendedPair)},
                   {"ozk_vml_core_expl_table_256", 256 * sizeof(OzkExtendedPair)},
                   {"ozk_vml_core_atanl_table_128", 128 * sizeof(OzkExtendedPair)}};
    FILE* pipe = popen((std::string("nm -D -S ") + OZK_KERNEL_LIBRARY).c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string symbols;
    char line[1024];
    while (std::fgets(line, sizeof line, pipe) != nullptr) symbols += line;
    pclose(pipe);
    const auto expect_object = [&](const std::string& name, size_t size) {
        char wanted[160];
        std::snprintf(wanted, sizeof wanted, " %016zx R %s\n", size, name.c_str());
        EXPECT_NE(symbols.find(wanted), std::string::npos) << wanted;
    };
    for (const auto& object : objects) expect_object(object.name, object.size);

    const std::pair<const char*, double> values[] = {{"zero", 0},
                                                     {"one", 1},
                                                     {"minus_one", -1},
                                                     {"infinity", HUGE_VAL},
                                                     {"pos_infinity", HUGE_VAL},
                                                     {"neg_infinity", -HUGE_VAL}};
    for (const auto& [name, value] : values) {
        const std::string f = std::string("ozk_vml_constant_float_") + name;
        const std::string d = std::string("ozk_vml_constant_double_") + name;
        expect_object(f, sizeof(float));
        expect_object(d, sizeof(double));
        EXPECT_EQ(*static_cast<const float*>(dlsym(RTLD_DEFAULT, f.c_str())), static_cast<float>(value));
        EXPECT_EQ(*static_cast<const double*>(dlsym(RTLD_DEFAULT, d.c_str())), value);
    }
    for (const char* name :
         {"_sabs_scalar", "_dabs_scalar", "expl_scalar", "logl_scalar", "log1pl_scalar", "fabsl_scalar",
          "tanl_scalar", "tanhl_scalar", "atanl_scalar", "atan2l_scalar", "atanhl_scalar", "asinl_scalar",
          "asinhl_scalar", "acosl_scalar", "acoshl_scalar", "reduce_pio2d", "reduce_pi04l"})
        EXPECT_NE(symbols.find(std::string(" T ozk_vml_kernel_") + name + "\n"), std::string::npos) << name;
}

}  // namespace
}  // namespace ozk::vml::extended
