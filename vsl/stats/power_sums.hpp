// Sums of powers over one block of observations: the inner loops of the moments.
#pragma once

#include <cstdint>

#include "vsl/stats/moments.hpp"

namespace ozk::stats {

// The weights of a block and what follows from them.
struct Block {
    int64_t first;
    int count;
    const double* weights;  // null: all 1
    const double* roots;    // of the weights; null: all 1
    Weight weight;
    // Where weights are 0, an observation whose values stand in for those of the absent ones, which may be NaN; else
    // -1.
    int stand_in = -1;
};

// Some components of a block: observation j of component k at x[k][j * step], and in `rows`, where not null,
// a place for its scaled deviation in a panel. A step other than 1 tells that the components of an
// observation are neighbours; their number is then 1, 2, 4 or 8, and where it is 1, a value beside it is
// read and written too.
struct Strip {
    int width;
    int64_t step, row_step;
    const double* x[kStrip];
    double* rows[kStrip];

    bool across() const { return step != 1; }
};

// sums[r - 1][i] = sum of w v^r for r = 1 to `order` and each component i of the strip, where v is x, or
// x - shift[i] for the central sums, which also keep sqrt(w) v in the rows; 0 above that order. A sum has
// chains of no more than count / 4 + 8 additions. The central sums come second in a block, so that they can
// ask for the next one meanwhile.
using Sums = double[4][kStrip];
void raw_sums(int order, const Strip& strip, const Block& block, Sums& sums);
void central_sums(int order, const Strip& strip, const Block& block, const double* shift, Sums& sums);

}  // namespace ozk::stats
