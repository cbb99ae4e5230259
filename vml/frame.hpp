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
//   Watched, kWatchedFlags        (optional) an operation that looks at no element and raises one of these exception
//                                 flags wherever the operation itself would do something else: a long call that
//                                 doesn't overwrite its arguments runs it and looks at the flags instead
//   kWatchedKeepsDenormals        (optional) Watched doesn't do where the mode flushes denormals
//   compute(x [, y] [, scalars])  the results of all lanes: a vector, or an array of two
//   kWide                         (optional) how many vectors compute() takes in step: then it is a template that
//                                 also takes simd::wide<Vector, kWide>
//   Checked                       (optional) a vector that special() also takes, for the check of whole blocks: its
//                                 mask needn't tell the lanes, only whether there is one
//   kExtendedPrecision            (optional) the x87 unit computes in extended precision, rounding to nearest
//   prepare(x [, y]), finish(state) (optional, no scalars) compute() in steps, of which these are the first and the last
//   advance(state)                (optional, with these, an overload for each state) the steps between them
//   Kept<vector>                  (optional, with these) what prepare(x, kept) leaves in memory for the steps after it,
//                                 advance(state, kept) and finish(state, kept)
//   scalar(x [, y] [, scalars], r [, r2])  one element, any argument; returns the error code
//
// all static. compute() has no branch; it never sees a special lane. scalar() is the only path for special
// lanes and is cold. Tails and strides run through the same compute(), so an element's bits never depend on
// its place.
#pragma once

