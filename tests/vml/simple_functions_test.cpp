// Arithmetic, rounding, comparison, step and remainder functions of real vectors: IEEE results bit for bit, from
// scalar operations, the C library and integer arithmetic of GMP.

#include <gmp.h>

#include "tests/vml/real.hpp"

namespace ozk::vml::test {
namespace {

template <class T>
struct Row {
    Function<T> function;
    std::function<T(T, T)> oracle;
    std::function<T(T)> second = nullptr;        // of two results
    std::function<int(T, T, T)> code = nullptr;  // of arguments and result; none: 0
};

template <class T>
int arithmetic_code(T a, T b, T r) {
    if (std::isnan(a) || std::isnan(b)) return kVmlOk;
    if (std::isnan(r)) return kVmlDomain;
    return std::isinf(r) && std::isfinite(a) && std::isfinite(b) ? kVmlOverflow : kVmlOk;
}
template <class T>
int division_code(T a, T b, T r) {
    return b == 0 && a != 0 && std::isfinite(a) ? kVmlSingularity : arithmetic_code(a, b, r);
}

// IEEE 754-2019 clause 9.6, told as the standard tells it.
template <class T>
T larger_number(T a, T b, bool magnitude, bool larger) {
    if (std::isnan(a)) return b;
    if (std::isnan(b)) return a;
    const T key_a = magnitude ? std::abs(a) : a, key_b = magnitude ? std::abs(b) : b;
    if (key_a != key_b) return (key_a > key_b) == larger ? a : b;
    if (a != b) return (a > b) == larger ? a : b;
    return std::signbit(a) == larger ? b : a;  // -0 is below +0
}

template <class T>
T next_after(T a, T b) {
    return std::nextafter(a, b);
}
template <class T>
int next_after_code(T a, T b, T r) {
    if (std::isnan(r) || a == b) return kVmlOk;
    return std::isinf(r) && std::isfinite(a)             ? kVmlOverflow
           : std::abs(r) < std::numeric_limits<T>::min() ? kVmlUnderflow
                                                         : kVmlOk;
}
template <class T>
int remainder_code(T a, T b, T r) {
    return std::isnan(r) && !std::isnan(a) && !std::isnan(b) ? kVmlDomain : kVmlOk;
}

template <class T>
std::vector<Row<T>> rows() {
    std::vector<Row<T>> rows = {
        {{"Add", "HA", 2}, [](T a, T b) { return a + b; }, nullptr, arithmetic_code<T>},
        {{"Sub", "HA", 2}, [](T a, T b) { return a - b; }, nullptr, arithmetic_code<T>},
        {{"Mul", "HA", 2}, [](T a, T b) { return a * b; }, nullptr, arithmetic_code<T>},
        {{"Div", "HA", 2}, [](T a, T b) { return a / b; }, nullptr, division_code<T>},
        {{"Sqr", "HA", 1},
         [](T a, T) { return a * a; },
         nullptr,
         [](T a, T, T r) { return arithmetic_code(a, a, r); }},
        {{"Inv", "HA", 1},
         [](T a, T) { return 1 / a; },
         nullptr,
         [](T a, T, T r) { return division_code(T(1), a, r); }},
        {{"Abs", "HA", 1}, [](T a, T) { return std::abs(a); }},
        {{"Sqrt", "HA", 1},
         [](T a, T) { return std::sqrt(a); },
         nullptr,
         [](T a, T, T) { return a < 0 ? kVmlDomain : kVmlOk; }},
        {{"Ceil", "HA", 1}, [](T a, T) { return std::ceil(a); }},
        {{"Floor", "HA", 1}, [](T a, T) { return std::floor(a); }},
        {{"Trunc", "HA", 1}, [](T a, T) { return std::trunc(a); }},
        {{"Round", "HA", 1}, [](T a, T) { return std::round(a); }},
        {{"Rint", "HA", 1}, [](T a, T) { return std::rint(a); }},
        {{"NearbyInt", "HA", 1}, [](T a, T) { return std::nearbyint(a); }},
        {{"Frac", "HA", 1},
         [](T a, T) {
             T whole;
             return std::modf(a, &whole);
         }},
        {{"Modf", "HA", 1, 2},
         [](T a, T) { return std::trunc(a); },
         [](T a) {
             T whole;
             return std::modf(a, &whole);
         }},
        {{"Fmax", "HA", 2}, [](T a, T b) { return larger_number(a, b, false, true); }},
        {{"Fmin", "HA", 2}, [](T a, T b) { return larger_number(a, b, false, false); }},
        {{"MaxMag", "HA", 2}, [](T a, T b) { return larger_number(a, b, true, true); }},
        {{"MinMag", "HA", 2}, [](T a, T b) { return larger_number(a, b, true, false); }},
        {{"Fdim", "HA", 2},
         [](T a, T b) {
             return std::isnan(a) ? a : std::isnan(b) ? b : a > b ? a - b : 0;
         },
         nullptr,
         arithmetic_code<T>},
        {{"CopySign", "HA", 2}, [](T a, T b) { return std::copysign(a, b); }},
        {{"NextAfter", "HA", 2}, next_after<T>, nullptr, next_after_code<T>},
        {{"Fmod", "HA", 2}, [](T a, T b) { return std::fmod(a, b); }, nullptr, remainder_code<T>},
        {{"Remainder", "HA", 2}, [](T a, T b) { return std::remainder(a, b); }, nullptr, remainder_code<T>}};
    for (const char* level : {"LA", "EP"}) {
        for (const char* name : {"Div", "Sqrt"}) {  // correctly rounded at every level
            for (const Row<T>& row : std::vector(rows)) {
                if (row.function.name != name) continue;
                rows.push_back(row);
                rows.back().function.level = level;
            }
        }
    }
    return rows;
}

template <class T>
class SimpleFunctions : public FreshState {
  protected:
    // Whether the result is right: the same bits; of NaN, any quiet one where no argument is NaN, else the
    // payload of an argument.
    static bool right(T computed, T expected, T a, T b) {
        if (bits(computed) == bits(expected)) return true;
        if (!std::isnan(expected) || !std::isnan(computed)) return false;
        if (!std::isnan(a) && !std::isnan(b)) return true;
        const auto payload = [](T x) { return (bits(x) | Bits<T>::kQuiet) & ~bits(T(-0.0)); };
        return payload(computed) == payload(std::isnan(a) ? a : b) && (bits(computed) & Bits<T>::kQuiet) != 0;
    }
    static std::string text(const Row<T>& row, T a, T b, T expected, T computed) {
        char line[200];
        std::snprintf(line, sizeof line, "%s %s(%a, %a): expected %a, got %a",
                      sizeof(T) == 8 ? "double" : "single", row.function.name.c_str(), double(a), double(b),
                      double(expected), double(computed));
        return line;
    }
    // Every result against the oracle.
    static void expect_exact(const Row<T>& row, const std::vector<T>& a, const std::vector<T>& b) {
        std::vector<T> r1(a.size()), r2(a.size());
        row.function(static_cast<int32_t>(a.size()), a.data(), b.data(), r1.data(), r2.data());
        int failures = 0;
        for (size_t i = 0; i < a.size() && failures < 5; ++i) {
            const T second = row.function.arguments == 2 ? b[i] : a[i];
            const T expected = row.oracle(a[i], b[i]);
            if (!right(r1[i], expected, a[i], second))
                ++failures, ADD_FAILURE() << text(row, a[i], b[i], expected, r1[i]);
            if (row.second && !right(r2[i], row.second(a[i]), a[i], a[i]))
                ++failures, ADD_FAILURE() << text(row, a[i], b[i], row.second(a[i]), r2[i]);
        }
    }
    struct Pairs {
        std::vector<T> a, b;
    };
    static Pairs notable_pairs() {
        Pairs pairs;
        for (const T a : notable<T>()) {
            for (const T b : notable<T>()) {
                pairs.a.push_back(a);
                pairs.b.push_back(b);
            }
        }
        return pairs;
    }
};

using Types = testing::Types<float, double>;
TYPED_TEST_SUITE(SimpleFunctions, Types);

TYPED_TEST(SimpleFunctions, GiveTheIeeeResultForEveryPairOfNotableNumbers) {
    _vmlSetMode(kVmlErrorIgnore);
    const auto [a, b] = this->notable_pairs();
    for (const auto& row : rows<TypeParam>()) this->expect_exact(row, a, b);
}

TYPED_TEST(SimpleFunctions, GiveTheIeeeResultForRandomNumbersOfAllMagnitudes) {
    using T = TypeParam;
    _vmlSetMode(kVmlErrorIgnore);
    std::vector<T> a = any_magnitude<T>(50000, 1), b = any_magnitude<T>(50000, 2);
    // Close magnitudes, integers and halves too.
    std::mt19937_64 random(3);
    for (int i = 0; i < 50000; ++i) {
        const int exponent = static_cast<int>(random() % 40) - 20;
        a.push_back(std::ldexp(static_cast<T>(static_cast<int64_t>(random() % (1 << 22)) - (1 << 21)) / 2,
                               exponent % 3));
        b.push_back(std::ldexp(static_cast<T>(static_cast<int64_t>(random() % 4096) - 2048) / 4, exponent));
    }
    for (const auto& row : rows<T>()) this->expect_exact(row, a, b);
}

TYPED_TEST(SimpleFunctions, ReportPolesOverflowAndWhatIsNoNumberAndNothingElse) {
    using T = TypeParam;
    _vmlSetMode(kVmlErrorIgnore);
    const auto [a, b] = this->notable_pairs();
    for (const auto& row : rows<T>()) {
        for (size_t i = 0; i < a.size(); ++i) {
            T r1, r2;
            _vmlClearErrStatus();
            row.function(1, &a[i], &b[i], &r1, &r2);
            const T second = row.function.arguments == 2 ? b[i] : a[i];
            const int expected = row.code ? row.code(a[i], second, row.oracle(a[i], second)) : kVmlOk;
            ASSERT_EQ(_vmlGetErrStatus(), expected)
                << this->text(row, a[i], b[i], row.oracle(a[i], second), r1);
        }
    }
}

TYPED_TEST(SimpleFunctions, RaiseInvalidForQuietNaNNever) {
    using T = TypeParam;
    _vmlSetMode(kVmlErrorIgnore);
    const T kNan = nan<T>(true, false, 5);
    for (const auto& row : rows<T>()) {
        for (const bool both : {false, true}) {
            std::vector<T> a(37, kNan), b(37, both ? kNan : T(2)), r1(37), r2(37);
            std::feclearexcept(FE_ALL_EXCEPT);
            row.function(37, a.data(), b.data(), r1.data(), r2.data());
            row.function(37, b.data(), a.data(), r1.data(), r2.data());
            EXPECT_FALSE(std::fetestexcept(FE_INVALID)) << row.function.name;
        }
    }
    std::feclearexcept(FE_ALL_EXCEPT);
}

TYPED_TEST(SimpleFunctions, MakeSignallingNaNQuietButForSignOperations) {
    using T = TypeParam;
    _vmlSetMode(kVmlErrorIgnore);
    const T signalling = nan<T>(false, true, 9);
    for (const auto& row : rows<T>()) {
        std::vector<T> a(21, signalling), b(21, signalling), r1(21), r2(21);
        row.function(21, a.data(), b.data(), r1.data(), r2.data());
        const bool sign_operation = row.function.name == "Abs" || row.function.name == "CopySign";
        for (const T r : r1) {
            EXPECT_TRUE(std::isnan(r)) << row.function.name;
            EXPECT_EQ((bits(r) & Bits<T>::kQuiet) == 0, sign_operation) << row.function.name;
        }
    }
}

TYPED_TEST(SimpleFunctions, TakeSubnormalNumbersForZerosInTheFlushMode) {
    using T = TypeParam;
    _vmlSetMode(kVmlErrorIgnore | kVmlDenormalFlush);
    const auto flushed = [](T x) {
        return std::abs(x) < std::numeric_limits<T>::min() ? std::copysign(T(0), x) : x;
    };
    const auto [a, b] = this->notable_pairs();
    std::vector<T> r1(a.size()), r2(a.size());
    for (const auto& row : rows<T>()) {
        if (row.function.name == "Abs" || row.function.name == "CopySign") continue;  // nothing but the sign
        row.function(static_cast<int32_t>(a.size()), a.data(), b.data(), r1.data(), r2.data());
        for (size_t i = 0; i < a.size(); ++i) {
            const T x = flushed(a[i]), y = flushed(b[i]);
            T expected = flushed(row.oracle(x, y));
            // Just below the least normal number before rounding to its subnormal neighbourhood: flushed as well.
            if (std::abs(expected) == std::numeric_limits<T>::min() && r1[i] == 0)
                expected = flushed(expected / 2);
            ASSERT_TRUE(this->right(r1[i], expected, x, row.function.arguments == 2 ? y : x))
                << this->text(row, a[i], b[i], expected, r1[i]);
        }
    }
    _vmlSetMode(kVmlDenormalKeep);
}

TYPED_TEST(SimpleFunctions, GiveAnElementTheSameBitsWhateverItsPlaceStrideAndLength) {
    using T = TypeParam;
    _vmlSetMode(kVmlErrorIgnore);
    std::vector<T> a = any_magnitude<T>(67, 5), b = any_magnitude<T>(67, 6);
    for (size_t i = 0; i < 67; i += 2) a[i] = static_cast<T>(i) / 3 - 9, b[i] = static_cast<T>(i) / 7 - 4;
    a[9] = nan<T>(true, false, 3), b[9] = nan<T>(true, true, 4), a[40] = T(-0.0), b[41] = 0,
    a[50] = b[51] = nan<T>(true, false, 6);
    a[64] = std::numeric_limits<T>::infinity();
    const std::vector<std::string> levels = {"LA", "HA", "EP"};
    std::vector<Function<T>> functions;
    for (const auto& row : rows<T>()) functions.push_back(row.function);
    for (const std::string& level : levels) {
        functions.push_back({"Hypot", level, 2});
        functions.push_back({"InvSqrt", level, 1});
        functions.push_back({"Inv", level, 1});
    }
    for (const Function<T>& f : functions) {
        std::vector<T> alone1(67), alone2(67);
        for (size_t i = 0; i < 67; ++i) f(1, &a[i], &b[i], &alone1[i], &alone2[i]);
        const auto check = [&](const T* r, const std::vector<T>& alone, size_t first, size_t n, size_t step) {
            for (size_t i = 0; i < n; ++i)
                ASSERT_EQ(bits(r[i * step]), bits(alone[first + i]))
                    << f.name << " " << f.level << ", element " << i << " of " << n;
        };
        for (size_t n = 0; n <= 67; ++n) {
            std::vector<T> r1(n + 1, T(7)), r2(n + 1, T(7));
            f(static_cast<int32_t>(n), &a[67 - n], &b[67 - n], r1.data(), r2.data());
            check(r1.data(), alone1, 67 - n, n, 1);
            if (f.results == 2) check(r2.data(), alone2, 67 - n, n, 1);
            ASSERT_EQ(r1[n], T(7)) << f.name << " wrote beyond the end";
        }
        std::vector<T> in_place = a, r2(67);
        f(67, in_place.data(), b.data(), in_place.data(), r2.data());
        check(in_place.data(), alone1, 0, 67, 1);
        std::vector<T> spread_a(67 * 3), spread_b(67 * 2), r1(67 * 4, T(7)), second(67 * 4, T(7));
        for (size_t i = 0; i < 67; ++i) spread_a[3 * i] = a[i], spread_b[2 * i] = b[i];
        f.strided(67, spread_a.data(), 3, spread_b.data(), 2, r1.data(), second.data(), 4);
        check(r1.data(), alone1, 0, 67, 4);
        if (f.results == 2) check(second.data(), alone2, 0, 67, 4);
        for (size_t i = 0; i < r1.size(); ++i)
            ASSERT_TRUE(i % 4 == 0 || r1[i] == T(7)) << f.name << " wrote between";
        f.strided(67, a.data(), 1, b.data(), 1, r1.data(), second.data(), 1);
        check(r1.data(), alone1, 0, 67, 1);
    }
}

struct Told {
    int32_t index, code;
    bool operator==(const Told&) const = default;
};
std::vector<Told> told;
int tell(VmlErrorRecord* record) {
    told.push_back({record->index, record->code});
    return 0;
}

// Long calls that leave their arguments in place may go another way through the frame than short ones, until an element
// needs a report or another method: results, reports and flags must be those of the elements alone.
TYPED_TEST(SimpleFunctions, TreatElementsOfLongCallsAsIfAlone) {
    using T = TypeParam;
    constexpr int kLength = 9000;
    _vmlSetMode(kVmlErrorCallback);
    _vmlSetErrorCallBack(tell);
    struct Alone {
        T a, b, r1, r2;
        int code, flags;
    };
    std::vector<Function<T>> functions;
    for (const auto& row : rows<T>()) functions.push_back(row.function);
    for (const char* level : {"LA", "HA", "EP"}) {
        functions.push_back({"Hypot", level, 2});
        functions.push_back({"InvSqrt", level, 1});
        functions.push_back({"Inv", level, 1});
    }
    auto [a, b] = this->notable_pairs();
    for (const T v : any_magnitude<T>(2000, 21)) a.push_back(v);
    for (const T v : any_magnitude<T>(2000, 22)) b.push_back(v);
    for (int i = 0; i < 1000; ++i) {
        a.push_back(static_cast<T>(i) / 7 - 70);
        b.push_back(static_cast<T>(i % 37) / 3 - 6);
    }
    std::mt19937_64 random(23);
    for (const Function<T>& f : functions) {
        // Elements of moderate magnitudes that raise at most the inexact flag, and all others.
        const auto moderate = [](T x) {
            return x == 0 || (std::abs(x) > T(0x1p-30) && std::abs(x) < T(0x1p30));
        };
        std::vector<Alone> quiet, loud;
        for (size_t i = 0; i < a.size(); ++i) {
            Alone e{a[i], b[i], 0, 0, 0, 0};
            told.clear();
            std::feclearexcept(FE_ALL_EXCEPT);
            f(1, &e.a, &e.b, &e.r1, &e.r2);
            e.flags = std::fetestexcept(FE_ALL_EXCEPT);
            e.code = told.empty() ? kVmlOk : told[0].code;
            const bool ordinary =
                e.code == kVmlOk && (e.flags & ~FE_INEXACT) == 0 && moderate(e.a) && moderate(e.b);
            (ordinary ? quiet : loud).push_back(e);
        }
        ASSERT_FALSE(quiet.empty() || loud.empty());
        for (int trial = 0; trial < 24; ++trial) {
            const int raised = trial % 2 == 0 ? 0 : FE_INVALID | FE_OVERFLOW | FE_DIVBYZERO | FE_UNDERFLOW;
            constexpr int kEdges[] = {0, 4095, 4096, 8191, 8192, kLength - 1};
            std::vector<int> places;
            for (int i = 0; i < trial / 2 % 3; ++i)
                places.push_back(trial % 4 < 2 ? kEdges[random() % std::size(kEdges)]
                                               : static_cast<int>(random() % kLength));
            std::vector<Alone> elements;
            for (int i = 0; i < kLength; ++i) elements.push_back(quiet[random() % quiet.size()]);
            for (const int place : places) elements[place] = loud[random() % loud.size()];
            std::vector<T> x, y, r1(kLength), r2(kLength);
            std::vector<Told> expected;
            int flags = raised;
            for (const Alone& e : elements) {
                if (e.code != kVmlOk) expected.push_back({static_cast<int32_t>(x.size()), e.code});
                flags |= e.flags;
                x.push_back(e.a);
                y.push_back(e.b);
            }
            const auto check = [&](const T* r, const char* how) {
                EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), flags) << f.name << " " << f.level << " " << how;
                EXPECT_EQ(told, expected) << f.name << " " << f.level << " " << how;
                for (int i = 0; i < kLength; ++i)
                    ASSERT_EQ(bits(r[i]), bits(elements[i].r1))
                        << f.name << " " << f.level << " " << how << ", element " << i << ": " << x[i] << ", "
                        << y[i];
            };
            const auto fresh = [&] {
                told.clear();
                std::feclearexcept(FE_ALL_EXCEPT);
                std::feraiseexcept(raised);
            };
            fresh();
            f(kLength, x.data(), y.data(), r1.data(), r2.data());
            check(r1.data(), "apart");
            std::vector<T> in_place = f.arguments == 2 && raised != 0 ? y : x;
            const bool second = f.arguments == 2 && raised != 0;
            fresh();
            f(kLength, second ? x.data() : in_place.data(), second ? in_place.data() : y.data(),
              in_place.data(), r2.data());
            check(in_place.data(), "in place");
            std::vector<T> spread(2 * kLength), results(3 * kLength);
            for (int i = 0; i < kLength; ++i) spread[2 * i] = x[i];
            fresh();
            f.strided(kLength, spread.data(), 2, y.data(), 1, results.data(), results.data() + 1, 3);
            std::vector<T> gathered;
            for (int i = 0; i < kLength; ++i) gathered.push_back(results[3 * i]);
            check(gathered.data(), "strided");
        }
    }
    std::feclearexcept(FE_ALL_EXCEPT);
}

