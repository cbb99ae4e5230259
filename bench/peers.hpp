// The routines of other libraries that compute a function of the catalogue, one row each.
#pragma once

#include <algorithm>
#include <string_view>
#include <vector>

namespace ozk::bench {

// As accuracy::Call: r (and r2) = f(a[, b]) for n elements.
template <class T>
using Routine = void (*)(int n, const T* a, const T* b, T* r, T* r2);

struct Peer {
    std::string_view library;
    std::string_view function;       // of the catalogue
    Routine<double> double_routine;  // null where there is none
    Routine<float> single_routine;
};

std::vector<Peer> sleef_peers();
std::vector<Peer> libmvec_peers();  // glibc's vector functions
std::vector<Peer> libm_peers();     // a loop over glibc's scalar functions
std::vector<Peer> highway_peers();
std::vector<Peer> xsimd_peers();
std::vector<Peer> eigen_peers();

// step(a, b, r, r2) for each group of kWidth elements, the last one padded.
template <int kWidth, class T, class Step>
void by_groups(int n, const T* a, const T* b, T* r, T* r2, Step step) {
    int i = 0;
    for (; i + kWidth <= n; i += kWidth) step(a + i, b + i, r + i, r2 + i);
    if (i == n) return;
    T pa[kWidth]{}, pb[kWidth]{}, pr[kWidth], pr2[kWidth];
    std::copy_n(a + i, n - i, pa);
    std::copy_n(b + i, n - i, pb);
    std::copy_n(r2 + i, n - i, pr2);
    step(pa, pb, pr, pr2);
    std::copy_n(pr, n - i, r + i);
    std::copy_n(pr2, n - i, r2 + i);
}

// A 128-bit register as the vector calling convention has it.
template <class T>
struct Register {
    typedef T type __attribute__((vector_size(16)));
    static constexpr int kWidth = 16 / sizeof(T);
    static type load(const T* p) {
        type v;
        __builtin_memcpy(&v, p, sizeof v);
        return v;
    }
    static void store(T* p, type v) { __builtin_memcpy(p, &v, sizeof v); }
};

template <class T, auto kFunction>
void register_unary(int n, const T* a, const T* b, T* r, T* r2) {
    using R = Register<T>;
    by_groups<R::kWidth>(n, a, b, r, r2,
                         [](const T* x, const T*, T* y, T*) { R::store(y, kFunction(R::load(x))); });
}

template <class T, auto kFunction>
void register_binary(int n, const T* a, const T* b, T* r, T* r2) {
    using R = Register<T>;
    by_groups<R::kWidth>(n, a, b, r, r2, [](const T* x, const T* z, T* y, T*) {
        R::store(y, kFunction(R::load(x), R::load(z)));
    });
}

}  // namespace ozk::bench
