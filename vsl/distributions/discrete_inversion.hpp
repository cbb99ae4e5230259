// Inversion of the distribution function of an integer X >= 0: the result is the least k with u < P(X <= k), one
// uniform each.
//
// In long calls it is looked up by a guide table (Chen and Asau, "On generating random variates from an empirical
// distribution", AIIE Transactions 6 (1974)); in short ones, which a table would not pay, it is searched from the mode
// among sums that are added up as far as they are needed. Either compares u with the same sums, so that the numbers are
// those of the one sequence of uniforms, however it is cut into calls.
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

// The sums P(X <= k). Beyond the mode they end before the first probability that no double on [0, 1) would notice; the
// last one is then infinite.
template <class Ratio>
class CumulativeMasses {
  public:
    explicit CumulativeMasses(const Masses<Ratio>& masses) : masses_(masses), mass_(masses.first) {
        sums_[0] = masses.first;
    }
    double operator[](int32_t k) const { return sums_[static_cast<size_t>(k)]; }
    int32_t count() const { return last_ + 1; }
    // Adds up until the last sum is above u.
    void extend_above(double u) {
        while (u >= (*this)[last_]) extend();
    }
    int32_t find(double u) {
        extend_above(u);
        int32_t k = std::min(masses_.mode, last_);
        while (u >= (*this)[k]) ++k;
        while (k > 0 && u < (*this)[k - 1]) --k;
        return k;
    }

  private:
    void extend() {
        constexpr double kUnnoticed = 0x1p-56;
        mass_ *= masses_.ratio(last_);
        const bool is_end = last_ >= masses_.mode && (mass_ < kUnnoticed || last_ + 1 == kMostMasses);
        if (is_end) {
            sums_[static_cast<size_t>(last_)] = std::numeric_limits<double>::infinity();
        } else {
            const double sum = (*this)[last_] + mass_;
            sums_[static_cast<size_t>(++last_)] = sum;
        }
    }

    const Masses<Ratio> masses_;
    double mass_;  // of last_
    int32_t last_ = 0;
    std::array<double, kMostMasses> sums_;
};

// Sums that were made before; the last one, up to number kMostMasses - 1, is infinite, whatever the others are.
class TabulatedSums {
  public:
    TabulatedSums(const double* sums, int32_t count) : sums_(sums), last_(count - 1) {}
    double operator[](int32_t k) const { return sums_[k]; }
    void extend_above(double) {}
    int32_t find(double u) const {
        return static_cast<int32_t>(std::upper_bound(sums_, sums_ + last_, u) - sums_);
    }

  private:
    const double* sums_;
    int32_t last_;
};

template <class Sums>
class GuideTable {
  public:
    explicit GuideTable(const Sums& sums) : sums_(sums) {
        sums_.extend_above(std::numeric_limits<double>::max());
        int32_t k = 0;
        for (int32_t i = 0; i <= kGuides; ++i) {
            const double low = i * kWidth, high = low + kWidth;
            while (sums_[k] <= low) ++k;
            guides_[static_cast<size_t>(i)] = {sums_[k], k, sums_[k] < high && sums_[k + 1] < high};
        }
    }
    int32_t find(double u) const {
        const Guide& guide = guides_[static_cast<size_t>(static_cast<int32_t>(u * kGuides))];
        int32_t k = guide.k + (u >= guide.sum);
        if (guide.has_more) {
            while (u >= sums_[k]) ++k;
        }
        return k;
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

    Sums sums_;
    std::array<Guide, kGuides + 1> guides_;
};

// Gives out result(k) for the k that `sums`, or their guide table, find for a uniform each.
template <class Sums, class Result>
int32_t invert_uniforms(OzkVslStream* stream, int32_t n, int32_t* r, Sums& sums, Result result) {
    return in_blocks(n, r, [&](int32_t count, int32_t* block) {
        double u[kBlock];
        const int32_t status = draw(stream, count, u, 0);
        if (status < 0) return status;
        // What is not on [0, 1], which a caller's own generator may give, counts as an end.
        for (int32_t i = 0; i < count; ++i) {
            block[i] = result(sums.find(std::min(1.0, std::max(0.0, u[i]))));
        }
        return status;
    });
}

// each(sums), or each(their guide table) if that pays for n numbers.
template <class Sums, class Each>
int32_t with_guides_for(int64_t n, Sums sums, Each each) {
    constexpr int32_t kLongCall = 128;
    if (n < kLongCall) return each(sums);
    GuideTable<Sums> guides(sums);
    return each(guides);
}

// result(k) is what is given out for k.
template <class Ratio, class Result>
int32_t by_discrete_inversion(OzkVslStream* stream, int32_t n, int32_t* r, const Masses<Ratio>& masses,
                              Result result) {
    return with_guides_for(n, CumulativeMasses(masses),
                           [=](auto& sums) { return invert_uniforms(stream, n, r, sums, result); });
}

}  // namespace ozk::vsl
