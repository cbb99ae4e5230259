// Quantiles of data that arrive in portions.
//
// The task owns one summary for each component, beside a sorted buffer of the values that are not in it yet.
// A portion is taken in two steps: first every component's next summary is made beside the one that stands,
// on any thread; when all are there, they take the places of the old ones. So a portion for which memory does
// not suffice leaves no trace.

#include <cmath>
#include <cstring>
#include <limits>

#include "ozk_primitives.h"
#include "ozk_stats.h"
#include "vsl/stats/quantile_summary.hpp"
#include "vsl/stats/sample.hpp"
#include "vsl/stats/selection.hpp"
#include "vsl/stats/sort.hpp"

namespace ozk::stats {
namespace {

// What is kept of one component. The arrays are blocks of the core's allocator, or null.
struct Component {
    int64_t summarised;  // values in the summary
    void* tuples;
    int64_t tuple_count;
    void* buffer;  // keys, ascending
    int64_t buffered, capacity;
};

struct State {
    int64_t p;
    int64_t value_size;
    double epsilon;  // of the first call; the bound of all that follow
    Component components[];
};

void free_state(State* state) {
    for (int64_t i = 0; state != nullptr && i < state->p; ++i) {
        ozk_serv_deallocate(state->components[i].tuples);
        ozk_serv_deallocate(state->components[i].buffer);
    }
    ozk_serv_deallocate(state);
}

State* make_state(int64_t p, int64_t value_size, double epsilon) {
    const size_t bytes = sizeof(State) + static_cast<size_t>(p) * sizeof(Component);
    State* const state = static_cast<State*>(ozk_serv_allocate(bytes, 128));
    if (state == nullptr) return nullptr;
    std::memset(static_cast<void*>(state), 0, bytes);
    state->p = p;
    state->value_size = value_size;
    state->epsilon = epsilon;
    return state;
}

// Values that are merged at a time: a few times as many as a summary has tuples, for a merge costs as much as
// both.
int64_t batch_size(double epsilon) {
    return static_cast<int64_t>(std::clamp(std::ceil(4 / epsilon), 256.0, 0x1p22));
}

// A growing array of a thread.
template <class T>
struct Growing {
    T* values = nullptr;
    int64_t capacity = 0;

    // Room for `count` elements; what was in it is lost.
    bool reserve(int64_t count) {
        if (count <= capacity) return true;
        release();
        values = static_cast<T*>(ozk_serv_allocate(static_cast<size_t>(2 * count) * sizeof(T), 128));
        if (values != nullptr) capacity = 2 * count;
        return values != nullptr;
    }
    void release() {
        ozk_serv_deallocate(values);
        *this = {};
    }
};

template <class Real>
struct Stream {
    using Key = KeyOf<Real>;
    using Tuple = SummaryTuple<Key>;

    Sample<Real> sample;
    const Real* orders = nullptr;
    int64_t order_count = 0;
    double epsilon = 0;
    bool keep_buffer = false;  // else every value goes to the summary at once

    // The scratch of one thread: a batch and the sort's buffer, and the summaries before and after a merge.
    struct Worker {
        Growing<Real> batch;
        Growing<Tuple> summaries[2];

        void release() {
            batch.release();
            for (auto& summary : summaries) summary.release();
        }
    };

    int check(OzkStatsTask* task, uint32_t method) {
        if (task == nullptr) return kOzkStatsErrorTask;
        sample.task = task;
        sample.values = static_cast<const Real*>(task->observations);
        if (task->dimension == nullptr) return kOzkStatsErrorDimension;
        sample.p = read_integer(*task, task->dimension);
        if (sample.p < 1) return kOzkStatsErrorDimension;
        if (task->observation_count == nullptr) return kOzkStatsErrorObservationCount;
        sample.n = read_integer(*task, task->observation_count);
        if (sample.n < 0) return kOzkStatsErrorObservationCount;
        if (sample.n > 0) {
            if (sample.values == nullptr) return kOzkStatsErrorObservations;
            if (task->observation_storage == nullptr) return kOzkStatsErrorInteger;
            sample.storage = read_integer(*task, task->observation_storage);
            if (!is_observation_storage(sample.storage)) return kOzkStatsErrorStorage;
        }
        if (task->stream_quantiles == nullptr) return kOzkStatsErrorStreamQuantiles;
        if (task->stream_orders == nullptr) return kOzkStatsErrorStreamOrders;
        if (task->stream_order_count == nullptr) return kOzkStatsErrorStreamOrderCount;
        orders = static_cast<const Real*>(task->stream_orders);
        order_count = read_integer(*task, task->stream_order_count);
        if (order_count < 0) return kOzkStatsErrorStreamOrderCount;
        if (task->stream_parameter_count == nullptr) return kOzkStatsErrorStreamParameterCountMissing;
        if (read_integer(*task, task->stream_parameter_count) != 1) return kOzkStatsErrorStreamParameterCount;
        for (int64_t q = 0; q < order_count; ++q)
            if (!(orders[q] >= 0 && orders[q] <= 1)) return kOzkStatsErrorStreamOrderCount;
        if (task->stream_parameters == nullptr) return kOzkStatsErrorStreamParameters;
        if ((method & (kOzkStatsStreamExactStart | kOzkStatsStreamSummary)) == 0) return kOzkStatsErrorMethod;
        keep_buffer = (method & kOzkStatsStreamExactStart) != 0;
        epsilon = static_cast<double>(*static_cast<const Real*>(task->stream_parameters));
        return epsilon > 0 && epsilon <= 1 ? kOzkStatsOk : kOzkStatsErrorStreamAccuracy;
    }

