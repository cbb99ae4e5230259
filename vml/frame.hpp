// The frame of every elementwise kernel: control words, blocks of 16, tail, strides, special lanes, error
// reports.
//
// A kernel is an operation plus this frame. An operation is a struct with
//
//   using Argument, Result        element types
//   using Vector                  the vector of Arguments that compute() works on (Vector::kLanes elements)
//   using Scalars                 (optional) by-value parameters of the call
//   kArguments, kResults          (optional) 1 or 2, by default 1
//   kOrdinary                     (if it has special lanes) an argument that compute() handles without
//                                 raising flags
//   special(x [, y] [, scalars])  (optional) mask of the lanes that compute() can't do
//   Careful                       (optional, with special()) an operation whose compute() does special lanes
//                                 too, at the cost of time; then there are no reports and no scalar()
//   kChecksResult                 (optional, one result) infinities and NaN that compute() makes go to scalar(),
//                                 for a report; compute() has raised the flags that the element's operation raises
//   compute(x [, y] [, scalars])  the results of all lanes: a vector, or an array of two
//   kWide                         (optional) how many vectors compute() takes in step: then it is a template
//   that
//                                 also takes simd::wide<Vector, kWide>
//   Checked                       (optional) a vector that special() also takes, for the check of whole blocks: its
//                                 mask needn't tell the lanes, only whether there is one
//   kExtendedPrecision            (optional) the x87 unit computes in extended precision, rounding to nearest
//   prepare(x [, y]), finish(state) (optional, no scalars) compute() in two parts of about equal length
//   advance(state) (optional, with these) a part between them, which gives the state for finish()
//   scalar(x [, y] [, scalars], r [, r2])  one element, any argument; returns the error code
//
// all static. compute() has no branch; it never sees a special lane. scalar() is the only path for special
// lanes and is cold. Tails and strides run through the same compute(), so an element's bits never depend on
// its place.
#pragma once

#include <algorithm>
#include <array>
#include <type_traits>

#include "simd/complex.hpp"
#include "vml/control_words.hpp"
#include "vml/errors.hpp"

