// Moments of runs of observations and their union: what the basic estimators are made of.
//
// A run is described by its total weight W and, for each component, by mean, central sums and raw sums. Two
// descriptions are merged without going back to the data and without cancellation, whatever the ratio of mean
// to deviation: Chan, Golub and LeVeque, "Algorithms for computing the sample variance", The American
// Statistician 37 (1983); Pebay, "Formulas for robust, one-pass parallel computation of covariances and
// arbitrary-order statistical moments", SAND2008-6212, for orders 3 and 4. All arithmetic is double
// precision, for float data too.
#pragma once

#include <cstdint>

namespace ozk::stats {

inline constexpr int kMaxBlock = 512;  // observations of one block: a component's run of them stays in L1
inline constexpr int kStrip = 8;       // components gathered together: a cache line of an observation
// Distance of two components' runs in scratch: beyond the block, so that rows do not share a cache set.
inline constexpr int64_t kRow = kMaxBlock + 8;
// Observations of a block of which panels are kept, by component, and the distance of two components' rows in
// the panel, with room past the block for the correction of a merge.
inline constexpr int kPanelBlock = 256;
inline constexpr int64_t kPanelRow = kPanelBlock + 8;
// Values of a block by observation: with the next one on its way and a panel they stay in the second-level
// cache. Its observations are no more than kPanelBlock, for the bound of the error.
inline constexpr int64_t kRowBlockValues = 1 << 14;
inline constexpr int64_t kLeastRowBlock = 128;

// About what the central sums of a block are taken.
enum class Centre {
    kBlockMean,    // the block's own mean, in two passes over the block
    kRunningMean,  // the mean of the observations so far, in one pass
    kGivenMean,    // the caller's mean
};

// Total weight of a run and the total of the squared weights.
struct Weight {
    double total = 0;
    double squares = 0;

    void add(const Weight& other) {
        total += other.total;
        squares += other.squares;
    }
};

// One component over one run: sums of w (x - mean)^k for k = 2, 3, 4 and of w x^k for k = 1 to 4. The mean is
// kept as a value near the data and the rest: its rounding would enter the difference of two means, and so
// the central sums, as much as u times mean over deviation.
struct Moments {
    double origin, offset;
    double central[3];
    double raw[4];

    double mean() const { return origin + offset; }
};

// The union of run a with run b, by their total weights; a run of total weight 0 is empty.
struct Union {
    double weight_a, weight_b;
    double alpha, beta;  // shares of the two runs
    double between;      // the square of the step between the means counts with this weight
    double root;         // of it

    Union(double total_a, double total_b);
};

// Adds run b to run a, central sums up to `order`.
void merge(Moments& a, const Moments& b, const Union& both, int order);

// The step from the mean of run a to that of run b, scaled so that the product of two components' steps is
// what their cross-product in the union of the runs exceeds those in the runs by.
double scaled_step(const Moments& a, const Moments& b, const Union& both);

// The observation matrix and its weights, of either precision and storage.
struct Observations {
    const void* values;
    const void* weights;  // null: all 1
    bool single;          // values and weights are float
    int64_t component_stride;
    int64_t observation_stride;

    bool by_observation() const { return observation_stride != 1; }  // and then component_stride is 1
};

// What to compute of every component.
struct Scheme {
    Centre centre;
    int raw_order;      // highest order of raw sums, 0 for none: the cheapest way to a mean with central sums
    int central_order;  // highest order of central sums, 1 for the mean alone
    int block;          // observations of a block, at most kMaxBlock
};

// Some components, their moments, and a panel for their scaled deviations (null when those are not wanted),
// which are stored as the observations are. The products of two components' deviations, summed over a run,
// are the run's cross-product matrix.
struct Tile {
    const int64_t* components;
    int64_t count;
    Moments* moments;
    double* panel = nullptr;
    int64_t component_stride = 0, observation_stride = 0;  // of the panel
};

// Called when the panels hold a block, as `observations` deviations of each component.
using Consume = void (*)(void* context, int64_t observations);

// Adds observations [first, last) to the tiles' moments, block by block. `moments` must be zero, but for the
// mean with kGivenMean. Returns the weight of the run. Needs no memory but 60 KB of stack.
Weight accumulate(const Observations& observations, const Scheme& scheme, int64_t first, int64_t last,
                  Tile* tiles, int tile_count, Consume consume, void* context);

}  // namespace ozk::stats
