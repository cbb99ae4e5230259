// Vector mathematics through the application interface: cutting, threads, special elements, and what is
// refused.

#include <fenv.h>
#include <gtest/gtest.h>
#include <omp.h>

#include <atomic>
#include <bit>
#include <cerrno>
#include <cmath>
#include <complex>
#include <cstring>
#include <random>
#include <thread>

#include "ozk/ozk.hpp"
#include "ozk_vml.h"

namespace {

constexpr size_t kPiece = 16384;
constexpr size_t kLong = 9 * kPiece + 777;  // several pieces for each of eight threads, and a tail

// Back to what a thread starts with.
class VectorMath : public testing::Test {
  protected:
    ~VectorMath() override {
        ozk::set_threads(0);
        ozk::set_accuracy(ozk::Accuracy::high);
        ozk::set_flush_denormals(false);
        ozk::set_special_actions(kOzkActDefault);
        ozk_set_special_handler(nullptr, nullptr);
    }
};

uint64_t bits(double x) { return std::bit_cast<uint64_t>(x); }

bool same_bits(std::span<const double> a, std::span<const double> b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size_bytes()) == 0;
}

// Arguments that reach every path: ordinary ones, and any bit pattern at all.
std::vector<double> arguments(size_t n) {
    std::mt19937_64 random(n);
    std::vector<double> x(n);
    for (double& each : x) {
        const uint64_t word = random();
        each =
            word % 8 == 0 ? std::bit_cast<double>(random()) : static_cast<double>(word >> 11) * 0x1p-50 - 4;
    }
    return x;
}

