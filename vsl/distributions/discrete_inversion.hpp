// Inversion of the distribution function of an integer X >= 0: the result is the least k with u < P(X <= k), one
// uniform each.
//
// In long calls it is looked up by a guide table (Chen and Asau, "On generating random variates from an empirical
// distribution", AIIE Transactions 6 (1974)); in short ones, which a table would not pay, the probabilities are added
// up for each number. Either compares u with the same sums, so that the numbers are those of the one sequence of
// uniforms, however it is cut into calls.
#pragma once

#include <array>
#include <limits>

#include "vsl/distributions/blocks.hpp"
#include "vsl/distributions/kernels.hpp"

namespace ozk::vsl {

// P(X = 0), and ratio(k) = P(X = k + 1) / P(X = k). The mode says from where on the probabilities fall.
template <class Ratio>
struct Masses {
    double first;
    int32_t mode;
    Ratio ratio;
};
template <class Ratio>
Masses(double, int32_t, Ratio) -> Masses<Ratio>;

// Below this mean what is at most as wide as the distribution of Poisson ends before kMostMasses.
inline constexpr double kLargestInvertedMean = 64;
inline constexpr int32_t kMostMasses = 384;

// Calls that a guide table pays for.
inline constexpr int32_t kLongCall = 64;

// The sums P(X <= k), k after k. Beyond the mode they end before the first probability that no double on [0, 1)
// would notice.
template <class Ratio>
class CumulativeMass {
  public:
    explicit CumulativeMass(const Masses<Ratio>& masses)
        : masses_(masses), mass_(masses.first), sum_(masses.first) {}
    int32_t k() const { return k_; }
    double sum() const { return sum_; }
    // False at the end, where k and the sum stay.
    bool advance() {
        constexpr double kUnnoticed = 0x1p-56;
        const double next = mass_ * masses_.ratio(k_);
        if (k_ >= masses_.mode && (next < kUnnoticed || k_ + 1 == kMostMasses)) return false;
        mass_ = next;
        sum_ += next;
        ++k_;
        return true;
    }

  private:
    const Masses<Ratio>& masses_;
    double mass_, sum_;
    int32_t k_ = 0;
};

// Stores the sums, the last one as infinity; returns their number.
template <class Ratio>
int32_t tabulate(const Masses<Ratio>& masses, double* sums) {
    CumulativeMass<Ratio> mass(masses);
    do {
        sums[mass.k()] = mass.sum();
    } while (mass.advance());
    sums[mass.k()] = std::numeric_limits<double>::infinity();
    return mass.k() + 1;
}

class GuideTable {
  public:
    template <class Ratio>
    explicit GuideTable(const Masses<Ratio>& masses) {
        tabulate(masses, sums_.data());
        make_guides();
    }
    // Of sums whose last one, up to number kMostMasses - 1, is infinite, whatever the others are.
    GuideTable(const double* sums, int32_t count) {
        std::copy_n(sums, count, sums_.begin());
        make_guides();
    }
    // u on [0, 1]. What lies outside, which a caller's own generator may give, counts as an end.
    int32_t operator()(double u) const {
        const double place = std::min<double>(kGuides, std::max(0.0, u * kGuides));
        const Guide& guide = guides_[static_cast<size_t>(static_cast<int32_t>(place))];
        const int32_t k = guide.k + (u >= guide.sum);
        return guide.has_more ? search(u, k) : k;
    }

  private:
    static constexpr int32_t kGuides = 512;
    static constexpr double kWidth = 1.0 / kGuides;

    // Of one of kGuides equal parts of [0, 1]: the result k of its lower end, P(X <= k), and whether P(X <= k + 1)
    // lies in it, too.
    struct Guide {
        double sum;
        int32_t k;
        bool has_more;
    };

    void make_guides() {
        int32_t k = 0;
        for (int32_t i = 0; i <= kGuides; ++i) {
            const double low = i * kWidth, high = low + kWidth;
            while (sum(k) <= low) ++k;
            guides_[static_cast<size_t>(i)] = {sum(k), k, sum(k) < high && sum(k + 1) < high};
        }
    }
    double sum(int32_t k) const { return sums_[static_cast<size_t>(k)]; }
    int32_t search(double u, int32_t k) const {
        while (u >= sum(k)) ++k;
        return k;
    }

    std::array<Guide, kGuides + 1> guides_;
    std::array<double, kMostMasses> sums_;  // the last one infinite
};

// each(invert) with the way that pays for n numbers. The sums are as for GuideTable.
template <class Each>
int32_t with_inversion(int64_t n, const double* sums, int32_t count, Each each) {
    if (n >= kLongCall) return each(GuideTable(sums, count));
    return each(
        [=](double u) { return static_cast<int32_t>(std::upper_bound(sums, sums + count - 1, u) - sums); });
}

// Gives out result(invert(u)) for a uniform u each.
template <class Invert, class Result>
int32_t invert_uniforms(OzkVslStream* stream, int32_t n, int32_t* r, const Invert& invert, Result result) {
    return in_blocks(n, r, [&](int32_t count, int32_t* block) {
        double u[kBlock];
        const int32_t status = draw(stream, count, u, 0);
        if (status < 0) return status;
        for (int32_t i = 0; i < count; ++i) block[i] = result(invert(u[i]));
        return status;
    });
}

// result(k) is what is given out for k.
template <class Ratio, class Result>
int32_t by_discrete_inversion(OzkVslStream* stream, int32_t n, int32_t* r, const Masses<Ratio>& masses,
                              Result result) {
    if (n >= kLongCall) return invert_uniforms(stream, n, r, GuideTable(masses), result);
    const auto by_adding_up = [&](double u) {
        CumulativeMass<Ratio> mass(masses);
        while (u >= mass.sum() && mass.advance()) {
        }
        return mass.k();
    };
    return invert_uniforms(stream, n, r, by_adding_up, result);
}

}  // namespace ozk::vsl
