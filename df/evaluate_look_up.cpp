// The exported evaluation kernels of look-ups.

#include "df/evaluate_look_up.hpp"

OZK_DF_EVALUATION(LookUpSpline, LookUp)
