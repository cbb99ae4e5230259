// A summary of a stream of values that answers quantiles with a guaranteed rank error.
//
// Method: M. Greenwald and S. Khanna, "Space-efficient online computation of quantile summaries", SIGMOD 2001.
// The summary is an ascending sequence of tuples (value, weight, slack): the least possible rank of a tuple's
// value is the sum of the weights up to it, the greatest that plus its slack. As long as weight + slack <= T
// for every tuple, some tuple's value is within T / 2 ranks of any rank. Values come in sorted batches; one
// pass merges a batch and joins neighbours as long as the joint tuple stays within T, as G. Luo, L. Wang,
// K. Yi and G. Cormode, "Quantiles over data streams", VLDB Journal 25 (2016), do. Minimum and maximum are
// always kept.
#pragma once

#include <algorithm>
#include <cstdint>

namespace ozk::stats {

template <class Key>
struct SummaryTuple {
    Key key;
    int64_t weight;  // values between the tuple before and this one, this one included
    int64_t slack;
};

// The bound T of a summary of n values: answers are within epsilon * n of a rank, with one rank to spare for
// what a rank between two values means. Every value is kept where less than that is asked for.
inline int64_t summary_bound(double epsilon, int64_t n) {
    return std::max<int64_t>(1, static_cast<int64_t>(2 * epsilon * static_cast<double>(n)) - 2);
}

// Merges `batch`, sorted, into a summary of `count` tuples; `merged` has room for both. Returns the number of
// tuples. `bound` is that of all values together.
template <class Key>
int64_t merge_batch(const SummaryTuple<Key>* tuples, int64_t count, const Key* batch, int64_t batch_count,
                    int64_t bound, SummaryTuple<Key>* merged) {
    int64_t out = 0;
    const auto put = [&](SummaryTuple<Key> tuple) {
        if (out > 1 && merged[out - 1].weight + tuple.weight + tuple.slack <= bound) {
            tuple.weight += merged[--out].weight;
        }
        merged[out++] = tuple;
    };
    int64_t j = 0;
    for (int64_t i = 0; i < count; ++i) {
        const int64_t slack = tuples[i].weight + tuples[i].slack - 1;
        for (; j < batch_count && batch[j] < tuples[i].key; ++j) put({batch[j], 1, slack});
        put(tuples[i]);
    }
    for (; j < batch_count; ++j) put({batch[j], 1, 0});
    return out;
}

// The key whose rank is nearest to `rank` (from 1), as far as the summary and the sorted values of `buffer`
// tell. There must be at least one of them.
template <class Key>
Key nearest_key(const SummaryTuple<Key>* tuples, int64_t count, const Key* buffer, int64_t buffered,
                double rank) {
    Key best = count > 0 ? tuples[0].key : buffer[0];
    double best_error = -1;
    int64_t least = 0;
    const auto consider = [&](Key key, int64_t weight, int64_t slack) {
        least += weight;
        const double low = rank - static_cast<double>(least);
        const double error = std::max(low, static_cast<double>(slack) - low);
        if (best_error < 0 || error < best_error) {
            best = key;
            best_error = error;
        }
        return -low > best_error;  // and so are all that follow
    };
    int64_t j = 0;
    for (int64_t i = 0; i < count; ++i) {
        const int64_t slack = tuples[i].weight + tuples[i].slack - 1;
        for (; j < buffered && buffer[j] < tuples[i].key; ++j)
            if (consider(buffer[j], 1, slack)) return best;
        if (consider(tuples[i].key, tuples[i].weight, tuples[i].slack)) return best;
    }
    for (; j < buffered; ++j)
        if (consider(buffer[j], 1, 0)) return best;
    return best;
}

}  // namespace ozk::stats
