// Runs subjects (kernels, or the routines of other libraries) beside the exact values and keeps the worst
// errors.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tools/accuracy/arguments.hpp"

namespace ozk::accuracy {

// r (and r2, of two-result functions) = f(a[, b]) for n elements; a scalar second argument is b[0].
template <class T>
using Call = std::function<void(int n, const T* a, const T* b, T* r, T* r2)>;

template <class T>
struct Subject {
    std::string name;
    Call<T> call;
};

struct Worst {
    double ulp = -1;      // -1: nothing was measured
    int64_t index = 0;    // of the argument in the sequence: the earliest of equals is kept
    double a = 0, b = 0;  // the argument(s)
    double computed = 0;
    std::string exact;  // 20 significant digits
};

struct Accuracy {
    Worst worst;
    int64_t count = 0;
    int64_t correctly_rounded = 0;
};

// Called now and then with the part done, from one thread at a time.
using Progress = std::function<void(double part)>;

// One result for each subject; the same for every number of threads.
template <class T>
std::vector<Accuracy> measure(const Oracle& oracle, const Arguments<T>& arguments,
                              const std::vector<Subject<T>>& subjects, int threads, const Progress& progress);

}  // namespace ozk::accuracy
