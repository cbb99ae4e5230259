// 128-bit vectors of two doubles, four floats and their integer twins, over the SSE4.2 intrinsics.
//
// A vector is a plain value; operators are lane by lane and round as the machine is set to round. Comparisons
// give masks (all ones or all zeros a lane). Nothing here reads memory beyond the lanes it names. This folder
// is the only place that spells an intrinsic; what a kernel needs is added here under a name that says what
// it does.
#pragma once

#include <nmmintrin.h>

#include <bit>
#include <cstdint>

namespace ozk::simd {

#define OZK_SIMD        [[gnu::always_inline]] inline
#define OZK_SIMD_LAMBDA __attribute__((always_inline))

struct f64x2 {
    __m128d v;
    static constexpr int kLanes = 2;
};
struct f32x4 {
    __m128 v;
    static constexpr int kLanes = 4;
};
struct i64x2 {
    __m128i v;
    static constexpr int kLanes = 2;
};
struct i32x4 {
    __m128i v;
    static constexpr int kLanes = 4;
};

// The vector of Ts.
template <class T>
struct VectorOf;
template <>
struct VectorOf<double> {
    using type = f64x2;
};
template <>
struct VectorOf<float> {
    using type = f32x4;
};
template <class T>
using vec = typename VectorOf<T>::type;

// ---- Making vectors -----------------------------------------------------------------------------------

OZK_SIMD f64x2 broadcast(double x) { return {_mm_set1_pd(x)}; }
OZK_SIMD f32x4 broadcast(float x) { return {_mm_set1_ps(x)}; }
OZK_SIMD i64x2 broadcast(int64_t x) { return {_mm_set1_epi64x(x)}; }
OZK_SIMD i32x4 broadcast(int32_t x) { return {_mm_set1_epi32(x)}; }
template <class V>
OZK_SIMD V zeros_like(V) {
    return V{};
}
OZK_SIMD f64x2 pair(double low, double high) { return {_mm_set_pd(high, low)}; }
OZK_SIMD i32x4 lanes_of(uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
    return {
        _mm_setr_epi32(static_cast<int>(a), static_cast<int>(b), static_cast<int>(c), static_cast<int>(d))};
}
OZK_SIMD i64x2 pair(int64_t low, int64_t high) { return {_mm_set_epi64x(high, low)}; }

// The same value, which the compiler doesn't know: it can't fold an operation on it away.
OZK_SIMD f64x2 hidden(f64x2 a) {
    asm("" : "+x"(a.v));
    return a;
}
OZK_SIMD f32x4 hidden(f32x4 a) {
    asm("" : "+x"(a.v));
    return a;
}

// ---- Memory, any alignment ----------------------------------------------------------------------------

OZK_SIMD f64x2 load(const double* p) { return {_mm_loadu_pd(p)}; }
OZK_SIMD f32x4 load(const float* p) { return {_mm_loadu_ps(p)}; }
OZK_SIMD i64x2 load(const int64_t* p) { return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))}; }
OZK_SIMD i32x4 load(const int32_t* p) { return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))}; }
// At a place whose address is a multiple of 16.
OZK_SIMD i32x4 load_aligned(const int32_t* p) {
    return {_mm_load_si128(reinterpret_cast<const __m128i*>(p))};
}
OZK_SIMD void store(double* p, f64x2 a) { _mm_storeu_pd(p, a.v); }
OZK_SIMD void store(float* p, f32x4 a) { _mm_storeu_ps(p, a.v); }
OZK_SIMD void store(int64_t* p, i64x2 a) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), a.v); }
OZK_SIMD void store(int32_t* p, i32x4 a) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), a.v); }

// Elements `step` apart, and the first `count` elements with the last of them repeated in the lanes above: no
// lane above is read or written, and none holds anything that its neighbours do not.
OZK_SIMD f64x2 load_strided(const double* p, int64_t step) {
    return {_mm_loadh_pd(_mm_load_sd(p), p + step)};
}
OZK_SIMD void store_strided(double* p, int64_t step, f64x2 a) {
    _mm_store_sd(p, a.v);
    _mm_storeh_pd(p + step, a.v);
}
OZK_SIMD f64x2 load_first(const double* p, int64_t step, int count) {
    return count > 1 ? load_strided(p, step) : broadcast(*p);
}
OZK_SIMD void store_first(double* p, int64_t step, int count, f64x2 a) {
    _mm_store_sd(p, a.v);
    if (count > 1) _mm_storeh_pd(p + step, a.v);
}

