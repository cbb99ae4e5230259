#include "vsl/stats/normal_model.hpp"

#include <cmath>
#include <utility>

#include "ozk_vsl.h"

namespace ozk::stats {
namespace {

constexpr int64_t kPanel = 128;  // rows completed at a time

// A component whose variance, given the components swept before, is less than this share of its variance is a
// linear combination of them as far as p roundings can tell.
constexpr double kSingular = 0x1p-48;

constexpr double kOne = 1, kZero = 0;

void lay_out(const IncompleteData& data, void* scratch, NormalModel& model, int64_t& bytes) {
    const int64_t p = data.p, width = data.width(), square = width * width;
    bytes = 0;
    const auto take = [&]<class T>(T*& place, int64_t count) {
        place = reinterpret_cast<T*>(reinterpret_cast<intptr_t>(scratch) + bytes);
        bytes += count * static_cast<int64_t>(sizeof(T));
    };
    for (double** matrix : {&model.parameters, &model.products, &model.all_swept, &model.swept})
        take(*matrix, square);
    take(model.missing, p);
    take(model.coefficients, p * width);
    take(model.residual, p * p);
    take(model.panel, kPanel * width);
    take(model.filled, kPanel * p);
    take(model.posterior_mean, p);
    take(model.posterior_scale, p * p);
    take(model.wishart, p * p);
    take(model.pivot, width);
    bytes = whole_lines(bytes);
}

double& element(double* matrix, int64_t width, int64_t i, int64_t k) {
    return i >= k ? matrix[k * width + i] : matrix[i * width + k];
}

// Sweeps a symmetric matrix on row and column k; `back` undoes it. Goodnight, "A tutorial on the SWEEP operator", The
// American Statistician 33 (1979).
void sweep(double* matrix, int64_t width, int64_t k, bool back, double* pivot) {
    for (int64_t i = 0; i < width; ++i) pivot[i] = element(matrix, width, i, k);
    const double over = 1 / pivot[k];
    for (int64_t c = 0; c < width; ++c) {
        const double factor = pivot[c] * over;
        double* const column = matrix + c * width;
        for (int64_t i = c; i < width; ++i) column[i] -= factor * pivot[i];
    }
    const double sign = back ? -over : over;
    for (int64_t i = 0; i < width; ++i) element(matrix, width, i, k) = pivot[i] * sign;
    element(matrix, width, k, k) = -over;
}

// Sweeps the parameters on all components. False when the covariance is not positive definite.
bool sweep_all(NormalModel& model) {
    const int64_t width = model.data->width();
    std::copy_n(model.parameters, width * width, model.all_swept);
    const double share = kSingular * static_cast<double>(width);
    for (int64_t k = 1; k < width; ++k) {
        const int64_t diagonal = k * width + k;
        if (!(model.all_swept[diagonal] > share * model.parameters[diagonal])) return false;
        sweep(model.all_swept, width, k, false, model.pivot);
    }
    return true;
}

// The regression of a pattern's missing components on the others, from the nearer side: by sweeping on those that are
// there, or by undoing the sweep on those that are missing.
void condition(NormalModel& model, int64_t pattern) {
    const IncompleteData& data = *model.data;
    const int64_t p = data.p, width = data.width(), row = data.starts[pattern];
    model.missing_count = 0;
    for (int64_t i = 0; i < p; ++i)
        if (data.is_missing(row, i)) model.missing[model.missing_count++] = i;
    const int64_t m = model.missing_count;
    const bool back = m < p - m;
    std::copy_n(back ? model.all_swept : model.parameters, width * width, model.swept);
    for (int64_t i = 0; i < p; ++i)
        if (data.is_missing(row, i) == back) sweep(model.swept, width, i + 1, back, model.pivot);
    for (int64_t k = 0; k < width; ++k)
        for (int64_t a = 0; a < m; ++a)
            model.coefficients[k * m + a] = k > 0 && data.is_missing(row, k - 1)
                                                ? 0
                                                : element(model.swept, width, model.missing[a] + 1, k);
    for (int64_t b = 0; b < m; ++b)
        for (int64_t a = b; a < m; ++a)
            model.residual[b * m + a] =
                element(model.swept, width, model.missing[a] + 1, model.missing[b] + 1);
}

// Takes the columns before from column k of a matrix of n rows, times row k of `factors`, from row `first` on.
void eliminate(double* matrix, const double* factors, int64_t n, int64_t k, int64_t first) {
    double* const column = matrix + k * n;
    for (int64_t j = 0; j < k; ++j)
        for (int64_t i = first; i < n; ++i) column[i] -= factors[j * n + k] * matrix[j * n + i];
}

// The Cholesky factor of a matrix in its place. Not the core's, which may use a team, with bits of its own.
bool factorize(double* matrix, int64_t n) {
    for (int64_t k = 0; k < n; ++k) {
        eliminate(matrix, matrix, n, k, k);
        if (!(matrix[k * n + k] > 0)) return false;
        const double root = std::sqrt(matrix[k * n + k]);
        for (int64_t i = k; i < n; ++i) matrix[k * n + i] /= root;
    }
    return true;
}

bool factor_residual(NormalModel& model) { return factorize(model.residual, model.missing_count); }

// What rows of the conditioned pattern lack, to `filled`: their expectation, or with a stream a draw about it.
void predict(NormalModel& model, const double* rows, int64_t count, OzkVslStream* stream) {
    const int64_t m = model.missing_count, width = model.data->width();
    if (stream != nullptr) {
        _vsldRngGaussian(kOzkVslGaussianInverse, stream, static_cast<int32_t>(m * count), model.filled, 0, 1);
        ozk_blas_xdtrmm("L", "L", "N", "N", &m, &count, &kOne, model.residual, &m, model.filled, &m, 1, 1, 1,
                        1);
    }
    ozk_blas_xdgemm("N", "N", &m, &count, &width, &kOne, model.coefficients, &m, rows, &width,
                    stream != nullptr ? &kOne : &kZero, model.filled, &m, 1, 1);
}

// The products of all observations that tell something, with their missing values drawn or, without a stream, in
// expectation: then the residual covariance counts for each row.
bool complete(NormalModel& model, OzkVslStream* stream) {
    const IncompleteData& data = *model.data;
    const int64_t width = data.width();
    if (!sweep_all(model)) return false;
    std::copy_n(data.sums, width * width, model.products);
    int64_t gathered = 0;
    const auto add_panel = [&] {
        if (gathered > 0)
            ozk_blas_xdsyrk("L", "N", &width, &gathered, &kOne, model.panel, &width, &kOne, model.products,
                            &width, 1, 1);
        gathered = 0;
    };
    for (int64_t pattern = 0; pattern < data.pattern_count && !data.is_empty(pattern); ++pattern) {
        condition(model, pattern);
        const int64_t m = model.missing_count, end = data.starts[pattern + 1];
        int64_t row = data.starts[pattern];
        if (stream != nullptr) {
            if (!factor_residual(model)) return false;
        } else {
            const double rows = static_cast<double>(end - row);
            for (int64_t b = 0; b < m; ++b)
                for (int64_t a = b; a < m; ++a)
                    element(model.products, width, model.missing[a] + 1, model.missing[b] + 1) +=
                        rows * model.residual[b * m + a];
        }
        while (row < end) {
            const int64_t count = std::min(kPanel - gathered, end - row);
            double* const rows = model.panel + gathered * width;
            std::copy_n(data.values + row * width, count * width, rows);
            predict(model, rows, count, stream);
            for (int64_t r = 0; r < count; ++r)
                for (int64_t a = 0; a < m; ++a)
                    rows[r * width + 1 + model.missing[a]] = model.filled[r * m + a];
            gathered += count;
            row += count;
            if (gathered == kPanel) add_panel();
        }
    }
    add_panel();
    return true;
}

// tau and degrees of freedom of the parameters' distribution given the completed observations; its mean and scale
// matrix go to the model.
std::pair<double, double> update_posterior(NormalModel& model) {
    const Prior& prior = *model.prior;
    const int64_t p = model.data->p, width = model.data->width();
    const double n = model.products[0], tau = n + prior.tau;
    const auto mean = [&](int64_t i) { return model.products[i + 1] / n; };
    const auto prior_mean = [&](int64_t i) { return prior.mean != nullptr ? prior.mean[i] : 0; };
    for (int64_t i = 0; i < p; ++i) model.posterior_mean[i] = (n * mean(i) + prior.tau * prior_mean(i)) / tau;
    for (int64_t k = 0; k < p; ++k)
        for (int64_t i = k; i < p; ++i) {
            double value = model.products[(k + 1) * width + i + 1] - n * mean(i) * mean(k) +
                           n * prior.tau / tau * (mean(i) - prior_mean(i)) * (mean(k) - prior_mean(k));
            if (prior.scale != nullptr) value += prior.scale[k * p + i];
            model.posterior_scale[k * p + i] = value;
        }
    return {tau, n + prior.degrees};
}

// Draws mu and Sigma from that distribution. With the factor C of the scale matrix and Bartlett's lower triangle A,
// of which A A' is Wishart, Sigma = X X' and mu = mean + X z / sqrt(tau), where X = C A^-T.
bool draw_parameters(NormalModel& model, OzkVslStream* stream) {
    const auto [tau, degrees] = update_posterior(model);
    const int64_t p = model.data->p, width = model.data->width();
    double* const factor = model.posterior_scale;
    if (!factorize(factor, p)) return false;
    for (int64_t k = 0; k < p; ++k) {
        double* const column = model.wishart + k * p;
        _vsldRngGamma(kOzkVslRejection, stream, 1, column + k, (degrees - static_cast<double>(k)) / 2, 0, 2);
        column[k] = std::sqrt(column[k]);
        if (!(column[k] > 0)) return false;  // hardly any degrees of freedom
        if (k + 1 < p)
            _vsldRngGaussian(kOzkVslGaussianInverse, stream, static_cast<int32_t>(p - k - 1), column + k + 1,
                             0, 1);
        for (int64_t i = 0; i < k; ++i) factor[k * p + i] = 0;
    }
    for (int64_t k = 0; k < p; ++k) {
        eliminate(factor, model.wishart, p, k, 0);
        for (int64_t i = 0; i < p; ++i) factor[k * p + i] /= model.wishart[k * p + k];
    }
    ozk_blas_xdsyrk("L", "N", &p, &p, &kOne, factor, &p, &kZero, model.parameters + width + 1, &width, 1, 1);
    _vsldRngGaussian(kOzkVslGaussianInverse, stream, static_cast<int32_t>(p), model.pivot, 0,
                     1 / std::sqrt(tau));
    model.parameters[0] = -1;
    std::copy_n(model.posterior_mean, p, model.parameters + 1);
    for (int64_t k = 0; k < p; ++k)
        for (int64_t i = 0; i < p; ++i) model.parameters[i + 1] += factor[k * p + i] * model.pivot[k];
    return true;
}

}  // namespace

int64_t model_bytes(const IncompleteData& data) {
    NormalModel model;
    int64_t bytes;
    lay_out(data, nullptr, model, bytes);
    return bytes;
}

NormalModel make_model(const IncompleteData& data, const Prior& prior, void* scratch) {
    NormalModel model = {};
    model.data = &data;
    model.prior = &prior;
    int64_t bytes;
    lay_out(data, scratch, model, bytes);
    return model;
}

void start_standard(NormalModel& model) {
    const int64_t width = model.data->width();
    std::fill_n(model.parameters, width * width, 0.0);
    for (int64_t k = 0; k < width; ++k) model.parameters[k * width + k] = k == 0 ? -1 : 1;
}

template <class Real>
void read_parameters(const Real* packed, NormalModel& model) {
    const IncompleteData& data = *model.data;
    const int64_t p = data.p, width = data.width();
    model.parameters[0] = -1;
    for (int64_t i = 0; i < p; ++i) model.parameters[i + 1] = (*packed++ - data.centre[i]) / data.scale[i];
    for (int64_t k = 0; k < p; ++k)
        for (int64_t i = k; i < p; ++i)
            model.parameters[(k + 1) * width + i + 1] = *packed++ / data.scale[i] / data.scale[k];
}

template <class Real>
void write_parameters(const NormalModel& model, Real* packed) {
    const IncompleteData& data = *model.data;
    const int64_t p = data.p, width = data.width();
    for (int64_t i = 0; i < p; ++i)
        *packed++ = static_cast<Real>(data.centre[i] + data.scale[i] * model.parameters[i + 1]);
    for (int64_t k = 0; k < p; ++k)
        for (int64_t i = k; i < p; ++i)
            *packed++ =
                static_cast<Real>(model.parameters[(k + 1) * width + i + 1] * data.scale[i] * data.scale[k]);
}

bool maximise(NormalModel& model, int64_t iterations, double accuracy) {
    const int64_t p = model.data->p, width = model.data->width();
    double change = INFINITY;
    for (int64_t iteration = 0; iteration < iterations && change > accuracy; ++iteration) {
        if (!complete(model, nullptr)) return false;
        const double degrees = update_posterior(model).second;
        // The maximum of the likelihood is the mode of a posterior of p + 2 degrees less than none.
        const double divisor =
            model.prior->mean != nullptr ? degrees + static_cast<double>(p + 2) : model.products[0];
        change = 0;
        const auto move = [&](int64_t position, double value) {
            change = std::fmax(change, std::fabs(value - model.parameters[position]));
            model.parameters[position] = value;
        };
        for (int64_t i = 0; i < p; ++i) move(i + 1, model.posterior_mean[i]);
        for (int64_t k = 0; k < p; ++k)
            for (int64_t i = k; i < p; ++i)
                move((k + 1) * width + i + 1, model.posterior_scale[k * p + i] / divisor);
    }
    return sweep_all(model);
}

bool augment(NormalModel& model, OzkVslStream* stream) {
    return complete(model, stream) && draw_parameters(model, stream);
}

template <class Real>
bool impute(NormalModel& model, OzkVslStream* stream, Real* set) {
    const IncompleteData& data = *model.data;
    if (!sweep_all(model)) return false;
    for (int64_t pattern = 0; pattern < data.pattern_count; ++pattern) {
        condition(model, pattern);
        if (!factor_residual(model)) return false;
        const int64_t m = model.missing_count, end = data.starts[pattern + 1];
        for (int64_t row = data.starts[pattern]; row < end; row += kPanel) {
            const int64_t count = std::min(kPanel, end - row);
            predict(model, data.values + row * data.width(), count, stream);
            for (int64_t r = 0; r < count; ++r)
                for (int64_t a = 0; a < m; ++a) {
                    const int64_t i = model.missing[a];
                    set[data.places[row + r] + a] =
                        static_cast<Real>(data.centre[i] + data.scale[i] * model.filled[r * m + a]);
                }
        }
    }
    return true;
}

template void read_parameters(const float*, NormalModel&);
template void read_parameters(const double*, NormalModel&);
template void write_parameters(const NormalModel&, float*);
template void write_parameters(const NormalModel&, double*);
template bool impute(NormalModel&, OzkVslStream*, float*);
template bool impute(NormalModel&, OzkVslStream*, double*);

}  // namespace ozk::stats
