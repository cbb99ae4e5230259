// Highway's math functions, compiled for its 128-bit SSE4 target alone.

#define HWY_COMPILE_ONLY_STATIC
// Else that target also asks for instructions that none of these functions uses.
#define HWY_DISABLE_PCLMUL_AES
#include <hwy/contrib/math/math-inl.h>
#include <hwy/highway.h>

#include "bench/peers.hpp"

static_assert(HWY_STATIC_TARGET == HWY_SSE4, "to be compiled for 128-bit SSE4");

namespace ozk::bench {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

template <class T, auto kFunction>
void highway_unary(int n, const T* a, const T* b, T* r, T* r2) {
    constexpr int kWidth = 16 / sizeof(T);
    const hn::FixedTag<T, kWidth> tag;
    by_groups<kWidth>(n, a, b, r, r2, [tag](const T* x, const T*, T* y, T*) {
        hn::StoreU(kFunction(tag, hn::LoadU(tag, x)), tag, y);
    });
}

#define OZK_HIGHWAY(function, name)                                                                 \
    {                                                                                               \
        "Highway", #function, highway_unary<double, [](auto d, auto x) { return hn::name(d, x); }>, \
            highway_unary<float, [](auto d, auto x) { return hn::name(d, x); }>                     \
    }

}  // namespace

std::vector<Peer> highway_peers() {
    return {
        OZK_HIGHWAY(Exp, Exp),     OZK_HIGHWAY(Expm1, Expm1), OZK_HIGHWAY(Ln, Log),
        OZK_HIGHWAY(Log2, Log2),   OZK_HIGHWAY(Log10, Log10), OZK_HIGHWAY(Log1p, Log1p),
        OZK_HIGHWAY(Sin, Sin),     OZK_HIGHWAY(Cos, Cos),     OZK_HIGHWAY(Asin, Asin),
        OZK_HIGHWAY(Acos, Acos),   OZK_HIGHWAY(Atan, Atan),   OZK_HIGHWAY(Sinh, Sinh),
        OZK_HIGHWAY(Tanh, Tanh),   OZK_HIGHWAY(Asinh, Asinh), OZK_HIGHWAY(Acosh, Acosh),
        OZK_HIGHWAY(Atanh, Atanh),
    };
}

}  // namespace ozk::bench