// Every built function of one real argument in double.
struct Unary {
    const char* name;
    ozk_status (*unit)(int64_t, const double*, double*);
    ozk_status (*strided)(int64_t, const double*, int64_t, double*, int64_t);
};
#define UNARY_d(name, strided_name) {#name, name, strided_name},
#define UNARY_s(name, strided_name)
#define UNARY_c(name, strided_name)
#define UNARY_z(name, strided_name)
#define SHAPE_unary(p, ...) UNARY_##p(__VA_ARGS__)
#define SHAPE_to_real(...)
#define SHAPE_to_complex(...)
#define SHAPE_binary(...)
#define SHAPE_scalar(...)
#define SHAPE_two_results(...)
#define SHAPE_linear_fraction(...)
#define SHAPE_pack_increment(...)
#define SHAPE_pack_vector(...)
#define SHAPE_pack_mask(...)
#define SHAPE_unpack_increment(...)
#define SHAPE_unpack_vector(...)
#define SHAPE_unpack_mask(...)
#define EXPAND(shape, p, ...) SHAPE_##shape(p, __VA_ARGS__)
#define OZK_FN(p, function, shape, la, ha, ep, state, ...)                    \
    OZK_API_IF_##state(EXPAND(shape, p, OZK_API_NAME(p, OZK_NAME_##function), \
                              OZK_API_STRIDED_NAME(p, OZK_NAME_##function)))
const Unary kUnary[] = {
#include "ozk/catalogue.def"
};
#undef OZK_FN

TEST_F(VectorMath, HasTheSameBitsForAnyThreadsAnyCutAnyStrideAndInPlace) {
    const std::vector<double> x = arguments(kLong);
    std::mt19937 random(1);
    for (const Unary& function : kUnary) {
        SCOPED_TRACE(function.name);
        ozk::set_threads(1);
        std::vector<double> expected(kLong);
        const ozk_status status = function.unit(kLong, x.data(), expected.data());
        for (int threads = 2; threads <= 8; ++threads) {
            ozk::set_threads(threads);
            std::vector<double> y(kLong);
            EXPECT_EQ(function.unit(kLong, x.data(), y.data()), status);
            EXPECT_TRUE(same_bits(y, expected)) << threads << " threads";
        }
        std::vector<double> cut(kLong);
        for (size_t first = 0; first < kLong;) {
            const size_t count = std::min<size_t>(random() % 5000 + random() % 3 * kPiece, kLong - first);
            function.unit(static_cast<int64_t>(count), x.data() + first, cut.data() + first);
            first += count;
        }
        EXPECT_TRUE(same_bits(cut, expected));
        std::vector<double> in_place = x;
        function.unit(kLong, in_place.data(), in_place.data());
        EXPECT_TRUE(same_bits(in_place, expected));

        // Every other argument backwards, results in the gaps of an array of threes.
        constexpr int64_t kHalf = kLong / 2;
        std::vector<double> spread(3 * kHalf, 5);
        EXPECT_GE(function.strided(kHalf, x.data() + 2 * (kHalf - 1), -2, spread.data(), 3), 0);
        for (int64_t i = 0; i < kHalf; ++i) {
            ASSERT_EQ(bits(spread[3 * i]), bits(expected[2 * (kHalf - 1 - i)])) << i;
            ASSERT_TRUE(spread[3 * i + 1] == 5 && spread[3 * i + 2] == 5) << i;
        }
    }
}

TEST_F(VectorMath, GivesTwoResultsThatArePlacedApart) {
    std::vector<double> x = arguments(kLong);
    ozk::set_threads(3);
    const auto [sines, cosines] = ozk::sin_cos(x);
    EXPECT_TRUE(same_bits(sines, ozk::sin(x)));
    EXPECT_TRUE(same_bits(cosines, ozk::cos(x)));
    EXPECT_THROW(ozk::sin_cos(sines, x, x), ozk::error);
    std::vector<double> other(kLong);
    ozk::sin_cos(x, other, x);  // the second result in place of the argument
    EXPECT_TRUE(same_bits(other, sines) && same_bits(x, cosines));
}

TEST_F(VectorMath, ReachesTheKernelOfTheAccuracyThatIsAskedFor) {
    const std::vector<double> x = arguments(kLong);
    ozk::set_threads(3);
    const auto by_kernel = [&](int slot) {
        std::vector<double> y(kLong);
        ozk_vml_kernel_dExp_ttab[slot](kLong, x.data(), y.data());
        return y;
    };
    const std::vector<double> low = by_kernel(0), high = by_kernel(1), fast = by_kernel(2);
    ASSERT_FALSE(same_bits(low, high) || same_bits(high, fast) || same_bits(low, fast));
    EXPECT_TRUE(same_bits(ozk::exp(x), high));
    EXPECT_TRUE(same_bits(ozk::exp(x, ozk::Accuracy::low), low));
    EXPECT_TRUE(same_bits(ozk::exp(x, ozk::Accuracy::fast), fast));
    EXPECT_EQ(ozk::accuracy(), ozk::Accuracy::high);
    ozk::set_accuracy(ozk::Accuracy::fast);
    EXPECT_TRUE(same_bits(ozk::exp(x), fast));
    EXPECT_TRUE(same_bits(ozk::exp(x, ozk::Accuracy::high), high));
    EXPECT_EQ(ozk::accuracy(), ozk::Accuracy::fast);
}

TEST_F(VectorMath, FlushesDenormalsOnEveryThreadWhenTheCallerDoes) {
    const std::vector<double> x(kLong, -740);  // exp(-740) is subnormal
    ozk::set_threads(4);
    for (const double y : ozk::exp(x)) ASSERT_GT(y, 0);
    ozk::set_flush_denormals(true);
    EXPECT_TRUE(ozk::flush_denormals());
    for (const double y : ozk::exp(x)) ASSERT_EQ(y, 0);
    ozk::set_flush_denormals(false);
    for (const double y : ozk::exp(x)) ASSERT_GT(y, 0);
}

// ---- Special elements ---------------------------------------------------------------------------------

struct Planted {
    int64_t index;
    double argument;
    int32_t code;
};
const Planted kPlanted[] = {{3, 0, kOzkPole},
                            {kPiece - 1, -1, kOzkDomain},
                            {kPiece, 0, kOzkPole},
                            {5 * kPiece + 17, -2, kOzkDomain},
                            {kLong - 1, 0, kOzkPole}};

std::vector<double> planted() {
    std::vector<double> x(kLong, 2);
    for (const Planted& each : kPlanted) x[static_cast<size_t>(each.index)] = each.argument;
    return x;
}

TEST_F(VectorMath, ReportsSpecialElementsByTheirPlaceInTheWholeVectorInOrder) {
    for (const int threads : {1, 2, 5, 8}) {
        ozk::set_threads(threads);
        std::vector<double> x = planted();
        std::vector<ozk::special_value> specials;
        ozk::ln(x, x, specials);
        ASSERT_EQ(specials.size(), std::size(kPlanted));
        for (size_t k = 0; k < specials.size(); ++k) {
            EXPECT_EQ(specials[k].index, kPlanted[k].index);
            EXPECT_EQ(specials[k].code, kPlanted[k].code);
            EXPECT_EQ(specials[k].argument[0].re, kPlanted[k].argument);
            EXPECT_EQ(bits(specials[k].result[0].re), bits(x[static_cast<size_t>(kPlanted[k].index)]));
            EXPECT_STREQ(specials[k].function, "ozk_d_ln");
        }
    }
    // A list keeps what it has, and a thread's own handler is told as well.
    std::vector<ozk::special_value> specials(1);
    int told = 0;
    ozk_set_special_handler([](ozk_special_value*, void* count) { return ++*static_cast<int*>(count), 0; },
                            &told);
    const std::vector<double> short_x = {1, 0, -1};
    ozk::ln(short_x, specials);
    EXPECT_EQ(specials.size(), 3u);
    EXPECT_EQ(told, 2);
    // In the strided form indices count elements too.
    specials.clear();
    std::vector<double> x = planted(), y(kLong);
    x[4 * kPiece + 2] = 0;
    ozk::ln(ozk::strided(x, 2), ozk::strided(y, 2), specials);
    ASSERT_EQ(specials.size(), 3u);
    EXPECT_EQ(specials[0].index, static_cast<int64_t>(kPiece / 2));
    EXPECT_EQ(specials[1].index, static_cast<int64_t>(2 * kPiece + 1));
    EXPECT_EQ(specials[2].index, static_cast<int64_t>((kLong - 1) / 2));
}

TEST_F(VectorMath, LeavesErrnoFlagsAndStatusAsOneSerialCallWould) {
    for (const int threads : {1, 2, 8}) {
        for (const bool with_list : {false, true}) {
            SCOPED_TRACE(testing::Message() << threads << " threads, list " << with_list);
            ozk::set_threads(threads);
            std::vector<ozk::special_value> specials;
            std::vector<double> x = planted(), y(kLong);
            const auto outcome = [&](auto&& call) {
                errno = 0;
                feclearexcept(FE_ALL_EXCEPT);
                ozk_vml_kernel_ClearErrStatus();
                call();
                return std::tuple(errno, fetestexcept(FE_ALL_EXCEPT), ozk_vml_kernel_GetErrStatus());
            };
            const auto serial = outcome([&] { _vmldLn(kLong, x.data(), y.data()); });
            EXPECT_EQ(std::get<0>(serial), ERANGE);
            EXPECT_EQ(outcome([&] { with_list ? ozk::ln(x, y, specials) : ozk::ln(x, y); }), serial);
            // Its result is the code of the first.
            EXPECT_EQ(ozk_d_ln(kLong, x.data(), y.data()), kOzkPole);
            EXPECT_EQ(ozk_d_ln(kLong - 4, x.data() + 4, y.data()), kOzkDomain);
            EXPECT_EQ(ozk_d_ln(1000, x.data() + 4, y.data()), kOzkOk);

            ozk::set_special_actions(0);
            const int inexact = std::get<1>(serial) & FE_INEXACT;  // of the ordinary elements
            EXPECT_EQ(outcome([&] { ozk::ln(x, y); }), std::tuple(0, inexact, int{kOzkPole}));
            ozk::set_special_actions(kOzkActDefault);
        }
    }
}

TEST_F(VectorMath, StoresWhatTheHandlerReplacesAndKeepsWhatItDeclines) {
    struct Seen {
        std::thread::id thread;
        std::vector<double> inner;
    } seen = {std::this_thread::get_id(), {}};
    // Replaces poles by -1000, declines domain errors, and uses the library meanwhile.
    const auto handler = [](ozk_special_value* value, void* context) {
        Seen& data = *static_cast<Seen*>(context);
        EXPECT_EQ(std::this_thread::get_id(), data.thread);
        double y, x = 1;
        ozk_d_exp(1, &x, &y);
        data.inner.push_back(y);
        value->result[0].re = -1000;
        return value->code == kOzkPole ? 0 : 1;
    };
    for (const int threads : {1, 4}) {
        ozk::set_threads(threads);
        ozk_set_special_handler(handler, &seen);
        for (const size_t n : {size_t{2 * kPiece}, kLong}) {
            std::vector<double> x = planted();
            x.resize(n);
            const std::vector<double> y = ozk::ln(x);
            for (const Planted& each : kPlanted) {
                if (each.index >= static_cast<int64_t>(n)) continue;
                const double result = y[static_cast<size_t>(each.index)];
                EXPECT_TRUE(each.code == kOzkPole ? result == -1000 : std::isnan(result)) << each.index;
            }
        }
    }
    for (const double y : seen.inner) EXPECT_DOUBLE_EQ(y, std::exp(1.0));
}

TEST_F(VectorMath, PrintsMessagesInOrderWhateverTheThreads) {
    const std::vector<double> x = planted();
    ozk::set_special_actions(kOzkActMessage);
    const auto printed = [&](int threads) {
        ozk::set_threads(threads);
        testing::internal::CaptureStderr();
        ozk::ln(x);
        return testing::internal::GetCapturedStderr();
    };
    const std::string serial = printed(1);
    EXPECT_NE(serial.find(std::to_string(kPiece - 1)), std::string::npos);
    EXPECT_EQ(printed(8), serial);
}

TEST_F(VectorMath, GivesWorkersTheirOwnStateBack) {
    struct State {
        uint64_t mode;
        int32_t status;
        VmlErrorCallBack callback;
        uint32_t flags;
        int error_number;
        bool operator==(const State&) const = default;
    };
    constexpr int64_t kThreads = 4;
    ozk::set_threads(kThreads);
    const auto states = [&](bool set) {
        std::vector<State> all(kThreads);
        auto body = [&](int64_t thread) {
            if (set) {
                ozk_vml_kernel_SetMode(kVmlEp | kVmlErrorErrno | kVmlDenormalFlush);
                ozk_vml_kernel_SetErrStatus(static_cast<int32_t>(thread) + 1);
                feraiseexcept(FE_INEXACT);
                errno = 40 + static_cast<int>(thread);
            }
            all[static_cast<size_t>(thread)] = {ozk_vml_kernel_GetMode(), ozk_vml_kernel_GetErrStatus(),
                                                ozk_vml_kernel_GetErrorCallBack(),
                                                static_cast<uint32_t>(fetestexcept(FE_ALL_EXCEPT)), errno};
        };
        // Items wait for each other, so that each thread of the team gets one.
        std::atomic<int64_t> started = 0;
        auto item = [&](int64_t thread) {
            ++started;
            while (started < kThreads) std::this_thread::yield();
            if (thread != 0) body(thread);
        };
        ozk_vsl_serv_threader_for(kThreads, kThreads, &item, [](int64_t, int64_t thread, void* context) {
            (*static_cast<decltype(item)*>(context))(thread);
            return 0;
        });
        return all;
    };
    omp_set_num_threads(kThreads);
    const std::vector<State> before = states(true);
    const std::vector<double> x = planted();
    for (int repeat = 0; repeat < 5; ++repeat) ozk::ln(x, ozk::Accuracy::low);
    EXPECT_TRUE(states(false) == before);
}

// ---- What is refused ----------------------------------------------------------------------------------

TEST_F(VectorMath, RefusesBadArraysBeforeAnythingIsWritten) {
    std::vector<double> x(100, 1);
    const std::vector<double> before = x;
    const auto refused = [&](int32_t code, auto&& call) {
        try {
            call();
            ADD_FAILURE() << "not refused";
        } catch (const ozk::error& error) {
            EXPECT_EQ(error.family(), ozk::Family::vector_math);
            EXPECT_EQ(error.code(), code);
            EXPECT_NE(std::string(error.what()).find("exp"), std::string::npos) << error.what();
        }
        EXPECT_EQ(x, before);
    };
    const std::span all(x);
    refused(kOzkCodeSize, [&] { ozk::exp(all.first(50), all.last(49)); });
    refused(kOzkCodeOverlap, [&] { ozk::exp(all.first(50), all.subspan(1, 50)); });
    refused(kOzkCodeOverlap, [&] { ozk::exp(all.subspan(1, 50), all.first(50)); });
    refused(kOzkCodeOverlap,
            [&] { ozk::exp(ozk::strided(all.first(98), 2), ozk::strided(all.subspan(2), 2)); });
    const auto status = [&](int32_t code, ozk_status got) {
        EXPECT_EQ(ozk_status_code(got), code) << ozk_last_error();
        EXPECT_EQ(x, before);
    };
    status(kOzkCodeSize, ozk_d_exp(-1, x.data(), x.data()));
    status(kOzkCodeNull, ozk_d_exp(1, nullptr, x.data()));
    status(kOzkCodeNull, ozk_d_exp(1, x.data(), nullptr));
    status(kOzkCodeStride, ozk_d_exp_strided(2, x.data(), 1, x.data() + 50, 0));
    status(kOzkCodeStride, ozk_d_exp_strided(2, x.data(), int64_t{1} << 31, x.data() + 50, 1));
    status(kOzkCodeSize, ozk_d_exp(INT64_MAX / 4, x.data(), x.data()));
    status(kOzkCodeOverlap, ozk_d_exp_strided(50, x.data(), 1, x.data() + 49, -1));
    status(kOzkCodeOverlap, ozk_d_exp_strided(50, x.data(), 1, x.data(), 2));
    EXPECT_EQ(ozk_d_exp(0, nullptr, nullptr), kOzkOk);

    EXPECT_THROW(ozk::set_threads(-1), ozk::error);
    EXPECT_THROW(ozk::set_special_actions(8), ozk::error);
    EXPECT_THROW(ozk::set_accuracy(static_cast<ozk::Accuracy>(4)), ozk::error);
    EXPECT_THROW(ozk::strided(x, 0), ozk::error);
}

TEST_F(VectorMath, AllowsArraysThatShareNoElement) {
    // Arguments at even places, results at odd ones; and one argument for all.
    std::vector<double> x(2 * kLong, 1);
    const std::span all(x);
    ozk::exp(ozk::strided(all.first(2 * kLong - 1), 2), ozk::strided(all.subspan(1), 2));
    for (size_t i = 0; i < x.size(); ++i) ASSERT_EQ(x[i], i % 2 == 0 ? 1 : std::exp(1.0)) << i;
    EXPECT_EQ(ozk_d_exp_strided(10, x.data(), 0, x.data() + 1, 1), kOzkOk);
    for (size_t i = 1; i <= 10; ++i) EXPECT_EQ(x[i], std::exp(1.0));
}

TEST(Status, HasAFamilyACodeAndASentence) {
    double y;
    const ozk_status status = ozk_d_exp(1, nullptr, &y);
    EXPECT_EQ(ozk_status_family(status), kOzkVectorMath);
    EXPECT_STREQ(ozk_family_name(kOzkVectorMath), "vector mathematics");
    EXPECT_STREQ(ozk_error_text(status), "An array, a handle or the place for a result is null: pass one.");
    EXPECT_STREQ(ozk_error_text(-(kOzkRandom * 100000 + 1002)), "The generator does not support leapfrog.");
    EXPECT_STREQ(ozk_error_text(-(kOzkStatistics * 100000 + 4022)),
                 "The number of quantile orders is missing, or an order is not in [0, 1].");
    EXPECT_STREQ(ozk_error_text(-(kOzkSpline * 100000 + 1018)),
                 "First and last value of a periodic function differ.");
    EXPECT_STREQ(ozk_error_text(kOzkOk), "Done.");
    EXPECT_STREQ(ozk_error_text(INT32_MIN), "This is no status.");
    EXPECT_EQ(ozk_status_family(kOzkPole), 0);
}

// ---- Complex elements, and moving elements ------------------------------------------------------------

using Complex = std::complex<double>;

TEST_F(VectorMath, TakesSpansOfComplexNumbersAndGivesRealOrComplexResults) {
    std::vector<Complex> a(kLong), b(kLong);
    std::mt19937_64 random(11);
    std::uniform_real_distribution<double> uniform(-5, 5);
    for (size_t i = 0; i < kLong; ++i) {
        a[i] = {uniform(random), uniform(random)};
        b[i] = {uniform(random), uniform(random)};
    }
    a[2 * kPiece + 3] = {1, 1};
    b[2 * kPiece + 3] = 0;
    std::vector<ozk::special_value> specials;
    const auto quotient = ozk::div(std::span<const Complex>(a), std::span<const Complex>(b), specials);
    ASSERT_EQ(specials.size(), 1u);
    EXPECT_EQ(specials[0].index, static_cast<int64_t>(2 * kPiece + 3));
    EXPECT_EQ(specials[0].code, kOzkPole);
    EXPECT_EQ(specials[0].argument[0].im, 1);
    const auto product = ozk::mul(std::span<const Complex>(a), std::span<const Complex>(b));
    const auto magnitude = ozk::abs(std::span<const Complex>(a)),
               angle = ozk::arg(std::span<const Complex>(a));
    std::vector<Complex> every_second(kLong / 2);
    const std::vector<Complex> even(a.begin(), a.begin() + 2 * (kLong / 2));
    ozk::conj(ozk::strided<const Complex>(even, 2), ozk::strided(every_second, 1));
    for (size_t i = 0; i < kLong; ++i) {
        ASSERT_LE(std::abs(product[i] - a[i] * b[i]), 1e-14 * std::abs(product[i]));
        if (b[i] != 0.0) {
            ASSERT_LE(std::abs(quotient[i] - a[i] / b[i]), 1e-14 * std::abs(quotient[i]));
        }
        ASSERT_LE(std::abs(std::polar(magnitude[i], angle[i]) - a[i]), 1e-14 * magnitude[i]);
    }
    for (size_t i = 0; i < every_second.size(); ++i) ASSERT_EQ(every_second[i], std::conj(a[2 * i]));
}

TEST_F(VectorMath, PacksByIncrementIndexAndMaskAndRefusesWhatDoesNotFit) {
    const std::vector<Complex> x = {1, 2, 3, 4, 5, {6, 7}};
    const std::vector<int64_t> index = {5, 0, 2}, outside = {0, 6, 1}, mask = {0, 1, 1, 0, 0, 1};
    const std::span<const Complex> in(x);
    std::vector<Complex> y(3), back(6, -1.0);
    ozk::pack_i(in, 2, std::span(y));
    EXPECT_EQ(y, (std::vector<Complex>{1, 3, 5}));
    ozk::pack_m(in, mask, std::span(y));
    EXPECT_EQ(y, (std::vector<Complex>{2, 3, {6, 7}}));
    ozk::unpack_m(std::span<const Complex>(y), std::span(back), mask);
    EXPECT_EQ(back, (std::vector<Complex>{-1, 2, 3, -1, -1, {6, 7}}));
    ozk::pack_v(in, index, std::span(y));
    EXPECT_EQ(y, (std::vector<Complex>{{6, 7}, 1, 3}));
    ozk::unpack_v(std::span<const Complex>(y), std::span(back), index);
    EXPECT_EQ(back, (std::vector<Complex>{1, 2, 3, -1, -1, {6, 7}}));
    ozk::unpack_i(std::span<const Complex>(y), std::span(back), 2);
    EXPECT_EQ(back, (std::vector<Complex>{{6, 7}, 2, 1, -1, 3, {6, 7}}));
    const auto before = y;
    EXPECT_THROW(ozk::pack_v(in, outside, std::span(y)), ozk::error);
    EXPECT_THROW(ozk::pack_i(in, 3, std::span(y)), ozk::error);
    EXPECT_THROW(ozk::pack_m(in, mask, std::span(y).first(2)), ozk::error);
    EXPECT_EQ(y, before);
}

}  // namespace
