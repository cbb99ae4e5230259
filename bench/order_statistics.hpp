// The cases of extremes, quantiles and deviations, which belong to the family "stats".
#pragma once

#include <vector>

#include "bench/driver.hpp"

namespace ozk::bench {

std::vector<Case> order_statistics_cases();

}  // namespace ozk::bench
