#include <algorithm>
#include <array>
#include <cfenv>
#include <complex>
#include <cstring>
#include <functional>
#include <sstream>

#include "simd/control.hpp"
#include "tests/vml/support.hpp"

namespace ozk::vml::test {
namespace {

using Complex = std::complex<double>;  // of either precision: singles are doubles too

// A kernel of any shape and precision, on elements at any stride.
struct Kernel {
    const char* name;
    bool single;
    int arguments;
    int result_parts;  // 1: a real result
    void* unit;
    void* strided;
    double bound;  // of the HA levels, in ulp of a component
    std::function<void(mpfr_ptr re, mpfr_ptr im, const Complex& a, const Complex& b)> exact;
};

template <class T>
void call_unit(const Kernel& k, int n, const T* a, const T* b, T* r) {
    if (k.arguments == 2)
        reinterpret_cast<void (*)(int, const T*, const T*, T*)>(k.unit)(n, a, b, r);
    else
        reinterpret_cast<void (*)(int, const T*, T*)>(k.unit)(n, a, r);
}
template <class T>
void call_strided(const Kernel& k, int n, const T* a, int inca, const T* b, int incb, T* r, int incr) {
    if (k.arguments == 2)
        reinterpret_cast<void (*)(int, const T*, int, const T*, int, T*, int)>(k.strided)(n, a, inca, b, incb,
                                                                                          r, incr);
    else
        reinterpret_cast<void (*)(int, const T*, int, T*, int)>(k.strided)(n, a, inca, r, incr);
}

// One element by a call of its own.
template <class T>
Complex one(const Kernel& k, const Complex& a, const Complex& b) {
    const T x[] = {static_cast<T>(a.real()), static_cast<T>(a.imag())};
    const T y[] = {static_cast<T>(b.real()), static_cast<T>(b.imag())};
    T r[2] = {};
    call_unit(k, 1, x, y, r);
    return {r[0], r[1]};
}
Complex one(const Kernel& k, const Complex& a, const Complex& b = {}) {
    return k.single ? one<float>(k, a, b) : one<double>(k, a, b);
}

// ---- Exact values -------------------------------------------------------------------------------------

struct Number {
    mpfr_t value;
    explicit Number(double x, mpfr_prec_t precision = 53) {
        mpfr_init2(value, precision);
        mpfr_set_d(value, x, MPFR_RNDN);
    }
    ~Number() { mpfr_clear(value); }
    Number(const Number&) = delete;
    Number& operator=(const Number&) = delete;
    operator mpfr_ptr() { return value; }
};

void exact_product(mpfr_ptr re, mpfr_ptr im, const Complex& a, const Complex& b) {
    Number ar(a.real()), ai(a.imag()), br(b.real()), bi(b.imag());
    mpfr_fmms(re, ar, br, ai, bi, MPFR_RNDN);
    mpfr_fmma(im, ar, bi, ai, br, MPFR_RNDN);
}
void exact_product_by_conjugate(mpfr_ptr re, mpfr_ptr im, const Complex& a, const Complex& b) {
    exact_product(re, im, a, std::conj(b));
}
void exact_quotient(mpfr_ptr re, mpfr_ptr im, const Complex& a, const Complex& b) {
    exact_product_by_conjugate(re, im, a, b);
    Number br(b.real()), bi(b.imag()), norm(0, 300);
    mpfr_fmma(norm, br, br, bi, bi, MPFR_RNDN);
    mpfr_div(re, re, norm, MPFR_RNDN);
    mpfr_div(im, im, norm, MPFR_RNDN);
}
void exact_magnitude(mpfr_ptr re, mpfr_ptr, const Complex& a, const Complex&) {
    Number x(a.real()), y(a.imag());
    mpfr_hypot(re, x, y, MPFR_RNDN);
}
void exact_argument(mpfr_ptr re, mpfr_ptr, const Complex& a, const Complex&) {
    Number x(a.real()), y(a.imag());
    mpfr_atan2(re, y, x, MPFR_RNDN);
}
// From the square: re^2 = (|z| + x) / 2, 2 re im = y, with a precision that lets |z| + x cancel.
void exact_root(mpfr_ptr re, mpfr_ptr im, const Complex& a, const Complex&) {
    Number x(a.real()), y(a.imag()), wide(0, 9000);
    mpfr_hypot(wide, x, y, MPFR_RNDN);
    mpfr_add(wide, wide, x, MPFR_RNDN);
    mpfr_div_2ui(wide, wide, 1, MPFR_RNDN);
    mpfr_sqrt(re, wide, MPFR_RNDN);
    mpfr_hypot(wide, x, y, MPFR_RNDN);
    mpfr_sub(wide, wide, x, MPFR_RNDN);
    mpfr_div_2ui(wide, wide, 1, MPFR_RNDN);
    mpfr_sqrt(im, wide, MPFR_RNDN);
    mpfr_setsign(im, im, mpfr_signbit(y.value), MPFR_RNDN);
}

#define KERNEL(p, function, level, arguments, parts, bound, exact)                                   \
    {                                                                                                \
#p #function #level, #p[0] == 'c', arguments, parts,                                         \
                                reinterpret_cast < void*>(_vml##p##function##level),                 \
                                reinterpret_cast < void*>(_vml##p##function##I##level), bound, exact \
    }
constexpr double kNone = 0;  // no bound for a component
const Kernel kKernels[] = {
    KERNEL(z, Add, _HA, 2, 2, kNone, nullptr),
    KERNEL(z, Sub, _26, 2, 2, kNone, nullptr),
    KERNEL(z, Conj, _HA, 1, 2, kNone, nullptr),
    KERNEL(z, Mul, _HA, 2, 2, 0.76, exact_product),
    KERNEL(z, Mul, _26, 2, 2, kNone, exact_product),
    KERNEL(z, MulByConj, _HA, 2, 2, 0.76, exact_product_by_conjugate),
    KERNEL(z, MulByConj, _26, 2, 2, kNone, exact_product_by_conjugate),
    KERNEL(z, Div, _HA, 2, 2, 0.76, exact_quotient),
    KERNEL(z, Div, _26, 2, 2, kNone, exact_quotient),
    KERNEL(z, Abs, _HA, 1, 1, 0.51, exact_magnitude),
    KERNEL(z, Abs, _26, 1, 1, 1.3, exact_magnitude),
    KERNEL(z, Arg, _HA, 1, 1, 0.51, exact_argument),
    KERNEL(z, Sqrt, _HA, 1, 2, 0.76, exact_root),
    KERNEL(c, Add, _HA, 2, 2, kNone, nullptr),
    KERNEL(c, Sub, _11, 2, 2, kNone, nullptr),
    KERNEL(c, Conj, _HA, 1, 2, kNone, nullptr),
    KERNEL(c, Mul, _HA, 2, 2, 0.51, exact_product),
    KERNEL(c, Mul, _11, 2, 2, kNone, exact_product),
    KERNEL(c, MulByConj, _HA, 2, 2, 0.51, exact_product_by_conjugate),
    KERNEL(c, MulByConj, _11, 2, 2, kNone, exact_product_by_conjugate),
    KERNEL(c, Div, _HA, 2, 2, 0.51, exact_quotient),
    KERNEL(c, Abs, _HA, 1, 1, 0.51, exact_magnitude),
    KERNEL(c, Arg, _HA, 1, 1, 0.51, exact_argument),
    KERNEL(c, Arg, _21, 1, 1, 4, exact_argument),
    KERNEL(c, Arg, _11, 1, 1, 4096, exact_argument),
    KERNEL(c, Sqrt, _HA, 1, 2, 0.51, exact_root),
    KERNEL(c, Sqrt, _21, 1, 2, 4, exact_root),
};
const Kernel& kernel(const std::string& name) {
    return *std::find_if(std::begin(kKernels), std::end(kKernels),
                         [&](const Kernel& k) { return k.name == name; });
}

// ---- Arguments ----------------------------------------------------------------------------------------

struct Pair {
    Complex a, b;
};

// Components over all binades, nearby ones or around 1, and pairs whose products cancel but for some last places.
std::vector<Pair> random_pairs(bool single, int count, uint64_t seed) {
    std::mt19937_64 random(seed);
    const int least = single ? -149 : -1074, most = single ? 127 : 1023;
    const auto uniform = [&](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    const auto rounded = [&](double x) { return single ? static_cast<float>(x) : x; };
    const auto component = [&](int exponent) {
        const double x = rounded(std::uniform_real_distribution<double>(1, 2)(random));
        return rounded(std::ldexp((random() & 1) != 0 ? x : -x, std::clamp(exponent, least, most - 1)));
    };
    std::vector<Pair> pairs;
    for (int i = 0; i < count; ++i) {
        const int any = uniform(least, most), spread = i % 3 == 0 ? 2200 : i % 3 == 1 ? 30 : 2;
        const auto near = [&] { return component((i % 6 < 3 ? any : 0) + uniform(-spread, spread)); };
        Pair p = {{near(), near()}, {near(), near()}};
        if (i % 5 == 0) {
            const double last = single ? 0x1p-23 : 0x1p-52;
            p.a = {component(0), component(1)};
            p.b = {rounded(p.a.imag() * (1 + uniform(-2, 2) * last)), p.a.real()};
            if (uniform(0, 1) != 0) p.b = -std::conj(p.b);
            if (uniform(0, 1) != 0) std::swap(p.a, p.b);
        }
        pairs.push_back(p);
    }
    return pairs;
}

class ComplexFunctions : public FreshState {
  protected:
    void SetUp() override {
        FreshState::SetUp();
        _vmlSetMode(kVmlErrorIgnore);
    }
};

TEST_F(ComplexFunctions, KeepTheirBoundInEachComponentFromSubnormalsToOverflowAndThroughCancellation) {
    for (const Kernel& k : kKernels) {
        if (k.bound == kNone) continue;
        double worst = 0;
        Pair at;
        for (const Pair& p : random_pairs(k.single, 4000, 1)) {
            if (k.arguments == 2 && p.b == 0.0) continue;
            Number re(0, 300), im(0, 300);
            k.exact(re, im, p.a, p.b);
            const Complex r = one(k, p.a, p.b);
            for (int part = 0; part < k.result_parts; ++part) {
                const double computed = part == 0 ? r.real() : r.imag();
                const double expected = mpfr_get_d(part == 0 ? re : im, MPFR_RNDN);
                if (std::abs(expected) >= (k.single ? 0x1.ffffffp127 : kInfinity)) {
                    ASSERT_EQ(computed, std::copysign(kInfinity, expected)) << k.name << p.a << p.b;
                    continue;
                }
                const double error =
                    ulp_distance(part == 0 ? re : im, computed, k.single ? 24 : 53, k.single ? -149 : -1074);
                if (!(error <= worst)) worst = error, at = p;
            }
        }
        EXPECT_LE(worst, k.bound) << k.name << std::hexfloat << " at " << at.a << ", " << at.b;
    }
}

TEST_F(ComplexFunctions, KeepHalfTheirDigitsOfTheWholeResultAtTheFastLevel) {
    for (const char* name : {"zMul_26", "zMulByConj_26", "zDiv_26", "cMul_11", "cMulByConj_11"}) {
        const Kernel& k = kernel(name);
        for (const Pair& p : random_pairs(k.single, 4000, 2)) {
            if (p.b == 0.0) continue;
            Number re(0, 300), im(0, 300), norm(0, 300);
            k.exact(re, im, p.a, p.b);
            mpfr_hypot(norm, re, im, MPFR_RNDN);
            const double size = mpfr_get_d(norm, MPFR_RNDN);
            if (size < (k.single ? 0x1p-126 : 0x1p-1022) || size >= (k.single ? 0x1p127 : 0x1p1023)) continue;
            const Complex r = one(k, p.a, p.b);
            mpfr_sub_d(re, re, r.real(), MPFR_RNDN);
            mpfr_sub_d(im, im, r.imag(), MPFR_RNDN);
            mpfr_hypot(re, re, im, MPFR_RNDN);
            mpfr_div(re, re, norm, MPFR_RNDN);
            ASSERT_LE(mpfr_get_d(re, MPFR_RNDN), k.single ? 0x1p-21 : 0x1p-50) << name << p.a << p.b;
        }
    }
}

TEST_F(ComplexFunctions, AddSubtractAndConjugateComponentByComponent) {
    for (const bool single : {false, true}) {
        const std::string p = single ? "c" : "z", fast = single ? "_11" : "_26";
        const auto sum = [&](double u, double v) {
            return single ? double{static_cast<float>(u) + static_cast<float>(v)} : u + v;
        };
        for (const auto& [a, b] : random_pairs(single, 1000, 3)) {
            EXPECT_EQ(one(kernel(p + "Add_HA"), a, b),
                      Complex(sum(a.real(), b.real()), sum(a.imag(), b.imag())));
            EXPECT_EQ(one(kernel(p + "Sub" + fast), a, b),
                      Complex(sum(a.real(), -b.real()), sum(a.imag(), -b.imag())));
            EXPECT_EQ(one(kernel(p + "Conj_HA"), a), std::conj(a));
        }
        EXPECT_TRUE(std::signbit(one(kernel(p + "Conj_HA"), {1.0, 0.0}).imag()));
    }
}

// ---- Infinities, NaN and zeros ------------------------------------------------------------------------

const double kSpecial[] = {0.0, -0.0, 1.0, -2.5, kInfinity, -kInfinity, kNaN};

bool is_infinite(const Complex& z) { return std::isinf(z.real()) || std::isinf(z.imag()); }
bool is_nan(const Complex& z) { return !is_infinite(z) && (std::isnan(z.real()) || std::isnan(z.imag())); }
bool is_number(const Complex& z) { return std::isfinite(z.real()) && std::isfinite(z.imag()); }

bool alike(double x, double y) {
    return std::isnan(x) ? std::isnan(y) : x == y && std::signbit(x) == std::signbit(y);
}

TEST_F(ComplexFunctions, MultiplyAndDivideInfinitiesAndZerosAsAnnexGHasIt) {
    for (const double ar : kSpecial) {
        for (const double ai : kSpecial) {
            for (const double br : kSpecial) {
                for (const double bi : kSpecial) {
                    const Complex a(ar, ai), b(br, bi);
                    for (const char* name : {"zMul_HA", "zMul_26", "cMul_HA", "cMul_11"}) {
                        const Complex r = one(kernel(name), a, b), peer = a * b;
                        EXPECT_TRUE(alike(r.real(), peer.real()) && alike(r.imag(), peer.imag()))
                            << name << a << b << r << peer;
                        const bool by_infinity = is_infinite(a) && !is_nan(b) && b != 0.0;
                        if (by_infinity || (is_infinite(b) && !is_nan(a) && a != 0.0)) {
                            EXPECT_TRUE(is_infinite(r));
                        }
                    }
                    for (const char* name :
                         {"zMulByConj_HA", "zMulByConj_26", "cMulByConj_HA", "cMulByConj_11"}) {
                        const Complex r = one(kernel(name), a, b), peer = a * std::conj(b);
                        EXPECT_TRUE(alike(r.real(), peer.real()) && alike(r.imag(), peer.imag()))
                            << name << a << b;
                    }
                    for (const char* name : {"zDiv_HA", "zDiv_26", "cDiv_HA"}) {
                        _vmlClearErrStatus();
                        const Complex r = one(kernel(name), a, b);
                        const int code = _vmlGetErrStatus();
                        const std::string what = (std::ostringstream() << name << a << b << r).str();
                        if (is_infinite(a) && is_number(b)) {
                            EXPECT_TRUE(is_infinite(r)) << what;
                        }
                        if (is_number(a) && is_infinite(b)) {
                            EXPECT_EQ(r, 0.0) << what;
                        }
                        if (b == 0.0 && is_number(a)) {
                            EXPECT_EQ(code, a == 0.0 ? int{kVmlDomain} : int{kVmlSingularity}) << what;
                            EXPECT_EQ(is_infinite(r), a != 0.0) << what;
                        } else {
                            EXPECT_EQ(code, kVmlOk) << what;
                        }
                        if (is_number(a) && is_number(b) && b != 0.0) {
                            EXPECT_TRUE(is_number(r)) << what;
                        }
                        if (is_nan(a) && is_nan(b)) {
                            EXPECT_TRUE(std::isnan(r.real()) && std::isnan(r.imag())) << what;
                        }
                    }
                }
            }
        }
    }
}

TEST_F(ComplexFunctions, MagnitudeAngleAndRootOfSpecialComponentsAreThoseOfTheStandard) {
    for (const double re : kSpecial) {
        for (const double im : kSpecial) {
            const Complex z(re, im);
            for (const char* p : {"z", "c"}) {
                const bool single = *p == 'c';
                const auto rounded = [&](double x) { return single ? static_cast<float>(x) : x; };
                const std::string type = p;
                for (const char* level : {"_HA", "_26"}) {
                    if (single && std::string(level) == "_26") continue;
                    EXPECT_TRUE(
                        alike(one(kernel(type + "Abs" + level), z).real(), rounded(std::hypot(re, im))))
                        << z;
                }
                EXPECT_TRUE(alike(one(kernel(type + "Arg_HA"), z).real(), rounded(std::atan2(im, re)))) << z;
                const Complex root = one(kernel(type + "Sqrt_HA"), z), peer = std::sqrt(z);
                if (is_number(z) && z != 0.0) {
                    EXPECT_LT(std::abs(root - peer), 1e-6) << z;
                    EXPECT_EQ(std::signbit(root.imag()), std::signbit(im)) << z;
                    continue;
                }
                const bool same_im =
                    alike(root.imag(), rounded(peer.imag())) ||
                    (re == -kInfinity && std::isnan(im) && std::isinf(root.imag()));  // either sign
                EXPECT_TRUE(alike(root.real(), rounded(peer.real())) && same_im) << z << root << peer;
            }
            for (const char* name : {"cArg_21", "cArg_11"}) {
                const double angle = one(kernel(name), z).real(), expected = std::atan2(im, re);
                EXPECT_TRUE(std::isnan(expected) ? std::isnan(angle) : std::abs(angle - expected) < 1e-3)
                    << z;
                EXPECT_TRUE(std::isnan(expected) || std::signbit(angle) == std::signbit(expected))
                    << name << z;
            }
        }
    }
    EXPECT_EQ(_vmlGetErrStatus(), kVmlOk) << "nothing of this is an error";
}

TEST_F(ComplexFunctions, ReadDenormalsAsZerosAndMakeNoneInTheFlushMode) {
    const auto is_denormal = [](double x, bool single) {
        return x != 0 && std::abs(x) < (single ? 0x1p-126 : 0x1p-1022);
    };
    for (const Kernel& k : kKernels) {
        if (std::string(k.name).find("Conj_") == 1) continue;  // copies bits
        const double normal = k.single ? 0x1p-126 : 0x1p-1022, denormal = normal / 8;
        const double middle = k.single ? 0x1p-63 : 0x1p-520, large = k.single ? 0x1p126 : 0x1p1022;
        const double components[] = {0.0, -denormal, denormal * 5, normal, -middle, 3.0, large, -kInfinity};
        const auto flushed = [&](Complex z) {
            const auto part = [&](double x) { return std::abs(x) < normal ? std::copysign(0.0, x) : x; };
            return Complex(part(z.real()), part(z.imag()));
        };
        for (int i = 0; i < 8 * 8 * 8 * 8; ++i) {
            const Complex a(components[i % 8], components[i / 8 % 8]);
            const Complex b(components[i / 64 % 8], components[i / 512]);
            if (k.arguments == 1 && i >= 64) break;
            _vmlSetMode(kVmlErrorIgnore | kVmlDenormalFlush);
            const Complex r = one(k, a, b), expected = one(k, flushed(a), flushed(b));
            _vmlSetMode(kVmlErrorIgnore);
            // The low level's special lanes are more accurate than its other ones.
            const bool near =
                std::string(k.name) == "cSqrt_21" && std::abs(r - expected) <= 0x1p-21 * std::abs(r);
            ASSERT_TRUE(near || (alike(r.real(), expected.real()) && alike(r.imag(), expected.imag())))
                << k.name << a << b << r << expected;
            ASSERT_FALSE(is_denormal(r.real(), k.single) || is_denormal(r.imag(), k.single))
                << k.name << a << b << r;
        }
    }
}

TEST_F(ComplexFunctions, RaiseNoFlagForSpecialElementsThatTheResultDoesNot) {
    for (const Kernel& k : kKernels) {
        std::feclearexcept(FE_ALL_EXCEPT);
        if (std::string(k.name).find("Sub") == std::string::npos) one(k, {kInfinity, kInfinity}, {1.0, 1.0});
        one(k, {kNaN, kNaN}, {kNaN, kNaN});
        one(k, {0.0, -0.0}, {3.0, 1.0});
        EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT & ~FE_INEXACT & ~FE_INVALID), 0) << k.name;
    }
    std::feclearexcept(FE_ALL_EXCEPT);
}

// ---- Reports ------------------------------------------------------------------------------------------

std::vector<VmlErrorRecord> records;
uint16_t x87_in_callback;
int collect(VmlErrorRecord* record) {
    records.push_back(*record);
    x87_in_callback = simd::read_x87_control();
    record->r1 = 17;
    record->r1_imaginary = -19;
    return 0;
}

TEST_F(ComplexFunctions, ReportBothPartsAndTakeBothPartsFromTheCallback) {
    _vmlSetMode(kVmlErrorIgnore);
    _vmlSetErrorCallBack(collect);
    std::vector<OzkComplex16> a(20, {1, 2}), b(20, {3, 4}), r(20);
    a[18] = {5, 6};
    b[18] = {0, -0.0};
    records.clear();
    _vmlzDiv(20, a.data(), b.data(), r.data());
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].code, kVmlSingularity);
    EXPECT_EQ(records[0].index, 18);
    EXPECT_EQ(records[0].a1, 5);
    EXPECT_EQ(records[0].a1_imaginary, 6);
    EXPECT_TRUE(std::signbit(records[0].a2_imaginary));
    EXPECT_STREQ(records[0].name, "vzDiv");
    EXPECT_EQ(r[18].re, 17);
    EXPECT_EQ(r[18].im, -19);
    EXPECT_EQ(r[17].re, 11.0 / 25);

