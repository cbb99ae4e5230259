// One row for each real function: its exact value by MPFR and where to look for its errors.
#pragma once

#include <mpfr.h>

#include <string_view>
#include <vector>

#include "tools/accuracy/ulp.hpp"

namespace ozk::accuracy {

// An MPFR number that cleans up after itself.
struct Real {
    mpfr_t value;
    explicit Real(mpfr_prec_t precision = 320) { mpfr_init2(value, precision); }
    ~Real() { mpfr_clear(value); }
    Real(const Real&) = delete;
    Real& operator=(const Real&) = delete;
    operator mpfr_ptr() { return value; }
    operator mpfr_srcptr() const { return value; }
};

struct Interval {
    double low, high;
};

inline constexpr Interval kReals{-kInfinity, kInfinity};
inline constexpr Interval kPositive{0, kInfinity};

// How a function takes its arguments; the names are those of the catalogue's argument lists.
enum class Shape {
    kUnary,           // a -> r
    kBinary,          // a, b -> r
    kScalar,          // a, one b for the whole vector -> r
    kTwoResults,      // a -> r1, r2
    kLinearFraction,  // a, b -> r = (scalea a + shifta) / (scaleb b + shiftb), with the scalars below
};

inline bool takes_two_vectors(Shape shape) {
    return shape == Shape::kBinary || shape == Shape::kLinearFraction;
}

// By which a linear fraction is measured.
inline constexpr double kScaleA = 2, kShiftA = 0.5, kScaleB = -1.5, kShiftB = 3;

// How the second argument follows the first in one third of the pairs; the others are independent.
enum class Pairing {
    kIndependent,
    kNear,   // exponents at most 64 apart
    kPower,  // a^b is a finite nonzero number
    kOrder,  // a small nonnegative integer
};

struct Oracle {
    std::string_view function;
    Shape shape;
    // Writes the exact result(s) to y[0] (and y[1]), correct to the precision of y; the arguments x[0] (and
    // x[1]) carry the precision of their format.
    void (*exact)(mpfr_ptr const* y, mpfr_srcptr const* x);
    Interval domain = kReals;              // elsewhere the result is NaN or trivial and is not sampled
    Interval usual = {-10, 10};            // uniform samples; the benchmark's arguments
    int dense_low = -30, dense_high = 12;  // exponents of the binades that are swept densely
    std::vector<double> points = {};       // thresholds and zeros; their neighbours are sampled
    double step = 0;                       // neighbours of its multiples within `usual` are sampled; 0: none
    int cost = 1;                          // the number of samples is divided by this
    Interval usual_second = {-10, 10};     // of b
    Pairing pairing = Pairing::kIndependent;
    double (*in_double)(double) = nullptr;  // the C library's function, relative error below 2^-48: it spares
                                            // MPFR nearly all arguments of an exhaustive run
};

const std::vector<Oracle>& oracles();

// The row of a function, or null.
const Oracle* find_oracle(std::string_view function);

}  // namespace ozk::accuracy
