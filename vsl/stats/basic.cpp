// Mean, moments, sums, covariance, correlation and cross-product, in portions if need be.
//
// The work is cut into items by the sizes alone: tiles of components times chunks of observations, about
// kItems of them. Items are computed on any thread and merged in their order, so that the bits of the result
// do not depend on the number of threads. Without cross-products everything lives on the stack. With them,
// the items of one chunk cover the lower triangle of the chunk's matrix by square tiles, filled by the core's
// symmetric and general products of panels of deviations; one allocation holds the chunks' matrices and a
// pair of panels for each thread.

#include "vsl/stats/basic.hpp"

#include <algorithm>
#include <cmath>

#include "ozk_stats.h"

namespace ozk::stats {
namespace {

constexpr int64_t kItems = 16;             // enough to share among as many threads
constexpr int64_t kMomentTile = 32;        // components of a tile without cross-products
constexpr int64_t kMatrixTile = 512;       // and with them: two panels of it stay in the shared cache
constexpr int64_t kChunk = 4 * kMaxBlock;  // observations, below which a chunk is not worth its merge
constexpr int64_t kSerial = 1 << 15;       // values, below which one thread is the fastest

int64_t divide_up(int64_t a, int64_t b) { return (a + b - 1) / b; }

// What is common to both ways: the data, how it is cut, and how chunks are computed and joined.
struct Job {
    const Request& request;
    const OzkThreading* threading;
    Observations observations;
    Scheme scheme;
    int64_t chunks = 1;
    Weight chunk_weights[kItems];

    Job(const Request& asked, const OzkThreading* services, int block)
        : request(asked),
          threading(services),
          observations{asked.task->observations, asked.task->weights, asked.single, asked.observation_count,
                       1},
          scheme{asked.centre, raw_order(asked), central_order(asked), block} {
        // One component alone is contiguous in either storage.
        if (asked.dimension > 1 &&
            read_integer(*asked.task, asked.task->observation_storage) == kOzkStatsByObservation) {
            observations.component_stride = 1;
            observations.observation_stride = asked.dimension;
            scheme.block = static_cast<int>(
                std::clamp<int64_t>(kRowBlockValues / asked.dimension, kLeastRowBlock, kPanelBlock));
        }
    }

    void cut(int64_t tiles) {
        chunks = std::clamp<int64_t>(kItems / tiles, 1, divide_up(request.observation_count, kChunk));
    }

    // First observation of a chunk: whole blocks, shared evenly.
    int64_t chunk_start(int64_t chunk) const {
        const int64_t blocks = divide_up(request.observation_count, scheme.block);
        return std::min(request.observation_count, chunk * blocks / chunks * scheme.block);
    }

    Weight accumulate_chunk(int64_t chunk, const Scheme& how, Tile* tiles, int tile_count, Consume consume,
                            void* context) const {
        for (Tile* tile = tiles; tile < tiles + tile_count; ++tile)
            for (int64_t k = 0; k < tile->count; ++k) {
                tile->moments[k] = {};
                if (how.centre == Centre::kGivenMean && request.has(kOzkStatsMean))
                    tile->moments[k].origin =
                        read_real(request.task->mean, request.single, tile->components[k]);
            }
        return accumulate(observations, how, chunk_start(chunk), chunk_start(chunk + 1), tiles, tile_count,
                          consume, context);
    }

    Weight total_weight(const Weight* weights) const {
        Weight total = request.previous;
        for (int64_t chunk = 0; chunk < chunks; ++chunk) total.add(weights[chunk]);
        return total;
    }

    // Joins a component's moments of all chunks, `stride` apart, to those of earlier calls. steps[chunk *
    // stride], where wanted, receives the step between the means, scaled so that the products of these steps
    // are what the union adds to the chunks' cross-products.
    Moments join(int64_t component, const Moments* moments, int64_t stride, const Weight* weights,
                 double* steps) const {
        Moments total = previous_moments(request, component);
        double before = request.previous.total;
        for (int64_t chunk = 0; chunk < chunks; ++chunk) {
            const Moments& added = moments[chunk * stride];
            const Union both(before, weights[chunk].total);
            if (steps != nullptr) steps[chunk * stride] = scaled_step(total, added, both);
            merge(total, added, both, scheme.central_order);
            before += weights[chunk].total;
        }
        return total;
    }

