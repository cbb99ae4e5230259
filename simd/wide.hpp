// K vectors worked on in step, each operation on all of them before the next.
//
// A kernel's chain of dependent operations is several times longer than the work that a processor can look
// ahead over; written on a wide vector, neighbouring instructions are independent. Every lane gets exactly
// the operations, and so the bits, that a single vector's lane gets. Operations mix with single vectors,
// which stand for K equal ones.
#pragma once

#include "simd/vector.hpp"

namespace ozk::simd {

template <class V, int K>
struct wide {
    V v[K];
    static constexpr int kLanes = K * V::kLanes;
};

template <class T>
inline constexpr int kWidth = 0;
template <class V, int K>
inline constexpr int kWidth<wide<V, K>> = K;

template <class V>
OZK_SIMD const V& part(const V& a, int) {
    return a;
}
template <class V, int K>
OZK_SIMD const V& part(const wide<V, K>& a, int k) {
    return a.v[k];
}

// f on the k-th parts of all arguments, for each k.
template <class F, class... A>
OZK_SIMD auto map(F f, const A&... a) {
    constexpr int K = (kWidth<A> + ... + 0) / ((kWidth<A> != 0) + ... + 0);
    wide<decltype(f(part(a, 0)...)), K> result;
#pragma GCC unroll 8
    for (int k = 0; k < K; ++k) result.v[k] = f(part(a, k)...);
    return result;
}

template <class... A>
concept AnyWide = ((kWidth<A> != 0) || ...);

#define OZK_WIDE_OPERATOR(op)                                                    \
    template <class A, class B>                                                  \
    requires AnyWide<A, B> OZK_SIMD auto operator op(const A& a, const B& b) {   \
        return map([](auto x, auto y) OZK_SIMD_LAMBDA { return x op y; }, a, b); \
    }
#define OZK_WIDE_FUNCTION(name)                                                 \
    template <class... A>                                                       \
    requires AnyWide<A...> OZK_SIMD auto name(const A&... a) {                  \
        return map([](auto... x) OZK_SIMD_LAMBDA { return name(x...); }, a...); \
    }

OZK_WIDE_OPERATOR(+)
OZK_WIDE_OPERATOR(-)
OZK_WIDE_OPERATOR(*)
OZK_WIDE_OPERATOR(/)
OZK_WIDE_OPERATOR(&)
OZK_WIDE_OPERATOR(|)
OZK_WIDE_OPERATOR(^)
OZK_WIDE_OPERATOR(<)
OZK_WIDE_OPERATOR(<=)
OZK_WIDE_OPERATOR(==)
OZK_WIDE_OPERATOR(>)
OZK_WIDE_FUNCTION(sqrt)
OZK_WIDE_FUNCTION(abs)
OZK_WIDE_FUNCTION(sign_bit)
OZK_WIDE_FUNCTION(min)
OZK_WIDE_FUNCTION(max)
OZK_WIDE_FUNCTION(bits)
OZK_WIDE_FUNCTION(as_f64)
OZK_WIDE_FUNCTION(as_f32)
OZK_WIDE_FUNCTION(as_i32)
OZK_WIDE_FUNCTION(as_i64)
OZK_WIDE_FUNCTION(select)
OZK_WIDE_FUNCTION(not_less)
OZK_WIDE_FUNCTION(not_less_or_equal)
OZK_WIDE_FUNCTION(round_to_even)
OZK_WIDE_FUNCTION(truncate)
OZK_WIDE_FUNCTION(floor)
OZK_WIDE_FUNCTION(ceil)
OZK_WIDE_FUNCTION(to_f32)
OZK_WIDE_FUNCTION(low_to_f64)
OZK_WIDE_FUNCTION(high_to_f64)
OZK_WIDE_FUNCTION(round_to_i32)
OZK_WIDE_FUNCTION(truncate_to_i32)
OZK_WIDE_FUNCTION(reciprocal_estimate)
OZK_WIDE_FUNCTION(reciprocal_sqrt_estimate)
OZK_WIDE_FUNCTION(even_lanes)
OZK_WIDE_FUNCTION(odd_lanes)
OZK_WIDE_FUNCTION(high_half)
OZK_WIDE_FUNCTION(low_to_high_words)
OZK_WIDE_FUNCTION(interleave_low)
OZK_WIDE_FUNCTION(interleave_high)
OZK_WIDE_FUNCTION(subtract_add)
OZK_WIDE_FUNCTION(repeat_low)
OZK_WIDE_FUNCTION(repeat_high)
OZK_WIDE_FUNCTION(swap_lanes)

#undef OZK_WIDE_OPERATOR
#undef OZK_WIDE_FUNCTION

template <int kCount, class V, int K>
OZK_SIMD auto shift_left(const wide<V, K>& a) {
    return map([](auto x) OZK_SIMD_LAMBDA { return shift_left<kCount>(x); }, a);
}
template <int kCount, class V, int K>
OZK_SIMD auto shift_right(const wide<V, K>& a) {
    return map([](auto x) OZK_SIMD_LAMBDA { return shift_right<kCount>(x); }, a);
}
template <int kCount, class V, int K>
OZK_SIMD auto shift_right_signed(const wide<V, K>& a) {
    return map([](auto x) OZK_SIMD_LAMBDA { return shift_right_signed<kCount>(x); }, a);
}

template <int K>
struct wide_pair {
    wide<f64x2, K> first, second;
};
template <class Gather, class V, int K>
OZK_SIMD wide_pair<K> map_pairs(Gather gather, const wide<V, K>& index) {
    wide_pair<K> result;
#pragma GCC unroll 8
    for (int k = 0; k < K; ++k) {
        const f64x2_pair entries = gather(index.v[k]);
        result.first.v[k] = entries.first;
        result.second.v[k] = entries.second;
    }
    return result;
}
template <class V, int K>
OZK_SIMD wide_pair<K> gather_pairs(const double* table, const wide<V, K>& index) {
    return map_pairs([table](auto x) OZK_SIMD_LAMBDA { return gather_pairs(table, x); }, index);
}
template <int K>
OZK_SIMD wide_pair<K> gather_pairs_at(const double* table, const wide<i64x2, K>& element) {
    return map_pairs([table](auto x) OZK_SIMD_LAMBDA { return gather_pairs_at(table, x); }, element);
}

// ---- Two vectors of doubles beside one of 32-bit words ------------------------------------------------

using f64x4 = wide<f64x2, 2>;

// Four singles or integers as doubles, and back.
OZK_SIMD f64x4 widen(f32x4 x) { return {{low_to_f64(x), high_to_f64(x)}}; }
OZK_SIMD f64x4 widen(i32x4 x) { return {{low_to_f64(x), high_to_f64(x)}}; }
OZK_SIMD f32x4 narrow(const f64x4& x) { return to_f32(x.v[0], x.v[1]); }

// The entries of a table that never changes.
OZK_SIMD f64x4 gather(const double* table, const Indices& x) {
    return {gather(table, x.i[0], x.i[1]), gather(table, x.i[2], x.i[3])};
}

// The high words of four doubles.
OZK_SIMD i32x4 high_words(const f64x4& x) { return odd_lanes(as_i32(bits(x.v[0])), as_i32(bits(x.v[1]))); }
// Their low words.
OZK_SIMD i32x4 low_words(const f64x4& x) { return even_lanes(as_i32(bits(x.v[0])), as_i32(bits(x.v[1]))); }
// The high words of all doubles.
template <int K>
OZK_SIMD wide<i32x4, K / 2> all_high_words(const wide<f64x2, K>& x) {
    wide<i32x4, K / 2> result;
#pragma GCC unroll 8
    for (int k = 0; k < K / 2; ++k) result.v[k] = high_words(f64x4{{x.v[2 * k], x.v[2 * k + 1]}});
    return result;
}
// The largest number of each lane.
template <int K>
OZK_SIMD i32x4 largest(const wide<i32x4, K>& x) {
    i32x4 result = x.v[0];
#pragma GCC unroll 8
    for (int k = 1; k < K; ++k) result = max(result, x.v[k]);
    return result;
}
// Those of two, each pair of lanes the same.
OZK_SIMD i32x4 high_words(f64x2 x) { return odd_lanes(as_i32(bits(x)), as_i32(bits(x))); }
// A mask over the high words of two doubles (the odd lanes), as a mask over the doubles: its sign bits count.
OZK_SIMD f64x2 mask_of_high_words(i32x4 mask) { return as_f64(as_i64(mask)); }

// ---- Infinities and NaN among many results --------------------------------------------------------------

// Sees vectors one after the other and tells in which lanes one was infinite or NaN: by the largest bits of
// positive and of negative numbers, since it takes no copy of the vector to see it.
template <class V>
class NotFinite {
  public:
    OZK_SIMD void see(V x) {
        const __m128i words = bits(x).v;
        positive_ = _mm_max_epi32(positive_, words);
        negative_ = _mm_max_epu32(negative_, words);
    }
    template <int K>
    OZK_SIMD void see(const wide<V, K>& x) {
        for (const V& single : x.v) see(single);
    }
    OZK_SIMD int lanes() const {
        const i32x4 seen = above({positive_}, broadcast(kInfinity - 1)) |
                           above({negative_}, broadcast(INT32_MIN + kInfinity - 1));
        return V::kLanes == 4 ? simd::lanes(seen) : simd::lanes(as_i64(seen));
    }

  private:
    static constexpr int32_t kInfinity = V::kLanes == 4 ? 0x7F800000 : 0x7FF00000;  // its high word
    __m128i positive_ = _mm_setzero_si128(), negative_ = _mm_set1_epi32(INT32_MIN);
};

// The lanes of one vector.
OZK_SIMD int not_finite_lanes(f32x4 a) { return lanes(bits(abs(a)) > broadcast(int32_t{0x7F800000 - 1})); }
OZK_SIMD int not_finite_lanes(f64x2 a) {
    return lanes(as_f64(as_i64(as_i32(bits(abs(a))) > broadcast(int32_t{0x7FF00000 - 1}))));
}

}  // namespace ozk::simd
