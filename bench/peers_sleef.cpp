// SLEEF, its 128-bit SSE4 functions by their direct names.

#include <sleef.h>

#include "bench/peers.hpp"

namespace ozk::bench {
namespace {

#define OZK_SLEEF(shape, function, name, accuracy)                                                  \
    {                                                                                               \
        "SLEEF " #accuracy, #function, register_##shape<double, Sleef_##name##d2_##accuracy##sse4>, \
            register_##shape<float, Sleef_##name##f4_##accuracy##sse4>                              \
    }

template <class T, auto kFunction>
void register_pair(int n, const T* a, const T* b, T* r, T* r2) {
    using R = Register<T>;
    by_groups<R::kWidth>(n, a, b, r, r2, [](const T* x, const T*, T* y, T* y2) {
        const auto v = kFunction(R::load(x));
        R::store(y, v.x);
        R::store(y2, v.y);
    });
}

}  // namespace

std::vector<Peer> sleef_peers() {
    return {
        OZK_SLEEF(unary, Exp, exp, u10),
        OZK_SLEEF(unary, Exp2, exp2, u10),
        OZK_SLEEF(unary, Exp2, exp2, u35),
        OZK_SLEEF(unary, Exp10, exp10, u10),
        OZK_SLEEF(unary, Exp10, exp10, u35),
        OZK_SLEEF(unary, Expm1, expm1, u10),
        OZK_SLEEF(unary, Ln, log, u10),
        OZK_SLEEF(unary, Ln, log, u35),
        OZK_SLEEF(unary, Log2, log2, u10),
        OZK_SLEEF(unary, Log2, log2, u35),
        OZK_SLEEF(unary, Log10, log10, u10),
        OZK_SLEEF(unary, Log1p, log1p, u10),
        OZK_SLEEF(unary, Sin, sin, u10),
        OZK_SLEEF(unary, Sin, sin, u35),
        OZK_SLEEF(unary, Cos, cos, u10),
        OZK_SLEEF(unary, Cos, cos, u35),
        OZK_SLEEF(unary, Tan, tan, u10),
        OZK_SLEEF(unary, Tan, tan, u35),
        OZK_SLEEF(unary, Sinpi, sinpi, u05),
        OZK_SLEEF(unary, Cospi, cospi, u05),
        OZK_SLEEF(pair, SinCos, sincos, u10),
        OZK_SLEEF(pair, SinCos, sincos, u35),
        OZK_SLEEF(pair, SinCospi, sincospi, u05),
        OZK_SLEEF(pair, SinCospi, sincospi, u35),
        OZK_SLEEF(unary, Asin, asin, u10),
        OZK_SLEEF(unary, Asin, asin, u35),
        OZK_SLEEF(unary, Acos, acos, u10),
        OZK_SLEEF(unary, Acos, acos, u35),
        OZK_SLEEF(unary, Atan, atan, u10),
        OZK_SLEEF(unary, Atan, atan, u35),
        OZK_SLEEF(binary, Atan2, atan2, u10),
        OZK_SLEEF(binary, Atan2, atan2, u35),
        OZK_SLEEF(unary, Sinh, sinh, u10),
        OZK_SLEEF(unary, Sinh, sinh, u35),
        OZK_SLEEF(unary, Cosh, cosh, u10),
        OZK_SLEEF(unary, Cosh, cosh, u35),
        OZK_SLEEF(unary, Tanh, tanh, u10),
        OZK_SLEEF(unary, Tanh, tanh, u35),
        OZK_SLEEF(unary, Asinh, asinh, u10),
        OZK_SLEEF(unary, Acosh, acosh, u10),
        OZK_SLEEF(unary, Atanh, atanh, u10),
        OZK_SLEEF(binary, Pow, pow, u10),
        OZK_SLEEF(unary, Cbrt, cbrt, u10),
        OZK_SLEEF(unary, Cbrt, cbrt, u35),
        OZK_SLEEF(unary, Sqrt, sqrt, u05),
        OZK_SLEEF(unary, Sqrt, sqrt, u35),
        OZK_SLEEF(binary, Hypot, hypot, u05),
        OZK_SLEEF(binary, Hypot, hypot, u35),
        OZK_SLEEF(unary, Erf, erf, u10),
        OZK_SLEEF(unary, Erfc, erfc, u15),
        OZK_SLEEF(unary, TGamma, tgamma, u10),
        OZK_SLEEF(unary, LGamma, lgamma, u10),
#define OZK_SLEEF_PLAIN(shape, function, name)                            \
    {"SLEEF", #function, register_##shape<double, Sleef_##name##d2_sse4>, \
     register_##shape<float, Sleef_##name##f4_sse4>}
        OZK_SLEEF_PLAIN(unary, Ceil, ceil),
        OZK_SLEEF_PLAIN(unary, Floor, floor),
        OZK_SLEEF_PLAIN(unary, Trunc, trunc),
        OZK_SLEEF_PLAIN(unary, Round, round),
        OZK_SLEEF_PLAIN(unary, Rint, rint),
        OZK_SLEEF_PLAIN(binary, Fdim, fdim),
        OZK_SLEEF_PLAIN(binary, Fmax, fmax),
        OZK_SLEEF_PLAIN(binary, Fmin, fmin),
        OZK_SLEEF_PLAIN(binary, Fmod, fmod),
        OZK_SLEEF_PLAIN(binary, Remainder, remainder),
        OZK_SLEEF_PLAIN(binary, NextAfter, nextafter),
    };
}

}  // namespace ozk::bench
