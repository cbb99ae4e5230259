// The chi-square distribution, both tails by themselves.
#pragma once

namespace ozk::stats {

// The probabilities that a chi-square variable with `degrees` > 0 degrees of freedom is at most x, and that it is
// larger: the tail that is not the complement of the other keeps its digits.
struct Tails {
    double lower, upper;
};
Tails chi_square_tails(double x, double degrees);

// x with lower tail `lower`, or with upper tail `upper` where that is the smaller one.
double chi_square_quantile(const Tails& tails, double degrees);

}  // namespace ozk::stats
