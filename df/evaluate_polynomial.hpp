// Evaluation of splines with `order` coefficients a cell, in ascending powers of the distance from the cell's
// left knot, and of their derivatives, by Horner's rule.
#pragma once

#include <algorithm>
#include <cstdint>

#include "df/evaluate.hpp"

namespace ozk::df {

// j (j - 1) ... (j - k + 1), what k derivatives make of the power j.
template <class T>
constexpr T falling_factorial(int64_t j, int64_t k) {
    T product = 1;
    for (int64_t i = 0; i < k; ++i) product *= static_cast<T>(j - i);
    return product;
}

// Derivative kDerivative at distance d of the polynomial with kOrder coefficients.
template <int kOrder, int kDerivative, class T>
T horner(const T* c, T d) {
    T sum = falling_factorial<T>(kOrder - 1, kDerivative) * c[kOrder - 1];
    for (int j = kOrder - 2; j >= kDerivative; --j)
        sum = sum * d + falling_factorial<T>(j, kDerivative) * c[j];
    return sum;
}

template <class T>
T horner(int64_t order, int64_t derivative, const T* c, T d) {
    T sum = 0;
    for (int64_t j = order - 1; j >= derivative; --j)
        sum = sum * d + falling_factorial<T>(j, derivative) * c[j];
    return sum;
}

// Writes value(c, d) for the cell's coefficients c and the distance d of each site.
template <class T, class Cell, class Value>
void write_polynomials(const Evaluation<T, Cell>& e, int64_t order, T* out, Value value) {
    const T* coefficients = e.coefficients();
    e.with_knots([&](auto knot) {
        for (int64_t i = 0; i < e.nsite; ++i) {
            const int64_t j = e.polynomial_of(i);
            out[i * e.site_stride] = value(coefficients + j * order, e.site[i] - knot(j));
        }
    });
}

template <int kOrder>
struct PolynomialKind : TakesAnySites {
    template <class T, class Cell>
    static void write(const Evaluation<T, Cell>& e) {
        e.for_each_order([&e](int64_t k, T* out) -> int {
            write_derivative<0>(e, k, out);
            return kDfOk;
        });
    }

  private:
    template <int kDerivative, class T, class Cell>
    static void write_derivative(const Evaluation<T, Cell>& e, int64_t k, T* out) {
        if constexpr (kDerivative == kOrder) {
            for (int64_t i = 0; i < e.nsite; ++i) out[i * e.site_stride] = 0;
        } else {
            if (k != kDerivative) return write_derivative<kDerivative + 1>(e, k, out);
            write_polynomials(e, kOrder, out,
                              [](const T* c, T d) { return horner<kOrder, kDerivative>(c, d); });
        }
    }
};

using Linear = PolynomialKind<2>;
using Quadratic = PolynomialKind<3>;
using Cubic = PolynomialKind<4>;

// The task's own order.
struct Arbitrary : TakesAnySites {
    template <class T, class Cell>
    static void write(const Evaluation<T, Cell>& e) {
        const int64_t order = e.task.order;
        e.for_each_order([&](int64_t k, T* out) -> int {
            write_polynomials(e, order, out, [order, k](const T* c, T d) { return horner(order, k, c, d); });
            return kDfOk;
        });
    }
};

}  // namespace ozk::df
