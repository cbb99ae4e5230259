// A plain loop over the C library's scalar functions; where the processor has more, the C library uses it.

#include <math.h>

#include "bench/peers.hpp"
#include "tools/accuracy/oracles.hpp"

namespace ozk::bench {
namespace {

template <class T, auto kFunction>
void scalar_unary(int n, const T* a, const T*, T* r, T*) {
    for (int i = 0; i < n; ++i) r[i] = kFunction(a[i]);
}

template <class T, auto kFunction>
void scalar_binary(int n, const T* a, const T* b, T* r, T*) {
    for (int i = 0; i < n; ++i) r[i] = kFunction(a[i], b[i]);
}

template <class T>
void scalar_modf(int n, const T* a, const T*, T* r, T* r2) {
    for (int i = 0; i < n; ++i) {
        if constexpr (sizeof(T) == 8)
            r2[i] = ::modf(a[i], &r[i]);
        else
            r2[i] = ::modff(a[i], &r[i]);
    }
}
template <class T>
T larger_magnitude(T x, T y) {
    return (x < 0 ? -x : x) > (y < 0 ? -y : y) ? x : y;
}
template <class T>
T smaller_magnitude(T x, T y) {
    return (x < 0 ? -x : x) < (y < 0 ? -y : y) ? x : y;
}
template <class T>
T linear_fraction(T x, T y) {
    using namespace accuracy;
    return (T(kScaleA) * x + T(kShiftA)) / (T(kScaleB) * y + T(kShiftB));
}

#define OZK_LIBM(shape, function, name)                                                         \
    {                                                                                           \
        "libm loop", #function, scalar_##shape<double, [](auto... x) { return ::name(x...); }>, \
            scalar_##shape<float, [](auto... x) { return ::name##f(x...); }>                    \
    }

}  // namespace

std::vector<Peer> libm_peers() {
    return {
        OZK_LIBM(unary, Exp, exp),
        OZK_LIBM(unary, Exp2, exp2),
        OZK_LIBM(unary, Exp10, exp10),
        OZK_LIBM(unary, Expm1, expm1),
        OZK_LIBM(unary, Ln, log),
        OZK_LIBM(unary, Log2, log2),
        OZK_LIBM(unary, Log10, log10),
        OZK_LIBM(unary, Log1p, log1p),
        OZK_LIBM(unary, Logb, logb),
        OZK_LIBM(unary, Sin, sin),
        OZK_LIBM(unary, Cos, cos),
        OZK_LIBM(unary, Tan, tan),
        OZK_LIBM(unary, Asin, asin),
        OZK_LIBM(unary, Acos, acos),
        OZK_LIBM(unary, Atan, atan),
        OZK_LIBM(binary, Atan2, atan2),
        OZK_LIBM(unary, Sinh, sinh),
        OZK_LIBM(unary, Cosh, cosh),
        OZK_LIBM(unary, Tanh, tanh),
        OZK_LIBM(unary, Asinh, asinh),
        OZK_LIBM(unary, Acosh, acosh),
        OZK_LIBM(unary, Atanh, atanh),
        OZK_LIBM(binary, Pow, pow),
        OZK_LIBM(unary, Cbrt, cbrt),
        OZK_LIBM(unary, Sqrt, sqrt),
        OZK_LIBM(binary, Hypot, hypot),
        OZK_LIBM(unary, Erf, erf),
        OZK_LIBM(unary, Erfc, erfc),
        OZK_LIBM(unary, TGamma, tgamma),
        OZK_LIBM(unary, LGamma, lgamma),
        OZK_LIBM(unary, J0, j0),
        OZK_LIBM(unary, J1, j1),
        OZK_LIBM(unary, Y0, y0),
        OZK_LIBM(unary, Y1, y1),
        OZK_LIBM(unary, Ceil, ceil),
        OZK_LIBM(unary, Floor, floor),
        OZK_LIBM(unary, Trunc, trunc),
        OZK_LIBM(unary, Round, round),
        OZK_LIBM(unary, Rint, rint),
        OZK_LIBM(unary, NearbyInt, nearbyint),
        OZK_LIBM(unary, Abs, fabs),
        OZK_LIBM(binary, Fmod, fmod),
        OZK_LIBM(binary, Remainder, remainder),
        OZK_LIBM(binary, Fdim, fdim),
        OZK_LIBM(binary, Fmax, fmax),
        OZK_LIBM(binary, Fmin, fmin),
        OZK_LIBM(binary, CopySign, copysign),
        OZK_LIBM(binary, NextAfter, nextafter),
        // Loops that the compiler vectorises.
        {"compiled loop", "Sqr", scalar_unary<double, [](double x) { return x * x; }>,
         scalar_unary<float, [](float x) { return x * x; }>},
        {"compiled loop", "Inv", scalar_unary<double, [](double x) { return 1 / x; }>,
         scalar_unary<float, [](float x) { return 1 / x; }>},
        {"compiled loop", "InvSqrt", scalar_unary<double, [](double x) { return 1 / ::sqrt(x); }>,
         scalar_unary<float, [](float x) { return 1 / ::sqrtf(x); }>},
        {"compiled loop", "Pow3o2", scalar_unary<double, [](double x) { return x * ::sqrt(x); }>,
         scalar_unary<float, [](float x) { return x * ::sqrtf(x); }>},
        {"compiled loop", "Frac", scalar_unary<double, [](double x) { return x - ::trunc(x); }>,
         scalar_unary<float, [](float x) { return x - ::truncf(x); }>},
        {"compiled loop", "MaxMag", scalar_binary<double, larger_magnitude<double>>,
         scalar_binary<float, larger_magnitude<float>>},
        {"compiled loop", "MinMag", scalar_binary<double, smaller_magnitude<double>>,
         scalar_binary<float, smaller_magnitude<float>>},
        {"compiled loop", "Fmax", scalar_binary<double, [](double x, double y) { return (x > y) ? x : y; }>,
         scalar_binary<float, [](float x, float y) { return (x > y) ? x : y; }>},
        {"compiled loop", "Fmin", scalar_binary<double, [](double x, double y) { return x < y ? x : y; }>,
         scalar_binary<float, [](float x, float y) { return x < y ? x : y; }>},
        {"compiled loop", "Hypot",
         scalar_binary<double, [](double x, double y) { return ::sqrt(x * x + y * y); }>,
         scalar_binary<float, [](float x, float y) { return ::sqrtf(x * x + y * y); }>},
        {"compiled loop", "LinearFrac", scalar_binary<double, linear_fraction<double>>,
         scalar_binary<float, linear_fraction<float>>},
        {"libm loop", "Modf", scalar_modf<double>, scalar_modf<float>},
        {"compiled loop", "Add", scalar_binary<double, [](double x, double y) { return x + y; }>,
         scalar_binary<float, [](float x, float y) { return x + y; }>},
        {"compiled loop", "Sub", scalar_binary<double, [](double x, double y) { return x - y; }>,
         scalar_binary<float, [](float x, float y) { return x - y; }>},
        {"compiled loop", "Mul", scalar_binary<double, [](double x, double y) { return x * y; }>,
         scalar_binary<float, [](float x, float y) { return x * y; }>},
        {"compiled loop", "Div", scalar_binary<double, [](double x, double y) { return x / y; }>,
         scalar_binary<float, [](float x, float y) { return x / y; }>},
    };
}

}  // namespace ozk::bench