OZK_SIMD f32x4 load_strided(const float* p, int64_t step) {
    return {_mm_setr_ps(p[0], p[step], p[2 * step], p[3 * step])};
}
OZK_SIMD void store_strided(float* p, int64_t step, f32x4 a) {
    _mm_store_ss(p, a.v);
    _mm_store_ss(p + step, _mm_movehdup_ps(a.v));
    const __m128 high = _mm_movehl_ps(a.v, a.v);
    _mm_store_ss(p + 2 * step, high);
    _mm_store_ss(p + 3 * step, _mm_movehdup_ps(high));
}
OZK_SIMD f32x4 load_first(const float* p, int64_t step, int count) {
    if (count == 1) return broadcast(*p);
    const __m128 two = _mm_unpacklo_ps(_mm_load_ss(p), _mm_load_ss(p + step));
    const __m128 last = count == 2 ? _mm_load_ss(p + step) : _mm_load_ss(p + 2 * step);
    return {_mm_shuffle_ps(two, last, _MM_SHUFFLE(0, 0, 1, 0))};
}
OZK_SIMD void store_first(float* p, int64_t step, int count, f32x4 a) {
    _mm_store_ss(p, a.v);
    if (count == 1) return;
    _mm_store_ss(p + step, _mm_movehdup_ps(a.v));
    if (count == 2) return;
    _mm_store_ss(p + 2 * step, _mm_movehl_ps(a.v, a.v));
    if (count == 4) _mm_store_ss(p + 3 * step, _mm_shuffle_ps(a.v, a.v, _MM_SHUFFLE(3, 3, 3, 3)));
}

// The same for a vector type that the caller names; elements of more than one vector type have overloads.
template <class V, class T>
OZK_SIMD V load_as(const T* p) {
    return load(p);
}
template <class V, class T>
OZK_SIMD V load_strided_as(const T* p, int64_t step) {
    return load_strided(p, step);
}
template <class V, class T>
OZK_SIMD V load_first_as(const T* p, int64_t step, int count) {
    return load_first(p, step, count);
}

// The pairs at two addresses, of 16 bytes: first members, second members.
struct f64x2_pair {
    f64x2 first, second;
};
OZK_SIMD f64x2_pair load_pairs(const double* a, const double* b) {
    const __m128d low = _mm_load_pd(a), high = _mm_load_pd(b);
    return {{_mm_unpacklo_pd(low, high)}, {_mm_unpackhi_pd(low, high)}};
}
// The pairs of a table of pairs that the two lanes of `index` name.
OZK_SIMD f64x2_pair gather_pairs(const double* table, i64x2 index) {
    return load_pairs(table + 2 * _mm_cvtsi128_si64(index.v), table + 2 * _mm_extract_epi64(index.v, 1));
}

// The pairs that start at the elements of a table that the two lanes of `element` name, both even.
OZK_SIMD f64x2_pair gather_pairs_at(const double* table, i64x2 element) {
    return load_pairs(table + _mm_cvtsi128_si64(element.v), table + _mm_extract_epi64(element.v, 1));
}

// The bits of a vector in the integer units, which have nothing else to do, to take indices from.
class Words {
  public:
    template <class I>
    OZK_SIMD void keep(I x) {
        first_ = static_cast<uint64_t>(_mm_cvtsi128_si64(x.v));
        second_ = static_cast<uint64_t>(_mm_extract_epi64(x.v, 1));
    }
    OZK_SIMD size_t byte(int i) const { return at(8 * i) & 0xFF; }
    OZK_SIMD size_t half(int i) const { return at(16 * i) & 0xFFFF; }
    OZK_SIMD size_t word(int i) const { return at(32 * i) & 0xFFFFFFFF; }

  private:
    OZK_SIMD size_t at(int bit) const { return (bit < 64 ? first_ : second_) >> (bit & 63); }
    uint64_t first_, second_;
};
// With the vector itself.
class VectorAndWords : public Words {
  public:
    OZK_SIMD void keep(i64x2 x) {
        Words::keep(x);
        vector_ = x;
    }
    OZK_SIMD i64x2 all() const { return vector_; }

  private:
    i64x2 vector_;
};
// The same in memory, where each index is a load: fewer instructions of a kernel that needs the vector again late. What the
// bytes are is hidden, for the compiler would take them out of the vector after all.
class StoredWords {
  public:
    OZK_SIMD void keep(i64x2 x) {
        _mm_store_si128(&vector_, x.v);
        asm volatile("" : "+m"(vector_));
    }
    OZK_SIMD i64x2 all() const { return {_mm_load_si128(&vector_)}; }
    OZK_SIMD size_t byte(int i) const { return at<uint8_t>(i); }
    OZK_SIMD size_t half(int i) const { return at<uint16_t>(2 * i); }

  private:
    template <class Index>
    OZK_SIMD Index at(int byte) const {
        Index index;
        __builtin_memcpy(&index, reinterpret_cast<const char*>(&vector_) + byte, sizeof index);
        return index;
    }
    __m128i vector_;
};
OZK_SIMD const double* at_offset(const double* table, size_t bytes) {
    return reinterpret_cast<const double*>(reinterpret_cast<const char*>(table) + bytes);
}
// The entries, the pairs of entries at two offsets in bytes.
OZK_SIMD f64x2 gather_by_offsets(const double* table, size_t first, size_t second) {
    return {_mm_loadh_pd(_mm_load_sd(at_offset(table, first)), at_offset(table, second))};
}
OZK_SIMD f64x2_pair gather_pairs_by_offsets(const double* table, size_t first, size_t second) {
    return load_pairs(at_offset(table, first), at_offset(table, second));
}

