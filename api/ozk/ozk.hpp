// The whole application interface.
#pragma once

#include "ozk/error.hpp"
#include "ozk/linear_algebra.hpp"
#include "ozk/matrix.hpp"
#include "ozk/random.hpp"
#include "ozk/spline.hpp"
#include "ozk/statistics.hpp"
#include "ozk/threads.hpp"
#include "ozk/vector_math.hpp"
