// The case of missing values, which belongs to the family "stats".
#pragma once

#include <vector>

#include "bench/driver.hpp"

namespace ozk::bench {

std::vector<Case> missing_values_cases();

}  // namespace ozk::bench