// Four indices of 8 bits, in one register and apart. A vector stored to memory and read by four loads takes twice the time,
// and the shifts and masks that the compiler would take them apart by are half as many instructions again.
struct PackedIndices {
    uint32_t word;
};
struct Indices {
    size_t i[4];
};
// Byte kByte of each lane.
template <int kByte>
OZK_SIMD PackedIndices pack_bytes(i32x4 a) {
    const __m128i places =
        _mm_setr_epi8(kByte, 4 + kByte, 8 + kByte, 12 + kByte, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    return {static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_shuffle_epi8(a.v, places)))};
}
OZK_SIMD Indices unpack(PackedIndices packed) {
    Indices x;
    asm("movzbl %b4, %k0\n\tmovzbl %h4, %k1\n\tshrl $16, %4\n\tmovzbl %b4, %k2\n\tmovzbl %h4, %k3"
        : "=&r"(x.i[0]), "=&R"(x.i[1]), "=&r"(x.i[2]), "=R"(x.i[3]), "+Q"(packed.word)
        :
        : "cc");
    return x;
}
// Two entries of a table that never changes. The index is scaled by the load: of one that it uses twice, the compiler would
// make an instruction of it.
OZK_SIMD f64x2 gather(const double* table, size_t i, size_t j) {
    f64x2 entries;
    asm("movsd (%1,%2,8), %0\n\tmovhpd (%1,%3,8), %0" : "=&x"(entries.v) : "r"(table), "r"(i), "r"(j));
    return entries;
}
// The pairs of a table of pairs of singles: first members, second members.
struct f32x4_pair {
    f32x4 first, second;
};
OZK_SIMD f32x4_pair gather_pairs(const float* table, const Indices& x) {
    const auto pairs = [table](size_t i, size_t j) OZK_SIMD_LAMBDA {
        const float *const a = table + 2 * i, *const b = table + 2 * j;
        const __m128 first = _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(a)));
        return _mm_loadh_pi(first, reinterpret_cast<const __m64*>(b));
    };
    const __m128 low = pairs(x.i[0], x.i[1]), high = pairs(x.i[2], x.i[3]);
    return {{_mm_shuffle_ps(low, high, _MM_SHUFFLE(2, 0, 2, 0))},
            {_mm_shuffle_ps(low, high, _MM_SHUFFLE(3, 1, 3, 1))}};
}

// ---- Reinterpretation of the bits ---------------------------------------------------------------------

OZK_SIMD i64x2 bits(f64x2 a) { return {_mm_castpd_si128(a.v)}; }
OZK_SIMD i32x4 bits(f32x4 a) { return {_mm_castps_si128(a.v)}; }
OZK_SIMD f64x2 as_f64(i64x2 a) { return {_mm_castsi128_pd(a.v)}; }
OZK_SIMD f32x4 as_f32(i32x4 a) { return {_mm_castsi128_ps(a.v)}; }
OZK_SIMD i32x4 as_i32(i64x2 a) { return {a.v}; }
OZK_SIMD i64x2 as_i64(i32x4 a) { return {a.v}; }

// ---- Arithmetic ---------------------------------------------------------------------------------------

OZK_SIMD f64x2 operator+(f64x2 a, f64x2 b) { return {_mm_add_pd(a.v, b.v)}; }
OZK_SIMD f64x2 operator-(f64x2 a, f64x2 b) { return {_mm_sub_pd(a.v, b.v)}; }
OZK_SIMD f64x2 operator*(f64x2 a, f64x2 b) { return {_mm_mul_pd(a.v, b.v)}; }
OZK_SIMD f64x2 operator/(f64x2 a, f64x2 b) { return {_mm_div_pd(a.v, b.v)}; }
OZK_SIMD f64x2 sqrt(f64x2 a) { return {_mm_sqrt_pd(a.v)}; }
OZK_SIMD f64x2 subtract_add(f64x2 a, f64x2 b) { return {_mm_addsub_pd(a.v, b.v)}; }  // a0 - b0, a1 + b1
OZK_SIMD f64x2 min(f64x2 a, f64x2 b) { return {_mm_min_pd(a.v, b.v)}; }
OZK_SIMD f64x2 max(f64x2 a, f64x2 b) { return {_mm_max_pd(a.v, b.v)}; }

// Arithmetic with constants that stay in memory. A kernel has more constants than there are registers; of those written
// as vectors, the compiler takes some into registers and puts its intermediate results into memory instead.
// A double, a single twice, or an integer: floating-point numbers are no template arguments for every compiler.
struct LaneValue {
    uint64_t bits;
    bool is_double = false, is_single = false;

