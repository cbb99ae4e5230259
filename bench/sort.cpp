// Radix sorts beside the standard library's sorts, a hybrid of radix and comparison sorts (Boost.Sort spreadsort), and a
// vectorised quicksort (Highway) for the same 128-bit vectors. Every contender sorts fresh copies of the same keys; the
// copying is part of its time. Short arrays are sorted many at a time, all different, so that neither the clock nor
// learnt branches decide.

#include <fmt/format.h>

#include <algorithm>
#include <boost/sort/spreadsort/spreadsort.hpp>
#include <memory>
#include <random>
#include <vector>

// Else the SSE4 target also asks for instructions that the sort does not use.
#define HWY_DISABLE_PCLMUL_AES
#define HWY_COMPILE_ONLY_STATIC
#include <hwy/contrib/sort/traits-inl.h>
#include <hwy/contrib/sort/vqsort-inl.h>

#include "bench/driver.hpp"
#include "ozk_primitives.h"

namespace ozk::bench {
namespace {

static_assert(HWY_TARGET == HWY_SSE4);

template <class T>
void vector_quicksort(T* keys, T*, int32_t n) {
    namespace hn = hwy::HWY_NAMESPACE;
    using Ascending = hn::detail::SharedTraits<hn::detail::TraitsLane<hn::detail::OrderAscending<T>>>;
    hn::Sort(hn::SortTag<T>(), Ascending(), keys, static_cast<size_t>(n), static_cast<T*>(nullptr));
}

template <class T>
std::vector<T> random_keys(size_t count, size_t seed) {
    std::mt19937_64 random(seed);
    std::normal_distribution<double> normal;
    std::vector<T> keys(count);
    for (T& key : keys) {
        key = std::is_floating_point_v<T> ? static_cast<T>(normal(random)) : static_cast<T>(random());
    }
    return keys;
}

enum class Data { kRandom, kSorted, kReversed };

template <class T>
Case sort_case(const char* type, const char* radix, Data data, size_t n) {
    constexpr const char* kNames[] = {"random", "sorted", "reversed"};
    struct Keys {
        std::vector<T> original, sorted, work;
    };
    const size_t arrays = std::clamp<size_t>(100000 / n, 1, 4096);
    const auto keys = std::make_shared<Keys>();
    // Made by the first contender that runs: the list of names needs none.
    const auto prepare = [=] {
        if (!keys->original.empty()) return;
        keys->original = random_keys<T>(n * arrays, n);
        for (size_t a = 0; a < arrays && data != Data::kRandom; ++a) {
            const auto begin = keys->original.begin() + static_cast<ptrdiff_t>(a * n);
            std::sort(begin, begin + static_cast<ptrdiff_t>(n));
            if (data == Data::kReversed) std::reverse(begin, begin + static_cast<ptrdiff_t>(n));
        }
        keys->sorted.resize(n * arrays);
        keys->work.resize(n);
    };
    const auto contender = [=](const char* name, auto sort) {
        return Contender{name, [=] {
                             prepare();
                             std::copy(keys->original.begin(), keys->original.end(), keys->sorted.begin());
                             for (size_t a = 0; a < arrays; ++a) {
                                 sort(&keys->sorted[a * n], keys->work.data(), static_cast<int32_t>(n));
                             }
                             keep(keys->sorted.data());
                         }};
    };
    Case c{fmt::format("sort/{}/{}/{}", type, kNames[static_cast<int>(data)], n),
           static_cast<double>(n * arrays),
           {},
           {}};
    if (auto* const ours = kernel<int32_t(T*, T*, int32_t)>(radix)) c.ours = {contender("ours", ours)};
    c.peers = {
        contender("std::sort", [](T* k, T*, int32_t m) { std::sort(k, k + m); }),
        contender("std::stable_sort", [](T* k, T*, int32_t m) { std::stable_sort(k, k + m); }),
        contender("spreadsort", [](T* k, T*, int32_t m) { boost::sort::spreadsort::spreadsort(k, k + m); }),
        contender("Highway vqsort", vector_quicksort<T>)};
    return c;
}

template <class T>
void add(std::vector<Case>& cases, const char* type, const char* radix) {
    for (const size_t n : {2, 10, 30, 100, 300, 1000, 10000, 100000, 1000000, 10000000}) {
        cases.push_back(sort_case<T>(type, radix, Data::kRandom, n));
    }
    for (const Data data : {Data::kSorted, Data::kReversed}) {
        for (const size_t n : {100, 100000}) cases.push_back(sort_case<T>(type, radix, data, n));
    }
}

std::vector<Case> cases() {
    std::vector<Case> all;
    add<int32_t>(all, "32s", "ozk_dft_mc3_qrvsSortRadixAscend_32s_I");
    add<float>(all, "32f", "ozk_dft_mc3_qrvsSortRadixAscend_32f_I");
    add<double>(all, "64f", "ozk_dft_mc3_qrvsSortRadixAscend_64f_I");
    return all;
}

std::vector<Section> run(const std::string& filter, bool planned) {
    return {{"sort", comparison(matching(cases(), filter, planned), "key")}};
}

}  // namespace

Family sort_family() { return {"sort", names_of<cases>, run}; }

}  // namespace ozk::bench
