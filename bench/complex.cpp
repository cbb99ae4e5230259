// Complex functions, pack/unpack and strided forms, 1,024 elements in the first-level cache. Peers of a multiplication or division
// differ in care, which their names tell: "C99" recovers infinities (Annex G), "plain formula" neither that nor
// overflow, "long double" computes with 64 bits. The high accuracy level rounds each component correctly but for
// hundredths of an ulp, which of these only "long double" comes near to.

#include <fmt/format.h>

#include <Eigen/Core>
#include <algorithm>
#include <cmath>
#include <complex>
#include <memory>
#include <random>
#include <vector>

#include "bench/driver.hpp"
#include "ozk_vml.h"

namespace ozk::bench {
namespace {

constexpr int kElements = 1024, kStride = 3;

// kStride, which the compiler doesn't know, as it doesn't know that of a call.
int unknown_stride() {
    int stride = kStride;
    asm volatile("" : "+r"(stride));
    return stride;
}

template <class T>
using Complex = std::complex<T>;

template <class T>
struct Data {
    std::vector<Complex<T>> a, b, r;
    std::vector<T> real;

    Data()
        : a(kElements * kStride), b(kElements * kStride), r(kElements * kStride), real(kElements * kStride) {
        std::mt19937 random(1);
        std::uniform_real_distribution<T> uniform(-10, 10);
        for (auto* v : {&a, &b})
            for (Complex<T>& z : *v) z = {uniform(random), uniform(random)};
    }
};

// f(x, y) as the C library has it, or by the formula alone.
template <class T>
Complex<T> c99_multiply(Complex<T> x, Complex<T> y) {
    return x * y;
}
template <class T>
Complex<T> plain_multiply(Complex<T> x, Complex<T> y) {
    return {x.real() * y.real() - x.imag() * y.imag(), x.real() * y.imag() + x.imag() * y.real()};
}
template <class T>
Complex<T> plain_divide(Complex<T> x, Complex<T> y) {
    const T norm = y.real() * y.real() + y.imag() * y.imag();
    const Complex<T> numerator = plain_multiply(x, std::conj(y));
    return {numerator.real() / norm, numerator.imag() / norm};
}
template <class T, class F>
auto in_long_double(F f) {
    return [f](Complex<T> x, Complex<T> y) {
        return Complex<T>(f(Complex<long double>(x), Complex<long double>(y)));
    };
}

template <class T>
class Cases {
  public:
    explicit Cases(std::vector<Case>& all) : all_(all) {}

    void add_all() {
        const auto add = [](auto x, auto y) { return x + y; };
        binary("Add", {loop("compiled loop", add), eigen("Eigen", add)});
        const auto sub = [](auto x, auto y) { return x - y; };
        binary("Sub", {loop("compiled loop", sub), eigen("Eigen", sub)});
        const auto times = [](auto x, auto y) { return x * y; };
        const auto multiply = [](auto x, auto y) { return plain_multiply(x, y); };
        const auto by_conj = [](auto x, auto y) { return plain_multiply(x, std::conj(y)); };
        const auto divide = [](auto x, auto y) { return x / y; };
        binary("Mul", {loop("C99 loop", times), loop("plain formula", multiply), eigen("Eigen", times),
                       loop("long double", in_long_double<T>(multiply))});
        binary("MulByConj",
               {loop("C99 loop", [](auto x, auto y) { return x * std::conj(y); }),
                loop("plain formula", by_conj), loop("long double", in_long_double<T>(by_conj))});
        binary(
            "Div",
            {loop("C99 loop", divide),
             loop("plain formula", [](auto x, auto y) { return plain_divide(x, y); }), eigen("Eigen", divide),
             loop("long double", in_long_double<T>([](auto x, auto y) { return plain_divide(x, y); }))});
        unary("Conj", {loop("compiled loop", [](auto x, auto) { return std::conj(x); })});
        unary("Sqrt", {loop("C library", [](auto x, auto) { return std::sqrt(x); }),
                       eigen("Eigen", [](auto x, auto) { return x.sqrt(); })});
        to_real("Abs", {real_loop("C library", [](auto x) { return std::abs(x); }),
                        real_loop("plain formula", [](auto x) { return std::sqrt(std::norm(x)); })});
        to_real("Arg", {real_loop("C library", [](auto x) { return std::arg(x); })});
    }