    consteval LaneValue(double c) : bits(std::bit_cast<uint64_t>(c)), is_double(true) {}
    consteval LaneValue(float c)
        : bits(std::bit_cast<uint32_t>(c) * uint64_t{0x100000001}), is_single(true) {}
    consteval LaneValue(int64_t c) : bits(static_cast<uint64_t>(c)) {}
    consteval bool is(double) const { return is_double; }
    consteval bool is(float) const { return is_single; }
    consteval bool is(int64_t) const { return !is_double && !is_single; }
};
template <LaneValue c>
struct Constant {
    alignas(16) static constexpr uint64_t lanes[2] = {c.bits, c.bits};
};
template <LaneValue c>
inline constexpr Constant<c> constant{};
#define OZK_WITH_CONSTANT(V, type, op, instruction)                       \
    template <LaneValue c>                                                \
    requires(c.is(type{})) OZK_SIMD V operator op(V a, Constant<c>) {     \
        asm(instruction " %1, %0" : "+x"(a.v) : "m"(Constant<c>::lanes)); \
        return a;                                                         \
    }
OZK_WITH_CONSTANT(f64x2, double, +, "addpd")
OZK_WITH_CONSTANT(f64x2, double, -, "subpd")
OZK_WITH_CONSTANT(f64x2, double, *, "mulpd")
OZK_WITH_CONSTANT(f32x4, float, +, "addps")
OZK_WITH_CONSTANT(f32x4, float, -, "subps")
OZK_WITH_CONSTANT(f32x4, float, *, "mulps")
OZK_WITH_CONSTANT(i64x2, int64_t, +, "paddq")
OZK_WITH_CONSTANT(i64x2, int64_t, &, "pand")
OZK_WITH_CONSTANT(i64x2, int64_t, |, "por")
#undef OZK_WITH_CONSTANT

OZK_SIMD f32x4 operator+(f32x4 a, f32x4 b) { return {_mm_add_ps(a.v, b.v)}; }
OZK_SIMD f32x4 operator-(f32x4 a, f32x4 b) { return {_mm_sub_ps(a.v, b.v)}; }
OZK_SIMD f32x4 operator*(f32x4 a, f32x4 b) { return {_mm_mul_ps(a.v, b.v)}; }
OZK_SIMD f32x4 operator/(f32x4 a, f32x4 b) { return {_mm_div_ps(a.v, b.v)}; }
OZK_SIMD f32x4 sqrt(f32x4 a) { return {_mm_sqrt_ps(a.v)}; }
OZK_SIMD f32x4 min(f32x4 a, f32x4 b) { return {_mm_min_ps(a.v, b.v)}; }
OZK_SIMD f32x4 max(f32x4 a, f32x4 b) { return {_mm_max_ps(a.v, b.v)}; }

// a + b and a * b whose operands the compiler doesn't exchange: of two NaN the first one goes on.
OZK_SIMD f64x2 add_in_order(f64x2 a, f64x2 b) {
    asm("addpd %1, %0" : "+x"(a.v) : "x"(b.v));
    return a;
}
OZK_SIMD f32x4 add_in_order(f32x4 a, f32x4 b) {
    asm("addps %1, %0" : "+x"(a.v) : "x"(b.v));
    return a;
}
OZK_SIMD f64x2 multiply_in_order(f64x2 a, f64x2 b) {
    asm("mulpd %1, %0" : "+x"(a.v) : "x"(b.v));
    return a;
}
OZK_SIMD f32x4 multiply_in_order(f32x4 a, f32x4 b) {
    asm("mulps %1, %0" : "+x"(a.v) : "x"(b.v));
    return a;
}

// Raises the flags of a * b, nothing else.
OZK_SIMD void raise_flags_of_product(f32x4 a, f32x4 b) {
    asm volatile("mulps %1, %0" : "+x"(a.v) : "x"(b.v));
}

OZK_SIMD i64x2 operator+(i64x2 a, i64x2 b) { return {_mm_add_epi64(a.v, b.v)}; }
OZK_SIMD i64x2 operator-(i64x2 a, i64x2 b) { return {_mm_sub_epi64(a.v, b.v)}; }
OZK_SIMD i32x4 operator+(i32x4 a, i32x4 b) { return {_mm_add_epi32(a.v, b.v)}; }
OZK_SIMD i32x4 operator-(i32x4 a, i32x4 b) { return {_mm_sub_epi32(a.v, b.v)}; }
OZK_SIMD i32x4 max(i32x4 a, i32x4 b) { return {_mm_max_epi32(a.v, b.v)}; }
OZK_SIMD i32x4 min_unsigned(i32x4 a, i32x4 b) { return {_mm_min_epu32(a.v, b.v)}; }
OZK_SIMD i32x4 max_unsigned(i32x4 a, i32x4 b) { return {_mm_max_epu32(a.v, b.v)}; }
// The 64-bit products of lanes 0 and of lanes 2, unsigned.
OZK_SIMD i64x2 multiply_even(i32x4 a, i32x4 b) { return {_mm_mul_epu32(a.v, b.v)}; }
// a where b is positive, 0 where b is 0, -a where b is negative.
OZK_SIMD i32x4 times_sign(i32x4 a, i32x4 b) { return {_mm_sign_epi32(a.v, b.v)}; }
// The same of the low words of each lane; the high words are not read.
OZK_SIMD i64x2 multiply_low_words(i64x2 a, i64x2 b) { return {_mm_mul_epu32(a.v, b.v)}; }
OZK_SIMD i32x4 min(i32x4 a, i32x4 b) { return {_mm_min_epi32(a.v, b.v)}; }

