// The basic estimators in four steps, one source each: what is asked and whether it can be given
// (basic_request.cpp), the moments of the observations (basic.cpp over moments.cpp), and what the caller's
// arrays told before and tell afterwards (basic_results.cpp).
#pragma once

#include "vsl/stats/moments.hpp"
#include "vsl/stats/task.hpp"

namespace ozk::stats {

// A symmetric matrix of the caller's, in one of the matrix storages.
struct Matrix {
    void* values;
    bool single;
    int64_t storage;
    int64_t dimension;

    // Elements are named by i >= k.
    int64_t position(int64_t i, int64_t k) const {
        switch (storage) {
            case kOzkStatsMatrixLower:
                return i * (i + 1) / 2 + k;
            case kOzkStatsMatrixUpper:
                return k * dimension - k * (k - 1) / 2 + (i - k);
            default:
                return i * dimension + k;
        }
    }
    double get(int64_t i, int64_t k) const { return read_real(values, single, position(i, k)); }
    void set(int64_t i, int64_t k, double value) const {
        write_real(values, single, position(i, k), value);
        if (storage == kOzkStatsMatrixFull) write_real(values, single, k * dimension + i, value);
    }
};

// A checked request.
struct Request {
    const OzkStatsTask* task;
    bool single;
    bool convert;  // from the sums and the cross-product in the task; `centre` has no meaning
    Centre centre;
    uint64_t estimates;  // asked for, only those that the basic estimators give
    uint64_t arrays;     // results that must be there, as bits of the estimates that they hold
    int64_t dimension;
    int64_t observation_count;
    Weight previous;                                // of the observations processed by earlier calls
    Matrix covariance, correlation, cross_product;  // set where `arrays` has them

    bool asks(uint64_t any) const { return (estimates & any) != 0; }
    bool has(uint64_t any) const { return (arrays & any) != 0; }
    bool selected(int64_t component) const {
        return task->indices == nullptr || read_integer(*task, task->indices, component) != 0;
    }
};

inline constexpr uint64_t kMatrices = 0x100003000;  // covariance, correlation, cross-product

// The caller's array of an estimate, given as its mask bit; null when it is not set.
void* result_array(const OzkStatsTask& task, uint64_t estimate);

// Fills the request, or returns the status of the first check that fails.
int check_basic(OzkStatsTask* task, uint64_t mask, uint32_t method, bool single, Request& request);

// Highest orders of the raw and central sums that the request needs of the observations.
int raw_order(const Request& request);
int central_order(const Request& request);

// What earlier calls left in the arrays: one component's moments, and an element of the cross-product matrix,
// i >= k (deviation_i and deviation_k: square roots of the components' central sums of order 2). Zero for a
// fresh data set.
Moments previous_moments(const Request& request, int64_t component);
double previous_cross_product(const Request& request, int64_t i, int64_t k, double deviation_i,
                              double deviation_k);

// False when the arrays of the request do not tell what earlier calls found.
bool can_continue(const Request& request);

// What a cross-product is divided by in the covariance: W - V / W.
double covariance_divisor(const Weight& weight);

// Writes every estimate of one component, for total weight `weight`, or of one pair i >= k with cross-product
// `value`.
void write_moments(const Request& request, int64_t component, const Moments& moments, const Weight& weight);
void write_cross_product(const Request& request, int64_t i, int64_t k, double value, double deviation_i,
                         double deviation_k, double divisor);

// Covariance and correlation from the cross-product, moments from the sums.
void convert(const Request& request);

}  // namespace ozk::stats
