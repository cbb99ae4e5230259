// a + b, a - b and conj(a), complex: component by component, on the elements as they lie in memory. No special lanes:
// infinities, NaN and overflow are what the addition makes of them.

#include "vml/frame.hpp"
#include "vml/kernels/complex_range.hpp"

namespace ozk::vml {
namespace {

template <class T>
struct Components {
    using Argument = typename ComplexTypes<T>::Element;
    using Result = Argument;
    using Vector = typename ComplexTypes<T>::Interleaved;
    using Block = typename ComplexTypes<T>::Checked;  // two elements, so that all of a block are unrolled
};

template <class T>
struct Add : Components<T> {
    static constexpr int kArguments = 2;
    template <class V>
    OZK_SIMD static V compute(const V& a, const V& b) {
        return {a.v + b.v};
    }
};

template <class T>
struct Sub : Components<T> {
    static constexpr int kArguments = 2;
    template <class V>
    OZK_SIMD static V compute(const V& a, const V& b) {
        return {a.v - b.v};
    }
};

template <class V>
OZK_SIMD V conjugate(const V& z) {
    return z ^ simd::pair(0.0, -0.0);
}
OZK_SIMD simd::f32x4 conjugate(simd::f32x4 z) {
    return z ^ as_f32(as_i32(simd::broadcast(int64_t{INT64_MIN})));
}

template <class T>
struct Conj : Components<T> {
    template <class V>
    OZK_SIMD static V compute(const V& a) {
        return {conjugate(a.v)};
    }
};

}  // namespace
}  // namespace ozk::vml

OZK_VML_KERNEL(c, Add, H8HAynn, binary, ozk::vml::Add<float>)
OZK_VML_KERNEL(c, Add, H8EPnnn, binary, ozk::vml::Add<float>)
OZK_VML_KERNEL(z, Add, H8HAynn, binary, ozk::vml::Add<double>)
OZK_VML_KERNEL(z, Add, H8EPnnn, binary, ozk::vml::Add<double>)
OZK_VML_KERNEL(c, Sub, H8HAynn, binary, ozk::vml::Sub<float>)
OZK_VML_KERNEL(c, Sub, H8EPnnn, binary, ozk::vml::Sub<float>)
OZK_VML_KERNEL(z, Sub, H8HAynn, binary, ozk::vml::Sub<double>)
OZK_VML_KERNEL(z, Sub, H8EPnnn, binary, ozk::vml::Sub<double>)
OZK_VML_KERNEL(c, Conj, H8HAynn, unary, ozk::vml::Conj<float>)
OZK_VML_KERNEL(z, Conj, H8HAynn, unary, ozk::vml::Conj<double>)
