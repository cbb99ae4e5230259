// Standardisation of the points: medians and deviations from the estimators of these.

#include "vsl/stats/cloud.hpp"

namespace ozk::stats {
namespace {

template <class Real>
struct Estimators;
template <>
struct Estimators<float> {
    static constexpr auto quantiles = _vslsSSQuantiles;
    static constexpr auto deviations = _vslsSSMAD;
};
template <>
struct Estimators<double> {
    static constexpr auto quantiles = _vsldSSQuantiles;
    static constexpr auto deviations = _vsldSSMAD;
};

// Mean of the finite |x - centre|.
template <class Real>
double mean_deviation(const Sample<Real>& sample, int64_t component, double centre) {
    const Real* const x = sample.component(component);
    double sum = 0, count = 0;
    for (int64_t j = 0; j < sample.n; ++j) {
        const double deviation = std::fabs(static_cast<double>(x[j * sample.observation_stride()]) - centre);
        if (!(deviation < kFar)) continue;
        sum += deviation;
        ++count;
    }
    return sum / count;
}

}  // namespace

template <class Real>
int standardize(const Cloud<Real>& cloud, Real* reals) {
    const Real half = Real(0.5);
    const int64_t one = 1;  // read as an int of either width
    Real* const medians = reals;
    Real* const deviations = reals + cloud.sample.p;
    OzkStatsTask task = *cloud.sample.task;
    task.quantile_orders = const_cast<Real*>(&half);
    task.quantile_order_count = const_cast<int64_t*>(&one);
    task.quantiles = medians;
    task.median_deviation = deviations;
    if (const int status =
            Estimators<Real>::quantiles(&task, kOzkStatsQuantiles, kOzkStatsFast, cloud.threading))
        return status;
    if (const int status =
            Estimators<Real>::deviations(&task, kOzkStatsMedianDeviation, kOzkStatsFast, cloud.threading))
        return status;
    for (int64_t c = 0; c < cloud.p; ++c) {
        const int64_t i = cloud.components[c];
        cloud.centres[c] = static_cast<double>(medians[i]);
        double scale = static_cast<double>(deviations[i]);
        if (!(scale > 0)) scale = mean_deviation(cloud.sample, i, cloud.centres[c]);
        cloud.factors[c] = scale > 0 ? 1 / scale : 1;
        // More than half of the values are not finite: nothing is near anything.
        if (!(std::fabs(cloud.centres[c]) < kFar && cloud.factors[c] < kFar))
            return kOzkStatsErrorSingularCovariance;
    }
    return kOzkStatsOk;
}

template int standardize(const Cloud<float>&, float*);
template int standardize(const Cloud<double>&, double*);

}  // namespace ozk::stats