// The estimate of 1/a, relative error at most 1.5 * 2^-12; its bits differ between processor makers.
OZK_SIMD f32x4 reciprocal_estimate(f32x4 a) { return {_mm_rcp_ps(a.v)}; }
// The estimate of 1/sqrt(a), relative error at most 1.5 * 2^-12; its bits differ between processor makers.
OZK_SIMD f32x4 reciprocal_sqrt_estimate(f32x4 a) { return {_mm_rsqrt_ps(a.v)}; }

// ---- Bits ---------------------------------------------------------------------------------------------

OZK_SIMD i64x2 operator&(i64x2 a, i64x2 b) { return {_mm_and_si128(a.v, b.v)}; }
OZK_SIMD i64x2 operator|(i64x2 a, i64x2 b) { return {_mm_or_si128(a.v, b.v)}; }
OZK_SIMD i64x2 operator^(i64x2 a, i64x2 b) { return {_mm_xor_si128(a.v, b.v)}; }
OZK_SIMD i32x4 operator&(i32x4 a, i32x4 b) { return {_mm_and_si128(a.v, b.v)}; }
OZK_SIMD i32x4 operator|(i32x4 a, i32x4 b) { return {_mm_or_si128(a.v, b.v)}; }
OZK_SIMD i32x4 operator^(i32x4 a, i32x4 b) { return {_mm_xor_si128(a.v, b.v)}; }
OZK_SIMD f64x2 operator&(f64x2 a, f64x2 b) { return {_mm_and_pd(a.v, b.v)}; }
OZK_SIMD f64x2 operator|(f64x2 a, f64x2 b) { return {_mm_or_pd(a.v, b.v)}; }
OZK_SIMD f64x2 operator^(f64x2 a, f64x2 b) { return {_mm_xor_pd(a.v, b.v)}; }
OZK_SIMD f32x4 operator&(f32x4 a, f32x4 b) { return {_mm_and_ps(a.v, b.v)}; }
OZK_SIMD f32x4 operator|(f32x4 a, f32x4 b) { return {_mm_or_ps(a.v, b.v)}; }
OZK_SIMD f32x4 operator^(f32x4 a, f32x4 b) { return {_mm_xor_ps(a.v, b.v)}; }

OZK_SIMD i32x4 and_not(i32x4 a, i32x4 b) { return {_mm_andnot_si128(b.v, a.v)}; }  // a & ~b
OZK_SIMD f64x2 and_not(f64x2 a, f64x2 b) { return {_mm_andnot_pd(b.v, a.v)}; }
OZK_SIMD f32x4 and_not(f32x4 a, f32x4 b) { return {_mm_andnot_ps(b.v, a.v)}; }

template <int kCount>
OZK_SIMD i64x2 shift_left(i64x2 a) {
    return {_mm_slli_epi64(a.v, kCount)};
}
template <int kCount>
OZK_SIMD i64x2 shift_right(i64x2 a) {
    return {_mm_srli_epi64(a.v, kCount)};
}
template <int kCount>
OZK_SIMD i32x4 shift_left(i32x4 a) {
    return {_mm_slli_epi32(a.v, kCount)};
}
template <int kCount>
OZK_SIMD i32x4 shift_right(i32x4 a) {
    return {_mm_srli_epi32(a.v, kCount)};
}
// The whole vector as one number of 128 bits, lane 0 lowest.
template <int kBytes>
OZK_SIMD i32x4 shift_bytes_left(i32x4 a) {
    return {_mm_slli_si128(a.v, kBytes)};
}
template <int kBytes>
OZK_SIMD i32x4 shift_bytes_right(i32x4 a) {
    return {_mm_srli_si128(a.v, kBytes)};
}
template <int kCount>
OZK_SIMD i32x4 shift_right_signed(i32x4 a) {
    return {_mm_srai_epi32(a.v, kCount)};
}

OZK_SIMD f64x2 abs(f64x2 a) { return a & as_f64(broadcast(int64_t{0x7FFFFFFFFFFFFFFF})); }
OZK_SIMD f32x4 abs(f32x4 a) { return a & as_f32(broadcast(int32_t{0x7FFFFFFF})); }
OZK_SIMD f64x2 sign_bit(f64x2 a) { return a & broadcast(-0.0); }
OZK_SIMD f32x4 sign_bit(f32x4 a) { return a & broadcast(-0.0F); }

// ---- Comparison: masks of all ones or all zeros a lane ------------------------------------------------

