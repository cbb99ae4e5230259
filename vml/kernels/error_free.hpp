// Sums and products of doubles without error: each as its rounded value and the rest, which is a double too.
//
// Exact while no product is below 2^-968 without being 0 and no magnitude reaches 2^996. Where all terms are zeros the
// rests are +0, so that `value - rest` keeps the sign of a zero value; this is why corrections are subtracted.
// Dekker, "A floating-point technique for extending the available precision", Numer. Math. 18 (1971); Knuth, The Art
// of Computer Programming, vol. 2, 4.2.2.
#pragma once

#include "simd/complex.hpp"

namespace ozk::vml {

// A number with its halves of 26 bits each, high rounded to nearest.
template <class V>
struct Factor {
    V value, high, low;

    OZK_SIMD explicit Factor(const V& x) : value(x) {
        constexpr int64_t kHalfStep = int64_t{1} << 26;
        high = as_f64((bits(x) + simd::broadcast(kHalfStep)) & simd::broadcast(-2 * kHalfStep));
        low = x - high;
    }
};

// value + rest.
template <class V>
struct Sum {
    V value, rest;
};
// value - rest.
template <class V>
struct Difference {
    V value, rest;
    OZK_SIMD V rounded() const { return value - rest; }
};

template <class V>
OZK_SIMD Sum<V> product(const Factor<V>& x, const Factor<V>& y) {
    const V p = x.value * y.value;
    return {p, (((x.high * y.high - p) + x.high * y.low) + x.low * y.high) + x.low * y.low};
}
template <class V>
OZK_SIMD Sum<V> square(const Factor<V>& x) {
    const V p = x.value * x.value, cross = x.high * x.low;
    return {p, ((x.high * x.high - p) + (cross + cross)) + x.low * x.low};
}

// p - q and p + q, the rests rounded together: relative error of value - rest below 2^-104 without cancellation, and
// below an ulp of the result with any (Jeannerod, Louvet, Muller, "Further analysis of Kahan's algorithm for the
// accurate computation of 2 x 2 determinants", Math. Comp. 82 (2013)).
template <class V>
OZK_SIMD Difference<V> difference(const Sum<V>& p, const Sum<V>& q) {
    const V s = p.value - q.value, part = s - p.value;
    const V excess = (q.value + part) - (p.value - (s - part));
    return {s, excess - (p.rest - q.rest)};
}
template <class V>
OZK_SIMD Difference<V> sum(const Sum<V>& p, const Sum<V>& q) {
    const V s = p.value + q.value, part = s - p.value;
    const V excess = ((s - part) - p.value) + (part - q.value);
    return {s, excess - (p.rest + q.rest)};
}

// x^2 + y^2, relative error 2^-104.
template <class V>
OZK_SIMD Sum<V> sum_of_squares(const Factor<V>& x, const Factor<V>& y) {
    const Sum<V> p = square(x), q = square(y);
    const V s = p.value + q.value, part = s - p.value;
    const V lost = (p.value - (s - part)) + (q.value - part);
    return {s, lost + (p.rest + q.rest)};
}

// sqrt(x) for x = value + rest: value is the root of x.value, rest what it is less than the root of x; half_inverse is
// 1 / (2 value), finite for 0. Relative error 2^-100.
template <class V>
struct Root {
    V value, rest, half_inverse;
};
template <class V>
OZK_SIMD Root<V> root(const Sum<V>& x) {
    constexpr double kTiny = 0x1p-600;  // below every root but 0
    const V r = sqrt(x.value);
    const V half_inverse = simd::broadcast(0.5) / max(r, simd::broadcast(kTiny));
    const Sum<V> r2 = square(Factor<V>(r));
    return {r, (((x.value - r2.value) - r2.rest) + x.rest) * half_inverse, half_inverse};
}

// n / d, d = value + rest, to 0.5 ulp and 2^-25 of it. `inverse` is 1 / d.value rounded. The quotient's first 26 bits
// times the divisor's halves are exact, and what they leave of n is wrong by 2^-78 of n.
template <class V>
OZK_SIMD V quotient(const Difference<V>& n, const Sum<V>& d, const Factor<V>& divisor, const V& inverse) {
    constexpr int64_t kFirstBits = ~((int64_t{1} << 27) - 1);
    // The numerator as a double and the small rest: its two parts may be alike in size after a cancellation.
    const V high = n.value - n.rest, low = (n.value - high) - n.rest;
    const V q = as_f64(bits(high * inverse) & simd::broadcast(kFirstBits));
    const V excess = ((q * divisor.high - high) + q * divisor.low) + (q * d.rest - low);
    return q - excess * inverse;
}

}  // namespace ozk::vml
