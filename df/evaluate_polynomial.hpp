// Evaluation of splines with `order` coefficients a cell, in ascending powers of the distance from the cell's
// left knot, and of their derivatives, by Horner's rule.
//
// A vector of sites is evaluated at once, each lane with the operations of a single site: what differs is how
// the pieces of the sites are found. From cells; on a uniform partition from the sites themselves; and where
// ascending sites lie dense, piece by piece, whose coefficients are then the same in all lanes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "df/evaluate.hpp"
#include "df/search.hpp"
#include "df/uniform_pieces.hpp"

namespace ozk::df {

// j (j - 1) ... (j - k + 1), what k derivatives make of the power j.
template <class T>
constexpr T falling_factorial(int64_t j, int64_t k) {
    T product = 1;
    for (int64_t i = 0; i < k; ++i) product *= static_cast<T>(j - i);
    return product;
}

// Derivative kDerivative at distance d of the polynomial with kOrder coefficients; of each lane where V is a
// vector.
template <int kDerivative, class T, class V, int kOrder>
OZK_SIMD V horner(const V (&c)[kOrder], V d) {
    const auto term = [&c](int j) OZK_SIMD_LAMBDA {
        const T factor = falling_factorial<T>(j, kDerivative);
        if constexpr (std::is_same_v<T, V>)
            return factor * c[j];
        else
            return simd::broadcast(factor) * c[j];
    };
    V sum = term(kOrder - 1);
    for (int j = kOrder - 2; j >= kDerivative; --j) sum = sum * d + term(j);
    return sum;
}

template <class T>
T horner(int64_t order, int64_t derivative, const T* c, T d) {
    T sum = 0;
    for (int64_t j = order - 1; j >= derivative; --j)
        sum = sum * d + falling_factorial<T>(j, derivative) * c[j];
    return sum;
}

// What serves a vector of sites: the numbers of their pieces, and the knots that distances are measured from.
template <class T, class Number = int64_t>
struct Pieces {
    static constexpr int kLanes = VectorOf<T>::kLanes;
    Number number[4];
    VectorOf<T> knot;
};

// The piece of each site's cell.
template <class Knots>
struct CellPieces {
    int64_t nx;
    Knots knot;

    CellPieces(const DfTask& task, const Knots& knots) : nx(task.nx), knot(knots) {}

    template <class T, class Cell>
    OZK_SIMD Pieces<T> at(const T*, const Cell* cell) const {
        Pieces<T> pieces;
        T left[Pieces<T>::kLanes];
        for (int i = 0; i < Pieces<T>::kLanes; ++i) {
            pieces.number[i] = left_knot(cell[i], nx);
            left[i] = knot(pieces.number[i]);
        }
        pieces.knot = simd::from_lanes(left);
        return pieces;
    }
};

// The piece of the cell that UniformSearch finds, without the cell.
template <class T>
struct SitePieces {
    UniformPieces<T> uniform;

    SitePieces(const DfTask& task, T h) : uniform(task, h, task.nx - 2) {}

