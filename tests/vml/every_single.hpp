// Single-precision functions against the C library's double-precision ones, at all 2^32 arguments with OZK_TEST_LONG=1
// in the environment, else at evenly spaced ones.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <thread>
#include <vector>

#include "tests/vml/support.hpp"

namespace ozk::vml::test {

inline constexpr int32_t kSweepBlock = 4096;

struct Sweep {
    double worst = 0;                    // error, ulp
    float at = 0;                        // its argument
    int64_t finite = 0, misrounded = 0;  // results that are finite, and those not nearest to the exact value
    std::string wrong = "";              // an argument where NaN, infinity or the sign is wrong
};

// Adds to `sweep` what f makes of the bit patterns first, first + step ...
inline void sweep_block(UnaryOf<float> f, const std::function<double(double)>& exact, uint64_t first,
                        uint64_t step, Sweep& sweep) {
    float x[kSweepBlock], y[kSweepBlock];
    for (uint64_t i = 0; i < kSweepBlock; ++i)
        x[i] = std::bit_cast<float>(static_cast<uint32_t>(first + i * step));
    f(kSweepBlock, x, y);
    for (size_t i = 0; i < kSweepBlock; ++i) {
        const double e = exact(x[i]);
        const float rounded = static_cast<float>(e);
        if (std::isnan(e) || std::isinf(rounded) || std::isinf(y[i]) || std::isnan(y[i])) {
            if (!(std::isnan(e) ? std::isnan(y[i]) : y[i] == rounded)) sweep.wrong = std::to_string(x[i]);
            continue;
        }
        if (y[i] != 0 && std::signbit(y[i]) != std::signbit(e)) sweep.wrong = std::to_string(x[i]);
        const int exponent = rounded == 0 ? -126 : std::max(std::ilogb(rounded), -126);
        const double error = std::abs(y[i] - e) * std::ldexp(1.0, 23 - exponent);
        ++sweep.finite;
        sweep.misrounded += y[i] != rounded;
        if (error > sweep.worst) {
            sweep.worst = error;
            sweep.at = x[i];
        }
    }
}

// Of the 2^32 bit patterns, those that are 0, `step`, 2 step ...; in the long form every one, on all threads.
inline Sweep sweep_singles(UnaryOf<float> f, const std::function<double(double)>& exact) {
    const char* const whole = std::getenv("OZK_TEST_LONG");
    const bool is_whole = whole != nullptr && std::string(whole) == "1";
    const uint64_t step = is_whole ? 1 : 1021;
    std::vector<Sweep> parts(is_whole ? std::max(1u, std::thread::hardware_concurrency()) : 1);
    std::vector<std::thread> threads;
    const auto mode = _vmlGetMode();
    for (size_t t = 0; t < parts.size(); ++t) {
        threads.emplace_back([&, t] {
            _vmlSetMode(mode);
            for (uint64_t first = t * kSweepBlock * step; first < uint64_t{1} << 32;
                 first += parts.size() * kSweepBlock * step)
                sweep_block(f, exact, first, step, parts[t]);
        });
    }
    for (std::thread& thread : threads) thread.join();
    Sweep all;
    for (const Sweep& part : parts) {
        all.finite += part.finite;
        all.misrounded += part.misrounded;
        if (part.wrong != "") all.wrong = part.wrong;
        if (part.worst > all.worst) {
            all.worst = part.worst;
            all.at = part.at;
        }
    }
    return all;
}

// The bounds in ulp of the three levels, in slot order; high accuracy also rounds 99.9 % of all results correctly.
inline void expect_levels_everywhere(const UnaryOf<float> (&levels)[3], const double (&bounds)[3],
                                     const std::function<double(double)>& exact) {
    for (size_t level = 0; level < 3; ++level) {
        if (level != 1 && levels[level] == levels[1]) continue;
        const Sweep sweep = sweep_singles(levels[level], exact);
        EXPECT_LE(sweep.worst, bounds[level]) << "level " << level << " at " << std::hexfloat << sweep.at;
        EXPECT_EQ(sweep.wrong, "") << "level " << level;
        EXPECT_GT(sweep.finite, 1000000);
        if (level == 1) {
            EXPECT_LT(sweep.misrounded, sweep.finite / 1000);
        }
    }
}

}  // namespace ozk::vml::test