OZK_SIMD f64x2 operator<(f64x2 a, f64x2 b) { return {_mm_cmplt_pd(a.v, b.v)}; }
OZK_SIMD f64x2 operator<=(f64x2 a, f64x2 b) { return {_mm_cmple_pd(a.v, b.v)}; }
OZK_SIMD f64x2 operator==(f64x2 a, f64x2 b) { return {_mm_cmpeq_pd(a.v, b.v)}; }
OZK_SIMD f64x2 not_less(f64x2 a, f64x2 b) { return {_mm_cmpnlt_pd(a.v, b.v)}; }  // also where a or b is NaN
OZK_SIMD f64x2 not_less_or_equal(f64x2 a, f64x2 b) {
    return {_mm_cmpnle_pd(a.v, b.v)};
}  // also where a or b is NaN
OZK_SIMD f32x4 operator<(f32x4 a, f32x4 b) { return {_mm_cmplt_ps(a.v, b.v)}; }
OZK_SIMD f32x4 operator<=(f32x4 a, f32x4 b) { return {_mm_cmple_ps(a.v, b.v)}; }
OZK_SIMD f32x4 operator==(f32x4 a, f32x4 b) { return {_mm_cmpeq_ps(a.v, b.v)}; }
OZK_SIMD f32x4 not_less(f32x4 a, f32x4 b) { return {_mm_cmpnlt_ps(a.v, b.v)}; }
OZK_SIMD f32x4 not_less_or_equal(f32x4 a, f32x4 b) { return {_mm_cmpnle_ps(a.v, b.v)}; }
OZK_SIMD f64x2 unordered(f64x2 a, f64x2 b) { return {_mm_cmpunord_pd(a.v, b.v)}; }  // where a or b is NaN
OZK_SIMD f32x4 unordered(f32x4 a, f32x4 b) { return {_mm_cmpunord_ps(a.v, b.v)}; }
OZK_SIMD i32x4 operator==(i32x4 a, i32x4 b) { return {_mm_cmpeq_epi32(a.v, b.v)}; }
OZK_SIMD i64x2 operator==(i64x2 a, i64x2 b) { return {_mm_cmpeq_epi64(a.v, b.v)}; }
OZK_SIMD i32x4 operator>(i32x4 a, i32x4 b) { return {_mm_cmpgt_epi32(a.v, b.v)}; }
OZK_SIMD i64x2 operator>(i64x2 a, i64x2 b) { return {_mm_cmpgt_epi64(a.v, b.v)}; }
// a > b by one instruction, where the compiler makes a minimum and an equality of it: for some constants b.
OZK_SIMD i32x4 above(i32x4 a, i32x4 b) {
    asm("pcmpgtd %1, %0" : "+x"(a.v) : "x"(b.v));
    return a;
}

// Lane i of a mask as bit i.
OZK_SIMD int lanes(f64x2 mask) { return _mm_movemask_pd(mask.v); }
OZK_SIMD int lanes(f32x4 mask) { return _mm_movemask_ps(mask.v); }
OZK_SIMD int lanes(i32x4 mask) { return _mm_movemask_ps(_mm_castsi128_ps(mask.v)); }
OZK_SIMD int lanes(i64x2 mask) { return _mm_movemask_pd(_mm_castsi128_pd(mask.v)); }

// Lane by lane mask ? a : b.
OZK_SIMD f64x2 select(f64x2 mask, f64x2 a, f64x2 b) { return {_mm_blendv_pd(b.v, a.v, mask.v)}; }
OZK_SIMD f32x4 select(f32x4 mask, f32x4 a, f32x4 b) { return {_mm_blendv_ps(b.v, a.v, mask.v)}; }

// ---- Rounding and conversion --------------------------------------------------------------------------

OZK_SIMD f64x2 round_to_even(f64x2 a) {
    return {_mm_round_pd(a.v, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC)};
}
OZK_SIMD f64x2 truncate(f64x2 a) { return {_mm_round_pd(a.v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC)}; }
OZK_SIMD f64x2 floor(f64x2 a) { return {_mm_round_pd(a.v, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC)}; }
OZK_SIMD f64x2 ceil(f64x2 a) { return {_mm_round_pd(a.v, _MM_FROUND_TO_POS_INF | _MM_FROUND_NO_EXC)}; }
OZK_SIMD f32x4 round_to_even(f32x4 a) {
    return {_mm_round_ps(a.v, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC)};
}
OZK_SIMD f32x4 truncate(f32x4 a) { return {_mm_round_ps(a.v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC)}; }
OZK_SIMD f32x4 floor(f32x4 a) { return {_mm_round_ps(a.v, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC)}; }
OZK_SIMD f32x4 ceil(f32x4 a) { return {_mm_round_ps(a.v, _MM_FROUND_TO_POS_INF | _MM_FROUND_NO_EXC)}; }

// As round_to_even, and raises the inexact flag where a is no integer.
OZK_SIMD f64x2 rint(f64x2 a) { return {_mm_round_pd(a.v, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_RAISE_EXC)}; }
OZK_SIMD f32x4 rint(f32x4 a) { return {_mm_round_ps(a.v, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_RAISE_EXC)}; }