    int64_t threads(int64_t items) const {
        if (threading == nullptr || threading->parallel_for == nullptr) return 1;
        if (items < 2 || request.dimension * request.observation_count < kSerial) return 1;
        int64_t count = 1;
        if (threading->advise_threads != nullptr) {
            count = threading->advise_threads(
                request.dimension, request.observation_count,
                observations.observation_stride == 1 ? kOzkStatsByComponent : kOzkStatsByObservation,
                observations.values);
        } else if (threading->thread_limit != nullptr) {
            count = threading->thread_limit();
        }
        return std::clamp<int64_t>(count, 1, items);
    }

    void run(int64_t items, int64_t thread_count, void* context, OzkLoopBody body) const {
        if (thread_count > 1) {
            threading->parallel_for(items, thread_count, context, body);
        } else {
            for (int64_t item = 0; item < items; ++item) body(item, 0, context);
        }
    }
};

// ---- Without cross-products

struct MomentJob : Job {
    using Job::Job;
    Moments* moments;  // of tile t, component k and chunk c at (c * tiles + t) * kMomentTile + k
    int64_t tiles;

    int64_t select(int64_t tile, int64_t* components) const {
        int64_t count = 0;
        const int64_t end = std::min(request.dimension, (tile + 1) * kMomentTile);
        for (int64_t i = tile * kMomentTile; i < end; ++i)
            if (request.selected(i)) components[count++] = i;
        return count;
    }

    void finish(const int64_t* components, int64_t count, const Moments* first, const Weight* weights) const {
        const Weight total = total_weight(weights);
        for (int64_t k = 0; k < count; ++k) {
            const Moments joined = join(components[k], first + k, tiles * kMomentTile, weights, nullptr);
            // A matrix without other components than this one has its central sum for cross-product.
            const double deviation = std::sqrt(joined.central[0]);
            write_cross_product(request, components[k], components[k], joined.central[0], deviation,
                                deviation, covariance_divisor(total));
            write_moments(request, components[k], joined, total);
        }
    }
};

int moment_item(int64_t item, int64_t, void* context) {
    MomentJob& job = *static_cast<MomentJob*>(context);
    const int64_t chunk = item / job.tiles, tile = item % job.tiles;
    int64_t components[kMomentTile];
    const int64_t count = job.select(tile, components);
    Moments here[kMomentTile];
    Tile work = {components, count, job.chunks == 1 ? here : job.moments + item * kMomentTile};
    const Weight weight = job.accumulate_chunk(chunk, job.scheme, &work, 1, nullptr, nullptr);
    if (job.chunks == 1) job.finish(components, count, here, &weight);
    if (tile == 0) job.chunk_weights[chunk] = weight;
    return kOzkStatsOk;
}

Weight estimate_moments(const Request& request, const OzkThreading* threading) {
    MomentJob job(request, threading, kMaxBlock);
    Moments moments[kItems * kMomentTile];
    job.moments = moments;
    job.tiles = divide_up(request.dimension, kMomentTile);
    job.cut(job.tiles);
    const int64_t items = job.tiles * job.chunks;
    job.run(items, job.threads(items), &job, moment_item);
    for (int64_t tile = 0; tile < job.tiles && job.chunks > 1; ++tile) {
        int64_t components[kMomentTile];
        job.finish(components, job.select(tile, components), moments + tile * kMomentTile, job.chunk_weights);
    }
    return job.total_weight(job.chunk_weights);
}

// ---- With cross-products

struct MatrixJob : Job {
    using Job::Job;
    int64_t count;        // of the selected components
    int64_t* components;  // their numbers
    int64_t tiles, width;
    Moments* moments;  // of component k and chunk c at c * count + k
    double* cross;  // lower triangles by columns: of chunk c, element i >= k at (c * count + k) * count + i
    double* steps;  // between the means of joined chunks, laid out as the moments
    double *previous_deviations, *deviations;  // square roots of the diagonals before and after
    double* panels;                            // two for each thread
    int64_t thread_count;
    Weight total;