namespace ozk::vml {

inline constexpr int kBlock = 16;

struct NoScalars {};

// ---- What the frame reads of an operation -------------------------------------------------------------

template <class Op>
constexpr int argument_count() {
    if constexpr (requires { Op::kArguments; }) return Op::kArguments;
    return 1;
}
template <class Op>
constexpr int result_count() {
    if constexpr (requires { Op::kResults; }) return Op::kResults;
    return 1;
}
template <class Op>
struct ScalarsOf {
    using type = NoScalars;
};
template <class Op>
requires requires { typename Op::Scalars; }
struct ScalarsOf<Op> {
    using type = typename Op::Scalars;
};

template <class Op>
struct Call {
    const char* name;  // in messages
    std::array<const typename Op::Argument*, argument_count<Op>()> a;
    std::array<typename Op::Result*, result_count<Op>()> r;
    std::array<int32_t, argument_count<Op>()> inca;
    std::array<int32_t, result_count<Op>()> incr;
    [[no_unique_address]] typename ScalarsOf<Op>::type scalars;
};

template <class Op, class V = typename Op::Vector>
using Vectors = std::array<V, argument_count<Op>()>;

// The vectors that the block loop computes in step.
template <class Op>
struct BlockVector {
    using type = typename Op::Vector;
};
template <class Op>
requires requires { typename Op::Block; }
struct BlockVector<Op> {
    using type = typename Op::Block;
};
template <class Op>
requires requires { Op::kWide; }
struct BlockVector<Op> {
    using type = typename simd::WideOf<typename Op::Vector, Op::kWide>::type;
};

// Calls f with the vectors or elements of `x`, the scalars if there are any, and `more`.
template <class Op, class Elements, class F, class... More>
[[gnu::always_inline]] inline auto apply(F f, const Elements& x, const Call<Op>& call, More&... more) {
    constexpr bool kHasScalars = requires { typename Op::Scalars; };
    if constexpr (argument_count<Op>() == 1) {
        if constexpr (kHasScalars)
            return f(x[0], call.scalars, more...);
        else
            return f(x[0], more...);
    } else {
        if constexpr (kHasScalars)
            return f(x[0], x[1], call.scalars, more...);
        else
            return f(x[0], x[1], more...);
    }
}

template <class Op>
concept HasSpecialLanes = requires {
    Op::kOrdinary;
};
template <class Op>
concept HasCareful = requires {
    typename Op::Careful;
};
template <class Op>
concept ComesInParts = requires(typename BlockVector<Op>::type x) {
    Op::prepare(x);
}
|| requires(typename BlockVector<Op>::type x) { Op::prepare(x, x); };
template <class Op>
concept ChecksResult = requires {
    Op::kChecksResult;
};

// The vectors that the block loop looks for special lanes in.
template <class Op>
struct CheckedVector {
    using type = typename Op::Vector;
};
template <class Op>
requires requires(simd::f64x4 x) { Op::special(x); }
struct CheckedVector<Op> {
    using type = simd::f64x4;
};
template <class Op>
requires requires { typename Op::Checked; }
struct CheckedVector<Op> {
    using type = typename Op::Checked;
};

template <class Op, class V>
[[gnu::always_inline]] inline auto special_lanes(const Vectors<Op, V>& x, const Call<Op>& call) {
    return apply<Op>([](auto... v) OZK_SIMD_LAMBDA { return Op::special(v...); }, x, call);
}

template <class Compute, class V, class Op>
[[gnu::always_inline]] inline auto compute(const Vectors<Op, V>& x, const Call<Op>& call) {
    const auto result = apply<Op>([](auto... v) OZK_SIMD_LAMBDA { return Compute::compute(v...); }, x, call);
    if constexpr (result_count<Op>() == 1)
        return std::array{result};
    else
        return result;
}

template <class V>
[[gnu::always_inline]] inline int not_finite(V result) {
    simd::NotFinite<V> lanes;
    lanes.see(result);
    return lanes.lanes();
}

// ---- Loads and stores ---------------------------------------------------------------------------------

// Whole vectors, single or wide, that start at element i.
struct Unit {
    template <class V, class T>
    [[gnu::always_inline]] static V load(const T* p, int32_t, int64_t i) {
        return simd::load_as<V>(p + i);
    }
    template <class T, class V>
    [[gnu::always_inline]] static void store(T* p, int32_t, int64_t i, V v) {
        simd::store(p + i, v);
    }
};
struct Strided {
    template <class V, class T>
    [[gnu::always_inline]] static V load(const T* p, int32_t step, int64_t i) {
        return simd::load_strided_as<V>(element(p, step, i), step);
    }
    template <class T, class V>
    [[gnu::always_inline]] static void store(T* p, int32_t step, int64_t i, V v) {
        simd::store_strided(element(p, step, i), step, v);
    }