    template <class Cell>
    OZK_SIMD Pieces<T, int32_t> at(const T* site, const Cell*) const {
        const auto number = uniform.number(simd::load(site));
        Pieces<T, int32_t> pieces;
        pieces.knot = uniform.knot(number);
        simd::store(pieces.number, truncate_to_i32(number));
        return pieces;
    }
};

// The coefficients of the pieces, one piece a lane.
template <int kOrder, class Number>
OZK_SIMD void load_pieces(const double* coefficients, const Pieces<double, Number>& pieces,
                          simd::f64x2 (&c)[kOrder]) {
    const double* a = coefficients + static_cast<int64_t>(pieces.number[0]) * kOrder;
    const double* b = coefficients + static_cast<int64_t>(pieces.number[1]) * kOrder;
    for (int j = 0; j + 2 <= kOrder; j += 2) {
        const simd::f64x2 p = simd::load(a + j), q = simd::load(b + j);
        c[j] = interleave_low(p, q);
        c[j + 1] = interleave_high(p, q);
    }
    if constexpr (kOrder % 2 == 1) c[kOrder - 1] = simd::pair(a[kOrder - 1], b[kOrder - 1]);
}
template <int kOrder, class Number>
OZK_SIMD void load_pieces(const float* coefficients, const Pieces<float, Number>& pieces,
                          simd::f32x4 (&c)[kOrder]) {
    const auto piece = [&](int i) OZK_SIMD_LAMBDA {
        return coefficients + static_cast<int64_t>(pieces.number[i]) * kOrder;
    };
    if constexpr (kOrder == 4) {
        for (int i = 0; i < 4; ++i) c[i] = simd::load(piece(i));
        simd::transpose(c);
    } else {
        for (int j = 0; j < kOrder; ++j)
            c[j] = simd::from_lanes({piece(0)[j], piece(1)[j], piece(2)[j], piece(3)[j]});
    }
}

// Derivative kDerivative at every site, of the piece that `finder` finds. Pieces are found some vectors ahead: in one
// go, finding and evaluating are a chain of operations too long for the processor to overlap many of.
template <int kOrder, int kDerivative, class T, class Cell, class Finder>
void write_pieces(const Evaluation<T, Cell>& e, T* out, const Finder& finder) {
    constexpr int64_t kAhead = 16, kLanes = VectorOf<T>::kLanes;
    const T* coefficients = e.coefficients();
    const auto value = [&](const T* site, const auto& pieces) OZK_SIMD_LAMBDA {
        VectorOf<T> c[kOrder];
        load_pieces(coefficients, pieces, c);
        return horner<kDerivative, T>(c, simd::load(site) - pieces.knot);
    };
    int64_t first = 0;
    if (e.site_stride == 1) {
        decltype(finder.at(e.site, e.cell)) pieces[kAhead];
        for (; first + kAhead * kLanes <= e.nsite; first += kAhead * kLanes) {
            const T* site = e.site + first;
            for (int64_t k = 0; k < kAhead; ++k)
                pieces[k] = finder.at(site + k * kLanes, e.cell ? e.cell + first + k * kLanes : nullptr);
            for (int64_t k = 0; k < kAhead; ++k)
                simd::store(out + first + k * kLanes, value(site + k * kLanes, pieces[k]));
        }
    }
    write_each_vector(e.part(first, e.nsite - first), out + first * e.site_stride,
                      [&](const T* site, const Cell* cell)
                          OZK_SIMD_LAMBDA { return value(site, finder.at(site, cell)); });
}

// Derivative kDerivative at sites that all have piece j.
template <int kOrder, int kDerivative, class T, class Cell>
void write_run(const Evaluation<T, Cell>& e, T* out, int64_t j) {
    using Vector = VectorOf<T>;
    const T knot = e.x()[j];
    T c[kOrder];
    Vector all[kOrder];
    for (int k = 0; k < kOrder; ++k) {
        c[k] = e.coefficients()[j * kOrder + k];
        all[k] = simd::broadcast(c[k]);
    }
    int64_t i = 0;
    if (e.site_stride == 1) {
        const Vector left = simd::broadcast(knot);
        for (; i + Vector::kLanes <= e.nsite; i += Vector::kLanes)
            simd::store(out + i, horner<kDerivative, T>(all, simd::load(e.site + i) - left));
    }
    for (; i < e.nsite; ++i) out[i * e.site_stride] = horner<kDerivative, T>(c, e.site[i] - knot);
}

template <int kOrder, template <class> class Finder = CellPieces>
struct PolynomialKind : TakesAnySites {
    template <class T, class Cell>
    static void write(const Evaluation<T, Cell>& e) {
        e.with_knots([&e](auto knot) {
            const Finder<decltype(knot)> finder(e.task, knot);
            for_each_derivative(
                e, [&]<int kDerivative>(T* out) { write_pieces<kOrder, kDerivative>(e, out, finder); });
        });
    }

    // Writes the sites without their cells, where there is a faster way; e.cell is not read.
    template <class T, class Cell>
    static bool write_without_cells(const Evaluation<T, Cell>& e, int64_t site_hint) {
        if constexpr (!std::is_same_v<Finder<int>, CellPieces<int>>) {
            return false;
        } else if (is_uniform(e.task)) {
            if (!UniformPieces<T>::serves(e.task)) return false;
            const SitePieces<T> finder(e.task, e.h);
            for_each_derivative(
                e, [&]<int kDerivative>(T* out) { write_pieces<kOrder, kDerivative>(e, out, finder); });
            return true;
        } else {
            return site_hint == kDfSitesSorted &&
                   for_each_piece_run(e.task, e.nsite, e.site, [&](int64_t j, int64_t first, int64_t count) {
                       const auto run = e.part(first, count);
                       for_each_derivative(run, [&]<int kDerivative>(T* out) {
                           write_run<kOrder, kDerivative>(run, out, j);
                       });
                   });
        }
    }

  private:
    // Calls body.operator()<k>(first result) for each wanted derivative k that is not 0 everywhere.
    template <class T, class Cell, class Body>
    static void for_each_derivative(const Evaluation<T, Cell>& e, Body body) {
        e.for_each_order([&](int64_t k, T* out) -> int {
            const bool done = [&]<int... kDerivative>(std::integer_sequence<int, kDerivative...>) {
                return ((k == kDerivative && (body.template operator()<kDerivative>(out), true)) || ...);
            }
            (std::make_integer_sequence<int, kOrder>());
            if (!done)
                for (int64_t i = 0; i < e.nsite; ++i) out[i * e.site_stride] = 0;
            return kDfOk;
        });
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
        const T* coefficients = e.coefficients();
        e.with_knots([&](auto knot) {
            e.for_each_order([&](int64_t k, T* out) -> int {
                for (int64_t i = 0; i < e.nsite; ++i) {
                    const int64_t j = left_knot(e.cell[i], e.task.nx);
                    out[i * e.site_stride] = horner(order, k, coefficients + j * order, e.site[i] - knot(j));
                }
                return kDfOk;
            });
        });
    }
};

}  // namespace ozk::df
