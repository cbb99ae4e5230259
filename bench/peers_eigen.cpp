// Eigen's array functions, compiled for SSE4.2.

#include <Eigen/Core>
#include <unsupported/Eigen/SpecialFunctions>

#include "bench/peers.hpp"

static_assert(EIGEN_MAX_STATIC_ALIGN_BYTES == 16, "to be compiled for 128-bit vectors");

namespace ozk::bench {
namespace {

template <class T>
using ConstArray = Eigen::Map<const Eigen::Array<T, Eigen::Dynamic, 1>>;

template <class T, auto kFunction>
void array_unary(int n, const T* a, const T*, T* r, T*) {
    Eigen::Map<Eigen::Array<T, Eigen::Dynamic, 1>>(r, n) = kFunction(ConstArray<T>(a, n));
}

template <class T, auto kFunction>
void array_binary(int n, const T* a, const T* b, T* r, T*) {
    Eigen::Map<Eigen::Array<T, Eigen::Dynamic, 1>>(r, n) =
        kFunction(ConstArray<T>(a, n), ConstArray<T>(b, n));
}

#define OZK_EIGEN(function, name)                                                        \
    {                                                                                    \
        "Eigen", #function, array_unary<double, [](const auto& x) { return x.name(); }>, \
            array_unary<float, [](const auto& x) { return x.name(); }>                   \
    }

}  // namespace

std::vector<Peer> eigen_peers() {
    return {
        OZK_EIGEN(Exp, exp),
        OZK_EIGEN(Expm1, expm1),
        OZK_EIGEN(Ln, log),
        OZK_EIGEN(Log2, log2),
        OZK_EIGEN(Log10, log10),
        OZK_EIGEN(Log1p, log1p),
        OZK_EIGEN(Sin, sin),
        OZK_EIGEN(Cos, cos),
        OZK_EIGEN(Tan, tan),
        OZK_EIGEN(Sinh, sinh),
        OZK_EIGEN(Cosh, cosh),
        OZK_EIGEN(Tanh, tanh),
        OZK_EIGEN(Asin, asin),
        OZK_EIGEN(Acos, acos),
        OZK_EIGEN(Atan, atan),
        OZK_EIGEN(Sqrt, sqrt),
        OZK_EIGEN(InvSqrt, rsqrt),
        OZK_EIGEN(Inv, inverse),
        OZK_EIGEN(Erf, erf),
        OZK_EIGEN(Erfc, erfc),
        OZK_EIGEN(LGamma, lgamma),
        OZK_EIGEN(CdfNormInv, ndtri),
        OZK_EIGEN(Ceil, ceil),
        OZK_EIGEN(Floor, floor),
        OZK_EIGEN(Round, round),
        OZK_EIGEN(Rint, rint),
        OZK_EIGEN(Sqr, square),
        OZK_EIGEN(Abs, abs),
        {"Eigen", "Pow", array_binary<double, [](const auto& x, const auto& y) { return x.pow(y); }>,
         array_binary<float, [](const auto& x, const auto& y) { return x.pow(y); }>},
    };
}

}  // namespace ozk::bench
