// What the tests of the simple real functions share: kernels by name for both element types and both forms,
// arguments that meet every class of numbers, and special values.
#pragma once

#include <dlfcn.h>

#include <cfenv>
#include <functional>

#include "tests/vml/support.hpp"

namespace ozk::vml::test {

template <class T>
struct Bits {
    using type = std::conditional_t<sizeof(T) == 8, uint64_t, uint32_t>;
    static constexpr type kQuiet = type{1} << (sizeof(T) == 8 ? 51 : 22);
};
template <class T>
typename Bits<T>::type bits(T x) {
    return std::bit_cast<typename Bits<T>::type>(x);
}
// NaN with a payload, quiet or signalling.
template <class T>
T nan(bool quiet, bool negative, unsigned payload) {
    const T x =
        std::bit_cast<T>(bits(std::numeric_limits<T>::infinity()) | payload | (quiet ? Bits<T>::kQuiet : 0));
    return std::bit_cast<T>(bits(x) | (negative ? bits(T(-0.0)) : 0));
}

// An exported entry point such as _vmldAddI_50.
template <class F>
F* entry(std::string name) {
    void* const address = dlsym(RTLD_DEFAULT, name.c_str());
    EXPECT_NE(address, nullptr) << name;
    return reinterpret_cast<F*>(address);
}
template <class T>
std::string entry_name(const std::string& function, const std::string& level) {
    const bool single = sizeof(T) == 4;
    const std::string suffix = level == "LA"   ? single ? "_21" : "_50"
                               : level == "EP" ? single ? "_11" : "_26"
                                               : "";
    return std::string("_vml") + (single ? "s" : "d") + function + suffix;
}

// r1 (and r2) = f(a [, b]), unit-stride and with strides, for a function of one or two arguments.
template <class T>
struct Function {
    std::string name, level;
    int arguments, results = 1;

    void operator()(int32_t n, const T* a, const T* b, T* r1, T* r2) const {
        const std::string entry_point = entry_name<T>(name, level);
        if (arguments == 2)
            entry<void(int32_t, const T*, const T*, T*)>(entry_point)(n, a, b, r1);
        else if (results == 2)
            entry<void(int32_t, const T*, T*, T*)>(entry_point)(n, a, r1, r2);
        else
            entry<void(int32_t, const T*, T*)>(entry_point)(n, a, r1);
    }
    void strided(int32_t n, const T* a, int32_t inca, const T* b, int32_t incb, T* r1, T* r2,
                 int32_t incr) const {
        const std::string entry_point = entry_name<T>(name + "I", level);
        if (arguments == 2)
            entry<void(int32_t, const T*, int32_t, const T*, int32_t, T*, int32_t)>(entry_point)(
                n, a, inca, b, incb, r1, incr);
        else if (results == 2)
            entry<void(int32_t, const T*, int32_t, T*, int32_t, T*, int32_t)>(entry_point)(n, a, inca, r1,
                                                                                           incr, r2, incr);
        else
            entry<void(int32_t, const T*, int32_t, T*, int32_t)>(entry_point)(n, a, inca, r1, incr);
    }
};

// Zeros, subnormals, the edges of the range, halves, integers, infinities and NaN, of either sign.
template <class T>
std::vector<T> notable() {
    using limits = std::numeric_limits<T>;
    const T digits = std::ldexp(T(1), limits::digits - 1);
    std::vector<T> x;
    for (const T v : {T(0),
                      limits::denorm_min(),
                      limits::min() / 2,
                      std::nextafter(limits::min(), T(0)),
                      limits::min(),
                      std::nextafter(limits::min(), T(1)),
                      T(1) / 3,
                      std::nextafter(T(0.5), T(0)),
                      T(0.5),
                      std::nextafter(T(1), T(0)),
                      T(1),
                      std::nextafter(T(1), T(2)),
                      T(1.5),
                      T(2),
                      T(2.5),
                      T(3),
                      T(10),
                      digits / 2 - T(0.5),
                      digits / 2,
                      digits - T(0.5),
                      digits - 1,
                      digits,
                      digits + 1,
                      2 * digits - 1,
                      std::sqrt(limits::max()),
                      limits::max() / 2,
                      std::nextafter(limits::max(), T(0)),
                      limits::max(),
                      limits::infinity(),
                      nan<T>(true, false, 1),
                      nan<T>(true, false, 2)}) {
        x.push_back(v);
        x.push_back(std::bit_cast<T>(bits(v) ^ bits(T(-0.0))));
    }
    return x;
}

// Numbers of all magnitudes, by their bits.
template <class T>
std::vector<T> any_magnitude(int count, uint64_t seed) {
    std::mt19937_64 random(seed);
    std::vector<T> x;
    while (static_cast<int>(x.size()) < count) {
        const T v = std::bit_cast<T>(static_cast<typename Bits<T>::type>(random()));
        if (std::isfinite(v)) x.push_back(v);
    }
    return x;
}

}  // namespace ozk::vml::test