    const OzkComplex8 large = {0x1p127f, 0x1p127f};
    for (const auto function : {_vmlcMul_HA, _vmlcMul_11, _vmlcMulByConj_HA}) {
        OzkComplex8 product;
        records.clear();
        function(1, &large, &large, &product);
        ASSERT_EQ(records.size(), 1u);
        EXPECT_EQ(records[0].code, kVmlOverflow);
        EXPECT_EQ(product.re, 17);
    }
    const OzkComplex8 small = {0, 0x1p-100f};
    OzkComplex8 single_quotient;
    records.clear();
    _vmlcDiv_HA(1, &large, &small, &single_quotient);
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].code, kVmlOverflow);
    EXPECT_EQ(records[0].r1, kInfinity);
    EXPECT_EQ(records[0].r1_imaginary, -kInfinity);
    EXPECT_EQ(single_quotient.im, -19);
    const OzkComplex16 tiny = {0x1p-1000, 0}, huge = {0, 0x1p1000};
    OzkComplex16 quotient;
    for (const auto function : {_vmlzDiv_HA, _vmlzDiv_26}) {
        records.clear();
        function(1, &huge, &tiny, &quotient);
        ASSERT_EQ(records.size(), 1u);
        EXPECT_EQ(records[0].code, kVmlOverflow);
        EXPECT_EQ(records[0].r1_imaginary, kInfinity);
    }
}

