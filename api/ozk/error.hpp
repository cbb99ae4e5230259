// The one exception type of the application interface.
#pragma once

#include <stdexcept>
#include <string>

#include "ozk.h"

namespace ozk {

enum class Family {
    vector_math = kOzkVectorMath,
    random = kOzkRandom,
    statistics = kOzkStatistics,
    spline = kOzkSpline,
    linear_algebra = kOzkLinearAlgebra
};

// A call that was not done: nothing has been written. what() is one sentence that says what is wrong and what
// to do.
class error : public std::runtime_error {
  public:
    error(ozk_status status, const std::string& what) : std::runtime_error(what), status_(status) {}
    error(Family family, int32_t code, const std::string& what)
        : error(static_cast<int32_t>(family) * -100000 + code, what) {}

    // Family and code in one number, as the C interface gives it.
    ozk_status status() const noexcept { return status_; }
    Family family() const noexcept { return static_cast<Family>(ozk_status_family(status_)); }
    // The family's own code, below zero: one of ozk_common_code or of the family.
    int32_t code() const noexcept { return ozk_status_code(status_); }

  private:
    ozk_status status_;
};

namespace detail {

// Throws what a call of the C interface says; gives its status back otherwise.
inline ozk_status check(ozk_status status) {
    if (status < 0) throw error(status, ozk_last_error());
    return status;
}

inline void same_size(Family family, const char* function, size_t expected, size_t got) {
    if (expected == got) return;
    throw error(family, kOzkCodeSize,
                std::string(function) + ": arrays have " + std::to_string(expected) + " and " +
                    std::to_string(got) + " elements: pass arrays of the same length");
}

}  // namespace detail
}  // namespace ozk
