// The benchmark's cases of robust covariance, outliers and Mahalanobis distances.
#pragma once

#include "bench/driver.hpp"

namespace ozk::bench {

std::vector<Case> robust_statistics_cases();

}  // namespace ozk::bench
