// Elementwise functions of vectors: ozk::exp(x, y), y = ozk::exp(x), and so for every function of the
// catalogue that is built, for float, double and std::complex of them.
//
// Arguments and results are spans of equal length. A result may be exactly an argument; other overlap is
// refused, as are different lengths, with an error before anything is written. Special elements (poles,
// overflow ...) are no errors: they get the value of IEEE 754 and can be collected.
#pragma once

#include <complex>
#include <cstddef>
#include <exception>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include "ozk/error.hpp"

namespace ozk {

enum class Accuracy {
    low = kOzkLow,    // below 4 ulp
    high = kOzkHigh,  // below 1 ulp; at the start
    fast = kOzkFast   // about half the bits
};

// The calling thread's accuracy, for calls that do not ask for one.
inline void set_accuracy(Accuracy accuracy) {
    detail::check(ozk_set_accuracy(static_cast<int32_t>(accuracy)));
}
inline Accuracy accuracy() { return static_cast<Accuracy>(ozk_get_accuracy()); }

// Whether the calling thread's calls take subnormal arguments and results as zero.
inline void set_flush_denormals(bool flush) { detail::check(ozk_set_flush_denormals(flush)); }
inline bool flush_denormals() { return ozk_get_flush_denormals() != 0; }

// What happens at special elements beside collecting them: a sum of ozk_special_action.
inline void set_special_actions(int32_t actions) { detail::check(ozk_set_special_actions(actions)); }
inline int32_t special_actions() { return ozk_get_special_actions(); }

// A special element: index in the whole vector, code (ozk_special), function, arguments and results.
using special_value = ozk_special_value;

// How one call computes: with an accuracy of its own, with a list that gets its special elements appended in
// the order of their indices, or both. Made from either: ozk::exp(x, y, ozk::Accuracy::low), ozk::ln(x, y,
// specials).
class call_options {
  public:
    call_options() = default;
    call_options(Accuracy accuracy) : accuracy_(static_cast<int32_t>(accuracy)) {}
    call_options(std::vector<special_value>& specials) : specials_(&specials) {}
    call_options(Accuracy accuracy, std::vector<special_value>& specials)
        : accuracy_(static_cast<int32_t>(accuracy)), specials_(&specials) {}

    int32_t accuracy() const { return accuracy_; }  // 0: the thread's
    std::vector<special_value>* specials() const { return specials_; }

  private:
    int32_t accuracy_ = 0;
    std::vector<special_value>* specials_ = nullptr;
};

// Every stride-th element of an array, from the first on; for the strided forms: ozk::exp(strided(x, 2),
// strided(y, 3)).
template <class T>
class strided {
  public:
    template <class Array>
    requires std::is_constructible_v<std::span<T>, Array&> strided(Array&& array, size_t stride)
        : strided(std::span<T>(array), stride, 0) {}
    template <class U>
    requires std::is_convertible_v<U (*)[], T (*)[]> strided(const strided<U>& other)
        : data_(other.data()), size_(other.size()), stride_(other.stride()) {}

    T* data() const { return data_; }
    size_t size() const { return size_; }
    size_t stride() const { return stride_; }

  private:
    strided(std::span<T> array, size_t stride, int)
        : data_(array.data()),
          size_(stride == 0 ? 0 : (array.size() + stride - 1) / stride),
          stride_(stride) {
        if (stride == 0)
            throw error(Family::vector_math, kOzkCodeStride, "ozk::strided: the stride is 0: pass 1 or more");
    }