    int64_t pairs() const { return tiles * (tiles + 1) / 2; }
    int64_t panel_size() const { return (width + width % 2) * kPanelRow; }
    int64_t tile_start(int64_t tile) const { return std::min(count, tile * width); }
    // A tile with one of the thread's two panels, and no moments. A panel by observation has room for a pair
    // of components where the last one has no other.
    Tile make_tile(int64_t tile, int64_t thread, int64_t panel) const {
        const int64_t start = tile_start(tile), size = tile_start(tile + 1) - start;
        double* const place = panels + (thread * 2 + panel) * panel_size();
        if (observations.by_observation())
            return {components + start, size, nullptr, place, 1, size + size % 2};
        return {components + start, size, nullptr, place, kPanelRow, 1};
    }
    double cross_product(int64_t i, int64_t k) const {
        double value = previous_cross_product(request, components[i], components[k], previous_deviations[i],
                                              previous_deviations[k]);
        for (int64_t c = 0; c < chunks; ++c)
            value += cross[(c * count + k) * count + i] + steps[c * count + i] * steps[c * count + k];
        return value;
    }
};

// What a block adds to a tile of the matrix: the product of the deviations of its rows and columns, or of one
// panel with itself.
struct Product {
    const Tile *rows, *columns;
    int64_t leading;
    double* result;
};

// A panel is a matrix of one component a column, or of one observation a column.
bool by_component(const Tile& tile) { return tile.observation_stride == 1; }
const int64_t* leading(const Tile& tile) {
    return by_component(tile) ? &tile.component_stride : &tile.observation_stride;
}

void add_product(void* context, int64_t observations) {
    const Product& p = *static_cast<const Product*>(context);
    const Tile &rows = *p.rows, &columns = *p.columns;
    const double one = 1;
    if (p.rows == p.columns) {
        ozk_blas_xdsyrk("L", by_component(rows) ? "T" : "N", &rows.count, &observations, &one, rows.panel,
                        leading(rows), &one, p.result, &p.leading, 1, 1);
    } else {
        ozk_blas_xdgemm(by_component(rows) ? "T" : "N", by_component(columns) ? "N" : "T", &rows.count,
                        &columns.count, &observations, &one, rows.panel, leading(rows), columns.panel,
                        leading(columns), &one, p.result, &p.leading, 1, 1);
    }
}

int matrix_item(int64_t item, int64_t thread, void* context) {
    MatrixJob& job = *static_cast<MatrixJob*>(context);
    const int64_t chunk = item / job.pairs();
    int64_t column = item % job.pairs(), row = 0;  // tiles of the lower triangle, column <= row
    while (column > row) column -= ++row;
    Tile tiles[2] = {job.make_tile(column, thread, 0), job.make_tile(row, thread, 1)};
    double* result =
        job.cross + (chunk * job.count + job.tile_start(column)) * job.count + job.tile_start(row);
    for (int64_t k = 0; k < tiles[0].count; ++k) std::fill_n(result + k * job.count, tiles[1].count, 0.0);
    if (row == column) {
        tiles[0].moments = job.moments + chunk * job.count + job.tile_start(row);
        Product product = {&tiles[0], &tiles[0], job.count, result};
        const Weight weight = job.accumulate_chunk(chunk, job.scheme, tiles, 1, add_product, &product);
        if (row == 0) job.chunk_weights[chunk] = weight;
    } else {
        Moments unused[2][kMatrixTile];  // the tiles on the diagonal keep these
        for (int k = 0; k < 2; ++k) tiles[k].moments = unused[k];
        Product product = {&tiles[1], &tiles[0], job.count, result};
        Scheme scheme = job.scheme;
        scheme.raw_order = 0;
        scheme.central_order = 2;
        job.accumulate_chunk(chunk, scheme, tiles, 2, add_product, &product);
    }
    return kOzkStatsOk;
}

int matrix_column_item(int64_t item, int64_t, void* context) {
    const MatrixJob& job = *static_cast<const MatrixJob*>(context);
    const double divisor = covariance_divisor(job.total);
    for (int64_t k = item; k < job.count; k += kItems)
        for (int64_t i = k; i < job.count; ++i)
            write_cross_product(job.request, job.components[i], job.components[k], job.cross_product(i, k),
                                job.deviations[i], job.deviations[k], divisor);
    return kOzkStatsOk;
}

int estimate_with_cross_products(const Request& request, const OzkThreading* threading, int64_t selected,
                                 Weight& total) {
    MatrixJob job(request, threading, kPanelBlock);
    job.count = selected;
    job.tiles = divide_up(selected, kMatrixTile);
    job.width = divide_up(selected, job.tiles);
    job.cut(job.pairs());
    const int64_t items = job.pairs() * job.chunks;
    job.thread_count = job.threads(items);

    const int64_t doubles =
        job.thread_count * 2 * job.panel_size() + job.chunks * selected * (selected + 1) + 2 * selected;
    const int64_t moments = job.chunks * selected;
    void* memory = ozk_serv_allocate(
        doubles * sizeof(double) + moments * sizeof(Moments) + selected * sizeof(int64_t), 128);
    if (memory == nullptr) return kOzkStatsErrorMemory;
    job.panels = static_cast<double*>(memory);
    job.cross = job.panels + job.thread_count * 2 * job.panel_size();
    job.steps = job.cross + job.chunks * selected * selected;
    job.previous_deviations = job.steps + job.chunks * selected;
    job.deviations = job.previous_deviations + selected;
    job.moments = reinterpret_cast<Moments*>(job.deviations + selected);
    job.components = reinterpret_cast<int64_t*>(job.moments + moments);
    for (int64_t i = 0, k = 0; i < request.dimension; ++i)
        if (request.selected(i)) job.components[k++] = i;

    job.run(items, job.thread_count, &job, matrix_item);

    job.total = job.total_weight(job.chunk_weights);
    for (int64_t k = 0; k < selected; ++k) {
        const int64_t component = job.components[k];
        job.previous_deviations[k] = std::sqrt(previous_moments(request, component).central[0]);
        const Moments joined =
            job.join(component, job.moments + k, selected, job.chunk_weights, job.steps + k);
        job.deviations[k] = std::sqrt(job.cross_product(k, k));
        write_moments(request, component, joined, job.total);
    }
    job.run(kItems, std::min(job.thread_count, kItems), &job, matrix_column_item);
    ozk_serv_deallocate(memory);
    total = job.total;
    return kOzkStatsOk;
}

int estimate(OzkStatsTask* task, uint64_t mask, uint32_t method, bool single, const OzkThreading* threading) {
    Request request;
    const int status = check_basic(task, mask, method, single, request);
    if (status != kOzkStatsOk) return status;
    if (request.convert) {
        convert(request);
        return kOzkStatsOk;
    }
    int64_t selected = 0;
    if (request.asks(kMatrices))
        for (int64_t i = 0; i < request.dimension; ++i) selected += request.selected(i);
    Weight total;
    if (selected > 1) {
        const int failure = estimate_with_cross_products(request, threading, selected, total);
        if (failure != kOzkStatsOk) return failure;
    } else {
        total = estimate_moments(request, threading);
    }
    if (task->accumulated_weights != nullptr) {
        write_real(task->accumulated_weights, single, 0, total.total);
        write_real(task->accumulated_weights, single, 1, total.squares);
    }
    return kOzkStatsOk;
}

}  // namespace
}  // namespace ozk::stats

extern "C" {

int _vsldSSBasic(OzkStatsTask* task, uint64_t estimates, uint32_t method, const OzkThreading* threading) {
    return ozk::stats::estimate(task, estimates, method, false, threading);
}

int _vslsSSBasic(OzkStatsTask* task, uint64_t estimates, uint32_t method, const OzkThreading* threading) {
    return ozk::stats::estimate(task, estimates, method, true, threading);
}

}  // extern "C"