// |a| mod |b| over the integers, both in units of the smallest subnormal number.
template <class T>
T exact_fmod(T a, T b) {
    mpz_t x, y;
    mpz_inits(x, y, static_cast<mpz_ptr>(nullptr));
    const auto set = [](mpz_ptr z, T v) {
        int exponent;
        const double fraction = std::frexp(static_cast<double>(std::abs(v)), &exponent);
        mpz_set_d(z, std::ldexp(fraction, 53));
        mpz_mul_2exp(z, z, static_cast<mp_bitcnt_t>(exponent - 53 + 1200));
    };
    set(x, a);
    set(y, b);
    mpz_mod(x, x, y);
    mpz_fdiv_q_2exp(x, x, 1200 - 1074);  // exact: all numbers are multiples of 2^-1074
    const size_t size = mpz_sizeinbase(x, 2);
    const size_t shift = size > 53 ? size - 53 : 0;
    mpz_fdiv_q_2exp(x, x, shift);
    const double r = std::ldexp(mpz_get_d(x), static_cast<int>(shift) - 1074);
    mpz_clears(x, y, static_cast<mpz_ptr>(nullptr));
    return static_cast<T>(std::copysign(r, a));
}

TYPED_TEST(SimpleFunctions, FmodIsExactForEveryDifferenceOfExponents) {
    using T = TypeParam;
    using limits = std::numeric_limits<T>;
    const Function<T> fmod{"Fmod", "HA", 2};
    std::mt19937_64 random(11);
    std::uniform_real_distribution<double> significand(1, 2);
    std::vector<T> a, b;
    const int least = limits::min_exponent - limits::digits, range = limits::max_exponent - least;
    for (int difference = 0; difference < range; ++difference) {
        for (int k = 0; k < 4; ++k) {
            const int low = least + static_cast<int>(random() % static_cast<unsigned>(range - difference));
            b.push_back(std::ldexp(static_cast<T>(significand(random)), low));
            a.push_back(std::ldexp(static_cast<T>(significand(random)), low + difference));
            if (b.back() == 0 || std::isinf(a.back())) a.back() = b.back() = T(3);
            if (k == 3)
                b.back() = std::ldexp(std::round(std::ldexp(b.back(), 3 - low)), low - 3);  // few bits
            if (b.back() == 0) b.back() = limits::denorm_min();
        }
    }
    std::vector<T> r(a.size());
    fmod(static_cast<int32_t>(a.size()), a.data(), b.data(), r.data(), nullptr);
    for (size_t i = 0; i < a.size(); ++i)
        ASSERT_EQ(bits(r[i]), bits(exact_fmod(a[i], b[i]))) << std::hexfloat << a[i] << " mod " << b[i];
}

