// The C function of every built function of the catalogue.

#include <bit>
#include <tuple>
#include <type_traits>

#include "api/elementwise.hpp"
#include "api/vector_state.hpp"

namespace ozk::api {
namespace {

// An array argument, const T, or a result. The C interface's complex types are the kernels' under another
// name.
template <class T>
struct Array {
    explicit Array(const void* array, int64_t increment = 1)
        : data(static_cast<T*>(const_cast<void*>(array))), stride(increment) {}
    T* data;
    int64_t stride;
};

template <class T>
std::tuple<Operand> operand(const Array<T>& array) {
    return {{array.data, array.stride, static_cast<int32_t>(sizeof(T)), kElement<std::remove_const_t<T>>,
             !std::is_const_v<T>}};
}
template <class T>
std::tuple<> operand(const T&) {
    return {};
}

// What a kernel gets of an argument for a piece that starts at element `first`.
template <bool Strided, class T>
auto part(const Array<T>& array, int64_t first) {
    if constexpr (Strided) {
        return std::tuple(array.data + first * array.stride, static_cast<int32_t>(array.stride));
    } else {
        return std::tuple(array.data + first);
    }
}
template <bool Strided, class T>
std::tuple<T> part(const T& value, int64_t) {
    return {value};
}

template <class KernelType, bool Strided, class... Arguments>
ozk_status elementwise(VectorFunction& function, int64_t n, Arguments... arguments) {
    return guarded(kOzkVectorMath, function.name, [&]() -> ozk_status {
        const auto operands = std::apply([](auto... each) { return std::array{each...}; },
                                         std::tuple_cat(operand(arguments)...));
        check_operands(n, operands);
        const uint64_t mode = vector_control().get_mode();
        const auto kernel = reinterpret_cast<KernelType*>(function.kernels.address()[slot(mode)]);
        const float cost = function.costs.address()[slot(mode)];
        const auto compute = [&](int64_t first, int32_t count) {
            std::apply(kernel, std::tuple_cat(std::tuple(count), part<Strided>(arguments, first)...));
        };
        const auto call = [](const void* context, int64_t first, int32_t count) {
            (*static_cast<decltype(compute)*>(context))(first, count);
        };
        return run({function.name, n, operands, cost, call, &compute}, mode);
    });
}

// Pack and unpack move elements: one thread, no special elements. Indices and masks are 64-bit.
constexpr int32_t kWideIndices = 8;

template <class KernelType, class X, class Y, class... Arguments>
ozk_status pack(VectorFunction& function, int64_t n, const X* x, const Y* y, Arguments... arguments) {
    return guarded(kOzkVectorMath, function.name, [&] {
        require(n >= 0, kOzkCodeSize, "The length is negative: pass the number of elements.");
        if (n == 0) return;
        require(x != nullptr && y != nullptr, kOzkCodeNull, "An array is null: pass one.");
        const uint64_t mode = vector_control().get_mode();
        reinterpret_cast<KernelType*>(function.kernels.address()[slot(mode)])(n, arguments..., kWideIndices);
    });
}

}  // namespace
}  // namespace ozk::api

// The kernel's type, whether it takes strides, and the call's arguments, by shape; T is the kernel's element
// type, R its real type.
#define OZK_BODY_unary(K, T, R) elementwise<K, false>(function, n, Array<const T>(x), Array<T>(y))
#define OZK_BODY_unary_strided(K, T, R) \
    elementwise<K, true>(function, n, Array<const T>(x, incx), Array<T>(y, incy))
#define OZK_BODY_to_real(K, T, R) elementwise<K, false>(function, n, Array<const T>(x), Array<R>(y))
#define OZK_BODY_to_real_strided(K, T, R) \
    elementwise<K, true>(function, n, Array<const T>(x, incx), Array<R>(y, incy))
#define OZK_BODY_to_complex(K, T, R) elementwise<K, false>(function, n, Array<const R>(x), Array<T>(y))
#define OZK_BODY_to_complex_strided(K, T, R) \
    elementwise<K, true>(function, n, Array<const R>(x, incx), Array<T>(y, incy))