    // Makes what is to be kept of component i with this portion. `next` shares no block with `old`, but for
    // blocks that stay as they are; false when there is no memory, and then `next` has none of its own.
    bool advance(const Component& old, int64_t i, Worker& worker, Component& next) const {
        next = old;
        const int64_t batch = batch_size(epsilon), total = old.buffered + sample.n;
        const int64_t tail = keep_buffer ? std::min(total, (total - 1) % batch + 1) : 0;
        const Tuple* tuples = static_cast<const Tuple*>(old.tuples);
        int64_t count = old.tuple_count;
        if (total > tail) {
            if (!worker.batch.reserve(2 * std::min(batch, total))) return false;
            Real* const values = worker.batch.values;
            const Real* from = sample.component(i);
            for (int64_t done = 0, turn = 0; done < total - tail; turn ^= 1) {
                const int64_t size = std::min(batch, total - tail - done);
                for (int64_t j = 0; j < size; ++j) {
                    if (done + j < old.buffered) {
                        values[j] = from_key<Real>(static_cast<const Key*>(old.buffer)[done + j]);
                    } else {
                        values[j] = *from;
                        from += sample.observation_stride();
                    }
                }
                sort_values(values, values + size, size);
                Key* const keys = reinterpret_cast<Key*>(values);
                for (int64_t j = 0; j < size; ++j) {
                    const Key key = to_key(values[j]);
                    std::memcpy(keys + j, &key, sizeof key);
                }
                done += size;
                next.summarised += size;
                if (!worker.summaries[turn].reserve(count + size)) return false;
                count = merge_batch(tuples, count, keys, size, summary_bound(epsilon, next.summarised),
                                    worker.summaries[turn].values);
                tuples = worker.summaries[turn].values;
            }
            next.buffered = 0;
            next.tuple_count = count;
            next.tuples = ozk_serv_allocate(static_cast<size_t>(count) * sizeof(Tuple), 128);
            if (next.tuples == nullptr) return false;
            std::memcpy(next.tuples, tuples, static_cast<size_t>(count) * sizeof(Tuple));
        }
        if (tail > old.capacity) {
            next.capacity = std::min(batch, std::max<int64_t>(2 * tail, 16));
            next.buffer = ozk_serv_allocate(static_cast<size_t>(next.capacity) * sizeof(Key), 128);
            if (next.buffer == nullptr) {
                if (next.tuples != old.tuples) ozk_serv_deallocate(next.tuples);
                return false;
            }
        }
        return true;
    }

    // Puts `next` in the place of `old` and the last values of the portion into its buffer.
    void commit(Component& old, int64_t i, Component& next) const {
        Key* const buffer = static_cast<Key*>(next.buffer);
        const bool merged = next.tuples != old.tuples;
        if (next.buffer != old.buffer) {
            if (!merged && old.buffered > 0)
                std::memcpy(buffer, old.buffer, static_cast<size_t>(old.buffered) * sizeof(Key));
            ozk_serv_deallocate(old.buffer);
        }
        if (merged) ozk_serv_deallocate(old.tuples);
        const int64_t added =
            keep_buffer ? (old.summarised + old.buffered + sample.n) - next.summarised - next.buffered : 0;
        const Real* from = sample.component(i) + (sample.n - added) * sample.observation_stride();
        // A few values are inserted where they belong; many are sorted with the rest.
        const bool few = added <= 16;
        for (int64_t j = 0; j < added; ++j, from += sample.observation_stride()) {
            const Key key = to_key(*from);
            Key* const end = buffer + next.buffered++;
            Key* const place = few ? std::upper_bound(buffer, end, key) : end;
            std::memmove(place + 1, place, static_cast<size_t>(end - place) * sizeof(Key));
            *place = key;
        }
        if (!few) std::sort(buffer, buffer + next.buffered);
        old = next;
    }

