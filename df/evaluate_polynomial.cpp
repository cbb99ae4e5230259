// The exported evaluation kernels of the polynomial kinds.

#include "df/evaluate_polynomial.hpp"

OZK_DF_EVALUATION(LinearSpline, Linear)
OZK_DF_EVALUATION(QuadraticSpline, Quadratic)
OZK_DF_EVALUATION(CubicSpline, Cubic)
OZK_DF_EVALUATION(ArbitrSpline, Arbitrary)