    T* data_;
    size_t size_;
    size_t stride_;
};
template <class Array>
strided(Array&& array, size_t) -> strided<std::remove_pointer_t<decltype(std::data(array))>>;

namespace detail {

inline const float* c_array(const float* p) { return p; }
inline float* c_array(float* p) { return p; }
inline const double* c_array(const double* p) { return p; }
inline double* c_array(double* p) { return p; }
inline const ozk_complex_float* c_array(const std::complex<float>* p) {
    return reinterpret_cast<const ozk_complex_float*>(p);
}
inline ozk_complex_float* c_array(std::complex<float>* p) { return reinterpret_cast<ozk_complex_float*>(p); }
inline const ozk_complex_double* c_array(const std::complex<double>* p) {
    return reinterpret_cast<const ozk_complex_double*>(p);
}
inline ozk_complex_double* c_array(std::complex<double>* p) {
    return reinterpret_cast<ozk_complex_double*>(p);
}
inline float c_value(float x) { return x; }
inline double c_value(double x) { return x; }
inline ozk_complex_float c_value(std::complex<float> x) { return {x.real(), x.imag()}; }
inline ozk_complex_double c_value(std::complex<double> x) { return {x.real(), x.imag()}; }

template <class Array>
int64_t length(const Array& array) {
    return static_cast<int64_t>(array.size());
}
template <class T>
int64_t step(const strided<T>& array) {
    return static_cast<int64_t>(array.stride());
}

// The calling thread's state for one call, as its options ask; the destructor gives the caller's back.
class call_scope {
  public:
    explicit call_scope(const call_options& options) : specials_(options.specials()) {
        if (options.accuracy() != 0) {
            accuracy_ = ozk_get_accuracy();
            check(ozk_set_accuracy(options.accuracy()));
        }
        if (specials_ != nullptr) {
            ozk_get_special_handler(&handler_, &context_);
            ozk_set_special_handler(collect, this);
        }
    }
    ~call_scope() {
        if (accuracy_ != 0) ozk_set_accuracy(accuracy_);
        if (specials_ != nullptr) ozk_set_special_handler(handler_, context_);
    }
    call_scope(const call_scope&) = delete;
    call_scope& operator=(const call_scope&) = delete;

    // Throws what the call says, or what appending to the list did; the results are then written.
    void finish(ozk_status status) const {
        check(status);
        if (failure_) std::rethrow_exception(failure_);
    }

  private:
    // A handler of the thread's own comes after the list.
    static int collect(ozk_special_value* value, void* context) {
        auto* const scope = static_cast<call_scope*>(context);
        try {
            if (!scope->failure_) scope->specials_->push_back(*value);
        } catch (...) {
            scope->failure_ = std::current_exception();
        }
        return scope->handler_ == nullptr ? 0 : scope->handler_(value, scope->context_);
    }

