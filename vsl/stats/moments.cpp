// Moments of a run of observations, block by block.
//
// Error of the block-mean scheme, u = 2^-53, b blocks of B observations: a central sum of order 2 is
// relatively within (B/8 + 4 b + 10) u of the exact one, in the worst case and far less in practice, plus (u
// m / s)^2 times a small constant for mean m and deviation s: the rounding of the block's mean is itself
// corrected through the sum of the deviations (the corrected two-pass algorithm of Chan, Golub and LeVeque).
// The running scheme has n in place of B/8 + 4 b, and n u m / s in the second term.

#include "vsl/stats/moments.hpp"

#include <algorithm>
#include <cmath>

#include "simd/vector.hpp"
#include "vsl/stats/task.hpp"

namespace ozk::stats {

using simd::f64x2;

namespace {

double mean_step(const Moments& a, const Moments& b) {
    return (b.origin - a.origin) + (b.offset - a.offset);
}

}  // namespace

void merge(Moments& a, double weight_a, const Moments& b, double weight_b, int order) {
    if (weight_b == 0) return;
    if (weight_a == 0) {
        a = b;
        return;
    }
    const double weight = weight_a + weight_b;
    const double alpha = weight_a / weight, beta = weight_b / weight;
    const double delta = mean_step(a, b), delta2 = delta * delta;
    const double between = delta2 * weight_a * beta;
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
    a.offset += delta * beta;
    for (int k = 0; k < 4; ++k) a.raw[k] += b.raw[k];
}

double scaled_step(const Moments& a, double weight_a, const Moments& b, double weight_b) {
    if (weight_a == 0 || weight_b == 0) return 0;
    return std::sqrt(weight_a * (weight_b / (weight_a + weight_b))) * mean_step(a, b);
}

namespace {

// The weights of a block and what follows from them.
struct Block {
    int64_t first;
    int count;
    const double* weights;  // null: all 1
    const double* roots;    // of the weights; null: all 1
    Weight weight;
};

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

// out[k - 1] = sum of w (x - shift)^k for k = 1 to kOrder; without kShifted, of w x^k.
template <int kOrder, bool kWeighted, bool kShifted>
void power_sums(const double* x, const double* w, int count, double shift, double* out) {
    constexpr int kChains = kOrder <= 2 ? 4 : 2;  // independent additions, enough to hide their latency
    const f64x2 shifts = simd::broadcast(shift);
    f64x2 sums[kOrder][kChains];
    for (auto& chains : sums)
        for (f64x2& chain : chains) chain = simd::broadcast(0.0);
    int j = 0;
    for (; j + 2 * kChains <= count; j += 2 * kChains) {
        for (int c = 0; c < kChains; ++c) {
            f64x2 value = simd::load(x + j + 2 * c);
            if constexpr (kShifted) value = value - shifts;
            f64x2 term = value;
            if constexpr (kWeighted) term = simd::load(w + j + 2 * c) * value;
            sums[0][c] = sums[0][c] + term;
            for (int k = 1; k < kOrder; ++k) {
                term = term * value;
                sums[k][c] = sums[k][c] + term;
            }
        }
    }
    for (int k = 0; k < kOrder; ++k) {
        out[k] = 0;
        for (const f64x2 chain : sums[k]) out[k] += simd::low(chain) + simd::high(chain);
    }
    for (; j < count; ++j) {
        const double value = kShifted ? x[j] - shift : x[j];
        double term = kWeighted ? w[j] * value : value;
        out[0] += term;
        for (int k = 1; k < kOrder; ++k) out[k] += term *= value;
    }
}

using PowerSums = void (*)(const double* x, const double* w, int count, double shift, double* out);

template <bool kWeighted, bool kShifted>
constexpr PowerSums kPowerSums[] = {nullptr, power_sums<1, kWeighted, kShifted>,
                                    power_sums<2, kWeighted, kShifted>, power_sums<3, kWeighted, kShifted>,
                                    power_sums<4, kWeighted, kShifted>};

void raw_sums(int order, const double* x, const Block& block, double* out) {
    const auto& sums = block.weights != nullptr ? kPowerSums<true, false> : kPowerSums<false, false>;
    if (order > 0) sums[order](x, block.weights, block.count, 0, out);
}

void central_sums(int order, const double* x, const Block& block, double shift, double* out) {
    const auto& sums = block.weights != nullptr ? kPowerSums<true, true> : kPowerSums<false, true>;
    sums[order](x, block.weights, block.count, shift, out);
}

// Row of a panel: sqrt(w) (x - shift - rest), where shift + rest is the mean to twice the precision.
void scale_deviations(const double* x, const Block& block, double shift, double rest, double* row) {
    const f64x2 shifts = simd::broadcast(shift), rests = simd::broadcast(rest);
    int j = 0;
    for (; j + 2 <= block.count; j += 2) {
        f64x2 value = simd::load(x + j) - shifts - rests;
        if (block.roots != nullptr) value = value * simd::load(block.roots + j);
        simd::store(row + j, value);
    }
    for (; j < block.count; ++j)
        row[j] = (x[j] - shift - rest) * (block.roots != nullptr ? block.roots[j] : 1);
}

// One component of one block about the block's mean or the given one, merged into `moments`, whose run so far
// has weight `before`.
void add_block(const Scheme& scheme, const double* x, const Block& block, double before, Moments& moments,
               double* row) {
    const double weight = block.weight.total;
    Moments added = {};
    double d[4] = {};  // sums of w (x - shift)^k
    double rest = 0, shift = moments.origin;
    const bool own_mean = scheme.centre == Centre::kBlockMean;
    raw_sums(scheme.raw_order, x, block, added.raw);
    if (own_mean) shift = added.raw[0] / weight;
    if (scheme.central_order >= 2) {
        central_sums(scheme.central_order, x, block, shift, d);
        if (own_mean) rest = d[0] / weight;
        const double rest2 = rest * rest;
        added.central[0] = d[1] - rest2 * weight;
        added.central[1] = d[2] - 3 * rest * d[1] + 2 * weight * rest2 * rest;
        added.central[2] = d[3] - 4 * rest * d[2] + 6 * rest2 * d[1] - 3 * weight * rest2 * rest2;
        // Distinct doubles differ by a unit of their last place, and the first mean is wrong by less than B
        // of these: where less than 2^-40 of the sum remains, all values are equal, what remains is rounding,
        // and the rounded mean is exact.
        if (own_mean && added.central[0] < 0x1p-40 * d[1]) {
            added.central[0] = added.central[1] = added.central[2] = 0;
            shift += rest;
            rest = 0;
        }
    }
    added.origin = shift;
    added.offset = rest;
    if (row != nullptr) {
        scale_deviations(x, block, shift, rest, row);
        row[block.count] = scaled_step(moments, before, added, weight);
    }
    merge(moments, before, added, weight, scheme.central_order);
}

void set_running_factors(const Block& block, double before, RunningFactors& factors) {
    for (int j = 0; j < block.count; ++j) {
        const double w = block.weights != nullptr ? block.weights[j] : 1;
        const double after = before + w;
        const double step = w == 0 ? 0 : w / after, stay = w == 0 ? 1 : before / after;
        factors.step[j] = step;
        factors.second[j] = before * step;
        factors.third[j] = before * step * (stay - step);
        factors.fourth[j] = before * step * (stay * stay - stay * step + step * step);
        factors.root[j] = std::sqrt(before * step);
        before = after;
    }
}

// The running update of 2 * kPairs components. Mean and sums are updated from the deviation about the mean
// before the observation; the mean by m + (w/W) (x - m), which does not drift as (w/W) x + (A/W) m does when
// the two factors round to a sum other than 1.
template <int kOrder, int kPairs>
void running_update(const double* const* x, int count, const RunningFactors& factors, Moments* const* moments,
                    double* const* rows) {
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
        const f64x2 step = simd::broadcast(factors.step[j]), second = simd::broadcast(factors.second[j]);
        for (int k = 0; k < kPairs; ++k) {
            const f64x2 delta = simd::pair(x[2 * k][j], x[2 * k + 1][j]) - origin[k] - offset[k];
            const f64x2 move = step * delta, delta2 = delta * delta;
            if constexpr (kOrder >= 4)
                c4[k] = c4[k] + simd::broadcast(factors.fourth[j]) * (delta2 * delta2) +
                        six * (move * move) * c2[k] - four * move * c3[k];
            if constexpr (kOrder >= 3)
                c3[k] = c3[k] + simd::broadcast(factors.third[j]) * (delta2 * delta) - three * move * c2[k];
            if constexpr (kOrder >= 2) c2[k] = c2[k] + second * delta2;
            offset[k] = offset[k] + move;
            if (rows != nullptr) {
                const f64x2 scaled = simd::broadcast(factors.root[j]) * delta;
                rows[2 * k][j] = simd::low(scaled);
                rows[2 * k + 1][j] = simd::high(scaled);
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

using RunningUpdate = void (*)(const double* const*, int, const RunningFactors&, Moments* const*,
                               double* const*);

template <int kPairs>
constexpr RunningUpdate kRunningUpdates[] = {nullptr, running_update<1, kPairs>, running_update<2, kPairs>,
                                             running_update<3, kPairs>, running_update<4, kPairs>};

// The components of a strip in one pass; x, moments and rows hold `count` entries each.
void run_block(const Scheme& scheme, const double** x, const Block& block, int count, double before,
               const RunningFactors& factors, Moments* moments, double** rows) {
    Moments* running[kStrip];
    Moments unused = {};
    int start = 0;  // the origin is the first value that counts
    while (factors.step[start] == 0 && start + 1 < block.count) ++start;
    for (int k = 0; k < count; ++k) {
        if (before == 0) moments[k].origin = x[k][start];
        double raw[4] = {};
        raw_sums(scheme.raw_order, x[k], block, raw);
        for (int r = 0; r < 4; ++r) moments[k].raw[r] += raw[r];
        running[k] = &moments[k];
    }
    // A strip is filled up to a whole number of pairs by repeating its first component into nothing.
    const int padded = count <= 2 ? 2 : kStrip;
    double unused_row[kMaxBlock];
    for (int k = count; k < padded; ++k) {
        x[k] = x[0];
        running[k] = &unused;
        if (rows != nullptr) rows[k] = unused_row;
    }
    const auto& updates = padded == 2 ? kRunningUpdates<1> : kRunningUpdates<kStrip / 2>;
    updates[scheme.central_order](x, block.count, factors, running, rows);
    for (int k = 0; k < count && rows != nullptr; ++k) rows[k][block.count] = 0;
}

// Copies the block's values of a strip of components from observations `step` apart.
template <class Real>
void gather(const Real* first, int64_t step, const int64_t* components, int count, int block, double* strip) {
    for (int j = 0; j < block; ++j)
        for (int k = 0; k < count; ++k) strip[k * kRow + j] = first[j * step + components[k]];
}

OZK_SIMD f64x2 load_pair(const double* p) {
    return simd::load(p);
}
OZK_SIMD f64x2 load_pair(const float* p) {
    return simd::pair(p[0], p[1]);
}

// The same for a whole strip of neighbours.
template <class Real>
void transpose(const Real* first, int64_t step, int block, double* strip) {
    int j = 0;
    for (; j + 2 <= block; j += 2, first += 2 * step) {
        for (int k = 0; k < kStrip; k += 2) {
            const f64x2 here = load_pair(first + k), next = load_pair(first + step + k);
            simd::store(strip + k * kRow + j, simd::interleave_low(here, next));
            simd::store(strip + (k + 1) * kRow + j, simd::interleave_high(here, next));
        }
    }
    for (int k = 0; k < kStrip && j < block; ++k) strip[k * kRow + j] = first[k];
}

template <class Real>
void copy_rows(const Observations& observations, const int64_t* components, int count, const Block& block,
               double* strip) {
    const Real* values = static_cast<const Real*>(observations.values);
    const int64_t step = observations.observation_stride;
    const Real* first = values + block.first * step;
    if (step == 1) {
        for (int k = 0; k < count; ++k)
            std::copy_n(first + components[k] * observations.component_stride, block.count, strip + k * kRow);
    } else if (count == kStrip && components[kStrip - 1] == components[0] + kStrip - 1) {
        transpose(first + components[0], step, block.count, strip);
    } else {
        gather(first, step, components, count, block.count, strip);
    }
}

// Points x[k] to the block's values of each component of a strip: the caller's array where it serves, else
// scratch.
void find_rows(const Observations& observations, const int64_t* components, int count, const Block& block,
               double* strip, const double** x) {
    if (!observations.single && observations.observation_stride == 1) {
        const double* values = static_cast<const double*>(observations.values) + block.first;
        for (int k = 0; k < count; ++k) x[k] = values + components[k] * observations.component_stride;
        return;
    }
    if (observations.single) {
        copy_rows<float>(observations, components, count, block, strip);
    } else {
        copy_rows<double>(observations, components, count, block, strip);
    }
    for (int k = 0; k < count; ++k) x[k] = strip + k * kRow;
}

Block make_block(const Observations& observations, int64_t first, int count, bool roots, Scratch& scratch) {
    Block block{first, count, nullptr, nullptr, {static_cast<double>(count), static_cast<double>(count)}};
    if (observations.weights == nullptr) return block;
    block.weight = {};
    for (int j = 0; j < count; ++j) {
        const double w = read_real(observations.weights, observations.single, first + j);
        scratch.weights[j] = w;
        if (roots) scratch.roots[j] = std::sqrt(w);
        block.weight.add({w, w * w});
    }
    block.weights = scratch.weights;
    if (roots) block.roots = scratch.roots;
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
        if (running) set_running_factors(block, run.total, scratch.factors);
        for (Tile* tile = tiles; tile < tiles + tile_count; ++tile) {
            for (int64_t k = 0; k < tile->count; k += kStrip) {
                const int width = static_cast<int>(tile->count - k < kStrip ? tile->count - k : kStrip);
                const double* x[kStrip];
                double* rows[kStrip];
                find_rows(observations, tile->components + k, width, block, scratch.strip, x);
                for (int i = 0; i < width; ++i)
                    rows[i] = tile->panel != nullptr ? tile->panel + (k + i) * kRow : nullptr;
                if (running) {
                    run_block(scheme, x, block, width, run.total, scratch.factors, tile->moments + k,
                              tile->panel != nullptr ? rows : nullptr);
                } else {
                    for (int i = 0; i < width; ++i)
                        add_block(scheme, x[i], block, run.total, tile->moments[k + i], rows[i]);
                }
            }
        }
        if (consume != nullptr) consume(context, count + 1);
        run.add(block.weight);
    }
    return run;
}

}  // namespace ozk::stats
