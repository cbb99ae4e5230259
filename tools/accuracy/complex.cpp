#include "tools/accuracy/complex.hpp"

#include <array>
#include <bit>
#include <random>

#include "ozk_vml.h"
#include "tools/accuracy/kernels.hpp"
#include "tools/accuracy/oracles.hpp"
#include "tools/accuracy/ulp.hpp"

namespace ozk::accuracy {
namespace {

// Products of two numbers of 53 bits whose exponents differ by up to 4200 add without error.
constexpr mpfr_prec_t kExact = 4400;
constexpr mpfr_prec_t kResult = 160;

template <auto kOperation>
void by_component(mpfr_ptr const* y, mpfr_srcptr const* x) {
    kOperation(y[0], x[0], x[2], MPFR_RNDN);
    kOperation(y[1], x[1], x[3], MPFR_RNDN);
}

void conjugate(mpfr_ptr const* y, mpfr_srcptr const* x) {
    mpfr_set(y[0], x[0], MPFR_RNDN);
    mpfr_neg(y[1], x[1], MPFR_RNDN);
}

// a b, or with kSign -1 a conj(b): exact, then rounded.
template <int kSign>
void multiply(mpfr_ptr const* y, mpfr_srcptr const* x) {
    (kSign > 0 ? mpfr_fmms : mpfr_fmma)(y[0], x[0], x[2], x[1], x[3], MPFR_RNDN);
    if (kSign > 0)
        mpfr_fmma(y[1], x[0], x[3], x[1], x[2], MPFR_RNDN);
    else
        mpfr_fmms(y[1], x[1], x[2], x[0], x[3], MPFR_RNDN);
}

void divide(mpfr_ptr const* y, mpfr_srcptr const* x) {
    Real norm(kResult);
    mpfr_fmma(norm, x[2], x[2], x[3], x[3], MPFR_RNDN);
    multiply<-1>(y, x);
    mpfr_div(y[0], y[0], norm, MPFR_RNDN);
    mpfr_div(y[1], y[1], norm, MPFR_RNDN);
}

void magnitude(mpfr_ptr const* y, mpfr_srcptr const* x) { mpfr_hypot(y[0], x[0], x[1], MPFR_RNDN); }
void argument(mpfr_ptr const* y, mpfr_srcptr const* x) { mpfr_atan2(y[0], x[1], x[0], MPFR_RNDN); }

void square_root(mpfr_ptr const* y, mpfr_srcptr const* x) {
    if (mpfr_zero_p(x[0]) && mpfr_zero_p(x[1])) {
        mpfr_set_zero(y[0], 1);
        mpfr_set(y[1], x[1], MPFR_RNDN);
        return;
    }
    Real w(kResult), other(kResult);
    mpfr_hypot(w, x[0], x[1], MPFR_RNDN);
    mpfr_abs(other, x[0], MPFR_RNDN);
    mpfr_add(w, w, other, MPFR_RNDN);
    mpfr_div_2ui(w, w, 1, MPFR_RNDN);
    mpfr_sqrt(w, w, MPFR_RNDN);
    mpfr_div(other, x[1], w, MPFR_RNDN);
    mpfr_div_2ui(other, other, 1, MPFR_RNDN);
    const bool left = mpfr_sgn(x[0]) < 0;
    mpfr_abs(y[0], left ? other : w, MPFR_RNDN);
    mpfr_setsign(y[1], left ? w : other, mpfr_signbit(x[1]), MPFR_RNDN);
}

const std::vector<ComplexOracle> kOracles = {
    {"Add", 2, false, by_component<mpfr_add>},
    {"Sub", 2, false, by_component<mpfr_sub>},
    {"Conj", 1, false, conjugate},
    {"Mul", 2, false, multiply<1>},
    {"MulByConj", 2, false, multiply<-1>},
    {"Div", 2, false, divide},
    {"Abs", 1, true, magnitude},
    {"Arg", 1, true, argument},
    {"Sqrt", 1, false, square_root},
};

template <class T>
using Parts = std::array<T, 4>;

// Finite arguments; special values are the tests' business.
template <class T>
class Sequence {
    using limits = std::numeric_limits<T>;