TYPED_TEST(SimpleFunctions, RemaindersTiesGoToTheEvenQuotient) {
    using T = TypeParam;
    const Function<T> remainder{"Remainder", "HA", 2};
    std::vector<T> a, b;
    for (int quotient = 0; quotient < 5000; ++quotient) {
        for (const T unit : {T(1), T(0.75), std::ldexp(T(3), -100), std::ldexp(T(1), 90),
                             std::numeric_limits<T>::min() * 2}) {
            a.push_back((static_cast<T>(quotient) + T(0.5)) * unit);
            b.push_back(unit);
            a.push_back(std::nextafter(a.back(), T(0)));
            b.push_back(unit);
            a.push_back(-std::nextafter(a[a.size() - 2], std::numeric_limits<T>::infinity()));
            b.push_back(-unit);
        }
    }
    for (int shift = 24; shift < 100; ++shift) {  // quotients of the long path
        a.push_back(std::ldexp(T(3), shift) + std::ldexp(T(3), shift - 10));
        b.push_back(std::ldexp(T(1), (shift * 7) % 11 - 9) * 3);
        a.push_back(std::ldexp(T(5), shift));
        b.push_back(std::ldexp(T(2), 5));
    }
    for (const auto& row : rows<T>()) {
        if (row.function.name == "Remainder") this->expect_exact(row, a, b);
    }
}

