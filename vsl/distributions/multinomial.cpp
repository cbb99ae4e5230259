// Multinomial vectors: how often each of k outcomes comes in a number of trials.
//
// Methods: with few trials each one by inversion, else outcome after outcome binomial numbers of the trials that are
// left (Davis, "The computer generation of multinomial random variates", Comput. Statist. Data Anal. 16 (1993)).

#include <algorithm>
#include <cmath>
#include <utility>

#include "vsl/distributions/discrete_inversion.hpp"
#include "vsl/distributions/parameters.hpp"

namespace ozk::vsl {
namespace {

// A binomial number costs about what this many trials do.
constexpr int64_t kTrialsForBinomial = 32;

struct Outcomes {
    const double* probability;
    int32_t count;
    int32_t last;  // that is possible
    double sum;    // of the probabilities, whatever of 1 rounding left
};

// `last` is -1 where they are no probabilities.
Outcomes outcomes_of(int32_t count, const double* p) {
    constexpr double kTolerance = 1e-4;
    Outcomes all{p, count, -1, 0};
    for (int32_t j = 0; j < count; ++j) {
        if (!(p[j] >= 0)) return {p, count, -1, 0};
        all.sum += p[j];
        if (p[j] > 0) all.last = j;
    }
    if (!(std::abs(all.sum - 1) <= kTolerance)) all.last = -1;
    return all;
}

int32_t by_trials(OzkVslStream* stream, int32_t n, int32_t* r, int32_t trials, const Outcomes& outcomes) {
    double sums[kMostMasses], sum = 0;
    for (int32_t j = 0; j < outcomes.last; ++j) sums[j] = (sum += outcomes.probability[j]) / outcomes.sum;
    sums[outcomes.last] = std::numeric_limits<double>::infinity();
    std::fill_n(r, int64_t{n} * outcomes.count, 0);
    const int64_t all_trials = int64_t{n} * trials;
    return with_guides_for(all_trials, TabulatedSums(sums, outcomes.last + 1), [=](auto& inverse) {
        // Every other trial is counted apart: to count the same outcome twice in turn takes the longer.
        int32_t others[kMostMasses] = {};
        int32_t* vector = r;
        int32_t left = trials;  // of this vector
        for (int64_t done = 0; done < all_trials; done += kBlock) {
            int32_t outcome[kBlock];
            const int32_t count = static_cast<int32_t>(std::min<int64_t>(kBlock, all_trials - done));
            const int32_t status =
                invert_uniforms(stream, count, outcome, inverse, [](int32_t k) { return k; });
            if (status < 0) return status;
            for (int32_t i = 0; i < count;) {
                const int32_t* const some = outcome + i;
                const int32_t now = std::min(left, count - i);
                for (int32_t j = 0; j + 1 < now; j += 2) {
                    ++vector[some[j]];
                    ++others[some[j + 1]];
                }
                if (now % 2 != 0) ++vector[some[now - 1]];
                i += now;
                left -= now;
                if (left > 0) continue;
                for (int32_t k = 0; k <= outcomes.last; ++k) vector[k] += std::exchange(others[k], 0);
                vector += outcomes.count;
                left = trials;
            }
        }
        return int32_t{kOzkVslSuccess};
    });
}

// What of 1 is left of probabilities, to about 2^-106: small ones at the end would notice if it were less.
struct Remainder {
    double high, low = 0;

    void subtract(double p) {
        const double difference = high - p, given = high - difference;
        low += (high - (difference + given)) + (given - p);
        high = difference;
    }
    double value() const { return high + low; }
};

int32_t by_binomials(OzkVslStream* stream, int32_t* r, int32_t trials, const Outcomes& outcomes) {
    Remainder remainder{outcomes.sum};
    std::fill_n(r, outcomes.count, 0);
    for (int32_t j = 0; j < outcomes.last && trials > 0; ++j) {
        const double p = outcomes.probability[j];
        const int32_t status = _vsliRngBinomial(kOzkVslRejection, stream, 1, r + j, trials,
                                                std::min(1.0, std::max(0.0, p / remainder.value())));
        if (status < 0) return status;
        trials -= r[j];
        remainder.subtract(p);
    }
    r[outcomes.last] = trials;
    return kOzkVslSuccess;
}

}  // namespace
}  // namespace ozk::vsl

extern "C" int32_t _vsliRngMultinomial(int32_t method, OzkVslStream* stream, int32_t n, int32_t* r,
                                       int32_t trials, int32_t k, const double* p) {
    using namespace ozk::vsl;
    if (method_index(method) != kOzkVslInverse || trials < 0 || k < 1) return kOzkVslErrorBadArguments;
    const Outcomes outcomes = outcomes_of(k, p);
    if (outcomes.last < 0) return kOzkVslErrorBadArguments;
    if (n < 1) return kOzkVslSuccess;
    return in_own_environment(replace_special_value<BelowEveryUniform>, [=] {
        if (k <= kMostMasses && trials <= kTrialsForBinomial * k) {
            return by_trials(stream, n, r, trials, outcomes);
        }
        int32_t status = kOzkVslSuccess;
        for (int32_t i = 0; i < n && status >= 0; ++i) {
            status = by_binomials(stream, r + int64_t{i} * k, trials, outcomes);
        }
        return status;
    });
}