// The two doubles as singles in lanes 0 and 1, zeros above.
OZK_SIMD f32x4 to_f32(f64x2 a) { return {_mm_cvtpd_ps(a.v)}; }
// Lanes 0 and 1 as doubles.
OZK_SIMD f64x2 low_to_f64(f32x4 a) { return {_mm_cvtps_pd(a.v)}; }
// Lanes 2 and 3 as doubles.
OZK_SIMD f64x2 high_to_f64(f32x4 a) { return {_mm_cvtps_pd(_mm_movehl_ps(a.v, a.v))}; }
// Four singles from two pairs of doubles.
OZK_SIMD f32x4 to_f32(f64x2 low, f64x2 high) {
    return {_mm_movelh_ps(_mm_cvtpd_ps(low.v), _mm_cvtpd_ps(high.v))};
}
// Lanes 0 and 1 of signed 32-bit integers as doubles.
OZK_SIMD f64x2 low_to_f64(i32x4 a) { return {_mm_cvtepi32_pd(a.v)}; }
// Lanes 0 and 1, lanes 2 and 3 of unsigned 32-bit integers as doubles: as low words under the high word of
// 2^52, which is taken away.
OZK_SIMD f64x2 low_unsigned_to_f64(i32x4 a) {
    const __m128i words = _mm_unpacklo_epi32(a.v, _mm_set1_epi32(0x43300000));
    return {_mm_sub_pd(_mm_castsi128_pd(words), _mm_set1_pd(0x1p52))};
}
OZK_SIMD f64x2 high_unsigned_to_f64(i32x4 a) {
    const __m128i words = _mm_unpackhi_epi32(a.v, _mm_set1_epi32(0x43300000));
    return {_mm_sub_pd(_mm_castsi128_pd(words), _mm_set1_pd(0x1p52))};
}
// Lanes 2 and 3 of signed 32-bit integers as doubles.
OZK_SIMD f64x2 high_to_f64(i32x4 a) { return {_mm_cvtepi32_pd(_mm_unpackhi_epi64(a.v, a.v))}; }
OZK_SIMD f32x4 to_f32(i32x4 a) { return {_mm_cvtepi32_ps(a.v)}; }
OZK_SIMD i32x4 round_to_i32(f32x4 a) { return {_mm_cvtps_epi32(a.v)}; }
OZK_SIMD i32x4 truncate_to_i32(f32x4 a) { return {_mm_cvttps_epi32(a.v)}; }
// The two doubles truncated to 32-bit integers in lanes 0 and 1, zeros above.
OZK_SIMD i32x4 truncate_to_i32(f64x2 a) { return {_mm_cvttpd_epi32(a.v)}; }

// ---- Lanes --------------------------------------------------------------------------------------------