  private:
    // Where a vector starts. The compiler is kept from relating it to others: it would have a pointer for each element
    // of a block, more than there are registers.
    template <class T>
    [[gnu::always_inline]] static T* element(T* p, int32_t step, int64_t i) {
        p += i * step;
        asm("" : "+r"(p));
        return p;
    }
};

template <class V, class Access, class T>
[[gnu::always_inline]] inline V load(const T* p, int32_t step, int64_t i) {
    if constexpr (simd::kWidth<V> == 0) {
        return Access::template load<V>(p, step, i);
    } else {
        V x;
#pragma GCC unroll 8
        for (int k = 0; k < simd::kWidth<V>; ++k) {
            using Single = std::remove_reference_t<decltype(x.v[0])>;
            x.v[k] = Access::template load<Single>(p, step, i + k * Single::kLanes);
        }
        return x;
    }
}

template <class Access, class T, class V>
[[gnu::always_inline]] inline void store(T* p, int32_t step, int64_t i, const V& y) {
    if constexpr (simd::kWidth<V> == 0) {
        Access::store(p, step, i, y);
    } else {
#pragma GCC unroll 8
        for (int k = 0; k < simd::kWidth<V>; ++k) Access::store(p, step, i + k * y.v[0].kLanes, y.v[k]);
    }
}

template <class Access, class V, class Op>
[[gnu::always_inline]] inline Vectors<Op, V> load_arguments(const Call<Op>& call, int64_t i) {
    Vectors<Op, V> x;
    for (size_t k = 0; k < x.size(); ++k) x[k] = load<V, Access>(call.a[k], call.inca[k], i);
    return x;
}

template <class Access, class Op, class Results>
[[gnu::always_inline]] inline void store_results(const Call<Op>& call, int64_t i, const Results& y) {
    for (size_t k = 0; k < y.size(); ++k) store<Access>(call.r[k], call.incr[k], i, y[k]);
}

// The first `count` elements of a vector.
template <class Access, class Op, class Results>
[[gnu::always_inline]] inline void store_tail(const Call<Op>& call, int64_t i, int count, const Results& y) {
    if (count == Op::Vector::kLanes) return store_results<Access>(call, i, y);
    for (size_t k = 0; k < y.size(); ++k) {
        simd::store_first(call.r[k] + i * call.incr[k], call.incr[k], count, y[k]);
    }
}

// ---- Special lanes ------------------------------------------------------------------------------------

// Elements first .. first + count - 1 (count <= kBlock), at least one of them special. compute() gets an
// ordinary argument in the place of each special one, so that it raises no flag that the element's own result
// would not.
template <class Op>
[[gnu::noinline, gnu::cold]] void special_block(const Call<Op>& call, int64_t first, int count) {
    using Argument = typename Op::Argument;
    using Result = typename Op::Result;
    using Vector = typename Op::Vector;
    constexpr int kLanes = Vector::kLanes;
    constexpr size_t kArguments = argument_count<Op>(), kResults = result_count<Op>();

    // Copies, since the results may overwrite the arguments.
    std::array<std::array<Argument, kBlock>, kArguments> x;
    std::array<std::array<Result, kBlock>, kResults> y;
    std::array<int, kBlock> codes{};
    for (size_t k = 0; k < kArguments; ++k) {
        for (int j = 0; j < kBlock; ++j) x[k][j] = call.a[k][(first + std::min(j, count - 1)) * call.inca[k]];
    }

    for (int j = 0; j < count; j += kLanes) {
        Vectors<Op> v;
        for (size_t k = 0; k < kArguments; ++k) v[k] = simd::load_as<Vector>(&x[k][j]);
        int special = 0;
        if constexpr (HasSpecialLanes<Op>) {
            const auto mask = special_lanes<Op, Vector>(v, call);
            for (size_t k = 0; k < kArguments; ++k) {
                v[k] = simd::select(mask, simd::broadcast(Op::kOrdinary), v[k]);
            }
            special = simd::lanes(mask);
        }
        const auto results = compute<Op, Vector>(v, call);
        if constexpr (ChecksResult<Op>) special |= not_finite(results[0]);
        for (size_t k = 0; k < kResults; ++k) simd::store(&y[k][j], results[k]);
        for (int lanes = special, lane = j; lanes != 0 && lane < count; lanes >>= 1, ++lane) {
            if ((lanes & 1) == 0) continue;
            std::array<Argument, kArguments> element;
            for (size_t k = 0; k < kArguments; ++k) element[k] = x[k][lane];
            const auto scalar = [](auto&... elements) { return Op::scalar(elements...); };
            if constexpr (kResults == 1)
                codes[lane] = apply<Op>(scalar, element, call, y[0][lane]);
            else
                codes[lane] = apply<Op>(scalar, element, call, y[0][lane], y[1][lane]);
        }
    }

    for (size_t k = 0; k < kResults; ++k) {
        for (int j = 0; j < count; ++j) call.r[k][(first + j) * call.incr[k]] = y[k][j];
    }
    for (int j = 0; j < count; ++j) {
        if (codes[j] == kVmlOk) continue;
        const int64_t index = first + j;
        report(SpecialValue<Argument, Result>{codes[j], static_cast<int32_t>(index), call.name, call.a[0],
                                              call.inca[0], x[0][j], x[kArguments - 1][j],
                                              &call.r[0][index * call.incr[0]],
                                              &call.r[kResults - 1][index * call.incr[kResults - 1]]});
    }
}

// ---- Blocks and tail ----------------------------------------------------------------------------------

// The last parts of a block's vectors.
template <class Compute, class Access, class Op, class State, size_t kParts>
[[gnu::always_inline]] inline void finish_block(const Call<Op>& call, int64_t i,
                                                const State (&state)[kParts]) {
#pragma GCC unroll 8
    for (size_t j = 0; j < kParts; ++j) {
        store_results<Access>(call, i + static_cast<int64_t>(j * (kBlock / kParts)),
                              std::array{Compute::finish(state[j])});
    }
}

// One block of ordinary elements. Where the operation comes in parts, the first parts of all vectors stand before the
// second ones, and so on: the chain of dependent operations of one vector is longer than what a processor looks ahead
// over, the parts of different vectors don't depend on each other. False, with nothing stored, where a checked result is
// infinite or NaN.
template <class Compute, class Access, class Op>
[[gnu::always_inline]] inline bool compute_block(const Call<Op>& call, int64_t i) {
    using Block = typename BlockVector<Compute>::type;
    if constexpr (ChecksResult<Compute>) {
        std::array<Block, kBlock / Block::kLanes> y;
        for (size_t j = 0; j < y.size(); ++j) {
            const auto x = load_arguments<Access, Block>(call, i + static_cast<int64_t>(j) * Block::kLanes);
            y[j] = compute<Compute, Block>(x, call)[0];
        }
        simd::NotFinite<typename Compute::Vector> not_finite;
        for (const Block& results : y) not_finite.see(results);
        if (not_finite.lanes() != 0) [[unlikely]]
            return false;
        for (size_t j = 0; j < y.size(); ++j) {
            store_results<Access>(call, i + static_cast<int64_t>(j) * Block::kLanes, std::array{y[j]});
        }
    } else if constexpr (ComesInParts<Compute>) {
        const auto prepared = [&call](int64_t first) OZK_SIMD_LAMBDA {
            return apply<Op>([](auto... v) OZK_SIMD_LAMBDA { return Compute::prepare(v...); },
                             load_arguments<Access, Block>(call, first), call);
        };
        constexpr int kParts = kBlock / Block::kLanes;
        decltype(prepared(i)) state[kParts];
#pragma GCC unroll 8
        for (int j = 0; j < kParts; ++j) state[j] = prepared(i + j * Block::kLanes);
        if constexpr (requires { Compute::advance(state[0]); }) {
            decltype(Compute::advance(state[0])) advanced[kParts];
#pragma GCC unroll 8
            for (int j = 0; j < kParts; ++j) advanced[j] = Compute::advance(state[j]);
            finish_block<Compute, Access>(call, i, advanced);
        } else {
            finish_block<Compute, Access>(call, i, state);
        }
    } else {
#pragma GCC unroll 8
        for (int j = 0; j < kBlock; j += Block::kLanes) {
            const auto x = load_arguments<Access, Block>(call, i + j);
            store_results<Access>(call, i + j, compute<Compute, Block>(x, call));
        }
    }
    return true;
}

template <class Op, class Access>
[[gnu::noinline]] void run(int64_t n, const Call<Op>& whole) {
    using Vector = typename Op::Vector;
    constexpr int kLanes = Vector::kLanes;
    const Call<Op> call = whole;  // its address is not taken, so that it stays in registers across the stores
    int64_t i = 0;
    for (; i + kBlock <= n; i += kBlock) {
        if constexpr (HasSpecialLanes<Op>) {
            using Checked = typename CheckedVector<Op>::type;
            auto mask = special_lanes<Op, Checked>(load_arguments<Access, Checked>(call, i), call);
#pragma GCC unroll 8
            for (int j = Checked::kLanes; j < kBlock; j += Checked::kLanes) {
                mask = mask | special_lanes<Op, Checked>(load_arguments<Access, Checked>(call, i + j), call);
            }
            if (simd::lanes(mask) != 0) [[unlikely]] {
                if constexpr (HasCareful<Op>)
                    compute_block<typename Op::Careful, Access>(call, i);
                else
                    special_block<Op>(whole, i, kBlock);
                continue;
            }
        }
        [[maybe_unused]] const bool computed = compute_block<Op, Access>(call, i);
        if constexpr (ChecksResult<Op>) {
            if (!computed) [[unlikely]]
                special_block<Op>(whole, i, kBlock);
        }
    }
    for (; i < n; i += kLanes) {
        const int count = n - i < kLanes ? static_cast<int>(n - i) : kLanes;
        Vectors<Op> x;
        if (count == kLanes) {
            x = load_arguments<Access, Vector>(call, i);
        } else {
            for (size_t k = 0; k < x.size(); ++k) {
                x[k] = simd::load_first_as<Vector>(call.a[k] + i * call.inca[k], call.inca[k], count);
            }
        }
        if constexpr (HasSpecialLanes<Op>) {
            if (simd::lanes(special_lanes<Op, Vector>(x, call)) != 0) [[unlikely]] {
                if constexpr (HasCareful<Op>)
                    store_tail<Access>(call, i, count, compute<typename Op::Careful, Vector>(x, call));
                else
                    special_block<Op>(whole, i, count);
                continue;
            }
        }
        const auto y = compute<Op, Vector>(x, call);
        if constexpr (ChecksResult<Op>) {
            if (not_finite(y[0]) != 0) [[unlikely]] {
                special_block<Op>(whole, i, count);
                continue;
            }
        }
        store_tail<Access>(call, i, count, y);
    }
}

// run() is not inlined: its arithmetic must stay between the loading and the restoring of the control words.
template <class Op, class Access>
inline void run_kernel(int32_t n, const Call<Op>& call) {
    if (n <= 0) return;
    const KernelControlWords words(requires { Op::kExtendedPrecision; } ? kX87Extended : kX87Masked);
    run<Op, Access>(n, call);
}

// The kernel table slot that the level in a kernel's name, such as EXHAynn, decides.
constexpr int slot_of(const char* implementation) {
    return implementation[2] == 'L' ? 0 : implementation[2] == 'H' ? 1 : 2;
}

}  // namespace ozk::vml