  private:
    using Element = std::conditional_t<sizeof(T) == 4, OzkComplex8, OzkComplex16>;
    static constexpr char kType = sizeof(T) == 4 ? 'c' : 'z';

    template <class F>
    Contender loop(const char* name, F f) {
        return {name, [d = data_, f] {
                    for (int i = 0; i < kElements; ++i) d->r[i] = f(d->a[i], d->b[i]);
                    keep(d->r.data());
                }};
    }
    template <class F>
    Contender eigen(const char* name, F f) {
        using Array = Eigen::Map<Eigen::Array<Complex<T>, Eigen::Dynamic, 1>>;
        return {name, [d = data_, f] {
                    Array(d->r.data(), kElements) =
                        f(Array(d->a.data(), kElements), Array(d->b.data(), kElements));
                    keep(d->r.data());
                }};
    }
    template <class F>
    Contender real_loop(const char* name, F f) {
        return {name, [d = data_, f] {
                    for (int i = 0; i < kElements; ++i) d->real[i] = f(d->a[i]);
                    keep(d->real.data());
                }};
    }

    static const Element* elements(const std::vector<Complex<T>>& v) {
        return reinterpret_cast<const Element*>(v.data());
    }
    static Element* elements(std::vector<Complex<T>>& v) { return reinterpret_cast<Element*>(v.data()); }

    // For each kernel of the function: all elements, eight of them, and strided ones.
    template <class Run, class RunStrided>
    void levels(const char* function, std::vector<Contender> peers, Run run, RunStrided run_strided) {
        const auto table = [&](const char* form) {
            return kernel<void* const>(
                fmt::format("ozk_vml_kernel_{}{}{}_ttab", kType, function, form).c_str());
        };
        void* const* const slots = table("");
        void* const* const strided = table("I");
        for (int slot = 0; slot < 3; ++slot) {
            if (slots == nullptr || (slot != 1 && slots[slot] == slots[1])) continue;
            const std::string name =
                fmt::format("complex/{}/{}/{}", function, kType, accuracy::kLevels[slot]);
            const auto ours = [&](const char* form, int n, std::vector<Contender> beside) {
                all_.push_back({name + form,
                                static_cast<double>(n),
                                {{"ours", [run, kernel = slots[slot], n] { run(kernel, n); }}},
                                std::move(beside)});
            };
            ours("", kElements, peers);
            ours("/8", 8, {});
            all_.push_back({name + "/strided",
                            kElements,
                            {{"ours", [run_strided, kernel = strided[slot]] { run_strided(kernel); }}},
                            {}});
        }
    }
    void binary(const char* function, std::vector<Contender> peers) {
        using Kernel = void(int, const Element*, const Element*, Element*);
        using KernelI = void(int, const Element*, int, const Element*, int, Element*, int);
        levels(
            function, std::move(peers),
            [d = data_](void* kernel, int n) {
                reinterpret_cast<Kernel*>(kernel)(n, elements(d->a), elements(d->b), elements(d->r));
                keep(d->r.data());
            },
            [d = data_](void* kernel) {
                reinterpret_cast<KernelI*>(kernel)(kElements, elements(d->a), kStride, elements(d->b),
                                                   kStride, elements(d->r), kStride);
                keep(d->r.data());
            });
    }
    template <class Result>
    void one_argument(const char* function, std::vector<Contender> peers, Result* r) {
        using Kernel = void(int, const Element*, Result*);
        using KernelI = void(int, const Element*, int, Result*, int);
        levels(
            function, std::move(peers),
            [d = data_, r](void* kernel, int n) {
                reinterpret_cast<Kernel*>(kernel)(n, elements(d->a), r);
                keep(r);
            },
            [d = data_, r](void* kernel) {
                reinterpret_cast<KernelI*>(kernel)(kElements, elements(d->a), kStride, r, kStride);
                keep(r);
            });
    }
    void unary(const char* function, std::vector<Contender> peers) {
        one_argument(function, std::move(peers), elements(data_->r));
    }
    void to_real(const char* function, std::vector<Contender> peers) {
        one_argument(function, std::move(peers), data_->real.data());
    }

