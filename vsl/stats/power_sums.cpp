// Sums of powers, two lanes at a time: neighbouring observations of one component where these are contiguous,
// neighbouring components of one observation otherwise. Eight observations along a component, or four of a
// pair of components, are joined at a time: this hides the latency of the addition and keeps its chains
// short.

#include "vsl/stats/power_sums.hpp"

#include <algorithm>

#include "simd/vector.hpp"

namespace ozk::stats {
namespace {

using simd::f64x2;

enum class Powers { kRaw, kCentral, kCentralStored };

constexpr bool shifted(Powers powers) { return powers != Powers::kRaw; }
constexpr bool stored(Powers powers) { return powers == Powers::kCentralStored; }

template <int kOrder, bool kWeighted, Powers kPowers>
void sum_along(const Strip& strip, int component, const Block& block, const double* shift, Sums& out) {
    constexpr int kChains = kOrder <= 2 ? 4 : 2;
    const double* const x = strip.x[component];
    double* const row = strip.rows[component];
    const double *const weights = block.weights, *const roots = block.roots;
    const double centre = shifted(kPowers) ? shift[component] : 0;
    const int count = block.count;
    f64x2 sums[kOrder][kChains];
    for (auto& chains : sums)
        for (f64x2& chain : chains) chain = simd::broadcast(0.0);
    int j = 0;
    for (; j + 2 * kChains <= count; j += 2 * kChains) {
        if constexpr (shifted(kPowers)) __builtin_prefetch(x + count + j);
        for (int c = 0; c < kChains; ++c) {
            const int at = j + 2 * c;
            f64x2 value = simd::load(x + at);
            if constexpr (shifted(kPowers)) value = value - simd::broadcast(centre);
            f64x2 term = value;
            if constexpr (kWeighted) term = simd::load(weights + at) * value;
            if constexpr (stored(kPowers))
                simd::store(row + at, kWeighted ? simd::load(roots + at) * value : value);
            sums[0][c] = sums[0][c] + term;
            for (int r = 1; r < kOrder; ++r) {
                term = term * value;
                sums[r][c] = sums[r][c] + term;
            }
        }
    }
    double totals[kOrder] = {};
    for (int r = 0; r < kOrder; ++r)
        for (const f64x2 chain : sums[r]) totals[r] += simd::low(chain) + simd::high(chain);
    for (; j < count; ++j) {
        const double value = shifted(kPowers) ? x[j] - centre : x[j];
        double term = kWeighted ? weights[j] * value : value;
        if constexpr (stored(kPowers)) row[j] = kWeighted ? roots[j] * value : value;
        totals[0] += term;
        for (int r = 1; r < kOrder; ++r) totals[r] += term *= value;
    }
    for (int r = 0; r < 4; ++r) out[r][component] = r < kOrder ? totals[r] : 0;
}

template <int kOrder, bool kWeighted, Powers kPowers, int kPairs>
void sum_across(const Strip& strip, const Block& block, const double* shift, Sums& out) {
    constexpr int kTogether = 4;
    const double* const x = strip.x[0];
    double* const row = strip.rows[0];
    const double *const weights = block.weights, *const roots = block.roots;
    const int64_t step = strip.step, row_step = strip.row_step;
    const int count = block.count;
    f64x2 shifts[kPairs], sums[kOrder][kPairs];
    for (int k = 0; k < kPairs; ++k) {
        if constexpr (shifted(kPowers)) shifts[k] = simd::load(shift + 2 * k);
        for (auto& sum : sums) sum[k] = simd::broadcast(0.0);
    }
    // The terms of pair k of observation j, stored or added to `terms`.
    const auto evaluate = [&](int k, int j, f64x2* terms, bool first) OZK_SIMD_LAMBDA {
        f64x2 value = simd::load(x + j * step + 2 * k);
        if constexpr (shifted(kPowers)) value = value - shifts[k];
        f64x2 term = value;
        if constexpr (kWeighted) term = simd::broadcast(weights[j]) * value;
        if constexpr (stored(kPowers))
            simd::store(row + j * row_step + 2 * k, kWeighted ? simd::broadcast(roots[j]) * value : value);
        terms[0] = first ? term : terms[0] + term;
        for (int r = 1; r < kOrder; ++r) {
            term = term * value;
            terms[r] = first ? term : terms[r] + term;
        }
    };
    int j = 0;
    for (; j + kTogether <= count; j += kTogether) {
        if constexpr (shifted(kPowers))
            for (int i = 0; i < kTogether; ++i) __builtin_prefetch(x + (count + j + i) * step);
        for (int k = 0; k < kPairs; ++k) {
            f64x2 terms[kOrder];
            for (int i = 0; i < kTogether; ++i) evaluate(k, j + i, terms, i == 0);
            for (int r = 0; r < kOrder; ++r) sums[r][k] = sums[r][k] + terms[r];
        }
    }
    for (; j < count; ++j)
        for (int k = 0; k < kPairs; ++k) {
            f64x2 terms[kOrder];
            evaluate(k, j, terms, true);
            for (int r = 0; r < kOrder; ++r) sums[r][k] = sums[r][k] + terms[r];
        }
    for (int r = 0; r < 4; ++r)
        for (int k = 0; k < kPairs; ++k)
            simd::store(out[r] + 2 * k, r < kOrder ? sums[r][k] : simd::broadcast(0.0));
}

template <int kOrder, bool kWeighted, Powers kPowers>
void sum_strip(const Strip& strip, const Block& block, const double* shift, Sums& out) {
    if (!strip.across()) {
        for (int k = 0; k < strip.width; ++k)
            sum_along<kOrder, kWeighted, kPowers>(strip, k, block, shift, out);
    } else if (strip.width > 4) {
        sum_across<kOrder, kWeighted, kPowers, 4>(strip, block, shift, out);
    } else if (strip.width > 2) {
        sum_across<kOrder, kWeighted, kPowers, 2>(strip, block, shift, out);
    } else {
        sum_across<kOrder, kWeighted, kPowers, 1>(strip, block, shift, out);
    }
}

using SumStrip = void (*)(const Strip&, const Block&, const double* shift, Sums&);

template <bool kWeighted, Powers kPowers>
constexpr SumStrip kSumStrip[] = {sum_strip<1, kWeighted, kPowers>, sum_strip<2, kWeighted, kPowers>,
                                  sum_strip<3, kWeighted, kPowers>, sum_strip<4, kWeighted, kPowers>};

template <Powers kPowers>
void sum_powers(int order, const Strip& strip, const Block& block, const double* shift, Sums& sums) {
    const auto& functions = block.weights != nullptr ? kSumStrip<true, kPowers> : kSumStrip<false, kPowers>;
    functions[order - 1](strip, block, shift, sums);
}

}  // namespace

void raw_sums(int order, const Strip& strip, const Block& block, Sums& sums) {
    if (order > 0) return sum_powers<Powers::kRaw>(order, strip, block, nullptr, sums);
    for (auto& row : sums) std::fill_n(row, strip.width, 0.0);
}

void central_sums(int order, const Strip& strip, const Block& block, const double* shift, Sums& sums) {
    if (strip.rows[0] != nullptr) {
        sum_powers<Powers::kCentralStored>(order, strip, block, shift, sums);
    } else {
        sum_powers<Powers::kCentral>(order, strip, block, shift, sums);
    }
}

}  // namespace ozk::stats