#define OZK_BODY_binary(K, T, R) \
    elementwise<K, false>(function, n, Array<const T>(a), Array<const T>(b), Array<T>(y))
#define OZK_BODY_binary_strided(K, T, R) \
    elementwise<K, true>(function, n, Array<const T>(a, inca), Array<const T>(b, incb), Array<T>(y, incy))
#define OZK_BODY_scalar(K, T, R) \
    elementwise<K, false>(function, n, Array<const T>(x), std::bit_cast<T>(b), Array<T>(y))
#define OZK_BODY_scalar_strided(K, T, R) \
    elementwise<K, true>(function, n, Array<const T>(x, incx), std::bit_cast<T>(b), Array<T>(y, incy))
#define OZK_BODY_two_results(K, T, R) \
    elementwise<K, false>(function, n, Array<const T>(x), Array<T>(y1), Array<T>(y2))
#define OZK_BODY_two_results_strided(K, T, R) \
    elementwise<K, true>(function, n, Array<const T>(x, incx), Array<T>(y1, incy1), Array<T>(y2, incy2))
#define OZK_BODY_linear_fraction(K, T, R)                                                                    \
    elementwise<K, false>(function, n, Array<const T>(a), Array<const T>(b), scalea, shifta, scaleb, shiftb, \
                          Array<T>(y))
#define OZK_BODY_linear_fraction_strided(K, T, R)                                                       \
    elementwise<K, true>(function, n, Array<const T>(a, inca), Array<const T>(b, incb), scalea, shifta, \
                         scaleb, shiftb, Array<T>(y, incy))
#define OZK_BODY_pack_increment(K, T, R) \
    pack<K>(function, n, x, y, OZK_CAST(const T*, x), incx, OZK_CAST(T*, y))
#define OZK_BODY_pack_vector(K, T, R) \
    pack<K>(function, n, x, y, OZK_CAST(const T*, x), index, OZK_CAST(T*, y))
#define OZK_BODY_pack_mask(K, T, R) pack<K>(function, n, x, y, OZK_CAST(const T*, x), mask, OZK_CAST(T*, y))
#define OZK_BODY_unpack_increment(K, T, R) \
    pack<K>(function, n, x, y, OZK_CAST(const T*, x), OZK_CAST(T*, y), incy)
#define OZK_BODY_unpack_vector(K, T, R) \
    pack<K>(function, n, x, y, OZK_CAST(const T*, x), OZK_CAST(T*, y), index)
#define OZK_BODY_unpack_mask(K, T, R) pack<K>(function, n, x, y, OZK_CAST(const T*, x), OZK_CAST(T*, y), mask)
#define OZK_CAST(P, array)            reinterpret_cast<P>(array)

#define OZK_TEXT(...)  OZK_TEXT_(__VA_ARGS__)
#define OZK_TEXT_(...) #__VA_ARGS__

#define OZK_DEFINE(p, kernel, c_name, shape)                                             \
    ozk_status c_name OZK_API_ARGUMENTS(p, OZK_API_ARGUMENTS_##shape) {                  \
        using namespace ozk::api;                                                        \
        using KernelType = void OZK_VML_ARGUMENTS_##shape(p);                            \
        static constinit VectorFunction function = {                                     \
            OZK_TEXT(c_name), Kernel<void* const>("ozk_vml_kernel_" #p #kernel "_ttab"), \
            Kernel<const float>("ozk_vml_kernel_" #p #kernel "_ctab")};                  \
        return OZK_BODY_##shape(KernelType, OZK_VML_TYPE_##p, OZK_VML_REAL_##p);         \
    }

#define OZK_FN(p, function, shape, la, ha, ep, state, ...)                                               \
    OZK_API_IF_##state(                                                                                  \
        OZK_DEFINE(p, function, OZK_API_NAME(p, OZK_NAME_##function), shape) OZK_API_IF_STRIDED_##shape( \
            OZK_DEFINE(p, function##I, OZK_API_STRIDED_NAME(p, OZK_NAME_##function), shape##_strided)))
#include "ozk/catalogue.def"
#undef OZK_FN
