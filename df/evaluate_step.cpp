// The exported evaluation kernels of step functions.

#include "df/evaluate_step.hpp"

OZK_DF_EVALUATION(StepRightSpline, StepRight)
OZK_DF_EVALUATION(StepLeftSpline, StepLeft)