template <class T>
struct SpecialPair {
    T a, b, result;
    int code;
};

TYPED_TEST(SimpleFunctions, HypotIsInfiniteForInfinityAndReportsOverflow) {
    using T = TypeParam;
    using limits = std::numeric_limits<T>;
    _vmlSetMode(kVmlErrorIgnore);
    const T inf = limits::infinity(), none = nan<T>(true, false, 1), max = limits::max();
    const SpecialPair<T> cases[] = {
        {inf, none, inf, kVmlOk},
        {none, -inf, inf, kVmlOk},
        {-inf, 1, inf, kVmlOk},
        {max, max, inf, kVmlOverflow},
        {0, T(-0.0), 0, kVmlOk},
        {T(-0.0), T(-3), 3, kVmlOk},
        {max, 0, max, kVmlOk},
        {max, 1, max, kVmlOk},
        {limits::denorm_min(), 0, limits::denorm_min(), kVmlOk},
        {3 * limits::denorm_min(), -4 * limits::denorm_min(), 5 * limits::denorm_min(), kVmlOk},
        {std::ldexp(T(3), limits::max_exponent - 3), std::ldexp(T(4), limits::max_exponent - 3),
         std::ldexp(T(5), limits::max_exponent - 3), kVmlOk}};
    for (const char* level : {"LA", "HA", "EP"}) {
        const Function<T> hypot{"Hypot", level, 2};
        for (const auto& [a, b, result, code] : cases) {
            for (const int32_t n : {1, 19}) {
                std::vector<T> x(static_cast<size_t>(n), a), y(x.size(), b), r(x.size());
                _vmlClearErrStatus();
                hypot(n, x.data(), y.data(), r.data(), nullptr);
                EXPECT_EQ(r.back(), result) << level << " " << a << ", " << b;
                EXPECT_EQ(_vmlGetErrStatus(), code) << level << " " << a << ", " << b;
            }
        }
    }
}

