// The C library's vector functions, 128-bit forms, by the names of the vector calling convention.

#include "bench/peers.hpp"

// Declares the double and single form of a function.
#define OZK_UNARY(name)                                                                                \
    extern "C" ozk::bench::Register<double>::type _ZGVbN2v_##name(ozk::bench::Register<double>::type); \
    extern "C" ozk::bench::Register<float>::type _ZGVbN4v_##name##f(ozk::bench::Register<float>::type);
#define OZK_BINARY(name)                                                                                \
    extern "C" ozk::bench::Register<double>::type _ZGVbN2vv_##name(ozk::bench::Register<double>::type,  \
                                                                   ozk::bench::Register<double>::type); \
    extern "C" ozk::bench::Register<float>::type _ZGVbN4vv_##name##f(ozk::bench::Register<float>::type, \
                                                                     ozk::bench::Register<float>::type);
#define OZK_LIBMVEC(unary, binary)                                                                           \
    unary(Exp, exp) unary(Exp2, exp2) unary(Exp10, exp10) unary(Expm1, expm1) unary(Ln, log)                 \
        unary(Log2, log2) unary(Log10, log10) unary(Log1p, log1p) unary(Sin, sin) unary(Cos, cos)            \
            unary(Tan, tan) unary(Asin, asin) unary(Acos, acos) unary(Atan, atan) unary(Sinh, sinh)          \
                unary(Cosh, cosh) unary(Tanh, tanh) unary(Asinh, asinh) unary(Acosh, acosh)                  \
                    unary(Atanh, atanh) unary(Cbrt, cbrt) unary(Erf, erf) unary(Erfc, erfc) binary(Pow, pow) \
                        binary(Hypot, hypot) binary(Atan2, atan2)

#define OZK_DECLARE_UNARY(function, name)  OZK_UNARY(name)
#define OZK_DECLARE_BINARY(function, name) OZK_BINARY(name)
OZK_LIBMVEC(OZK_DECLARE_UNARY, OZK_DECLARE_BINARY)

namespace ozk::bench {

std::vector<Peer> libmvec_peers() {
#define OZK_ROW_UNARY(function, name)                               \
    {"libmvec", #function, register_unary<double, _ZGVbN2v_##name>, \
     register_unary<float, _ZGVbN4v_##name##f>},
#define OZK_ROW_BINARY(function, name)                                \
    {"libmvec", #function, register_binary<double, _ZGVbN2vv_##name>, \
     register_binary<float, _ZGVbN4vv_##name##f>},
    return {OZK_LIBMVEC(OZK_ROW_UNARY, OZK_ROW_BINARY)};
}

}  // namespace ozk::bench
