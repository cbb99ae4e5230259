// Reporting of one element's special value, as the frame calls it.
#pragma once

#include "ozk_vml.h"

namespace ozk::vml {

// Where and what the special value is. The vectors are the caller's; a1_value and a2_value are the arguments,
// which an in-place call has overwritten by the time that the error is reported.
template <class Argument, class Result>
struct SpecialValue {
    int32_t code;
    int32_t index;  // of the element in these vectors
    const char* name;
    const Argument* a1;  // start of the first argument vector
    int32_t inca1;
    Argument a1_value, a2_value;
    Result* r1;  // the element's results; r2 is r1 where there is only one
    Result* r2;
};

// Sets the thread's status and acts as its error mode says.
template <class Argument, class Result>
[[gnu::cold]] void report(const SpecialValue<Argument, Result>& special);

}  // namespace ozk::vml