// OZK_VML_KERNEL(p, function, implementation, shape, Operation): the unit-stride and the strided kernel of
// one level, both through the frame. A strided call whose strides are all 1 goes to its own slot of the
// unit-stride function.
#define OZK_VML_KERNEL(p, function, implementation, shape, ...) \
    OZK_VML_KERNEL_##shape(p, function, implementation, "v" #p #function, __VA_ARGS__)

#define OZK_VML_KERNEL_unary(p, function, implementation, name, ...) \
    OZK_VML_KERNEL_ONE_ARGUMENT(unary, p, function, implementation, name, __VA_ARGS__)
#define OZK_VML_KERNEL_to_real(p, function, implementation, name, ...) \
    OZK_VML_KERNEL_ONE_ARGUMENT(to_real, p, function, implementation, name, __VA_ARGS__)
#define OZK_VML_KERNEL_to_complex(p, function, implementation, name, ...) \
    OZK_VML_KERNEL_ONE_ARGUMENT(to_complex, p, function, implementation, name, __VA_ARGS__)
#define OZK_VML_KERNEL_ONE_ARGUMENT(shape, p, function, implementation, name, ...)                         \
    void ozk_vml_kernel_##p##function##_##implementation OZK_VML_ARGUMENTS_##shape(p) {                    \
        ozk::vml::run_kernel<__VA_ARGS__, ozk::vml::Unit>(n, {name, {a}, {r}, {1}, {1}, {}});              \
    }                                                                                                      \
    void ozk_vml_kernel_##p##function##I_##implementation OZK_VML_ARGUMENTS_##shape##_strided(p) {         \
        if (inca == 1 && incr == 1) {                                                                      \
            return ozk_vml_kernel_##p##function##_ttab[ozk::vml::slot_of(#implementation)](n, a, r);       \
        }                                                                                                  \
        ozk::vml::run_kernel<__VA_ARGS__, ozk::vml::Strided>(n, {name "I", {a}, {r}, {inca}, {incr}, {}}); \
    }