    std::vector<Case>& all_;
    std::shared_ptr<Data<T>> data_ = std::make_shared<Data<T>>();
};

// Pack and unpack of elements of any type, which p names.
template <class Element>
class Packs {
  public:
    Packs(char p, std::vector<Case>& all) : type_(p), all_(all) {}

    void add_all() {
        using Step = void(int64_t, const Element*, int64_t, Element*, int32_t);
        using Back = void(int64_t, const Element*, Element*, int64_t, int32_t);
        using By = void(int64_t, const Element*, const void*, Element*, int32_t);
        using BackBy = void(int64_t, const Element*, Element*, const void*, int32_t);
        pack_case(
            "PackI",
            [](void* k, Data& d) {
                reinterpret_cast<Step*>(k)(kElements, d.a.data(), kStride, d.r.data(), 1);
            },
            [](Data& d) {
                const int stride = unknown_stride();
                for (int i = 0; i < kElements; ++i) d.r[i] = d.a[i * stride];
            });
        pack_case(
            "PackV",
            [](void* k, Data& d) {
                reinterpret_cast<By*>(k)(kElements, d.a.data(), d.index.data(), d.r.data(), 1);
            },
            [](Data& d) {
                for (int i = 0; i < kElements; ++i) d.r[i] = d.a[d.index[i]];
            });
        pack_case(
            "PackM",
            [](void* k, Data& d) {
                reinterpret_cast<By*>(k)(kElements, d.a.data(), d.mask.data(), d.r.data(), 1);
            },
            [](Data& d) {
                for (int i = 0, j = 0; i < kElements; ++i)
                    if (d.mask[i] != 0) d.r[j++] = d.a[i];
            });
        pack_case(
            "UnpackI",
            [](void* k, Data& d) {
                reinterpret_cast<Back*>(k)(kElements, d.a.data(), d.r.data(), kStride, 1);
            },
            [](Data& d) {
                const int stride = unknown_stride();
                for (int i = 0; i < kElements; ++i) d.r[i * stride] = d.a[i];
            });
        pack_case(
            "UnpackV",
            [](void* k, Data& d) {
                reinterpret_cast<BackBy*>(k)(kElements, d.a.data(), d.r.data(), d.index.data(), 1);
            },
            [](Data& d) {
                for (int i = 0; i < kElements; ++i) d.r[d.index[i]] = d.a[i];
            });
        pack_case(
            "UnpackM",
            [](void* k, Data& d) {
                reinterpret_cast<BackBy*>(k)(kElements, d.a.data(), d.r.data(), d.mask.data(), 1);
            },
            [](Data& d) {
                for (int i = 0, j = 0; i < kElements; ++i)
                    if (d.mask[i] != 0) d.r[i] = d.a[j++];
            });
    }

  private:
    struct Data {
        std::vector<Element> a, r;
        std::vector<int32_t> index, mask;

        Data() : a(kElements * kStride), r(kElements * kStride) {
            std::mt19937 random(1);
            for (int i = 0; i < kElements; ++i) {
                index.push_back(i);
                mask.push_back(static_cast<int32_t>(random() & 1));
            }
            std::shuffle(index.begin(), index.end(), random);
        }
    };

