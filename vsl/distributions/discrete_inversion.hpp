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

// Below this mean binomial and Poisson's distribution and all narrower ones end before kMostMasses.
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
        constexpr double kUnnoticed = 0x1p-56;
        int32_t k = last_;
        double mass = mass_, sum = (*this)[k];
        while (u >= sum) {
            mass *= masses_.ratio(k);
            const bool is_end = k >= masses_.mode && (mass < kUnnoticed || k + 1 == kMostMasses);
            sum = is_end ? std::numeric_limits<double>::infinity() : sum + mass;
            k += !is_end;
            sums_[static_cast<size_t>(k)] = sum;
        }
        last_ = k;
        mass_ = mass;
    }
    // k[i] for u[i] on [0, 1].
    void find(int32_t count, const double* u, int32_t* k) {
        for (int32_t i = 0; i < count; ++i) {
            extend_above(u[i]);
            int32_t found = std::min(masses_.mode, last_);
            while (u[i] >= (*this)[found]) ++found;
            while (found > 0 && u[i] < (*this)[found - 1]) --found;
            k[i] = found;
        }
    }

  private:
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
    void find(int32_t count, const double* u, int32_t* k) const {
        for (int32_t i = 0; i < count; ++i) {
            k[i] = static_cast<int32_t>(std::upper_bound(sums_, sums_ + last_, u[i]) - sums_);
        }
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
    // k[i] for u[i] on [0, 1], up to kBlock.
    void find(int32_t count, const double* u, int32_t* k) const {
        double scaled[kBlock];
        int32_t place[kBlock];
        for (int32_t i = 0; i < count; ++i) scaled[i] = u[i] * kGuides;
        take_floors(count, scaled, place);
        for (int32_t i = 0; i < count; ++i) {
            const Guide& guide = guides_[static_cast<size_t>(place[i])];
            int32_t found = guide.k + (u[i] >= guide.sum);
            if (guide.has_more) {
                while (u[i] >= sums_[found]) ++found;
            }
            k[i] = found;
        }
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
        clamp(count, u, 0, 1);  // a caller's own generator may give others
        sums.find(count, u, block);
        for (int32_t i = 0; i < count; ++i) block[i] = result(block[i]);
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
