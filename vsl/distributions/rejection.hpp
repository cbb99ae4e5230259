// Rejection in blocks.
//
// A candidate takes a fixed number of uniforms that follow each other in the stream, and at most as many
// candidates are drawn as results are still wanted. So no accepted one is left over, and the results are those
// of the one sequence of candidates, however it is cut into calls.
#pragma once

#include "vsl/distributions/blocks.hpp"
#include "vsl/distributions/kernels.hpp"

namespace ozk::vsl {

inline constexpr int32_t kCandidates = kBlock / 2;

// accept(count, uniforms of `count` candidates, r) stores the accepted ones and returns their number. For a caller
// that is in its own environment.
template <int kUniforms, class Result, class Accept>
int32_t draw_candidates(OzkVslStream* stream, int32_t n, Result* r, Accept accept) {
    int32_t status = kOzkVslSuccess;
    while (n > 0) {
        double u[kUniforms * kCandidates];
        const int32_t count = std::min(n, kCandidates);
        status = draw(stream, kUniforms * count, u, 0);
        if (status < 0) break;
        const int32_t accepted = accept(count, u, r);
        r += accepted;
        n -= accepted;
    }
    return status;
}

template <int kUniforms, class Result, class Accept>
int32_t by_rejection(OzkVslStream* stream, int32_t n, Result* r, Accept accept) {
    return in_own_environment(replace_special_value<BelowEveryUniform>,
                              [=] { return draw_candidates<kUniforms>(stream, n, r, accept); });
}

// Moves the accepted ones to the front; returns their number.
template <class Output>
int32_t keep(int32_t count, const bool* accepted, Output output) {
    int32_t kept = 0;
    for (int32_t i = 0; i < count; ++i) {
        output(kept, i);
        kept += accepted[i];
    }
    return kept;
}

}  // namespace ozk::vsl