TYPED_TEST(SimpleFunctions, InvSqrtHasAPoleAtZeroAndNoNegativeArguments) {
    using T = TypeParam;
    using limits = std::numeric_limits<T>;
    _vmlSetMode(kVmlErrorIgnore);
    const T inf = limits::infinity();
    const SpecialPair<T> cases[] = {{0, 0, inf, kVmlSingularity},
                                    {T(-0.0), 0, -inf, kVmlSingularity},
                                    {-1, 0, nan<T>(true, false, 0), kVmlDomain},
                                    {-inf, 0, nan<T>(true, false, 0), kVmlDomain},
                                    {inf, 0, 0, kVmlOk},
                                    {4, 0, T(0.5), kVmlOk}};
    for (const char* level : {"HA", "EP"}) {
        const Function<T> inv_sqrt{"InvSqrt", level, 1};
        for (const auto& c : cases) {
            if (std::string(level) == "EP" && c.a == 4) continue;
            T r;
            _vmlClearErrStatus();
            inv_sqrt(1, &c.a, nullptr, &r, nullptr);
            EXPECT_TRUE(std::isnan(c.result) ? std::isnan(r) : bits(r) == bits(c.result)) << c.a << ": " << r;
            EXPECT_EQ(_vmlGetErrStatus(), c.code) << c.a;
        }
    }
}