  public:
    Sequence(int parts, uint64_t seed) : parts_(parts), random_(seed) {
        const T values[] = {0,
                            T(-0.0),
                            1,
                            -1,
                            limits::denorm_min(),
                            limits::min(),
                            limits::max(),
                            -limits::max(),
                            std::nextafter(T(1), T(2)),
                            T(3),
                            T(0x1p60),
                            T(0x1p-60)};
        listed_.assign(std::begin(values), std::end(values));
    }
    Parts<T> next() {
        Parts<T> z{};
        const int64_t i = count_++;
        int64_t combinations = 1;
        for (int k = 0; k < parts_; ++k) combinations *= static_cast<int64_t>(listed_.size());
        if (i < combinations) {
            int64_t rest = i;
            for (int k = 0; k < parts_; ++k, rest /= static_cast<int64_t>(listed_.size()))
                z[k] = listed_[rest % static_cast<int64_t>(listed_.size())];
            return z;
        }
        const int any = uniform(limits::min_exponent - limits::digits, limits::max_exponent - 1);
        for (int k = 0; k < parts_; ++k) {
            switch (i % 4) {
                case 0:  // every binade
                    z[k] =
                        significand(uniform(limits::min_exponent - limits::digits, limits::max_exponent - 1));
                    break;
                case 1:  // nearby ones
                    z[k] = significand(std::min(any + uniform(-3, 3), limits::max_exponent - 1));
                    break;
                case 2:
                    z[k] = significand(uniform(-3, 3));
                    break;
                default:
                    z[k] = std::uniform_real_distribution<T>(-10, 10)(random_);
            }
        }
        // Products that cancel: b nearly conj(a), i a and the like, up to a power of two and a few last places.
        if (parts_ == 4 && i % 8 < 3) {
            const int shift = uniform(-6, 6);
            const bool exchanged = uniform(0, 1) != 0;
            z[2] = std::ldexp(z[exchanged ? 1 : 0], shift);
            z[3] = std::ldexp(z[exchanged ? 0 : 1], shift);
            for (int step = uniform(0, 2); step > 0; --step) z[2] = std::nextafter(z[2], T(0));
            if (uniform(0, 1) != 0) z[3] = -z[3];
        }
        if (parts_ == 2 && i % 16 == 2) z[uniform(0, 1)] = 0;
        return z;
    }

  private:
    int uniform(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }
    T significand(int exponent) {
        const T m = std::uniform_real_distribution<T>(1, 2)(random_);
        return std::ldexp((random_() & 1) != 0 ? m : -m, exponent);
    }