    template <class Ours, class Plain>
    void pack_case(const char* function, Ours ours, Plain plain) {
        Case c{fmt::format("pack/{}/{}", function, type_), kElements, {}, {}};
        void* const* const table =
            kernel<void* const>(fmt::format("ozk_vml_kernel_{}{}_ttab", type_, function).c_str());
        if (table != nullptr) {
            c.ours = {{"ours", [ours, d = data_, kernel = table[1]] {
                           ours(kernel, *d);
                           keep(d->r.data());
                       }}};
        }
        c.peers = {{"compiled loop", [plain, d = data_] {
                        plain(*d);
                        keep(d->r.data());
                    }}};
        all_.push_back(std::move(c));
    }
    char type_;
    std::vector<Case>& all_;
    std::shared_ptr<Data> data_ = std::make_shared<Data>();
};

// Strided forms of simple real functions beside a loop with the same strides.
template <class T>
void add_strided(std::vector<Case>& all) {
    constexpr char kType = sizeof(T) == 4 ? 's' : 'd';
    struct Data {
        std::vector<T> a, b, r;
        Data() : a(kElements * kStride), b(kElements * kStride), r(kElements * kStride) {
            std::mt19937 random(1);
            std::uniform_real_distribution<T> uniform(1, 10);
            for (auto* v : {&a, &b})
                for (T& x : *v) x = uniform(random);
        }
    };
    const auto data = std::make_shared<Data>();
    const auto add = [&](const char* function, auto plain, auto run) {
        void* const* const table =
            kernel<void* const>(fmt::format("ozk_vml_kernel_{}{}I_ttab", kType, function).c_str());
        Case c{fmt::format("strided/{}/{}", function, kType), kElements, {}, {}};
        if (table != nullptr) {
            c.ours = {{"ours", [run, data, kernel = table[1]] {
                           run(kernel, *data);
                           keep(data->r.data());
                       }}};
        }
        c.peers = {{"scalar loop", [plain, data] {
                        const int stride = unknown_stride();
                        for (int i = 0; i < kElements; ++i)
                            data->r[i * stride] = plain(data->a[i * stride], data->b[i * stride]);
                        keep(data->r.data());
                    }}};
        all.push_back(std::move(c));
    };
    const auto unary = [](void* kernel, Data& d) {
        using Kernel = void(int, const T*, int, T*, int);
        reinterpret_cast<Kernel*>(kernel)(kElements, d.a.data(), kStride, d.r.data(), kStride);
    };
    const auto binary = [](void* kernel, Data& d) {
        using Kernel = void(int, const T*, int, const T*, int, T*, int);
        reinterpret_cast<Kernel*>(kernel)(kElements, d.a.data(), kStride, d.b.data(), kStride, d.r.data(),
                                          kStride);
    };
    add(
        "Add", [](T x, T y) { return x + y; }, binary);
    add(
        "Mul", [](T x, T y) { return x * y; }, binary);
    add(
        "Fmax", [](T x, T y) { return x > y ? x : y; }, binary);
    add(
        "Hypot", [](T x, T y) { return std::sqrt(x * x + y * y); }, binary);
    add(
        "Abs", [](T x, T) { return std::abs(x); }, unary);
    add(
        "Sqrt", [](T x, T) { return std::sqrt(x); }, unary);
}

std::vector<Case> cases() {
    std::vector<Case> all;
    Cases<double>(all).add_all();
    Cases<float>(all).add_all();
    Packs<OzkComplex16>('z', all).add_all();
    Packs<OzkComplex8>('c', all).add_all();
    Packs<double>('d', all).add_all();
    Packs<float>('s', all).add_all();
    add_strided<double>(all);
    add_strided<float>(all);
    return all;
}

std::vector<Section> run(const std::string& filter, bool planned) {
    return {{"complex", comparison(matching(cases(), filter, planned), "element")}};
}

}  // namespace

Family complex_family() { return {"complex", names_of<cases>, run}; }

}  // namespace ozk::bench