// The error of f against MPFR in ulp of the result, with subnormal results in the smallest subnormal number.
template <class T>
double largest_error(const Function<T>& f, int (*exact)(mpfr_t, const mpfr_t, const mpfr_t),
                     const std::vector<T>& a, const std::vector<T>& b) {
    std::vector<T> r(a.size());
    f(static_cast<int32_t>(a.size()), a.data(), b.data(), r.data(), nullptr);
    mpfr_t x, y, value;
    mpfr_inits2(160, x, y, value, static_cast<mpfr_ptr>(nullptr));
    double worst = 0;
    for (size_t i = 0; i < a.size(); ++i) {
        mpfr_set_d(x, static_cast<double>(a[i]), MPFR_RNDN);
        mpfr_set_d(y, static_cast<double>(b[i]), MPFR_RNDN);
        exact(value, x, y);
        const T rounded = static_cast<T>(mpfr_get_d(value, MPFR_RNDN));
        if (!std::isfinite(rounded)) continue;
        int exponent;
        std::frexp(rounded, &exponent);
        exponent = std::max(exponent, std::numeric_limits<T>::min_exponent) - std::numeric_limits<T>::digits;
        mpfr_sub_d(value, value, static_cast<double>(r[i]), MPFR_RNDN);
        mpfr_mul_2si(value, value, -exponent, MPFR_RNDN);
        worst = std::max(worst, std::abs(mpfr_get_d(value, MPFR_RNDN)));
    }
    mpfr_clears(x, y, value, static_cast<mpfr_ptr>(nullptr));
    return worst;
}