    std::vector<special_value>* specials_;
    int32_t accuracy_ = 0;
    ozk_special_handler handler_ = nullptr;
    void* context_ = nullptr;
    std::exception_ptr failure_;
};

template <class... Arrays>
void same_sizes(const char* function, size_t n, const Arrays&... arrays) {
    (same_size(Family::vector_math, function, n, arrays.size()), ...);
}
inline void at_least(const char* function, size_t needed, size_t got) {
    if (got >= needed) return;
    throw error(Family::vector_math, kOzkCodeSize,
                std::string(function) + ": an array has " + std::to_string(got) + " elements and needs " +
                    std::to_string(needed) + ": pass a longer one");
}

}  // namespace detail

// ---- The functions, from the catalogue ----------------------------------------------------------------

#define OZK_CPP_TYPE_s float
#define OZK_CPP_TYPE_d double
#define OZK_CPP_TYPE_c std::complex<float>
#define OZK_CPP_TYPE_z std::complex<double>

// name(x, y) and y = name(x), and the strided form; c_name and c_strided are the functions of the C
// interface.
#define OZK_CPP_ONE_ARGUMENT(X, Y, name, c_name, c_strided)                                            \
    inline void name(std::span<const X> x, std::span<Y> y, const call_options& options = {}) {         \
        detail::same_sizes("ozk::" #name, x.size(), y);                                                \
        const detail::call_scope scope(options);                                                       \
        scope.finish(c_name(detail::length(x), detail::c_array(x.data()), detail::c_array(y.data()))); \
    }                                                                                                  \
    inline std::vector<Y> name(std::span<const X> x, const call_options& options = {}) {               \
        std::vector<Y> y(x.size());                                                                    \
        name(x, std::span<Y>(y), options);                                                             \
        return y;                                                                                      \
    }                                                                                                  \
    inline void name(strided<const X> x, strided<Y> y, const call_options& options = {}) {             \
        detail::same_sizes("ozk::" #name, x.size(), y);                                                \
        const detail::call_scope scope(options);                                                       \
        scope.finish(c_strided(detail::length(x), detail::c_array(x.data()), detail::step(x),          \
                               detail::c_array(y.data()), detail::step(y)));                           \
    }
#define OZK_CPP_unary(T, R, name, c_name, c_strided)      OZK_CPP_ONE_ARGUMENT(T, T, name, c_name, c_strided)
#define OZK_CPP_to_real(T, R, name, c_name, c_strided)    OZK_CPP_ONE_ARGUMENT(T, R, name, c_name, c_strided)
#define OZK_CPP_to_complex(T, R, name, c_name, c_strided) OZK_CPP_ONE_ARGUMENT(R, T, name, c_name, c_strided)

#define OZK_CPP_binary(T, R, name, c_name, c_strided)                                                 \
    inline void name(std::span<const T> a, std::span<const T> b, std::span<T> y,                      \
                     const call_options& options = {}) {                                              \
        detail::same_sizes("ozk::" #name, a.size(), b, y);                                            \
        const detail::call_scope scope(options);                                                      \
        scope.finish(c_name(detail::length(a), detail::c_array(a.data()), detail::c_array(b.data()),  \
                            detail::c_array(y.data())));                                              \
    }                                                                                                 \
    inline std::vector<T> name(std::span<const T> a, std::span<const T> b,                            \
                               const call_options& options = {}) {                                    \
        std::vector<T> y(a.size());                                                                   \
        name(a, b, std::span<T>(y), options);                                                         \
        return y;                                                                                     \
    }                                                                                                 \
    inline void name(strided<const T> a, strided<const T> b, strided<T> y,                            \
                     const call_options& options = {}) {                                              \
        detail::same_sizes("ozk::" #name, a.size(), b, y);                                            \
        const detail::call_scope scope(options);                                                      \
        scope.finish(c_strided(detail::length(a), detail::c_array(a.data()), detail::step(a),         \
                               detail::c_array(b.data()), detail::step(b), detail::c_array(y.data()), \
                               detail::step(y)));                                                     \
    }

#define OZK_CPP_scalar(T, R, name, c_name, c_strided)                                               \
    inline void name(std::span<const T> x, T b, std::span<T> y, const call_options& options = {}) { \
        detail::same_sizes("ozk::" #name, x.size(), y);                                             \
        const detail::call_scope scope(options);                                                    \
        scope.finish(c_name(detail::length(x), detail::c_array(x.data()), detail::c_value(b),       \
                            detail::c_array(y.data())));                                            \
    }                                                                                               \
    inline std::vector<T> name(std::span<const T> x, T b, const call_options& options = {}) {       \
        std::vector<T> y(x.size());                                                                 \
        name(x, b, std::span<T>(y), options);                                                       \
        return y;                                                                                   \
    }                                                                                               \
    inline void name(strided<const T> x, T b, strided<T> y, const call_options& options = {}) {     \
        detail::same_sizes("ozk::" #name, x.size(), y);                                             \
        const detail::call_scope scope(options);                                                    \
        scope.finish(c_strided(detail::length(x), detail::c_array(x.data()), detail::step(x),       \
                               detail::c_value(b), detail::c_array(y.data()), detail::step(y)));    \
    }

#define OZK_CPP_two_results(T, R, name, c_name, c_strided)                                                 \
    inline void name(std::span<const T> x, std::span<T> y1, std::span<T> y2,                               \
                     const call_options& options = {}) {                                                   \
        detail::same_sizes("ozk::" #name, x.size(), y1, y2);                                               \
        const detail::call_scope scope(options);                                                           \
        scope.finish(c_name(detail::length(x), detail::c_array(x.data()), detail::c_array(y1.data()),      \
                            detail::c_array(y2.data())));                                                  \
    }                                                                                                      \
    inline std::pair<std::vector<T>, std::vector<T>> name(std::span<const T> x,                            \
                                                          const call_options& options = {}) {              \
        std::pair<std::vector<T>, std::vector<T>> y(x.size(), x.size());                                   \
        name(x, std::span<T>(y.first), std::span<T>(y.second), options);                                   \
        return y;                                                                                          \
    }                                                                                                      \
    inline void name(strided<const T> x, strided<T> y1, strided<T> y2, const call_options& options = {}) { \
        detail::same_sizes("ozk::" #name, x.size(), y1, y2);                                               \
        const detail::call_scope scope(options);                                                           \
        scope.finish(c_strided(detail::length(x), detail::c_array(x.data()), detail::step(x),              \
                               detail::c_array(y1.data()), detail::step(y1), detail::c_array(y2.data()),   \
                               detail::step(y2)));                                                         \
    }

// y = (scalea a + shifta) / (scaleb b + shiftb)
#define OZK_CPP_linear_fraction(T, R, name, c_name, c_strided)                                           \
    inline void name(std::span<const T> a, std::span<const T> b, T scalea, T shifta, T scaleb, T shiftb, \
                     std::span<T> y, const call_options& options = {}) {                                 \
        detail::same_sizes("ozk::" #name, a.size(), b, y);                                               \
        const detail::call_scope scope(options);                                                         \
        scope.finish(                                                                                    \
            c_name(detail::length(a), a.data(), b.data(), scalea, shifta, scaleb, shiftb, y.data()));    \
    }                                                                                                    \
    inline std::vector<T> name(std::span<const T> a, std::span<const T> b, T scalea, T shifta, T scaleb, \
                               T shiftb, const call_options& options = {}) {                             \
        std::vector<T> y(a.size());                                                                      \
        name(a, b, scalea, shifta, scaleb, shiftb, std::span<T>(y), options);                            \
        return y;                                                                                        \
    }                                                                                                    \
    inline void name(strided<const T> a, strided<const T> b, T scalea, T shifta, T scaleb, T shiftb,     \
                     strided<T> y, const call_options& options = {}) {                                   \
        detail::same_sizes("ozk::" #name, a.size(), b, y);                                               \
        const detail::call_scope scope(options);                                                         \
        scope.finish(c_strided(detail::length(a), a.data(), detail::step(a), b.data(), detail::step(b),  \
                               scalea, shifta, scaleb, shiftb, y.data(), detail::step(y)));              \
    }

// y = elements 0, increment, 2 increment ... of x, as many as y holds.
#define OZK_CPP_pack_increment(T, R, name, c_name, c_strided)                                               \
    inline void name(std::span<const T> x, size_t increment, std::span<T> y) {                              \
        if (!y.empty()) detail::at_least("ozk::" #name, (y.size() - 1) * increment + 1, x.size());          \
        detail::check(c_name(detail::length(y), detail::c_array(x.data()), static_cast<int64_t>(increment), \
                             detail::c_array(y.data())));                                                   \
    }
// Elements 0, increment, 2 increment ... of y = x.
#define OZK_CPP_unpack_increment(T, R, name, c_name, c_strided)                                       \
    inline void name(std::span<const T> x, std::span<T> y, size_t increment) {                        \
        if (!x.empty()) detail::at_least("ozk::" #name, (x.size() - 1) * increment + 1, y.size());    \
        detail::check(c_name(detail::length(x), detail::c_array(x.data()), detail::c_array(y.data()), \
                             static_cast<int64_t>(increment)));                                       \
    }
namespace detail {
inline void indices_below(const char* function, std::span<const int64_t> indices, size_t size) {
    for (const int64_t index : indices) {
        if (index >= 0 && static_cast<size_t>(index) < size) continue;
        throw error(Family::vector_math, kOzkCodeArgument,
                    std::string(function) + ": index " + std::to_string(index) + " is outside the array of " +
                        std::to_string(size) + " elements");
    }
}
inline size_t chosen(std::span<const int64_t> mask) {
    size_t count = 0;
    for (const int64_t element : mask) count += element != 0;
    return count;
}
}  // namespace detail
// y[i] = x[index[i]]
#define OZK_CPP_pack_vector(T, R, name, c_name, c_strided)                                                  \
    inline void name(std::span<const T> x, std::span<const int64_t> index, std::span<T> y) {                \
        detail::same_sizes("ozk::" #name, index.size(), y);                                                 \
        detail::indices_below("ozk::" #name, index, x.size());                                              \
        detail::check(                                                                                      \
            c_name(detail::length(y), detail::c_array(x.data()), index.data(), detail::c_array(y.data()))); \
    }
// y[index[i]] = x[i]
#define OZK_CPP_unpack_vector(T, R, name, c_name, c_strided)                                                \
    inline void name(std::span<const T> x, std::span<T> y, std::span<const int64_t> index) {                \
        detail::same_sizes("ozk::" #name, index.size(), x);                                                 \
        detail::indices_below("ozk::" #name, index, y.size());                                              \
        detail::check(                                                                                      \
            c_name(detail::length(x), detail::c_array(x.data()), detail::c_array(y.data()), index.data())); \
    }
// y = the x[i] with a nonzero mask[i], one behind the other; y holds at least as many.
#define OZK_CPP_pack_mask(T, R, name, c_name, c_strided)                                                   \
    inline void name(std::span<const T> x, std::span<const int64_t> mask, std::span<T> y) {                \
        detail::same_sizes("ozk::" #name, x.size(), mask);                                                 \
        detail::at_least("ozk::" #name, detail::chosen(mask), y.size());                                   \
        detail::check(                                                                                     \
            c_name(detail::length(x), detail::c_array(x.data()), mask.data(), detail::c_array(y.data()))); \
    }
// The y[i] with a nonzero mask[i] = x, one after the other; x holds at least as many.
#define OZK_CPP_unpack_mask(T, R, name, c_name, c_strided)                                                 \
    inline void name(std::span<const T> x, std::span<T> y, std::span<const int64_t> mask) {                \
        detail::same_sizes("ozk::" #name, y.size(), mask);                                                 \
        detail::at_least("ozk::" #name, detail::chosen(mask), x.size());                                   \
        detail::check(                                                                                     \
            c_name(detail::length(y), detail::c_array(x.data()), detail::c_array(y.data()), mask.data())); \
    }

#define OZK_CPP_REAL_s float
#define OZK_CPP_REAL_d double
#define OZK_CPP_REAL_c float
#define OZK_CPP_REAL_z double
#define OZK_CPP_EXPAND(shape, T, R, name, c_name, c_strided) \
    OZK_CPP_EXPAND_(shape, T, R, name, c_name, c_strided)
#define OZK_CPP_EXPAND_(shape, T, R, name, c_name, c_strided) OZK_CPP_##shape(T, R, name, c_name, c_strided)

#define OZK_FN(p, function, shape, la, ha, ep, state, ...)                                            \
    OZK_API_IF_##state(OZK_CPP_EXPAND(shape, OZK_CPP_TYPE_##p, OZK_CPP_REAL_##p, OZK_NAME_##function, \
                                      OZK_API_NAME(p, OZK_NAME_##function),                           \
                                      OZK_API_STRIDED_NAME(p, OZK_NAME_##function)))
#include "ozk/catalogue.def"
#undef OZK_FN

}  // namespace ozk