    void answer(const Component& component, Real* quantiles) const {
        const Key* const buffer = static_cast<const Key*>(component.buffer);
        const int64_t total = component.summarised + component.buffered;
        for (int64_t q = 0; q < order_count; ++q) {
            const double position =
                static_cast<double>(orders[q]) * static_cast<double>(total > 0 ? total - 1 : 0);
            if (total == 0) {
                quantiles[q] = std::numeric_limits<Real>::quiet_NaN();
            } else if (component.summarised == 0) {
                quantiles[q] = static_cast<Real>(interpolate(total, position, [=](int64_t k) {
                    return static_cast<double>(from_key<Real>(buffer[k]));
                }));
            } else {
                quantiles[q] = from_key<Real>(nearest_key(static_cast<const Tuple*>(component.tuples),
                                                          component.tuple_count, buffer, component.buffered,
                                                          position + 1));
            }
        }
    }

    int run(OzkStatsTask* task, const OzkThreading* threading) {
        State* state = static_cast<State*>(task->stream_state);
        const bool fresh = state == nullptr;
        if (fresh) state = make_state(sample.p, sizeof(Real), epsilon);
        if (state == nullptr) return kOzkStatsErrorMemory;
        if (state->p != sample.p || state->value_size != sizeof(Real)) return kOzkStatsErrorDimension;
        epsilon = state->epsilon;
        const int status = add(threading, state);
        if (status != kOzkStatsOk) {
            if (fresh) free_state(state);
            return status;
        }
        task->stream_state = state;
        task->clean_up_count = 1;
        task->clean_up = __vslSQuantilesFreeBuffers;
        for (int64_t i = 0; i < sample.p; ++i)
            if (sample.selected(i))
                answer(state->components[i], static_cast<Real*>(task->stream_quantiles) + i * order_count);
        return kOzkStatsOk;
    }

    // Adds the portion to the state: all of it or nothing.
    int add(const OzkThreading* threading, State* state) const {
        if (sample.n == 0) return kOzkStatsOk;
        const int64_t threads = threads_for(threading, sample);
        const int64_t next_bytes = sample.p * static_cast<int64_t>(sizeof(Component));
        const int64_t worker_bytes = threads * static_cast<int64_t>(sizeof(Worker));
        const Allocation memory(next_bytes + worker_bytes + sample.p * static_cast<int64_t>(sizeof(int64_t)));
        if (!memory) return kOzkStatsErrorMemory;
        Component* const next = memory.at<Component>();
        Worker* const workers = memory.at<Worker>(next_bytes);
        int64_t* const list = memory.at<int64_t>(next_bytes + worker_bytes);
        const int64_t count = sample.select(list);
        for (int64_t t = 0; t < threads; ++t) workers[t] = {};
        for (int64_t k = 0; k < count; ++k) next[k] = state->components[list[k]];

        auto body = [&](int64_t k, int64_t thread) -> int {
            const Component& old = state->components[list[k]];
            if (advance(old, list[k], workers[thread], next[k])) return kOzkStatsOk;
            next[k] = old;
            return kOzkStatsErrorMemory;
        };
        const int status = for_each_item(threading, count, threads, body);
        for (int64_t t = 0; t < threads; ++t) workers[t].release();
        for (int64_t k = 0; k < count; ++k) {
            Component& old = state->components[list[k]];
            if (status == kOzkStatsOk) {
                commit(old, list[k], next[k]);
            } else {
                if (next[k].tuples != old.tuples) ozk_serv_deallocate(next[k].tuples);
                if (next[k].buffer != old.buffer) ozk_serv_deallocate(next[k].buffer);
            }
        }
        return status;
    }
};

template <class Real>
int estimate(OzkStatsTask* task, uint32_t method, const OzkThreading* threading) {
    Stream<Real> stream;
    const int status = stream.check(task, method);
    return status == kOzkStatsOk ? stream.run(task, threading) : status;
}

}  // namespace
}  // namespace ozk::stats

extern "C" {

int _vsldSSStreamQuantiles(OzkStatsTask* task, uint64_t, uint32_t method, const OzkThreading* threading) {
    return ozk::stats::estimate<double>(task, method, threading);
}

int _vslsSSStreamQuantiles(OzkStatsTask* task, uint64_t, uint32_t method, const OzkThreading* threading) {
    return ozk::stats::estimate<float>(task, method, threading);
}

void __vslSQuantilesFreeBuffers(OzkStatsTask* task) {
    if (task == nullptr) return;
    ozk::stats::free_state(static_cast<ozk::stats::State*>(task->stream_state));
    task->stream_state = nullptr;
}

}  // extern "C"