TEST_F(ComplexFunctions, MagnitudeRunsWithExtendedPrecisionAndGivesTheControlWordBack) {
    _vmlSetErrorCallBack(collect);
    const uint16_t before = simd::read_x87_control();
    constexpr uint16_t kSinglePrecisionUp = 0x087F;
    const OzkComplex16 huge = {0x1.8p1023, 0x1.8p1023}, large = {0x1p1023, 0x1p1000};
    const OzkComplex8 huge_single = {0x1.8p127f, 0x1.8p127f};
    for (const auto& run : std::initializer_list<std::function<double()>>{[&] {
                                                                              double r;
                                                                              _vmlzAbs_HA(1, &huge, &r);
                                                                              return r;
                                                                          },
                                                                          [&] {
                                                                              double r;
                                                                              _vmlzAbs_26(1, &huge, &r);
                                                                              return r;
                                                                          },
                                                                          [&] {
                                                                              float r;
                                                                              _vmlcAbs_HA(1, &huge_single,
                                                                                          &r);
                                                                              return double{r};
                                                                          }}) {
        records.clear();
        simd::write_x87_control(kSinglePrecisionUp);
        const double r = run();
        const uint16_t after = simd::read_x87_control();
        simd::write_x87_control(before);
        EXPECT_EQ(after, kSinglePrecisionUp);
        EXPECT_EQ(x87_in_callback & 0x0F3F, 0x033F) << "extended, to nearest, all masked";
        ASSERT_EQ(records.size(), 1u);
        EXPECT_EQ(records[0].code, kVmlOverflow);
        EXPECT_EQ(records[0].r1, kInfinity);
        EXPECT_EQ(r, 17);
    }
    double r;
    simd::write_x87_control(0x027F);  // double precision
    _vmlzAbs_HA(1, &large, &r);
    simd::write_x87_control(before);
    EXPECT_EQ(r, std::hypot(0x1p1023, 0x1p1000));
}

