// Probabilities that are products of powers and factorials, by Stirling's formula:
//   ln x! = (x + 1/2) ln(x + 1) - (x + 1) + ln(2 pi) / 2 + correction(x).
//
// Only quotients are taken, of near arguments: what is large in them is cancelled on paper, and the logarithms that
// stay are those of 1 + small. So the result is wrong by little more than 2^-52 times the distance from the mode,
// whatever the size of the arguments.
#pragma once

#include <array>
#include <cmath>

#include "vsl/distributions/kernels.hpp"
#include "vsl/distributions/rejection.hpp"

namespace ozk::vsl {

// The asymptotic series of the correction in 1 / (x + 1) (Abramowitz and Stegun, 6.1.41); what it leaves off from 16
// on is below 2^-54.
constexpr double stirling_series(double x) {
    const double y = 1 / (x + 1), y2 = y * y;
    return y * (1.0 / 12 - y2 * (1.0 / 360 - y2 * (1.0 / 1260 - y2 * (1.0 / 1680 - y2 * (1.0 / 1188)))));
}

// The corrections of 0, 1, ... downwards from the series: that of x exceeds that of x + 1 by
// (x + 3/2) ln((x + 2) / (x + 1)) - 1 = z^2 / 3 + z^4 / 5 + ..., z = 1 / (2 x + 3).
inline constexpr auto kStirlingCorrections = [] {
    constexpr int kTerms = 20;  // of which the next would be 3^-42
    std::array<double, 16> table{};
    double following = stirling_series(table.size());
    for (size_t x = table.size(); x-- > 0;) {
        const double z = 1 / (2.0 * static_cast<double>(x) + 3);
        double excess = 0;
        for (int i = kTerms; i > 0; --i) excess = z * z * (1.0 / (2 * i + 1) + excess);
        table[x] = following += excess;
    }
    return table;
}();

inline double stirling_correction(double x) {
    return x < kStirlingCorrections.size() ? kStirlingCorrections[static_cast<size_t>(x)]
                                           : stirling_series(x);
}

// f(k) proportional to t^k / (x_0! ... x_last!), x_j = base_j + sign_j k, the signs +1 and -1 as often as each other.
template <size_t kFactorials>
struct FactorialMasses {
    double mode;
    std::array<double, kFactorials> at_mode, sign;  // x_j at the mode
    double slope;                                   // ln of t / product (x_j + 1)^sign_j, at the mode
    double correction = 0;                          // the sum of those at the mode

    FactorialMasses(double m, double t, const std::array<double, kFactorials>& x,
                    const std::array<double, kFactorials>& signs)
        : mode(m), at_mode(x), sign(signs) {
        double ratio = t;
        for (size_t j = 0; j < kFactorials; ++j) {
            if (sign[j] < 0) ratio *= x[j] + 1;
            correction += stirling_correction(x[j]);
        }
        for (size_t j = 0; j < kFactorials; ++j) {
            if (sign[j] > 0) ratio /= x[j] + 1;
        }
        slope = std::log(ratio);
    }

