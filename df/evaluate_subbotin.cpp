// The exported evaluation kernels of Subbotin quadratics.

#include "df/evaluate_subbotin.hpp"

OZK_DF_EVALUATION(QuadSubbSpline, Subbotin)