#define OZK_VML_KERNEL_binary(p, function, implementation, name, ...)                                   \
    void ozk_vml_kernel_##p##function##_##implementation OZK_VML_ARGUMENTS_binary(p) {                  \
        ozk::vml::run_kernel<__VA_ARGS__, ozk::vml::Unit>(n, {name, {a, b}, {r}, {1, 1}, {1}, {}});     \
    }                                                                                                   \
    void ozk_vml_kernel_##p##function##I_##implementation OZK_VML_ARGUMENTS_binary_strided(p) {         \
        if (inca == 1 && incb == 1 && incr == 1) {                                                      \
            return ozk_vml_kernel_##p##function##_ttab[ozk::vml::slot_of(#implementation)](n, a, b, r); \
        }                                                                                               \
        ozk::vml::run_kernel<__VA_ARGS__, ozk::vml::Strided>(                                           \
            n, {name "I", {a, b}, {r}, {inca, incb}, {incr}, {}});                                      \
    }
#define OZK_VML_KERNEL_two_results(p, function, implementation, name, ...)                                \
    void ozk_vml_kernel_##p##function##_##implementation OZK_VML_ARGUMENTS_two_results(p) {               \
        ozk::vml::run_kernel<__VA_ARGS__, ozk::vml::Unit>(n, {name, {a}, {r1, r2}, {1}, {1, 1}, {}});     \
    }                                                                                                     \
    void ozk_vml_kernel_##p##function##I_##implementation OZK_VML_ARGUMENTS_two_results_strided(p) {      \
        if (inca == 1 && incr1 == 1 && incr2 == 1) {                                                      \
            return ozk_vml_kernel_##p##function##_ttab[ozk::vml::slot_of(#implementation)](n, a, r1, r2); \
        }                                                                                                 \
        ozk::vml::run_kernel<__VA_ARGS__, ozk::vml::Strided>(                                             \
            n, {name "I", {a}, {r1, r2}, {inca}, {incr1, incr2}, {}});                                    \
    }