TYPED_TEST(SimpleFunctions, HypotAndReciprocalsKeepTheBoundOfTheirLevel) {
    using T = TypeParam;
    _vmlSetMode(kVmlErrorIgnore);
    std::vector<T> a = any_magnitude<T>(20000, 21), b = any_magnitude<T>(20000, 22);
    std::mt19937_64 random(23);
    std::uniform_real_distribution<double> unit(0.25, 4);
    for (int i = 0; i < 20000; ++i) {
        a.push_back(static_cast<T>(unit(random)));
        b.push_back(static_cast<T>(unit(random)));
        const int exponent = i % 60 - 30;
        a.push_back(std::ldexp(a.back(), i % 300 - 150));
        b.push_back(std::ldexp(a.back(), exponent));
    }
    for (T& x : a) x = std::abs(x);
    const double half_the_bits = sizeof(T) == 8 ? 0x1p26 : 0x1p12;
    const struct {
        const char *name, *level;
        double bound;
        int arguments;
        int (*exact)(mpfr_t, const mpfr_t, const mpfr_t);
    } cases[] = {{"Hypot", "HA", 0.87, 2,
                  [](mpfr_t r, const mpfr_t x, const mpfr_t y) { return mpfr_hypot(r, x, y, MPFR_RNDN); }},
                 {"Hypot", "LA", 4, 2,
                  [](mpfr_t r, const mpfr_t x, const mpfr_t y) { return mpfr_hypot(r, x, y, MPFR_RNDN); }},
                 {"Hypot", "EP", half_the_bits, 2,
                  [](mpfr_t r, const mpfr_t x, const mpfr_t y) { return mpfr_hypot(r, x, y, MPFR_RNDN); }},
                 {"InvSqrt", "HA", 0.51, 1,
                  [](mpfr_t r, const mpfr_t x, const mpfr_t) { return mpfr_rec_sqrt(r, x, MPFR_RNDN); }},
                 {"InvSqrt", "EP", half_the_bits, 1,
                  [](mpfr_t r, const mpfr_t x, const mpfr_t) { return mpfr_rec_sqrt(r, x, MPFR_RNDN); }},
                 {"Inv", "LA", 4, 1,
                  [](mpfr_t r, const mpfr_t x, const mpfr_t) { return mpfr_ui_div(r, 1, x, MPFR_RNDN); }},
                 {"Inv", "EP", half_the_bits, 1,
                  [](mpfr_t r, const mpfr_t x, const mpfr_t) { return mpfr_ui_div(r, 1, x, MPFR_RNDN); }}};
    for (const auto& c : cases)
        EXPECT_LE(largest_error<T>({c.name, c.level, c.arguments}, c.exact, a, b), c.bound)
            << c.name << " " << c.level;
}

