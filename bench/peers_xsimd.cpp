// xsimd's functions on 128-bit SSE4.2 batches.

#include <xsimd/xsimd.hpp>

#include "bench/peers.hpp"

namespace ozk::bench {
namespace {

template <class T, auto kFunction>
void batch_unary(int n, const T* a, const T* b, T* r, T* r2) {
    using Batch = xsimd::batch<T, xsimd::sse4_2>;
    by_groups<Batch::size>(n, a, b, r, r2, [](const T* x, const T*, T* y, T*) {
        kFunction(Batch::load_unaligned(x)).store_unaligned(y);
    });
}

template <class T, auto kFunction>
void batch_binary(int n, const T* a, const T* b, T* r, T* r2) {
    using Batch = xsimd::batch<T, xsimd::sse4_2>;
    by_groups<Batch::size>(n, a, b, r, r2, [](const T* x, const T* z, T* y, T*) {
        kFunction(Batch::load_unaligned(x), Batch::load_unaligned(z)).store_unaligned(y);
    });
}

#define OZK_XSIMD(shape, function, name)                                                        \
    {                                                                                           \
        "xsimd", #function, batch_##shape<double, [](auto... x) { return xsimd::name(x...); }>, \
            batch_##shape<float, [](auto... x) { return xsimd::name(x...); }>                   \
    }

}  // namespace

std::vector<Peer> xsimd_peers() {
    return {
        OZK_XSIMD(unary, Exp, exp),       OZK_XSIMD(unary, Exp2, exp2),      OZK_XSIMD(unary, Exp10, exp10),
        OZK_XSIMD(unary, Expm1, expm1),   OZK_XSIMD(unary, Ln, log),         OZK_XSIMD(unary, Log2, log2),
        OZK_XSIMD(unary, Log10, log10),   OZK_XSIMD(unary, Log1p, log1p),    OZK_XSIMD(unary, Sin, sin),
        OZK_XSIMD(unary, Cos, cos),       OZK_XSIMD(unary, Tan, tan),        OZK_XSIMD(unary, Asin, asin),
        OZK_XSIMD(unary, Acos, acos),     OZK_XSIMD(unary, Atan, atan),      OZK_XSIMD(binary, Atan2, atan2),
        OZK_XSIMD(unary, Sinh, sinh),     OZK_XSIMD(unary, Cosh, cosh),      OZK_XSIMD(unary, Tanh, tanh),
        OZK_XSIMD(unary, Asinh, asinh),   OZK_XSIMD(unary, Acosh, acosh),    OZK_XSIMD(unary, Atanh, atanh),
        OZK_XSIMD(binary, Pow, pow),      OZK_XSIMD(unary, Cbrt, cbrt),      OZK_XSIMD(unary, Sqrt, sqrt),
        OZK_XSIMD(unary, InvSqrt, rsqrt), OZK_XSIMD(unary, Inv, reciprocal), OZK_XSIMD(binary, Hypot, hypot),
        OZK_XSIMD(unary, Erf, erf),       OZK_XSIMD(unary, Erfc, erfc),      OZK_XSIMD(unary, TGamma, tgamma),
        OZK_XSIMD(unary, LGamma, lgamma), OZK_XSIMD(unary, Ceil, ceil),      OZK_XSIMD(unary, Floor, floor),
        OZK_XSIMD(unary, Trunc, trunc),   OZK_XSIMD(unary, Round, round),    OZK_XSIMD(unary, Rint, rint),
    };
}

}  // namespace ozk::bench