#define OZK_VML_KERNEL_scalar(p, function, implementation, name, ...)                                       \
    void ozk_vml_kernel_##p##function##_##implementation OZK_VML_ARGUMENTS_scalar(p) {                      \
        ozk::vml::run_kernel<__VA_ARGS__, ozk::vml::Unit>(n, {name, {a}, {r}, {1}, {1}, {b}});              \
    }                                                                                                       \
    void ozk_vml_kernel_##p##function##I_##implementation OZK_VML_ARGUMENTS_scalar_strided(p) {             \
        if (inca == 1 && incr == 1) {                                                                       \
            return ozk_vml_kernel_##p##function##_ttab[ozk::vml::slot_of(#implementation)](n, a, b, r);     \
        }                                                                                                   \
        ozk::vml::run_kernel<__VA_ARGS__, ozk::vml::Strided>(n, {name "I", {a}, {r}, {inca}, {incr}, {b}}); \
    }
#define OZK_VML_KERNEL_linear_fraction(p, function, implementation, name, ...)                           \
    void ozk_vml_kernel_##p##function##_##implementation OZK_VML_ARGUMENTS_linear_fraction(p) {          \
        ozk::vml::run_kernel<__VA_ARGS__, ozk::vml::Unit>(                                               \
            n, {name, {a, b}, {r}, {1, 1}, {1}, {scalea, shifta, scaleb, shiftb}});                      \
    }                                                                                                    \
    void ozk_vml_kernel_##p##function##I_##implementation OZK_VML_ARGUMENTS_linear_fraction_strided(p) { \
        if (inca == 1 && incb == 1 && incr == 1) {                                                       \
            return ozk_vml_kernel_##p##function##_ttab[ozk::vml::slot_of(#implementation)](              \
                n, a, b, scalea, shifta, scaleb, shiftb, r);                                             \
        }                                                                                                \
        ozk::vml::run_kernel<__VA_ARGS__, ozk::vml::Strided>(                                            \
            n, {name "I", {a, b}, {r}, {inca, incb}, {incr}, {scalea, shifta, scaleb, shiftb}});         \
    }
