// The multivariate normal model of incomplete data: its parameters, what they tell about missing values, and the
// iterations of EM and of data augmentation. J. L. Schafer, "Analysis of Incomplete Multivariate Data" (1997),
// chapter 5.
#pragma once

#include <cstdint>

#include "vsl/stats/incomplete_data.hpp"

struct OzkVslStream;

namespace ozk::stats {

// The normal inverted-Wishart prior, of standardised components: mu given Sigma is normal with mean `mean` and
// covariance Sigma / tau, and Sigma has density |Sigma|^(-(degrees + p + 1) / 2) exp(-tr(scale Sigma^-1) / 2). As it
// stands here it is the noninformative |Sigma|^(-(p + 1) / 2).
struct Prior {
    double tau = 0, degrees = -1;
    const double* mean = nullptr;   // null: the noninformative prior
    const double* scale = nullptr;  // lower triangle of p columns
};

// The parameters, and scratch for one iteration. Symmetric matrices are lower triangles by columns. Those of order
// p + 1 have the constant in front; the parameters are
//
//   -1  mu'
//   mu  Sigma
//
// which is what the products of the observations' rows, over their number, become when they are swept on the
// constant. Swept on components O they hold the regression of the others on O.
struct NormalModel {
    const IncompleteData* data;
    const Prior* prior;
    double *parameters, *products;  // products: sum of row row' over the completed observations
    double *all_swept, *swept;      // the parameters swept on all components, and on those of one pattern

    // Of one pattern: which components are missing, their coefficients on the p + 1 values of a row (missing_count
    // rows, 0 for missing values), and their residual covariance or its Cholesky factor.
    int64_t missing_count;
    int64_t* missing;
    double *coefficients, *residual;
    double *panel, *filled;  // rows of a block, and what they lack

    double *posterior_mean, *posterior_scale, *wishart, *pivot;
};

int64_t model_bytes(const IncompleteData& data);
NormalModel make_model(const IncompleteData& data, const Prior& prior, void* scratch);

// Mean 0 and covariance 1: what the observed values say of each component alone.
void start_standard(NormalModel& model);

// Mean and covariance as callers hold them: p means, then the upper triangle by rows, not standardised.
template <class Real>
void read_parameters(const Real* packed, NormalModel& model);
template <class Real>
void write_parameters(const NormalModel& model, Real* packed);

// At most `iterations` steps of EM, until no parameter moves by more than `accuracy`: to the maximum of the
// likelihood or, with a prior, of the posterior density. False when the covariance is not positive definite.
bool maximise(NormalModel& model, int64_t iterations, double accuracy);

// One step of data augmentation: draws the missing values given the parameters, and then the parameters given all
// values. False when a covariance is not positive definite.
bool augment(NormalModel& model, OzkVslStream* stream);

// Draws all missing values given the parameters, those of the empty observations included, into set: observation
// after observation, component after component, in the caller's scale. False as above.
template <class Real>
bool impute(NormalModel& model, OzkVslStream* stream, Real* set);

}  // namespace ozk::stats
