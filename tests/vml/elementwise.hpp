// What the tests of one-argument functions share: arguments, special values, and one element's bits in every
// place.
#pragma once

#include <algorithm>
#include <cfenv>

#include "tests/vml/support.hpp"

namespace ozk::vml::test {

struct Level {
    Unary kernel;
    UnaryStrided strided;
    double bound;  // ulp
};

template <class T>
bool same_bits(T a, T b) {
    return bits_of(a) == bits_of(b);
}

// `count` arguments with magnitudes spread evenly over the bit patterns from `least` to `most`, of either
// sign.
inline std::vector<double> random_magnitudes(double least, double most, int count, uint64_t seed) {
    std::mt19937_64 random(seed);
    std::uniform_int_distribution<uint64_t> magnitude(bits_of(least), bits_of(most));
    std::vector<double> x(static_cast<size_t>(count));
    for (double& v : x) v = std::bit_cast<double>(magnitude(random) | (random() & bits_of(-0.0)));
    return x;
}
inline std::vector<double> random_uniform(double low, double high, int count, uint64_t seed) {
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> uniform(low, high);
    std::vector<double> x(static_cast<size_t>(count));
    for (double& v : x) v = uniform(random);
    return x;
}

struct SpecialCase {
    double argument, result;
    int32_t code;
};

// Each case alone and among ordinary elements: its result (bit for bit, but for NaN), the thread's status,
// and no invalid operation for NaN.
template <class T>
void expect_special_values(UnaryOf<T> f, const std::vector<SpecialCase>& cases,
                           std::type_identity_t<T> ordinary) {
    _vmlSetMode(kVmlErrorIgnore);
    for (const SpecialCase& special : cases) {
        for (const int32_t n : {1, 21}) {
            std::vector<T> x(static_cast<size_t>(n), ordinary), y(x.size());
            x.back() = static_cast<T>(special.argument);
            if (n > 1) x[5] = x.back();
            _vmlClearErrStatus();
            std::feclearexcept(FE_ALL_EXCEPT);
            f(n, x.data(), y.data());
            const std::string what = "f(" + std::to_string(special.argument) + "), n = " + std::to_string(n);
            for (const T result : {y.back(), n > 1 ? y[5] : y.back()}) {
                if (std::isnan(special.result)) {
                    EXPECT_TRUE(std::isnan(result)) << what;
                } else {
                    EXPECT_TRUE(same_bits(result, static_cast<T>(special.result))) << what << " = " << result;
                }
            }
            EXPECT_EQ(_vmlGetErrStatus(), special.code) << what;
            EXPECT_FALSE(std::isnan(special.argument) && std::fetestexcept(FE_INVALID)) << what;
        }
    }
}

// An element's bits are those of its own call with n = 1, at every length, place and stride and in place.
template <class T>
void expect_same_bits_everywhere(UnaryOf<T> f, UnaryStridedOf<T> strided, const std::vector<T>& x) {
    _vmlSetMode(kVmlErrorIgnore);
    const int32_t n = static_cast<int32_t>(x.size());
    std::vector<T> alone;
    for (const T v : x) alone.push_back(call(f, v));
    const auto expect_equal = [&](const T* y, size_t step, size_t first, size_t count, const char* what) {
        for (size_t i = 0; i < count; ++i) {
            ASSERT_TRUE(same_bits(y[i * step], alone[first + i]))
                << what << ", element " << i << " of " << count << ", argument " << x[first + i];
        }
    };
    for (size_t length = 0; length <= 35 && length <= x.size(); ++length) {
        std::vector<T> y(length + 1, T(7));
        const size_t first = x.size() - length;
        f(static_cast<int32_t>(length), x.data() + first, y.data());
        expect_equal(y.data(), 1, first, length, "every length");
        EXPECT_EQ(y[length], T(7)) << "written beyond the end";
    }
    std::vector<T> y(x);
    f(n, y.data(), y.data());
    expect_equal(y.data(), 1, 0, x.size(), "in place");
    std::vector<T> spread(x.size() * 3), results(x.size() * 2, T(7));
    for (size_t i = 0; i < x.size(); ++i) spread[3 * i] = x[i];
    strided(n, spread.data(), 3, results.data(), 2);
    expect_equal(results.data(), 2, 0, x.size(), "strided");
    for (size_t i = 0; i < x.size(); ++i) ASSERT_EQ(results[2 * i + 1], T(7)) << "written between results";
    strided(n, x.data(), 1, y.data(), 1);
    expect_equal(y.data(), 1, 0, x.size(), "unit strides");
}

}  // namespace ozk::vml::test
