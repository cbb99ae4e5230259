// Moments of a run of observations, block by block.
//
// Error of the block-mean scheme, u = 2^-53, b blocks of B observations: a central sum of order 2 is
// relatively within (B/8 + 4 b + 10) u of the exact one, B/4 for B/8 by observation, in the worst case and
// far less in practice, plus (u m / s)^2 times a small constant for mean m and deviation s: the rounding of
// the block's mean is itself corrected through the sum of the deviations (the corrected two-pass algorithm of
// Chan, Golub and LeVeque). A block whose deviations are taken about the mean of the run so far, which is then within s / 5 of its
// own, has a few hundredths more. The running scheme has n in place of B/8 + 4 b, and n u m / s in the second term.

#include "vsl/stats/moments.hpp"

#include <algorithm>
#include <cmath>

#include "simd/vector.hpp"
#include "vsl/stats/power_sums.hpp"

namespace ozk::stats {

using simd::f64x2;

namespace {

double mean_step(const Moments& a, const Moments& b) { return (b.origin - a.origin) + (b.offset - a.offset); }

}  // namespace

Union::Union(double total_a, double total_b) : weight_a(total_a), weight_b(total_b) {
    const double total = total_a + total_b;
    alpha = total_a / total;
    beta = total_b / total;
    between = total_a * beta;
    root = std::sqrt(between);
}

void merge(Moments& a, const Moments& b, const Union& both, int order) {
    if (both.weight_b == 0) return;
    if (both.weight_a == 0) {
        a = b;
        return;
    }
    const double alpha = both.alpha, beta = both.beta;
    const double delta = mean_step(a, b), delta2 = delta * delta;
    const double between = delta2 * both.between;
    const auto& ca = a.central;
    const auto& cb = b.central;
    if (order >= 4)
        a.central[2] = ca[2] + cb[2] + between * delta2 * (alpha * alpha - alpha * beta + beta * beta) +
                       6 * delta2 * (alpha * alpha * cb[0] + beta * beta * ca[0]) +
                       4 * delta * (alpha * cb[1] - beta * ca[1]);
    if (order >= 3)
        a.central[1] =
            ca[1] + cb[1] + between * delta * (alpha - beta) + 3 * delta * (alpha * cb[0] - beta * ca[0]);
    a.central[0] = ca[0] + cb[0] + between;
    // From the heavier mean: the step to it would be rounded like a mean that may count for nothing.
    if (beta > alpha) {
        a.origin = b.origin;
        a.offset = b.offset - delta * alpha;
    } else {
        a.offset += delta * beta;
    }
    for (int k = 0; k < 4; ++k) a.raw[k] += b.raw[k];
}

double scaled_step(const Moments& a, const Moments& b, const Union& both) {
    return both.weight_a == 0 || both.weight_b == 0 ? 0 : both.root * mean_step(a, b);
}

namespace {

// Factors of the running update for each observation of a block: with A the weight before, W = A + w the
// weight after it, step = w / W and the factors of the powers of the deviation in the central sums of order
// 2, 3, 4.
struct RunningFactors {
    double step[kMaxBlock], second[kMaxBlock], third[kMaxBlock], fourth[kMaxBlock], root[kMaxBlock];
};

struct Scratch {
    double strip[kStrip * kRow];
    double weights[kMaxBlock], roots[kMaxBlock];
    RunningFactors factors;
};

// The block's sums about the mean of the run so far: one pass where two are to be saved, since nothing else asks for
// the block's own mean beforehand. False when some component's mean is so far from the run's that the digits of what
// the two passes would give are at stake: where the step between them makes more than 1/32 of the squares.
bool sums_about_run(const Scheme& scheme, const Strip& strip, const Block& block, const Moments* moments,
                    double* shifts, Sums& d) {
    for (int k = 0; k < strip.width; ++k) shifts[k] = moments[k].mean();
    central_sums(scheme.central_order, strip, block, shifts, d);
    bool near = true;
    for (int k = 0; k < strip.width; ++k)
        near = near && d[0][k] * d[0][k] <= block.weight.total * d[1][k] / 32;
    return near;
}

// A strip of one block about the block's mean or the given one, merged into `moments`.
void add_block(const Scheme& scheme, const Strip& strip, const Block& block, const Union& both,
               Moments* moments) {
    const double weight = block.weight.total;
    const bool own_mean = scheme.centre == Centre::kBlockMean;
    Sums raw = {}, d;  // sums of w x^r and of w (x - shift)^r
    double shifts[kStrip] = {};
    const bool one_pass = own_mean && scheme.raw_order == 0 && both.weight_a > 0 &&
                          strip.rows[0] == nullptr &&
                          sums_about_run(scheme, strip, block, moments, shifts, d);
    if (!one_pass) {
        raw_sums(own_mean ? std::max(scheme.raw_order, 1) : scheme.raw_order, strip, block, raw);
        for (int k = 0; k < strip.width; ++k) shifts[k] = own_mean ? raw[0][k] / weight : moments[k].origin;
        if (scheme.central_order >= 2) central_sums(scheme.central_order, strip, block, shifts, d);
    }
    for (int k = 0; k < strip.width; ++k) {
        Moments added = {};
        for (int r = 0; r < 4; ++r) added.raw[r] = raw[r][k];
        double* const row = strip.rows[k];
        double rest = 0, shift = shifts[k];
        if (scheme.central_order >= 2) {
            if (own_mean) rest = d[0][k] / weight;
            const double rest2 = rest * rest;
            added.central[0] = d[1][k] - rest2 * weight;
            added.central[1] = d[2][k] - 3 * rest * d[1][k] + 2 * weight * rest2 * rest;
            added.central[2] =
                d[3][k] - 4 * rest * d[2][k] + 6 * rest2 * d[1][k] - 3 * weight * rest2 * rest2;
            // Hardly ever is the rounding of the mean visible in the cross-products.
            if (row != nullptr && rest2 * weight > 0x1p-54 * added.central[0])
                for (int j = 0; j < block.count; ++j)
                    row[j * strip.row_step] = (strip.x[k][j * strip.step] - shift - rest) *
                                              (block.roots != nullptr ? block.roots[j] : 1);
            // Distinct doubles differ by a unit of their last place, and the first mean is wrong by less than
            // B of these: where less than 2^-40 of the sum remains, all values are equal, what remains is
            // rounding, and the rounded mean is exact.
            if (own_mean && added.central[0] < 0x1p-40 * d[1][k]) {
                added.central[0] = added.central[1] = added.central[2] = 0;
                shift += rest;
                rest = 0;
                for (int j = 0; j < block.count && row != nullptr; ++j) row[j * strip.row_step] = 0;
            }
        }
        added.origin = shift;
        added.offset = rest;
        if (row != nullptr) row[block.count * strip.row_step] = scaled_step(moments[k], added, both);
        merge(moments[k], added, both, scheme.central_order);
    }
}

void set_running_factors(const Scheme& scheme, const Block& block, double before, bool roots,
                         RunningFactors& factors) {
    for (int j = 0; j < block.count; ++j) {
        const double w = block.weights != nullptr ? block.weights[j] : 1;
        const double after = before + w;
        const double step = w == 0 ? 0 : w / after;
        factors.step[j] = step;
        factors.second[j] = before * step;
        if (roots) factors.root[j] = std::sqrt(before * step);
        if (scheme.central_order > 2) {
            const double stay = w == 0 ? 1 : before / after;
            factors.third[j] = before * step * (stay - step);
            factors.fourth[j] = before * step * (stay * stay - stay * step + step * step);
        }
        before = after;
    }
}

// The running update of 2 * kPairs components. Mean and sums are updated from the deviation about the mean
// before the observation; the mean by m + (w/W) (x - m), which does not drift as (w/W) x + (A/W) m does when
// the two factors round to a sum other than 1.
template <int kOrder, int kPairs, bool kAcross>
void running_update(const Strip& strip, int count, const RunningFactors& factors, Moments* const* moments) {
    const auto& x = strip.x;
    const auto& rows = strip.rows;
    f64x2 origin[kPairs], offset[kPairs], c2[kPairs], c3[kPairs], c4[kPairs];
    for (int k = 0; k < kPairs; ++k) {
        const Moments &low = *moments[2 * k], &high = *moments[2 * k + 1];
        origin[k] = simd::pair(low.origin, high.origin);
        offset[k] = simd::pair(low.offset, high.offset);
        c2[k] = simd::pair(low.central[0], high.central[0]);
        c3[k] = simd::pair(low.central[1], high.central[1]);
        c4[k] = simd::pair(low.central[2], high.central[2]);
    }
    const f64x2 three = simd::broadcast(3.0), four = simd::broadcast(4.0), six = simd::broadcast(6.0);
    for (int j = 0; j < count; ++j) {
        if constexpr (kAcross) __builtin_prefetch(x[0] + (count + j) * strip.step);
        const f64x2 step = simd::broadcast(factors.step[j]), second = simd::broadcast(factors.second[j]);
        for (int k = 0; k < kPairs; ++k) {
            f64x2 value;
            if constexpr (kAcross) {
                value = simd::load(x[0] + j * strip.step + 2 * k);
            } else {
                value = simd::pair(x[2 * k][j], x[2 * k + 1][j]);
            }
            const f64x2 delta = value - origin[k] - offset[k];
            const f64x2 move = step * delta, delta2 = delta * delta;
            if constexpr (kOrder >= 4)
                c4[k] = c4[k] + simd::broadcast(factors.fourth[j]) * (delta2 * delta2) +
                        six * (move * move) * c2[k] - four * move * c3[k];
            if constexpr (kOrder >= 3)
                c3[k] = c3[k] + simd::broadcast(factors.third[j]) * (delta2 * delta) - three * move * c2[k];
            if constexpr (kOrder >= 2) c2[k] = c2[k] + second * delta2;
            offset[k] = offset[k] + move;
            if (rows[0] != nullptr) {
                const f64x2 scaled = simd::broadcast(factors.root[j]) * delta;
                if constexpr (kAcross) {
                    simd::store(rows[0] + j * strip.row_step + 2 * k, scaled);
                } else {
                    rows[2 * k][j] = simd::low(scaled);
                    rows[2 * k + 1][j] = simd::high(scaled);
                }
            }
        }
    }
    for (int k = 0; k < 2 * kPairs; ++k) {
        const auto lane = [k](f64x2 a) { return k % 2 == 0 ? simd::low(a) : simd::high(a); };
        moments[k]->offset = lane(offset[k / 2]);
        moments[k]->central[0] = lane(c2[k / 2]);
        moments[k]->central[1] = lane(c3[k / 2]);
        moments[k]->central[2] = lane(c4[k / 2]);
    }
}

using RunningUpdate = void (*)(const Strip&, int, const RunningFactors&, Moments* const*);

template <int kPairs, bool kAcross>
constexpr RunningUpdate kRunningUpdates[] = {
    running_update<1, kPairs, kAcross>, running_update<2, kPairs, kAcross>,
    running_update<3, kPairs, kAcross>, running_update<4, kPairs, kAcross>};

template <bool kAcross>
RunningUpdate choose_update(int pairs, int order) {
    const auto& updates = pairs == 1   ? kRunningUpdates<1, kAcross>
                          : pairs == 2 ? kRunningUpdates<2, kAcross>
                                       : kRunningUpdates<4, kAcross>;
    return updates[order - 1];
}

// The components of a strip in one pass.
void run_block(const Scheme& scheme, Strip strip, const Block& block, double before,
               const RunningFactors& factors, Moments* moments) {
    Sums raw;
    raw_sums(scheme.raw_order, strip, block, raw);
    Moments* running[kStrip];
    Moments unused = {};
    int start = 0;  // the origin is the first value that counts
    while (factors.step[start] == 0 && start + 1 < block.count) ++start;
    for (int k = 0; k < strip.width; ++k) {
        if (before == 0) moments[k].origin = strip.x[k][start * strip.step];
        for (int r = 0; r < 4; ++r) moments[k].raw[r] += raw[r][k];
        if (strip.rows[k] != nullptr) strip.rows[k][block.count * strip.row_step] = 0;
        running[k] = &moments[k];
    }
    // A strip is filled up to 1, 2 or 4 pairs by repeating its first component into nothing.
    const int pairs = strip.width <= 2 ? 1 : strip.width <= 4 ? 2 : 4;
    double unused_row[kMaxBlock];
    for (int k = strip.width; k < 2 * pairs; ++k) {
        strip.x[k] = strip.x[0];
        running[k] = &unused;
        strip.rows[k] = strip.rows[0] != nullptr ? unused_row : nullptr;
    }
    const auto choose = strip.across() ? choose_update<true> : choose_update<false>;
    choose(pairs, scheme.central_order)(strip, block.count, factors, running);
}

// The block's values of a strip, as double: component after component or, across, observation after
// observation.
template <class Real>
void copy_strip(const Observations& observations, const int64_t* components, const Block& block, bool across,
                int width, double* copy) {
    const Real* first =
        static_cast<const Real*>(observations.values) + block.first * observations.observation_stride;
    if (across) {
        for (int j = 0; j < block.count; ++j, first += observations.observation_stride) {
            for (int k = 0; k < width; ++k) copy[j * kStrip + k] = first[components[k]];
            if (width == 1) copy[j * kStrip + 1] = 0;
        }
    } else {
        for (int k = 0; k < width; ++k)
            std::copy_n(first + components[k] * observations.component_stride, block.count, copy + k * kRow);
    }
}

// Zero times what an absent observation holds is to be zero, whatever it holds.
void fill_absent(const Block& block, bool across, int width, double* copy) {
    const int64_t step = across ? kStrip : 1, row = across ? 1 : kRow;
    for (int j = 0; j < block.count; ++j) {
        if (block.weights[j] != 0) continue;
        for (int k = 0; k < width; ++k) copy[j * step + k * row] = copy[block.stand_in * step + k * row];
    }
}

// As many of the tile's components from number k on as go together; their values in the caller's array where
// that serves, else in scratch.
Strip make_strip(const Observations& observations, const Scheme& scheme, const Tile& tile, int64_t k,
                 const Block& block, double* copy) {
    const bool across = observations.by_observation();
    const int64_t* components = tile.components + k;
    const int64_t left = tile.count - k;
    Strip strip;
    if (across) {
        strip.width = left >= 8 ? 8 : left >= 4 ? 4 : left >= 2 ? 2 : 1;
    } else {
        // One after another they stay in the first-level cache between two passes.
        strip.width = scheme.centre != Centre::kRunningMean ? 1
                      : left >= kStrip                      ? kStrip
                                                            : static_cast<int>(left);
    }
    for (int i = 0; i < strip.width; ++i)
        strip.rows[i] = tile.panel != nullptr ? tile.panel + (k + i) * tile.component_stride : nullptr;
    strip.row_step = tile.observation_stride;
    const bool neighbours = strip.width > 1 && components[strip.width - 1] == components[0] + strip.width - 1;
    if (!observations.single && (!across || neighbours) && block.stand_in < 0) {
        const double* first =
            static_cast<const double*>(observations.values) + block.first * observations.observation_stride;
        for (int i = 0; i < strip.width; ++i)
            strip.x[i] = first + components[i] * observations.component_stride;
        strip.step = observations.observation_stride;
        return strip;
    }
    if (observations.single) {
        copy_strip<float>(observations, components, block, across, strip.width, copy);
    } else {
        copy_strip<double>(observations, components, block, across, strip.width, copy);
    }
    if (block.stand_in >= 0) fill_absent(block, across, strip.width, copy);
    for (int i = 0; i < strip.width; ++i) strip.x[i] = copy + i * (across ? 1 : kRow);
    strip.step = across ? kStrip : 1;
    return strip;
}

Block make_block(const Observations& observations, int64_t first, int count, bool roots, Scratch& scratch) {
    const Block unweighted{
        first, count, nullptr, nullptr, {static_cast<double>(count), static_cast<double>(count)}};
    if (observations.weights == nullptr) return unweighted;
    Block block = unweighted;
    if (observations.single) {
        std::copy_n(static_cast<const float*>(observations.weights) + first, count, scratch.weights);
        block.weights = scratch.weights;
    } else {
        block.weights = static_cast<const double*>(observations.weights) + first;
    }
    if (roots) {
        for (int j = 0; j < count; ++j) scratch.roots[j] = std::sqrt(block.weights[j]);
        block.roots = scratch.roots;
    }
    int absent = 0;
    for (int j = 0; j < count; ++j) absent += block.weights[j] == 0;
    if (absent > 0 && absent < count) {
        block.stand_in = 0;
        while (block.weights[block.stand_in] == 0) ++block.stand_in;
    }
    const Strip weights = {1, 1, 1, {block.weights}, {}};
    Sums sums;
    raw_sums(2, weights, unweighted, sums);
    block.weight = {sums[0][0], sums[1][0]};
    return block;
}

}  // namespace

Weight accumulate(const Observations& observations, const Scheme& scheme, int64_t first, int64_t last,
                  Tile* tiles, int tile_count, Consume consume, void* context) {
    Weight run;
    Scratch scratch;
    const bool running = scheme.centre == Centre::kRunningMean;
    for (; first < last; first += scheme.block) {
        const int count = static_cast<int>(last - first < scheme.block ? last - first : scheme.block);
        const Block block = make_block(observations, first, count, consume != nullptr && !running, scratch);
        if (block.weight.total == 0) continue;
        const Union both(run.total, block.weight.total);
        if (running) set_running_factors(scheme, block, run.total, consume != nullptr, scratch.factors);
        for (Tile* tile = tiles; tile < tiles + tile_count; ++tile) {
            for (int64_t k = 0; k < tile->count;) {
                const Strip strip = make_strip(observations, scheme, *tile, k, block, scratch.strip);
                if (running) {
                    run_block(scheme, strip, block, run.total, scratch.factors, tile->moments + k);
                } else {
                    add_block(scheme, strip, block, both, tile->moments + k);
                }
                k += strip.width;
            }
        }
        if (consume != nullptr) consume(context, count + 1);
        run.add(block.weight);
    }
    return run;
}

}  // namespace ozk::stats