OZK_SIMD float low(f32x4 a) { return _mm_cvtss_f32(a.v); }
OZK_SIMD double low(f64x2 a) { return _mm_cvtsd_f64(a.v); }
OZK_SIMD double high(f64x2 a) { return _mm_cvtsd_f64(_mm_unpackhi_pd(a.v, a.v)); }
OZK_SIMD int64_t low(i64x2 a) { return _mm_cvtsi128_si64(a.v); }
OZK_SIMD int64_t high(i64x2 a) { return _mm_extract_epi64(a.v, 1); }
template <int kLane>
OZK_SIMD int32_t lane(i32x4 a) {
    return _mm_extract_epi32(a.v, kLane);
}
OZK_SIMD f64x2 interleave_low(f64x2 a, f64x2 b) { return {_mm_unpacklo_pd(a.v, b.v)}; }      // a0 b0
OZK_SIMD f64x2 interleave_high(f64x2 a, f64x2 b) { return {_mm_unpackhi_pd(a.v, b.v)}; }     // a1 b1
OZK_SIMD i64x2 interleave_low(i64x2 a, i64x2 b) { return {_mm_unpacklo_epi64(a.v, b.v)}; }   // a0 b0
OZK_SIMD i64x2 interleave_high(i64x2 a, i64x2 b) { return {_mm_unpackhi_epi64(a.v, b.v)}; }  // a1 b1
OZK_SIMD i32x4 interleave_low(i32x4 a, i32x4 b) { return {_mm_unpacklo_epi32(a.v, b.v)}; }   // a0 b0 a1 b1
OZK_SIMD i32x4 interleave_high(i32x4 a, i32x4 b) { return {_mm_unpackhi_epi32(a.v, b.v)}; }  // a2 b2 a3 b3
// The lanes of a from kFirst on, followed by those of b below.
template <int kFirst>
OZK_SIMD i32x4 join(i32x4 a, i32x4 b) {
    return {_mm_alignr_epi8(b.v, a.v, 4 * kFirst)};
}
// In each 64-bit lane the low word of a, and above it the low word of b.
OZK_SIMD i64x2 join_low_words(i64x2 a, i64x2 b) {
    return {_mm_blend_epi16(a.v, _mm_slli_epi64(b.v, 32), 0xCC)};
}
OZK_SIMD f64x2 from_lanes(const double (&a)[2]) { return pair(a[0], a[1]); }
OZK_SIMD f32x4 from_lanes(const float (&a)[4]) { return {_mm_setr_ps(a[0], a[1], a[2], a[3])}; }
// Lane i of vector k becomes lane k of vector i.
OZK_SIMD void transpose(f32x4 (&a)[4]) { _MM_TRANSPOSE4_PS(a[0].v, a[1].v, a[2].v, a[3].v); }
// Lanes 0 and 1 of either vector (a0 a1 b0 b1).
OZK_SIMD i32x4 join_low(i32x4 a, i32x4 b) { return {_mm_unpacklo_epi64(a.v, b.v)}; }
// Lanes 2 and 3 in the places of lanes 0 and 1.
OZK_SIMD f32x4 high_half(f32x4 a) { return {_mm_movehl_ps(a.v, a.v)}; }
OZK_SIMD i32x4 high_half(i32x4 a) { return {_mm_unpackhi_epi64(a.v, a.v)}; }
// Lanes 0 and 1 as the high words of 64-bit integers whose low words are 0.
OZK_SIMD i64x2 low_to_high_words(i32x4 a) { return {_mm_unpacklo_epi32(_mm_setzero_si128(), a.v)}; }
// Lanes 2 and 3.
OZK_SIMD i64x2 high_to_high_words(i32x4 a) { return {_mm_unpackhi_epi32(_mm_setzero_si128(), a.v)}; }
// Neighbours exchanged (a1 a0 a3 a2), halves exchanged (a2 a3 a0 a1).
OZK_SIMD i32x4 swap_neighbours(i32x4 a) { return {_mm_shuffle_epi32(a.v, _MM_SHUFFLE(2, 3, 0, 1))}; }
OZK_SIMD i32x4 swap_halves(i32x4 a) { return {_mm_shuffle_epi32(a.v, _MM_SHUFFLE(1, 0, 3, 2))}; }
// Lanes 0 and 1, lanes 2 and 3 of signed 32-bit integers as 64-bit ones.
OZK_SIMD i64x2 low_to_i64(i32x4 a) { return {_mm_cvtepi32_epi64(a.v)}; }
OZK_SIMD i64x2 high_to_i64(i32x4 a) { return {_mm_cvtepi32_epi64(_mm_unpackhi_epi64(a.v, a.v))}; }
OZK_SIMD f32x4 interleave_low(f32x4 a, f32x4 b) { return {_mm_unpacklo_ps(a.v, b.v)}; }   // a0 b0 a1 b1
OZK_SIMD f32x4 interleave_high(f32x4 a, f32x4 b) { return {_mm_unpackhi_ps(a.v, b.v)}; }  // a2 b2 a3 b3
OZK_SIMD f64x2 repeat_low(f64x2 a) { return {_mm_unpacklo_pd(a.v, a.v)}; }                // a0 a0
OZK_SIMD f64x2 repeat_high(f64x2 a) { return {_mm_unpackhi_pd(a.v, a.v)}; }               // a1 a1
OZK_SIMD f64x2 swap_lanes(f64x2 a) { return {_mm_shuffle_pd(a.v, a.v, 1)}; }              // a1 a0
// Even lanes of two vectors (a0 a2 b0 b2), odd lanes (a1 a3 b1 b3).
OZK_SIMD f32x4 even_lanes(f32x4 a, f32x4 b) { return {_mm_shuffle_ps(a.v, b.v, _MM_SHUFFLE(2, 0, 2, 0))}; }
OZK_SIMD f32x4 odd_lanes(f32x4 a, f32x4 b) { return {_mm_shuffle_ps(a.v, b.v, _MM_SHUFFLE(3, 1, 3, 1))}; }
OZK_SIMD i32x4 even_lanes(i32x4 a, i32x4 b) {
    return {_mm_castps_si128(
        _mm_shuffle_ps(_mm_castsi128_ps(a.v), _mm_castsi128_ps(b.v), _MM_SHUFFLE(2, 0, 2, 0)))};
}
OZK_SIMD i32x4 odd_lanes(i32x4 a, i32x4 b) {
    return {_mm_castps_si128(
        _mm_shuffle_ps(_mm_castsi128_ps(a.v), _mm_castsi128_ps(b.v), _MM_SHUFFLE(3, 1, 3, 1)))};
}
// Odd lanes (a1 a3) in lanes 0 and 1.
OZK_SIMD i32x4 odd_lanes(i32x4 a) { return {_mm_shuffle_epi32(a.v, _MM_SHUFFLE(3, 1, 3, 1))}; }

// Lanes 0 and 2 of `even`, 1 and 3 of `odd`.
OZK_SIMD i32x4 blend(i32x4 even, i32x4 odd) { return {_mm_blend_epi16(even.v, odd.v, 0xCC)}; }
// Rows become columns.
OZK_SIMD void transpose(i32x4 (&rows)[4]) {
    const __m128i a = _mm_unpacklo_epi32(rows[0].v, rows[1].v), b = _mm_unpacklo_epi32(rows[2].v, rows[3].v);
    const __m128i c = _mm_unpackhi_epi32(rows[0].v, rows[1].v), d = _mm_unpackhi_epi32(rows[2].v, rows[3].v);
    rows[0].v = _mm_unpacklo_epi64(a, b);
    rows[1].v = _mm_unpackhi_epi64(a, b);
    rows[2].v = _mm_unpacklo_epi64(c, d);
    rows[3].v = _mm_unpackhi_epi64(c, d);
}

}  // namespace ozk::simd