#include <algorithm>
#include <array>
#include <type_traits>
#include <utility>

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
struct NothingKept {};
template <class Op, class V>
struct KeptBy {
    using type = NothingKept;
};
template <class Op, class V>
requires requires { typename Op::template Kept<V>; }
struct KeptBy<Op, V> {
    using type = typename Op::template Kept<V>;
};
template <class Op>
concept ComesInSteps = requires(typename BlockVector<Op>::type x) {
    Op::prepare(x);
}
|| requires(typename BlockVector<Op>::type x) { Op::prepare(x, x); }
|| requires { typename Op::template Kept<typename BlockVector<Op>::type>; };
template <class Op>
concept ChecksResult = requires {
    Op::kChecksResult;
};
// Whether single elements go to scalar().
template <class Op>
concept HasScalar = (HasSpecialLanes<Op> && !HasCareful<Op>) || ChecksResult<Op>;
template <class Op>
concept HasWatched = requires {
    typename Op::Watched;
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

// ---- Steps of an operation ------------------------------------------------------------------------------

template <class Compute, class Kept, class... X>
[[gnu::always_inline]] inline auto prepare(Kept& kept, const X&... x) {
    if constexpr (std::is_empty_v<Kept>)
        return Compute::prepare(x...);
    else
        return Compute::prepare(x..., kept);
}
template <class Compute, class Kept, class State>
concept Advances = requires(const State& state, const Kept& kept) {
    Compute::advance(state, kept);
}
|| requires(const State& state) { Compute::advance(state); };
template <class Compute, class Kept, class State>
[[gnu::always_inline]] inline auto advance(const Kept& kept, const State& state) {
    if constexpr (std::is_empty_v<Kept>)
        return Compute::advance(state);
    else
        return Compute::advance(state, kept);
}
template <class Compute, class Kept, class State>
[[gnu::always_inline]] inline auto finish(const Kept& kept, const State& state) {
    if constexpr (std::is_empty_v<Kept>)
        return Compute::finish(state);
    else
        return Compute::finish(state, kept);
}

// The states of one vector, from what prepare() gives to what finish() takes: not initialised.
template <class... S>
struct States {
    static constexpr int kCount = 0;
};
template <class First, class... Rest>
struct States<First, Rest...> {
    static constexpr int kCount = 1 + sizeof...(Rest);
    First first;
    States<Rest...> rest;

    template <int k>
    [[gnu::always_inline]] auto& get() {
        if constexpr (k == 0)
            return first;
        else
            return rest.template get<k - 1>();
    }
};
template <class Compute, class Kept, class Last, class... Before>
struct StatesFrom {
    using type = States<Before..., Last>;
};
template <class Compute, class Kept, class Last, class... Before>
requires Advances<Compute, Kept, Last>
struct StatesFrom<Compute, Kept, Last, Before...>
    : StatesFrom<Compute, Kept, decltype(advance<Compute>(std::declval<Kept>(), std::declval<Last>())),
                 Before..., Last> {
};

// What the steps from `state` on come to.
template <class Compute, class Kept, class State>
[[gnu::always_inline]] inline auto steps_after(const Kept& kept, const State& state) {
    if constexpr (Advances<Compute, Kept, State>)
        return steps_after<Compute>(kept, advance<Compute>(kept, state));
    else
        return finish<Compute>(kept, state);
}

// What an operation makes of vectors, and the scalars if there are any.
template <class Compute, class V, class... More>
[[gnu::always_inline]] inline auto evaluate(const V& x, const More&... more) {
    if constexpr (ComesInSteps<Compute>) {
        typename KeptBy<Compute, V>::type kept;
        return steps_after<Compute>(kept, prepare<Compute>(kept, x, more...));
    } else {
        return Compute::compute(x, more...);
    }
}

template <class Compute, class V, class Op>
[[gnu::always_inline]] inline auto compute(const Vectors<Op, V>& x, const Call<Op>& call) {
    const auto result = apply<Op>([](auto... v) OZK_SIMD_LAMBDA { return evaluate<Compute>(v...); }, x, call);
    if constexpr (result_count<Op>() == 1)
        return std::array{result};
    else
        return result;
}

// ---- Loads and stores ---------------------------------------------------------------------------------

// f(0), f(1) .. f(kCount - 1), as constants: what they index can stay in registers.
template <size_t kCount, class F>
[[gnu::always_inline]] inline void for_each_index(F f) {
    [&]<size_t... k>(std::index_sequence<k...>) OZK_SIMD_LAMBDA {
        (f(std::integral_constant<size_t, k>{}), ...);
    }
    (std::make_index_sequence<kCount>{});
}

// Vectors of an array, loaded and stored one after the other. The pointers stand at the first element that is still to be
// done: Unit takes vectors at offsets from there, and moves on with a block; Strided moves on with each vector, since one
// pointer for each array is what registers suffice for, and the compiler is kept from deriving more of them.
struct Unit {
    static constexpr int32_t step(int32_t) { return 1; }
    template <class V, class T>
    [[gnu::always_inline]] static V load(const T*& p, int32_t, int offset) {
        return simd::load_as<V>(p + offset);
    }
    template <class T, class V>
    [[gnu::always_inline]] static void store(T*& p, int32_t, int offset, V v) {
        simd::store(p + offset, v);
    }
    template <class T>
    [[gnu::always_inline]] static void pass(T*& p, int elements) {
        p += elements;
    }
};
struct Strided {
    static constexpr int32_t step(int32_t of_call) { return of_call; }
    template <class V, class T>
    [[gnu::always_inline]] static V load(const T*& p, int32_t step, int) {
        const V v = simd::load_strided_as<V>(p, step);
        move_on(p, int64_t{step} * V::kLanes);
        return v;
    }
    template <class T, class V>
    [[gnu::always_inline]] static void store(T*& p, int32_t step, int, V v) {
        simd::store_strided(p, step, v);
        move_on(p, int64_t{step} * V::kLanes);
    }
    template <class T>
    [[gnu::always_inline]] static void pass(T*&, int) {}

  private:
    template <class T>
    [[gnu::always_inline]] static void move_on(T*& p, int64_t by) {
        p += by;
        asm("" : "+r"(p));
    }
};

template <class V, class Access, class T>
[[gnu::always_inline]] inline V load(const T*& p, int32_t step, int offset) {
    if constexpr (simd::kWidth<V> == 0) {
        return Access::template load<V>(p, step, offset);
    } else {
        V x;
#pragma GCC unroll 8
        for (int k = 0; k < simd::kWidth<V>; ++k) {
            using Single = std::remove_reference_t<decltype(x.v[0])>;
            x.v[k] = Access::template load<Single>(p, step, offset + k * Single::kLanes);
        }
        return x;
    }
}

template <class Access, class T, class V>
[[gnu::always_inline]] inline void store(T*& p, int32_t step, int offset, const V& y) {
    if constexpr (simd::kWidth<V> == 0) {
        Access::store(p, step, offset, y);
    } else {
#pragma GCC unroll 8
        for (int k = 0; k < simd::kWidth<V>; ++k) Access::store(p, step, offset + k * y.v[0].kLanes, y.v[k]);
    }
}

template <class Access, class V, class Op>
[[gnu::always_inline]] inline Vectors<Op, V> load_arguments(Call<Op>& call, int offset) {
    Vectors<Op, V> x;
    for_each_index<argument_count<Op>()>(
        [&](auto k) OZK_SIMD_LAMBDA { x[k] = load<V, Access>(call.a[k], call.inca[k], offset); });
    return x;
}

template <class Access, class Op, class Results>
[[gnu::always_inline]] inline void store_results(Call<Op>& call, int offset, const Results& y) {
    for_each_index<result_count<Op>()>(
        [&](auto k) OZK_SIMD_LAMBDA { store<Access>(call.r[k], call.incr[k], offset, y[k]); });
}

// The first `count` elements of a vector.
template <class Access, class Op>
[[gnu::always_inline]] inline Vectors<Op> load_tail(Call<Op>& call, int count) {
    using Vector = typename Op::Vector;
    if (count == Vector::kLanes) return load_arguments<Access, Vector>(call, 0);
    Vectors<Op> x;
    for_each_index<argument_count<Op>()>([&](auto k) OZK_SIMD_LAMBDA {
        x[k] = simd::load_first_as<Vector>(call.a[k], Access::step(call.inca[k]), count);
    });
    return x;
}
template <class Access, class Op, class Results>
[[gnu::always_inline]] inline void store_tail(Call<Op>& call, int count, const Results& y) {
    if (count == Op::Vector::kLanes) return store_results<Access>(call, 0, y);
    for_each_index<result_count<Op>()>([&](auto k) OZK_SIMD_LAMBDA {
        simd::store_first(call.r[k], Access::step(call.incr[k]), count, y[k]);
    });
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
        if constexpr (ChecksResult<Op>) special |= simd::not_finite_lanes(results[0]);
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

// The steps of kVectors vectors, each vector a step behind the one before. The chain of dependent operations of one vector
// is longer than what a processor looks ahead over, a step is not, and steps that stand beside each other don't depend on
// each other. Of two steps, which are long ones, the first is done for all vectors before the second.
template <class Compute, class Kept, int kVectors, class First, class Store>
[[gnu::always_inline]] inline void in_steps(First first, Store store) {
    Kept kept[kVectors];
    using StatesOfVector = typename StatesFrom<Compute, Kept, decltype(first(0, kept[0]))>::type;
    constexpr int kLastStep = StatesOfVector::kCount;
    constexpr int kBehind = kLastStep > 1 ? 1 : kVectors;
    StatesOfVector states[kVectors];
    for_each_index<kVectors + kBehind * kLastStep>([&](auto time) OZK_SIMD_LAMBDA {
        for_each_index<kLastStep + 1>([&](auto step) OZK_SIMD_LAMBDA {
            constexpr int kStep = step, kVector = int{time} - kBehind * kStep;
            if constexpr (kVector >= 0 && kVector < kVectors) {
                // The compiler leaves short steps in this order; long ones it interleaves better by itself.
                if constexpr (kLastStep > 1) asm volatile("");
                StatesOfVector& state = states[kVector];
                Kept& of_vector = kept[kVector];
                if constexpr (kStep == 0)
                    state.template get<0>() = first(kVector, of_vector);
                else if constexpr (kStep == kLastStep)
                    store(kVector, finish<Compute>(of_vector, state.template get<kStep - 1>()));
                else
                    state.template get<kStep>() =
                        advance<Compute>(of_vector, state.template get<kStep - 1>());
            }
        });
    });
}

// One block of ordinary elements, arguments from one call, results to another. False, with nothing stored, where a checked
// result is infinite or NaN.
template <class Compute, class Load, class Store, class Op>
[[gnu::always_inline]] inline bool compute_block(Call<Op>& from, Call<Op>& to) {
    using Block = typename BlockVector<Compute>::type;
    constexpr int kParts = kBlock / Block::kLanes;
    const auto arguments = [&from](int j) OZK_SIMD_LAMBDA {
        return load_arguments<Load, Block>(from, j * Block::kLanes);
    };
    const auto store = [&to](int j, const auto& y)
                           OZK_SIMD_LAMBDA { store_results<Store>(to, j * Block::kLanes, y); };
    if constexpr (ChecksResult<Compute>) {
        std::array<Block, kParts> y;
        for (int j = 0; j < kParts; ++j) y[j] = compute<Compute, Block>(arguments(j), from)[0];
        simd::NotFinite<typename Compute::Vector> not_finite;
        for (const Block& results : y) not_finite.see(results);
        if (not_finite.lanes() != 0) [[unlikely]]
            return false;
        for (int j = 0; j < kParts; ++j) store(j, std::array{y[j]});
    } else if constexpr (ComesInSteps<Compute>) {
        using Kept = typename KeptBy<Compute, Block>::type;
        in_steps<Compute, Kept, kParts>(
            [&](int j, Kept& kept) OZK_SIMD_LAMBDA {
                return apply<Op>([&](auto... x) OZK_SIMD_LAMBDA { return prepare<Compute>(kept, x...); },
                                 arguments(j), from);
            },
            [&](int j, const auto& y) OZK_SIMD_LAMBDA { store(j, std::array{y}); });
    } else {
#pragma GCC unroll 8
        for (int j = 0; j < kParts; ++j) store(j, compute<Compute, Block>(arguments(j), from));
    }
    return true;
}

// One block by `Compute`, which is the operation or what stands for it; false where special_block has to do it. Its
// arguments are contiguous where there is a look for special lanes, which reads them too.
template <class Compute, class Load, class Store, class Op>
[[gnu::always_inline]] inline bool try_block(Call<Op>& from, Call<Op>& to) {
    if constexpr (HasSpecialLanes<Compute>) {
        using Checked = typename CheckedVector<Op>::type;
        auto mask = special_lanes<Op, Checked>(load_arguments<Load, Checked>(from, 0), from);
#pragma GCC unroll 8
        for (int j = Checked::kLanes; j < kBlock; j += Checked::kLanes) {
            mask = mask | special_lanes<Op, Checked>(load_arguments<Load, Checked>(from, j), from);
        }
        if (simd::lanes(mask) != 0) [[unlikely]] {
            if constexpr (HasCareful<Op>) return compute_block<typename Op::Careful, Load, Store>(from, to);
            return false;
        }
    }
    return compute_block<Compute, Load, Store>(from, to);
}

// The next block of strided arguments, side by side.
template <class Op>
struct Gathered {
    using Argument = typename Op::Argument;
    alignas(16) std::array<std::array<Argument, kBlock>, argument_count<Op>()> x;

    [[gnu::always_inline]] Call<Op> gather(Call<Op>& call) {
        using Vector = typename Op::Vector;
        for (int j = 0; j < kBlock; j += Vector::kLanes) {
            const auto next = load_arguments<Strided, Vector>(call, j);
            for_each_index<argument_count<Op>()>([&](auto k)
                                                     OZK_SIMD_LAMBDA { simd::store(&x[k][j], next[k]); });
        }
        Call<Op> block;
        block.scalars = call.scalars;
        for_each_index<argument_count<Op>()>([&](auto k) OZK_SIMD_LAMBDA { block.a[k] = x[k].data(); });
        return block;
    }
};

template <class T>
[[gnu::always_inline]] inline T in_register(T x) {
    asm("" : "+r"(x));
    return x;
}

// A copy whose address is not taken, so that it stays in registers across the stores, its pointers at element i. Each
// member is loaded by itself, as it was stored just before: loaded together, they would wait until the stores have reached
// the cache.
template <class Access, class Op>
[[gnu::always_inline]] inline Call<Op> in_registers(const Call<Op>& whole, int64_t i) {
    Call<Op> call;
    call.scalars = whole.scalars;
    for_each_index<argument_count<Op>()>([&](auto k) OZK_SIMD_LAMBDA {
        call.inca[k] = Access::step(in_register(whole.inca[k]));
        call.a[k] = in_register(whole.a[k]) + i * call.inca[k];
    });
    for_each_index<result_count<Op>()>([&](auto k) OZK_SIMD_LAMBDA {
        call.incr[k] = Access::step(in_register(whole.incr[k]));
        call.r[k] = in_register(whole.r[k]) + i * call.incr[k];
    });
    return call;
}

// Past elements that are done.
template <class Access, class Op>
[[gnu::always_inline]] inline void pass(Call<Op>& call, int elements) {
    for_each_index<argument_count<Op>()>([&](auto k) OZK_SIMD_LAMBDA { Access::pass(call.a[k], elements); });
    for_each_index<result_count<Op>()>([&](auto k) OZK_SIMD_LAMBDA { Access::pass(call.r[k], elements); });
}

// What special_block does at a time: a block, in the tail a vector or what is left.
template <class Op>
inline int special_count(int64_t left) {
    if (left >= kBlock) return kBlock;
    return static_cast<int>(std::min<int64_t>(left, Op::Vector::kLanes));
}

// The elements of one vector of the tail by `Compute`; false as in try_block.
template <class Compute, class Access, class Op>
[[gnu::always_inline]] inline bool try_tail(Call<Op>& call, int count) {
    using Vector = typename Op::Vector;
    const Vectors<Op> x = load_tail<Access>(call, count);
    if constexpr (HasSpecialLanes<Compute>) {
        if (simd::lanes(special_lanes<Op, Vector>(x, call)) != 0) [[unlikely]] {
            if constexpr (HasCareful<Op>)
                store_tail<Access>(call, count, compute<typename Op::Careful, Vector>(x, call));
            return HasCareful<Op>;
        }
    }
    const auto y = compute<Compute, Vector>(x, call);
    if constexpr (ChecksResult<Compute>) {
        if (simd::not_finite_lanes(y[0]) != 0) [[unlikely]]
            return false;
    }
    store_tail<Access>(call, count, y);
    return true;
}

// Elements i .. end - 1, up to the first that the caller has to give to special_block: returns where that is, or end.
// Not inlined: its arithmetic must stay between the loading and the restoring of the control words.
//
// Simple operations call nothing here, so that short calls save no registers. Those with special lanes call special_block
// in the loop: a loop without a call would have its constants hoisted, more than there are registers, and each use would
// load its own.
template <class Op, class Compute, class Access>
[[gnu::noinline]] int64_t run(int64_t i, int64_t end, const Call<Op>& whole) {
    constexpr int kLanes = Op::Vector::kLanes;
    Call<Op> call = in_registers<Access>(whole, i);
    for (; i + kBlock <= end; i += kBlock) {
        bool done;
        if constexpr (std::is_same_v<Access, Strided> && HasSpecialLanes<Compute>) {
            Gathered<Op> arguments;
            Call<Op> block = arguments.gather(call);
            done = try_block<Compute, Unit, Strided>(block, call);
        } else {
            done = try_block<Compute, Access, Access>(call, call);
        }
        if (!done) [[unlikely]] {
            if constexpr (HasSpecialLanes<Compute> && HasScalar<Compute>) {
                special_block<Op>(whole, i, kBlock);
                call = in_registers<Access>(whole, i + kBlock);
                continue;
            } else {
                return i;
            }
        }
        pass<Access>(call, kBlock);
    }
    for (; i + kLanes <= end; i += kLanes) {
        if (!try_tail<Compute, Access>(call, kLanes)) [[unlikely]]
            return i;
        pass<Access>(call, kLanes);
    }
    if (i < end && !try_tail<Compute, Access>(call, static_cast<int>(end - i))) [[unlikely]]
        return i;
    return end;
}

// Whether results overwrite arguments.
template <class Op>
inline bool in_place(const Call<Op>& call) {
    for (const void* r : call.r) {
        for (const void* a : call.a) {
            if (r == a) return true;
        }
    }
    return false;
}

// Runs Watched from the start on, as far as no element turns out not to be ordinary; returns where the operation itself
// has to go on. The arguments must still be there then.
template <class Op, class Access>
[[gnu::always_inline]] inline int64_t run_watched(int64_t n, const Call<Op>& call,
                                                  KernelControlWords& words) {
    constexpr int64_t kLeast = 128;  // reading the flags takes as long as looking at that many elements
    constexpr int64_t kChunk =
        4096;  // as much is computed twice at most; the flags are read in a hundredth of its time
    if (n < kLeast || in_place(call)) [[likely]]
        return 0;
    if constexpr (requires { Op::kWatchedKeepsDenormals; }) {
        if (words.flush_denormals()) return 0;
    }
    for (int64_t first = 0; first < n; first += kChunk) {
        const auto chunk = [&] {
            run<Op, typename Op::Watched, Access>(first, std::min(n, first + kChunk), call);
        };
        if (words.raises(Op::kWatchedFlags, chunk)) return first;
    }
    return n;
}

template <class Op, class Access>
inline void run_kernel(int32_t n, const Call<Op>& call) {
    if (n <= 0) return;
    KernelControlWords words(requires { Op::kExtendedPrecision; } ? kX87Extended : kX87Masked);
    int64_t i = 0;
    if constexpr (HasWatched<Op>) i = run_watched<Op, Access>(n, call, words);
    if constexpr (HasScalar<Op>) {
        while ((i = run<Op, Op, Access>(i, n, call)) < n) {
            const int count = special_count<Op>(n - i);
            special_block<Op>(call, i, count);
            i += count;
        }
    } else {
        run<Op, Op, Access>(i, n, call);
    }
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