    int parts_;
    std::mt19937_64 random_;
    std::vector<T> listed_;
    int64_t count_ = 0;
};

// Runs any kernel on n elements whose parts lie side by side.
using KernelCall = void (*)(void* kernel, int n, const void* a, const void* b, void* r);
const KernelCall kCalls[] = {[](void* kernel, int n, const void* a, const void*, void* r) {
                                 reinterpret_cast<void (*)(int, const void*, void*)>(kernel)(n, a, r);
                             },
                             [](void* kernel, int n, const void* a, const void* b, void* r) {
                                 reinterpret_cast<void (*)(int, const void*, const void*, void*)>(kernel)(
                                     n, a, b, r);
                             }};

// | r - y | / (|y| 2^-p), 0 where the result is not a normal number.
template <class T>
double norm_error(const T* r, mpfr_ptr const* y, int parts) {
    using limits = std::numeric_limits<T>;
    Real error(kResult), size(kResult), part(kResult);
    mpfr_set_zero(error, 1);
    mpfr_set_zero(size, 1);
    for (int k = 0; k < parts; ++k) {
        mpfr_hypot(size, size, y[k], MPFR_RNDN);
        mpfr_d_sub(part, static_cast<double>(r[k]), y[k], MPFR_RNDN);
        mpfr_hypot(error, error, part, MPFR_RNDN);
    }
    if (!mpfr_regular_p(size) || mpfr_get_exp(size) < limits::min_exponent ||
        mpfr_get_exp(size) >= limits::max_exponent)
        return 0;
    if (!mpfr_number_p(error)) return kInfinity;
    mpfr_div(error, error, size, MPFR_RNDN);
    mpfr_mul_2ui(error, error, limits::digits, MPFR_RNDN);
    return mpfr_get_d(error, MPFR_RNDA);
}

}  // namespace

const std::vector<ComplexOracle>& complex_oracles() { return kOracles; }

const ComplexOracle* find_complex_oracle(std::string_view function) {
    for (const ComplexOracle& oracle : kOracles)
        if (oracle.function == function) return &oracle;
    return nullptr;
}

template <class T>
std::vector<ComplexError> measure_complex(const ComplexOracle& oracle, int64_t samples, uint64_t seed) {
    constexpr int kHaSlot = 1;
    const std::string table = std::string("ozk_vml_kernel_") + (sizeof(T) == 4 ? "c" : "z") +
                              std::string(oracle.function) + "_ttab";
    void* const* const slots = static_cast<void* const*>(exported(table.c_str()));
    std::vector<ComplexError> found;
    if (slots == nullptr) return found;
    reinterpret_cast<decltype(&_vmlSetMode)>(exported("_vmlSetMode"))(kVmlErrorIgnore);
    std::vector<void*> kernels;
    for (int slot = 0; slot < 3; ++slot) {
        if (slot != kHaSlot && slots[slot] == slots[kHaSlot]) continue;
        kernels.push_back(slots[slot]);
        found.push_back({kLevels[slot]});
    }
    Sequence<T> sequence(2 * oracle.arguments, seed);
    const int parts = oracle.real_result ? 1 : 2;
    std::vector<T> a(2 * kBlock), b(2 * kBlock), r(2 * kBlock * kernels.size());
    std::vector<Parts<T>> arguments(kBlock);
    Real x0(std::numeric_limits<T>::digits), x1(std::numeric_limits<T>::digits),
        x2(std::numeric_limits<T>::digits), x3(std::numeric_limits<T>::digits), y0(kResult), y1(kResult),
        scratch(kExact);
    const mpfr_ptr x[] = {x0, x1, x2, x3}, y[] = {y0, y1};
    const mpfr_srcptr inputs[] = {x0, x1, x2, x3};
    for (int64_t done = 0; done < samples; done += kBlock) {
        for (size_t i = 0; i < kBlock; ++i) {
            arguments[i] = sequence.next();
            std::copy_n(&arguments[i][0], 2, &a[2 * i]);
            std::copy_n(&arguments[i][2], 2, &b[2 * i]);
        }
        for (size_t k = 0; k < kernels.size(); ++k)
            kCalls[oracle.arguments - 1](kernels[k], kBlock, a.data(), b.data(), &r[2 * kBlock * k]);
        for (size_t i = 0; i < kBlock; ++i) {
            for (int k = 0; k < 4; ++k) mpfr_set_d(x[k], static_cast<double>(arguments[i][k]), MPFR_RNDN);
            oracle.exact(y, inputs);
            for (size_t k = 0; k < kernels.size(); ++k) {
                const T* const result = &r[2 * kBlock * k + i * static_cast<size_t>(parts)];
                ComplexError& error = found[k];
                for (int part = 0; part < parts; ++part) {
                    if (mpfr_nan_p(y[part]) || mpfr_inf_p(y[part])) continue;  // a zero divisor's
                    const double ulp = judge(result[part], y[part], scratch).ulp;
                    if (ulp > error.component) {
                        error.component = ulp;
                        for (int m = 0; m < 4; ++m) error.worst[m] = static_cast<double>(arguments[i][m]);
                    }
                }
                error.norm = std::max(error.norm, norm_error(result, y, parts));
                ++error.count;
            }
        }
    }
    return found;
}

template std::vector<ComplexError> measure_complex<float>(const ComplexOracle&, int64_t, uint64_t);
template std::vector<ComplexError> measure_complex<double>(const ComplexOracle&, int64_t, uint64_t);

}  // namespace ozk::accuracy