template <class T>
using LinearFraction = void(int32_t, const T*, const T*, T, T, T, T, T*);
template <class T>
using LinearFractionStrided = void(int32_t, const T*, int32_t, const T*, int32_t, T, T, T, T, T*, int32_t);

TYPED_TEST(SimpleFunctions, LinearFracDividesTheRoundedLinearForms) {
    using T = TypeParam;
    _vmlSetMode(kVmlErrorIgnore);
    auto* const f = entry<LinearFraction<T>>(entry_name<T>("LinearFrac", "HA"));
    auto* const strided = entry<LinearFractionStrided<T>>(entry_name<T>("LinearFracI", "HA"));
    std::vector<T> a = any_magnitude<T>(3000, 31), b = any_magnitude<T>(3000, 32);
    std::mt19937_64 random(33);
    std::uniform_real_distribution<double> unit(-10, 10);
    while (a.size() < 30001)
        a.push_back(static_cast<T>(unit(random))), b.push_back(static_cast<T>(unit(random)));
    const int32_t n = static_cast<int32_t>(a.size());
    const T scalars[][4] = {
        {T(2), T(0.5), T(-1.5), T(3)}, {1, 0, 1, 0}, {0, 1, 0, 1}, {T(1e-10), T(1e10), T(3e8), T(-7)}};
    for (const auto& s : scalars) {
        std::vector<T> r(a.size()), apart(2 * a.size(), T(7));
        f(n, a.data(), b.data(), s[0], s[1], s[2], s[3], r.data());
        strided(n, a.data(), 1, b.data(), 1, s[0], s[1], s[2], s[3], apart.data(), 2);
        for (size_t i = 0; i < a.size(); ++i) {
            const T above = s[0] * a[i] + s[1], below = s[2] * b[i] + s[3];
            const T expected = above / below;
            ASSERT_EQ(bits(r[i]), bits(apart[2 * i]));
            if (!std::isfinite(expected)) {
                ASSERT_TRUE(std::isnan(expected) ? std::isnan(r[i]) : r[i] == expected)
                    << above << " / " << below;
                continue;
            }
            ASSERT_TRUE(r[i] == expected || r[i] == std::nextafter(expected, T(-1e30)) ||
                        r[i] == std::nextafter(expected, T(1e30)))
                << above << " / " << below << " = " << r[i];
            ASSERT_EQ(std::signbit(r[i]), std::signbit(expected));
        }
    }
}

TYPED_TEST(SimpleFunctions, LinearFracReportsPolesAndOverflow) {
    using T = TypeParam;
    using limits = std::numeric_limits<T>;
    _vmlSetMode(kVmlErrorIgnore);
    auto* const f = entry<LinearFraction<T>>(entry_name<T>("LinearFrac", "HA"));
    const SpecialPair<T> cases[] = {{1, 0, limits::infinity(), kVmlSingularity},
                                    {-1, 0, -limits::infinity(), kVmlSingularity},
                                    {0, 0, nan<T>(true, false, 0), kVmlDomain},
                                    {limits::max(), T(0.25), limits::infinity(), kVmlOverflow},
                                    {limits::infinity(), 2, limits::infinity(), kVmlOk},
                                    {nan<T>(true, false, 1), 2, nan<T>(true, false, 1), kVmlOk},
                                    {6, 3, 2, kVmlOk}};
    for (const auto& [a, b, result, code] : cases) {
        T r;
        _vmlClearErrStatus();
        f(1, &a, &b, 1, 0, 1, 0, &r);
        EXPECT_TRUE(std::isnan(result) ? std::isnan(r) : bits(r) == bits(result))
            << a << " / " << b << " = " << r;
        EXPECT_EQ(_vmlGetErrStatus(), code) << a << " / " << b;
    }
}

}  // namespace
}  // namespace ozk::vml::test