// ---- One element's bits -------------------------------------------------------------------------------

template <class T>
void expect_same_bits_everywhere(const Kernel& k) {
    std::mt19937 random(7);
    std::uniform_real_distribution<T> uniform(-4, 4);
    constexpr int kCount = 83;
    std::vector<T> a(2 * kCount), b(2 * kCount);
    for (auto* v : {&a, &b})
        for (T& x : *v) x = random() % 29 == 0 ? static_cast<T>(kSpecial[random() % 7]) : uniform(random);
    const size_t parts = static_cast<size_t>(k.result_parts);
    std::vector<T> alone(2 * kCount);
    for (size_t i = 0; i < kCount; ++i) call_unit(k, 1, &a[2 * i], &b[2 * i], &alone[parts * i]);
    const auto same = [&](const T* y, const T* expected) {
        return std::equal(y, y + parts, expected,
                          [](T u, T v) { return std::memcmp(&u, &v, sizeof u) == 0; });
    };
    for (int n = 0; n <= 35; ++n) {
        std::vector<T> y(parts * static_cast<size_t>(n) + 1, T(7));
        const size_t first = static_cast<size_t>(kCount - n);
        call_unit(k, n, &a[2 * first - (n == 0 ? 2 : 0)], &b[2 * first - (n == 0 ? 2 : 0)], y.data());
        for (size_t i = 0; i < static_cast<size_t>(n); ++i) {
            ASSERT_TRUE(same(&y[parts * i], &alone[parts * (first + i)]))
                << k.name << " n " << n << " at " << i;
        }
        ASSERT_EQ(y.back(), T(7)) << k.name << " wrote beyond " << n;
    }
    for (const int place : {0, 1}) {
        std::vector<T> y = place == 0 ? a : b;
        if (k.result_parts == 1) break;
        call_unit(k, kCount, place == 0 ? y.data() : a.data(), place == 0 ? b.data() : y.data(), y.data());
        if (k.arguments == 2 || place == 0)
            for (size_t i = 0; i < kCount; ++i) {
                ASSERT_TRUE(same(&y[2 * i], &alone[2 * i])) << k.name << " in place at " << i;
            }
    }
    struct Strides {
        int a, b, r;
    };
    for (const Strides s : {Strides{1, 1, 1}, {3, 2, 2}, {-2, 1, 3}, {1, -3, -1}}) {
        const auto spread = [&](const std::vector<T>& v, int step) {
            std::vector<T> w(v.size() * static_cast<size_t>(std::abs(step)), T(7));
            for (int i = 0; i < kCount; ++i) {
                const size_t to = static_cast<size_t>(step > 0 ? i * step : (i - kCount + 1) * step);
                std::copy_n(&v[2 * static_cast<size_t>(i)], 2, &w[2 * to]);
            }
            return w;
        };
        const auto start = [&](auto* p, int step, int size) {
            return step > 0 ? p : p - (kCount - 1) * step * size;
        };
        const std::vector<T> sa = spread(a, s.a), sb = spread(b, s.b);
        std::vector<T> y(parts * kCount * static_cast<size_t>(std::abs(s.r)), T(7));
        call_strided(k, kCount, start(sa.data(), s.a, 2), s.a, start(sb.data(), s.b, 2), s.b,
                     start(y.data(), s.r, k.result_parts), s.r);
        for (int i = 0; i < kCount; ++i) {
            T* const at = start(y.data(), s.r, k.result_parts) + i * s.r * k.result_parts;
            ASSERT_TRUE(same(at, &alone[parts * static_cast<size_t>(i)])) << k.name << " strided at " << i;
            std::fill_n(at, parts, T(7));
        }
        for (const T x : y) ASSERT_EQ(x, T(7)) << k.name << " wrote between results";
    }
}

TEST_F(ComplexFunctions, BitsDoNotDependOnPlaceStrideOrLength) {
    for (const Kernel& k : kKernels) {
        if (k.single)
            expect_same_bits_everywhere<float>(k);
        else
            expect_same_bits_everywhere<double>(k);
    }
}

}  // namespace
}  // namespace ozk::vml::test