    // ln_f[i] = ln(f(k[i]) / f(mode)), wrong by less than 2^-30, of up to kCandidates k within the support.
    void take_ln_of_ratio(int32_t count, const double* k, double* ln_f) const {
        double logarithms[kFactorials * kCandidates];
        double* l = logarithms;
        for (int32_t i = 0; i < count; ++i) {
            const double d = k[i] - mode;
            for (size_t j = 0; j < kFactorials; ++j) *l++ = sign[j] * d / (at_mode[j] + 1);
        }
        take_log1p(static_cast<int32_t>(kFactorials) * count, logarithms);
        l = logarithms;
        for (int32_t i = 0; i < count; ++i) {
            const double d = k[i] - mode;
            double sum = slope * d + correction;
            for (size_t j = 0; j < kFactorials; ++j) {
                const double x = at_mode[j] + sign[j] * d;
                sum -= (x + 0.5) * *l++ + stirling_correction(x);
            }
            ln_f[i] = sum;
        }
    }
};

// Decides for candidates of a rejection on ln h <= ln(f(k) / f(mode)).
//
// In long calls a table saves most of the logarithms (Devroye, "Non-Uniform Random Variate Generation", 1986, chapter
// VII.2): since ln f is concave, it is above its chord between two points, and below the chords beside that drawn on.
template <size_t kFactorials>
class Acceptance {
  public:
    // For a call of n results; k is within 0 and `largest`.
    Acceptance(const FactorialMasses<kFactorials>& masses, double deviation, double largest, int32_t n)
        : masses_(masses) {
        constexpr int32_t kLongCall = 256;
        if (n < kLongCall) return;
        has_pieces_ = true;
        const double width = std::max(1.0, std::ceil(deviation * (2 * kDeviations / kPieces)));
        first_ = masses.mode - width * (kPieces / 2.0);
        per_width_ = 1 / width;
        // The ends of the pieces, and of those beside the first and the last.
        constexpr int32_t kEnds = kPieces + 3;
        double k[kEnds], ln_f[kEnds];
        for (int32_t i = 0; i < kEnds; ++i) k[i] = std::min(largest, std::max(0.0, first_ + (i - 1) * width));
        masses_.take_ln_of_ratio(kEnds, k, ln_f);
        pieces_.fill(kUnknown);
        for (int32_t i = 0; i < kPieces; ++i) {
            const double* f = ln_f + i + 1;
            const double bend = 2 * f[0] - f[-1] - f[1], next_bend = 2 * f[1] - f[0] - f[2];
            // The chords drawn on meet at most bend next_bend / (bend + next_bend) above that between.
            const double gap = bend * next_bend / (bend + next_bend);
            const bool is_within = k[i + 3] - k[i] == 3 * width;
            if (is_within)
                pieces_[static_cast<size_t>(i) + 1] = {f[0] - kRounding, f[1] - f[0], gap + 2 * kRounding};
        }
    }

    // At most kCandidates.
    void decide(int32_t count, const double* k, const double* ln_h, bool* accepted) const {
        int32_t undecided = 0, place[kCandidates];
        for (int32_t i = 0; i < count; ++i) {
            place[undecided] = i;
            if (has_pieces_) {
                const double t = std::min(kPieces + 1.0, std::max(0.0, (k[i] - first_) * per_width_ + 1));
                const int32_t j = static_cast<int32_t>(t);
                const Piece& piece = pieces_[static_cast<size_t>(j)];
                const double chord = piece.low + piece.rise * (t - j);
                accepted[i] = ln_h[i] <= chord;
                undecided += !accepted[i] & (ln_h[i] <= chord + piece.gap);
            } else {
                ++undecided;
            }
        }
        double doubtful[kCandidates], ln_f[kCandidates];
        for (int32_t j = 0; j < undecided; ++j) doubtful[j] = k[place[j]];
        masses_.take_ln_of_ratio(undecided, doubtful, ln_f);
        for (int32_t j = 0; j < undecided; ++j) accepted[place[j]] = ln_h[place[j]] <= ln_f[j];
    }

  private:
    static constexpr int kPieces = 96;
    static constexpr double kDeviations = 6;  // on either side of the mode
    static constexpr double kRounding = 0x1p-30;

    // The chord at the low end, what it rises by to the high one, and what to add for a bound above ln f.
    struct Piece {
        double low, rise, gap;
    };
    static constexpr Piece kUnknown = {-1e300, 0, 2e300};  // decides nothing

    FactorialMasses<kFactorials> masses_;
    bool has_pieces_ = false;
    double first_ = 0, per_width_ = 1;
    std::array<Piece, kPieces + 2> pieces_;  // with unknown ones for all beyond
};

}  // namespace ozk::vsl
