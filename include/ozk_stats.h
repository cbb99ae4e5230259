/* Summary statistics: the task, its editors and the estimators.
 *
 * A task binds an observation matrix, its parameters and the arrays that receive the estimates. It stores
 * pointers only: every estimator reads the current contents of the caller's arrays when it runs, so data and
 * parameters may change between runs without editing the task again.
 *
 * Vocabulary: p components, n observations; x_ij is component i of observation j, w_j its weight (1 without
 * weights), W = sum of w_j, V = sum of w_j^2, m_i the mean of component i. "int" is the task's integer type:
 * int32_t when the integer width flag is 0, else int64_t. Reals are float in a task made by __vslsSSNewTask
 * and double in one made by __vsldSSNewTask.
 *
 * Threads: a task carries no lock. It must not be edited or deleted while an estimator runs on it; distinct
 * tasks are independent. Every function returns a status below; an argument that fails a check leaves
 * everything as it was.
 */
#ifndef OZK_STATS_H
#define OZK_STATS_H

#include "ozk_core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Status codes ---- */

enum {
    kOzkStatsOk = 0, /* Success. */
    kOzkStatsErrorParameterId =
        -3,                       /* The parameter identifier is out of range or not of this editor's kind. */
    kOzkStatsErrorMemory = -4000, /* There is not enough memory. */
    kOzkStatsErrorDimension = -4001,          /* The dimension is missing or below 1. */
    kOzkStatsErrorObservationCount = -4002,   /* The number of observations is missing or too small. */
    kOzkStatsErrorStorage = -4003,            /* A storage code is none of the codes below. */
    kOzkStatsErrorIndices = -4004,            /* The component indices are missing. */
    kOzkStatsErrorWeights = -4005,            /* The weights are missing. */
    kOzkStatsErrorMean = -4006,               /* The array of means is missing. */
    kOzkStatsErrorRawMoment2 = -4007,         /* The array of raw moments of order 2 is missing. */
    kOzkStatsErrorRawMoment3 = -4008,         /* The array of raw moments of order 3 is missing. */
    kOzkStatsErrorRawMoment4 = -4009,         /* The array of raw moments of order 4 is missing. */
    kOzkStatsErrorCentralMoment2 = -4010,     /* The array of central moments of order 2 is missing. */
    kOzkStatsErrorCentralMoment3 = -4011,     /* The array of central moments of order 3 is missing. */
    kOzkStatsErrorCentralMoment4 = -4012,     /* The array of central moments of order 4 is missing. */
    kOzkStatsErrorKurtosis = -4013,           /* The kurtosis array is missing. */
    kOzkStatsErrorSkewness = -4014,           /* The skewness array is missing. */
    kOzkStatsErrorMinimum = -4015,            /* The array of minima is missing. */
    kOzkStatsErrorMaximum = -4016,            /* The array of maxima is missing. */
    kOzkStatsErrorVariation = -4017,          /* The array of coefficients of variation is missing. */
    kOzkStatsErrorCovariance = -4018,         /* The covariance matrix is missing. */
    kOzkStatsErrorCorrelation = -4019,        /* The correlation matrix is missing. */
    kOzkStatsErrorAccumulatedWeights = -4020, /* The pair of accumulated weights is missing. */
    kOzkStatsErrorQuantileOrders = -4021,     /* The quantile orders are missing. */
    kOzkStatsErrorQuantileOrderCount =
        -4022, /* The number of quantile orders is missing, or an order is not in [0, 1]. */
    kOzkStatsErrorQuantiles = -4023,          /* The array of quantiles is missing. */
    kOzkStatsErrorOrderStatistics = -4024,    /* The array of order statistics is missing. */
    kOzkStatsErrorRobustCovariance = -4027,   /* The robust covariance matrix is missing. */
    kOzkStatsErrorRobustMean = -4028,         /* The robust mean is missing. */
    kOzkStatsErrorMethod = -4029,             /* The method is not supported for the requested estimates. */
    kOzkStatsErrorTask = -4031,               /* The task is missing. */
    kOzkStatsErrorObservations = -4032,       /* The observations are missing or infinite. */
    kOzkStatsErrorSingularCovariance = -4033, /* The covariance matrix is not of full rank. */
    kOzkStatsErrorPooledCovariance = -4034,   /* The pooled covariance matrix is missing. */
    kOzkStatsErrorPooledMean = -4035,         /* The pooled mean is missing. */
    kOzkStatsErrorGroupCovariances = -4036,   /* The group covariance matrices are missing. */
    kOzkStatsErrorGroupMeans = -4037,         /* The group means are missing. */
    kOzkStatsErrorGroupIndices = -4038,       /* The group indices are missing. */
    kOzkStatsErrorOutlierParameters = -4039,  /* The outlier-detection parameters are missing. */
    kOzkStatsErrorOutlierParameterCount = -4040, /* The number of outlier-detection parameters is missing. */
    kOzkStatsErrorOutlierWeights = -4041,        /* The array of outlier weights is missing. */
    kOzkStatsErrorRobustParameters = -4042,      /* The robust-covariance parameters are missing. */
    kOzkStatsErrorRobustParameterCount = -4043,  /* The number of robust-covariance parameters is missing. */
    kOzkStatsErrorInteger = -4044,            /* An integer parameter, such as a storage code, is missing. */
    kOzkStatsErrorPartialIndices = -4045,     /* The partial-covariance indices are missing. */
    kOzkStatsErrorPartialCovariance = -4046,  /* The partial covariance matrix is missing. */
    kOzkStatsErrorPartialCorrelation = -4047, /* The partial correlation matrix is missing. */
    kOzkStatsErrorMissingParameters = -4048,  /* The missing-value parameters are missing or do not fit. */
    kOzkStatsErrorMissingParameterCount = -4049,      /* The number of missing-value parameters is missing. */
    kOzkStatsErrorMissingParameterCountValue = -4050, /* The number of missing-value parameters is not 5. */
    kOzkStatsErrorInitialEstimateCount =
        -4052,                               /* The number of initial estimates is missing or does not fit. */
    kOzkStatsErrorInitialEstimates = -4053,  /* The initial estimates are missing or not finite. */
    kOzkStatsErrorSimulatedSets = -4054,     /* The array of simulated sets is missing. */
    kOzkStatsErrorSimulatedSetCount = -4055, /* The number of simulated sets is missing or too small. */
    kOzkStatsErrorEstimateCount = -4056,     /* The number of estimates is missing or too small. */
    kOzkStatsErrorEstimates = -4057,         /* The array of estimates is missing. */
    kOzkStatsErrorNothingToSimulate =
        -4060, /* Neither estimates nor a non-zero number of simulated sets is given. */
    kOzkStatsErrorPriorCount = -4061, /* The number of prior parameters is missing or does not fit. */
    kOzkStatsErrorPrior = -4062,      /* The prior parameters are missing or out of range. */
    kOzkStatsErrorStreamParameterCountMissing =
        -4064,                                  /* The number of streaming-quantile parameters is missing. */
    kOzkStatsErrorStreamParameters = -4065,     /* The streaming-quantile parameters are missing. */
    kOzkStatsErrorStreamParameterCount = -4066, /* The number of streaming-quantile parameters is wrong. */
    kOzkStatsErrorStreamAccuracy = -4067,       /* The streaming-quantile accuracy is out of range. */
    kOzkStatsErrorStreamOrders = -4068,         /* The streaming quantile orders are missing. */
    kOzkStatsErrorStreamOrderCount =
        -4069, /* The number of streaming orders is missing, or an order is not in [0, 1]. */
    kOzkStatsErrorStreamQuantiles = -4070,         /* The array of streaming quantiles is missing. */
    kOzkStatsErrorParametrizedCorrelation = -4071, /* The parametrized correlation matrix is missing. */
    kOzkStatsErrorSum = -4074,                     /* The array of sums is missing. */
    kOzkStatsErrorRawSum2 = -4075,                 /* The array of raw sums of order 2 is missing. */
    kOzkStatsErrorRawSum3 = -4076,                 /* The array of raw sums of order 3 is missing. */
    kOzkStatsErrorRawSum4 = -4077,                 /* The array of raw sums of order 4 is missing. */
    kOzkStatsErrorCentralSum2 = -4078,             /* The array of central sums of order 2 is missing. */
    kOzkStatsErrorCentralSum3 = -4079,             /* The array of central sums of order 3 is missing. */
    kOzkStatsErrorCentralSum4 = -4080,             /* The array of central sums of order 4 is missing. */
    kOzkStatsErrorCrossProduct = -4081,            /* The cross-product matrix is missing. */
    kOzkStatsErrorMedianDeviation = -4082,         /* The array of median absolute deviations is missing. */
    kOzkStatsErrorMeanDeviation = -4083,           /* The array of mean absolute deviations is missing. */
    kOzkStatsErrorSortedObservations = -4084,      /* The array of sorted observations is missing. */
    kOzkStatsErrorSortInPlace = -4085,             /* Sorting in place excludes component indices. */
    kOzkStatsErrorEigenvalues = -5040,             /* The eigenvalues for the rank test did not converge. */
    kOzkStatsErrorFactorization = -5041,           /* The Cholesky factorisation failed. */
    kOzkStatsErrorInversion = -5042                /* The inversion from the Cholesky factor failed. */
};

/* ---- Storage codes ---- */

enum {
    kOzkStatsByComponent = 0x10000,  /* Each component's n values contiguous: x_ij at i * n + j. */
    kOzkStatsByObservation = 0x20000 /* Each observation's p values contiguous: x_ij at j * p + i. */
};

enum {
    kOzkStatsMatrixFull = 0,  /* p * p values, symmetric. */
    kOzkStatsMatrixLower = 1, /* p (p + 1) / 2 values, the lower triangle packed by rows. */
    kOzkStatsMatrixUpper = 2  /* p (p + 1) / 2 values, the upper triangle packed by rows. */
};

/* ---- Parameter identifiers of the EditTask functions ---- */

enum {
    kOzkStatsIdDimension = 1,
    kOzkStatsIdObservationCount = 2,
    kOzkStatsIdObservations = 3,
    kOzkStatsIdObservationStorage = 4,
    kOzkStatsIdIndices = 5,
    kOzkStatsIdWeights = 6,
    kOzkStatsIdMean = 7,
    kOzkStatsIdRawMoment2 = 8,
    kOzkStatsIdRawMoment3 = 9,
    kOzkStatsIdRawMoment4 = 10,
    kOzkStatsIdCentralMoment2 = 11,
    kOzkStatsIdCentralMoment3 = 12,
    kOzkStatsIdCentralMoment4 = 13,
    kOzkStatsIdKurtosis = 14,
    kOzkStatsIdSkewness = 15,
    kOzkStatsIdMinimum = 16,
    kOzkStatsIdMaximum = 17,
    kOzkStatsIdVariation = 18,
    kOzkStatsIdCovariance = 19,
    kOzkStatsIdCovarianceStorage = 20,
    kOzkStatsIdCorrelation = 21,
    kOzkStatsIdCorrelationStorage = 22,
    kOzkStatsIdAccumulatedWeights = 23,
    kOzkStatsIdQuantileOrderCount = 24,
    kOzkStatsIdQuantileOrders = 25,
    kOzkStatsIdQuantiles = 26,
    kOzkStatsIdOrderStatistics = 27,
    kOzkStatsIdGroupIndices = 28,
    kOzkStatsIdPooledCovarianceStorage = 29,
    kOzkStatsIdPooledMean = 30,
    kOzkStatsIdPooledCovariance = 31,
    kOzkStatsIdRequestedGroups = 32,
    kOzkStatsIdGroupMeans = 33,
    kOzkStatsIdGroupCovarianceStorage = 34,
    kOzkStatsIdGroupCovariances = 35,
    kOzkStatsIdRobustCovarianceStorage = 36,
    kOzkStatsIdRobustParameterCount = 37,
    kOzkStatsIdRobustParameters = 38,
    kOzkStatsIdRobustMean = 39,
    kOzkStatsIdRobustCovariance = 40,
    kOzkStatsIdOutlierParameterCount = 41,
    kOzkStatsIdOutlierParameters = 42,
    kOzkStatsIdOutlierWeights = 43,
    kOzkStatsIdOrderStatisticsStorage = 44,
    kOzkStatsIdPartialIndices = 45,
    kOzkStatsIdPartialCovariance = 46,
    kOzkStatsIdPartialCovarianceStorage = 47,
    kOzkStatsIdPartialCorrelation = 48,
    kOzkStatsIdPartialCorrelationStorage = 49,
    kOzkStatsIdMissingParameterCount = 50,
    kOzkStatsIdMissingParameters = 51,
    kOzkStatsIdInitialEstimateCount = 52,
    kOzkStatsIdInitialEstimates = 53,
    kOzkStatsIdSimulatedSetCount = 54,
    kOzkStatsIdSimulatedSets = 55,
    kOzkStatsIdEstimateCount = 56,
    kOzkStatsIdEstimates = 57,
    kOzkStatsIdPriorCount = 58,
    kOzkStatsIdPrior = 59,
    kOzkStatsIdParametrizedCorrelation = 60,
    kOzkStatsIdParametrizedCorrelationStorage = 61,
    kOzkStatsIdStreamParameterCount = 62,
    kOzkStatsIdStreamParameters = 63,
    kOzkStatsIdStreamOrderCount = 64,
    kOzkStatsIdStreamOrders = 65,
    kOzkStatsIdStreamQuantiles = 66,
    kOzkStatsIdSum = 67,
    kOzkStatsIdRawSum2 = 68,
    kOzkStatsIdRawSum3 = 69,
    kOzkStatsIdRawSum4 = 70,
    kOzkStatsIdCentralSum2 = 71,
    kOzkStatsIdCentralSum3 = 72,
    kOzkStatsIdCentralSum4 = 73,
    kOzkStatsIdCrossProduct = 74,
    kOzkStatsIdCrossProductStorage = 75,
    kOzkStatsIdMedianDeviation = 76,
    kOzkStatsIdMeanDeviation = 77,
    kOzkStatsIdSortedObservations = 78,
    kOzkStatsIdSortedStorage = 79
};

/* ---- Estimates: bits of the 64-bit mask ---- */

static const uint64_t kOzkStatsMean = 0x1;
static const uint64_t kOzkStatsRawMoment2 = 0x2;
static const uint64_t kOzkStatsRawMoment3 = 0x4;
static const uint64_t kOzkStatsRawMoment4 = 0x8;
static const uint64_t kOzkStatsCentralMoment2 = 0x10;
static const uint64_t kOzkStatsCentralMoment3 = 0x20;
static const uint64_t kOzkStatsCentralMoment4 = 0x40;
static const uint64_t kOzkStatsKurtosis = 0x80;
static const uint64_t kOzkStatsSkewness = 0x100;
static const uint64_t kOzkStatsVariation = 0x200;
static const uint64_t kOzkStatsMinimum = 0x400;
static const uint64_t kOzkStatsMaximum = 0x800;
static const uint64_t kOzkStatsCovariance = 0x1000;
static const uint64_t kOzkStatsCorrelation = 0x2000;
static const uint64_t kOzkStatsPooledCovariance = 0x4000; /* with the pooled mean */
static const uint64_t kOzkStatsGroupCovariances = 0x8000; /* with the groups' means */
static const uint64_t kOzkStatsQuantiles = 0x10000;
static const uint64_t kOzkStatsOrderStatistics = 0x20000;
static const uint64_t kOzkStatsRobustCovariance = 0x40000; /* with the robust mean */
static const uint64_t kOzkStatsOutliers = 0x80000;
static const uint64_t kOzkStatsPartialCovariance = 0x100000;
static const uint64_t kOzkStatsPartialCorrelation = 0x200000;
static const uint64_t kOzkStatsMissingValues = 0x400000;
static const uint64_t kOzkStatsParametrizedCorrelation = 0x800000;
static const uint64_t kOzkStatsStreamQuantiles = 0x1000000;
static const uint64_t kOzkStatsSum = 0x2000000;
static const uint64_t kOzkStatsRawSum2 = 0x4000000;
static const uint64_t kOzkStatsRawSum3 = 0x8000000;
static const uint64_t kOzkStatsRawSum4 = 0x10000000;
static const uint64_t kOzkStatsCentralSum2 = 0x20000000;
static const uint64_t kOzkStatsCentralSum3 = 0x40000000;
static const uint64_t kOzkStatsCentralSum4 = 0x80000000;
static const uint64_t kOzkStatsCrossProduct = 0x100000000;
static const uint64_t kOzkStatsMedianDeviation = 0x200000000;
static const uint64_t kOzkStatsMeanDeviation = 0x400000000;
static const uint64_t kOzkStatsSortedObservations = 0x800000000;

/* ---- Methods: bits of the 32-bit method word ---- */

enum {
    kOzkStatsFast = 0x1,               /* Two passes over blocks that stay in cache; plain selection. */
    kOzkStatsOnePass = 0x2,            /* The running update, observation by observation. */
    kOzkStatsTranslatedBiweight = 0x8, /* Robust covariance. */
    kOzkStatsOutlierDetection = 0x20,  /* Outliers, by a subset that grows. */
    kOzkStatsStreamExactStart = 0x40,  /* Streaming quantiles, exact as long as the data fit in a buffer. */
    kOzkStatsStreamSummary = 0x80,     /* Streaming quantiles, every portion to the summary at once. */
    kOzkStatsFastCallerMean = 0x100,   /* Fast, about the means that the caller gives. */
    kOzkStatsCrossProductToCovariance = 0x200, /* Covariance and correlation from the cross-product. */
    kOzkStatsSumsToMoments = 0x400,            /* Mean and moments from the sums. */
    kOzkStatsRadixSort = 0x100000              /* Sorting. */
};

/* ---- The task ---- */

typedef struct OzkStatsTask OzkStatsTask;

/* Integer parameters are pointers to the task's int, real ones pointers to its real type. Null: not set. */
struct OzkStatsTask {
    int32_t wide_integers; /* 0: every integer that the task points to is int32_t; else int64_t */
    int32_t reserved_a;    /* 2 */
    int32_t reserved_b;    /* 1 */
    void* dimension;
    void* observation_count;
    void* indices; /* int[p]: 0 skips the component; null processes all */
    void* observations;
    void* weights;             /* real[n], null for all 1 */
    void* accumulated_weights; /* real[2]: W and V of the observations processed so far */
    void* observation_storage;
    void* parametrized_correlation;
    void* parametrized_correlation_storage;
    void* mean;
    void* raw_moment[3]; /* of order 2, 3, 4; so are the next */
    void* central_moment[3];
    void* sum;
    void* raw_sum[3];
    void* central_sum[3];
    void* kurtosis;
    void* skewness;
    void* variation;
    void* minimum;
    void* maximum;
    void* covariance_storage;
    void* covariance;
    void* correlation_storage;
    void* correlation;
    void* cross_product_storage;
    void* cross_product;
    void* group_indices;
    void* requested_groups;
    void* group_means;
    void* group_covariances;
    void* group_covariance_storage;
    void* pooled_mean;
    void* pooled_covariance;
    void* pooled_covariance_storage;
    void* quantile_order_count;
    void* quantile_orders;
    void* quantiles;
    void* order_statistics;
    void* order_statistics_storage;
    void* stream_order_count;
    void* stream_orders;
    void* stream_quantiles;
    void* stream_state; /* owned by the task, made by the streaming-quantile estimator */
    void* stream_parameter_count;
    void* stream_parameters;
    void* mean_deviation;
    void* median_deviation;
    void* robust_parameter_count;
    void* robust_parameters;
    void* robust_mean;
    void* robust_covariance;
    void* robust_covariance_storage;
    void* outlier_parameter_count;
    void* outlier_parameters;
    void* outlier_weights;
    void* partial_indices;
    void* partial_covariance;
    void* partial_covariance_storage;
    void* partial_correlation;
    void* partial_correlation_storage;
    void* missing_parameter_count;
    void* missing_parameters;
    void* initial_estimate_count;
    void* initial_estimates;
    void* prior_count;
    void* prior;
    void* simulated_set_count;
    void* simulated_sets;
    void* estimate_count;
    void* estimates;
    void* distance_sizes[2]; /* int; the operands of the Mahalanobis distance, set by the estimators that use
                                it */
    void* distance_centre;
    void* distance_inverse_covariance;
    void* distances;
    void* distance_work;
    void* distance_work_size;               /* int */
    int32_t clean_up_count;                 /* of registered clean-up routines: 0 or 1 */
    void (*clean_up)(struct OzkStatsTask*); /* frees what an estimator attached */
    void* sorted_observations;              /* may be the observations */
    void* sorted_storage;
    void* work_buffer; /* owned by the task, freed by __vslSSDeleteTask */
};

/* ---- Creating, editing, deleting ----
 *
 * __vsl?SSNewTask makes a task over `observations` (p by n values in the layout that *storage tells),
 * `weights` (n values >= 0, or null for all 1) and `indices` (p integers, or null to process every
 * component). `wide_integers` tells the type of every integer that the task will ever point to: 0 int32_t,
 * else int64_t. All that these pointers refer to stays the caller's, is not copied, and must outlive the
 * task. Observations may be null and set later; then `observation_count` and `storage` are stored unchecked.
 * Checks in this order: dimension missing or below 1 kOzkStatsErrorDimension; with observations: storage
 * missing kOzkStatsErrorInteger, code unknown kOzkStatsErrorStorage, count missing or below 1
 * kOzkStatsErrorObservationCount; `task` null kOzkStatsErrorTask. With too little memory the handle becomes
 * null and the status is kOzkStatsErrorMemory; a failed check leaves the handle as it was.
 *
 * __vsl?SSEditTask stores `pointer` as the parameter `id` (an identifier above); the letter is the kind: s, d
 * for a real array, i for an integer or an array of integers. Null task: kOzkStatsErrorTask; identifier out
 * of range or of the other kind: kOzkStatsErrorParameterId; null pointer: the status that names the
 * parameter, where every storage code shares kOzkStatsErrorInteger and the sum answers kOzkStatsErrorMean.
 * Values are not checked: each estimator does, when it runs. Pointers to results are taken as pointers to
 * const for the sake of one signature; the estimators write through them.
 *
 * The typed editors store their arguments in one call. A null argument leaves its parameter as it is; only a
 * null task is an error, kOzkStatsErrorTask.
 *
 * __vslSSDeleteTask frees the task with all that the estimators attached to it, none of the caller's arrays,
 * and makes the handle null. Handle or task null: kOzkStatsErrorTask. */

#define OZK_STATS_DECLARE_TASK(letter, real)                                                                 \
    OZK_EXPORT int __vsl##letter##SSNewTask(                                                                 \
        OzkStatsTask** task, const void* dimension, const void* observation_count, const void* storage,      \
        const real* observations, const real* weights, const void* indices, int32_t wide_integers);          \
    OZK_EXPORT int __vsl##letter##SSEditTask(OzkStatsTask* task, int id, const real* pointer);               \
    OZK_EXPORT int __vsl##letter##SSEditMoments(OzkStatsTask* task, real* mean, real* raw2, real* raw3,      \
                                                real* raw4, real* central2, real* central3, real* central4); \
    OZK_EXPORT int __vsl##letter##SSEditSums(OzkStatsTask* task, real* sum, real* raw2, real* raw3,          \
                                             real* raw4, real* central2, real* central3, real* central4);    \
    OZK_EXPORT int __vsl##letter##SSEditCovCor(OzkStatsTask* task, real* mean, real* covariance,             \
                                               const void* covariance_storage, real* correlation,            \
                                               const void* correlation_storage);                             \
    OZK_EXPORT int __vsl##letter##SSEditCP(OzkStatsTask* task, real* mean, real* sum, real* cross_product,   \
                                           const void* cross_product_storage);                               \
    OZK_EXPORT int __vsl##letter##SSEditPartialCovCor(                                                       \
        OzkStatsTask* task, const void* partial_indices, const real* covariance,                             \
        const void* covariance_storage, const real* correlation, const void* correlation_storage,            \
        real* partial_covariance, const void* partial_covariance_storage, real* partial_correlation,         \
        const void* partial_correlation_storage);                                                            \
    OZK_EXPORT int __vsl##letter##SSEditQuantiles(                                                           \
        OzkStatsTask* task, const void* order_count, const real* orders, real* quantiles,                    \
        real* order_statistics, const void* order_statistics_storage);                                       \
    OZK_EXPORT int __vsl##letter##SSEditStreamQuantiles(                                                     \
        OzkStatsTask* task, const void* order_count, const real* orders, real* quantiles,                    \
        const void* parameter_count, const real* parameters);                                                \
    OZK_EXPORT int __vsl##letter##SSEditPooledCovariance(                                                    \
        OzkStatsTask* task, const void* group_indices, real* pooled_mean, real* pooled_covariance,           \
        const void* requested_groups, real* group_means, real* group_covariances);                           \
    OZK_EXPORT int __vsl##letter##SSEditRCov(OzkStatsTask* task, const void* storage,                        \
                                             const void* parameter_count, const real* parameters,            \
                                             real* robust_mean, real* robust_covariance);                    \
    OZK_EXPORT int __vsl##letter##SSEditOutDetect(OzkStatsTask* task, const void* parameter_count,           \
                                                  const real* parameters, real* outlier_weights);            \
    OZK_EXPORT int __vsl##letter##SSEditMissingVals(                                                         \
        OzkStatsTask* task, const void* parameter_count, const real* parameters,                             \
        const void* initial_estimate_count, const real* initial_estimates, const void* prior_count,          \
        const real* prior, const void* simulated_set_count, real* simulated_sets,                            \
        const void* estimate_count, real* estimates);                                                        \
    OZK_EXPORT int __vsl##letter##SSEditMtxParametrz(                                                        \
        OzkStatsTask* task, const real* correlation, const void* correlation_storage,                        \
        real* parametrized_correlation, const void* parametrized_correlation_storage);

OZK_STATS_DECLARE_TASK(s, float)
OZK_STATS_DECLARE_TASK(d, double)

OZK_EXPORT int __vsliSSEditTask(OzkStatsTask* task, int id, const void* pointer);
OZK_EXPORT int __vslSSDeleteTask(OzkStatsTask** task);

/* ---- Basic estimators ----
 *
 * Computes every estimate of the mask `estimates` that is listed here (other bits are ignored) for each
 * selected component i, and for each pair of selected components i, k:
 *
 *   mean              m_i = sum of w_j x_ij / W
 *   raw moment r      sum of w_j x_ij^r / W                    r = 2, 3, 4
 *   central moment r  c_r = sum of w_j (x_ij - m_i)^r / W      divided by the total weight, not by W - 1
 *   sum, raw sum r, central sum r                              the same without the division
 *   variation         sqrt(c_2) / m
 *   skewness          c_3 / c_2^(3/2)                          NaN without deviation
 *   kurtosis          c_4 / c_2^2 - 3                          the excess; NaN without deviation
 *   cross-product     C_ik = sum of w_j (x_ij - m_i)(x_kj - m_k)
 *   covariance        C_ik / (W - V / W)                unbiased; NaN for one observation
 *   correlation       C_ik / sqrt(C_ii C_kk)            1 on the diagonal; NaN without deviation
 *
 * Without weights the covariance is C_ik / (n - 1). Correlations are kept within [-1, 1].
 * Results of skipped components, and matrix elements in their rows and columns, are not touched. Weights are
 * >= 0; an observation of weight 0 counts as absent, whatever it holds.
 *
 * Methods, exactly one of:
 *   kOzkStatsFast            two passes over blocks that stay in cache, the second about their own means; one about
 *                            the mean of the blocks before where that is near and no sums or matrices are asked;
 *   kOzkStatsOnePass         the running update, one observation after another;
 *   kOzkStatsFastCallerMean  as fast, about the means in the array of means, which is only read;
 * or, without any of these, one or both of
 *   kOzkStatsCrossProductToCovariance, kOzkStatsSumsToMoments
 * which compute the estimates from the sums and the cross-product that the task holds, without reading the
 * observations. Each of the two bits converts whatever the mask asks for. W and V are the accumulated
 * weights, or those of the observations where these are missing or zero. A result may not share memory with
 * what it is computed from.
 *
 * Portions: where the task has accumulated weights (W, V) with W other than 0, the arrays hold the estimates
 * of the observations so far, and this call adds its observations to them; W = V = 0 starts a fresh data set,
 * whatever the arrays hold. The call stores the new pair. The mask must be the same for all portions of a
 * data set. A raw-moment array that an estimate needs though the mask does not ask for it is working storage
 * and holds the central moment of its order between the calls. Without accumulated weights every call stands
 * alone.
 *
 * The arrays that an estimate needs besides its own, and each matrix needs its storage code:
 *
 *   estimate                fast                      one-pass, caller's mean   conversion
 *   mean                    -                         -                         sum
 *   raw moment r            -                         -                         raw sum r
 *   central moment r        mean, raw moments 2 to r  mean, raw moments 2 to r  central sum r
 *   variation               those of central moment 2, and it                   mean, central moment 2
 *   skewness                those of central moment 3, it and central moment 2  mean, central moments 2, 3
 *   kurtosis                those of central moment 4, it and central moment 2  mean, central moments 2, 4
 *   sum, raw sum r          -                         -                         not available
 *   central sum r           mean, raw moments 2 to r  mean                      not available
 *   covariance, correlation mean                      mean                      cross-product
 *   cross-product           mean                      mean                      not available
 *
 * Status, first failing check: no task kOzkStatsErrorTask; no method or several kOzkStatsErrorMethod; the
 * arrays in the order mean, raw moments, central moments, covariance, correlation, kurtosis, skewness,
 * variation, sum, raw sums, central sums, cross-product, each by its own status (the sum by
 * kOzkStatsErrorSum); an estimate that the method cannot give kOzkStatsErrorMethod; number of observations
 * missing kOzkStatsErrorObservationCount; dimension kOzkStatsErrorDimension; number below 1
 * kOzkStatsErrorObservationCount; storage missing kOzkStatsErrorInteger or unknown kOzkStatsErrorStorage;
 * observations kOzkStatsErrorObservations; storage codes of covariance, correlation, cross-product as those
 * of the observations; a further portion for which the arrays do not tell the central sums of lower order
 * that its merge takes (a one-pass central sum of order 3 or 4 without those below it; a correlation with
 * nothing else of second order) kOzkStatsErrorMethod; memory kOzkStatsErrorMemory. On any of these nothing is
 * written.
 *
 * Accuracy: both precisions compute in double; single precision rounds its results, and so its state between
 * portions. With u = 2^-53, n observations in one call, and |.| sums over absolute values: the error of a raw
 * sum or mean is at most (80 + n / 128) u |sum|, that of a central sum or cross-product (fast) at most (100 +
 * n / 32) u of the sum over absolute values, whatever the ratio of mean to deviation; measured at n up to 700
 * below 1e-14 for ratios up to 1e12. One-pass: 5 n u in place of these. Each further portion rounds the mean
 * to its array, which brings u times mean over deviation into the central estimates. Where a merge must take
 * a central sum from a raw moment or raw sum (asked for together with a higher central order, but without its
 * central twin), it keeps only the digits that mean^r and raw moment do not have in common: ask for the lower
 * central moments as well.
 *
 * Threads: the observations and components are cut by sizes alone and the parts merged in a fixed order, so
 * that the bits of the results do not depend on the number of threads, which is threading->advise_threads's.
 * The two storages are summed in different orders and so may differ in the last bits. Null threading: the
 * calling thread alone. Memory: none but 150 KB of stack; for matrices of two and more components also one
 * block of about 8 (c p^2 + 530 t min(p, 512)) bytes on t threads, c = 16 up to p = 512, 5 to 1024, 2 to
 * 1536, 1 beyond, and never more than n / 2048 + 1.
 *
 * Sources: Chan, Golub and LeVeque, The American Statistician 37 (1983); Pebay, SAND2008-6212 (2008). */
OZK_EXPORT int _vsldSSBasic(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                            const OzkThreading* threading);
OZK_EXPORT int _vslsSSBasic(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                            const OzkThreading* threading);

/* ---- What the estimators below share ----
 *
 * They look at one component after another, for the selected components only; results of the others are not
 * touched. Weights count where it is said. Threads: components are spread over threading->advise_threads's
 * number of threads, at most p; no result depends on it. Null threading: the calling thread alone. A call
 * that fails has written nothing.
 *
 * Status, checked first by all that read observations: no task kOzkStatsErrorTask; dimension missing or below
 * 1 kOzkStatsErrorDimension; number of observations kOzkStatsErrorObservationCount; storage missing
 * kOzkStatsErrorInteger or unknown kOzkStatsErrorStorage. Observations missing, kOzkStatsErrorObservations, is
 * checked after what each function lists; memory, kOzkStatsErrorMemory, comes last.
 *
 * Order of values: ascending by the totalOrder predicate of IEEE 754, where -0 stands before +0, NaNs with the
 * sign bit before everything and NaNs without it behind. */

/* Minimum and maximum of each component, as the mask has kOzkStatsMinimum and kOzkStatsMaximum; NaN where a
 * value is NaN. Weights are not read. One pass at the speed of memory, on the calling thread, without scratch.
 * Status: minimum or maximum array missing kOzkStatsErrorMinimum, kOzkStatsErrorMaximum; neither kOzkStatsFast
 * nor kOzkStatsOnePass kOzkStatsErrorMethod. */
OZK_EXPORT int _vsldSSMinmax(OzkStatsTask* task, uint64_t estimates, uint32_t method);
OZK_EXPORT int _vslsSSMinmax(OzkStatsTask* task, uint64_t estimates, uint32_t method);

/* Absolute deviations of each component, as the mask asks:
 *
 *   kOzkStatsMedianDeviation  median of |x_j - median of x|: unscaled; medians as the quantile of order 0.5
 *                             below, weights not read
 *   kOzkStatsMeanDeviation    sum of w_j |x_j - m| / W, about the mean, or with kOzkStatsFastCallerMean about
 *                             what the array of means holds
 *
 * Status: median: its array missing kOzkStatsErrorMedianDeviation, no kOzkStatsFast kOzkStatsErrorMethod; mean:
 * its array missing kOzkStatsErrorMeanDeviation, neither kOzkStatsFast nor kOzkStatsFastCallerMean
 * kOzkStatsErrorMethod, the caller's means missing kOzkStatsErrorMean. Scratch: n reals for each thread, for
 * medians only. Accuracy: all in double; means to a few units in the last place, whatever mean over
 * deviation. */
OZK_EXPORT int _vsldSSMAD(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                          const OzkThreading* threading);
OZK_EXPORT int _vslsSSMAD(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                          const OzkThreading* threading);

/* Quantiles and order statistics of each component; weights are not read.
 *
 *   kOzkStatsQuantiles        for each order q of the m orders, with s_0 <= ... <= s_(n-1) the sorted values,
 *                             h = q (n - 1), k = floor(h): s_k + (s_(k+1) - s_k)(h - k), s_(n-1) for q = 1.
 *                             Component i's m quantiles stand at i * m, in the order of the orders.
 *   kOzkStatsOrderStatistics  all values sorted, a p by n matrix in a storage of its own
 *
 * This is definition 7 of Hyndman and Fan, The American Statistician 50 (1996). Orders may come in any order
 * and repeat; the quantile of an order that is NaN is NaN. The results do not depend on whether both are
 * asked for. The order statistics may not overlap the observations.
 *
 * Status: for quantiles: quantiles missing kOzkStatsErrorQuantiles, orders kOzkStatsErrorQuantileOrders, number
 * of orders missing or below 0 or an order outside [0, 1] kOzkStatsErrorQuantileOrderCount; for order
 * statistics: array missing kOzkStatsErrorOrderStatistics, storage missing kOzkStatsErrorInteger or unknown
 * kOzkStatsErrorStorage; no kOzkStatsFast kOzkStatsErrorMethod. Scratch: n reals for each thread, together at
 * most 1 GiB on more than one thread.
 *
 * Method: selection (Floyd and Rivest, CACM 18, 1975), about 1.6 n steps for one order, n log m for m; radix
 * sort for order statistics. */
OZK_EXPORT int _vsldSSQuantiles(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                                const OzkThreading* threading);
OZK_EXPORT int _vslsSSQuantiles(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                                const OzkThreading* threading);

/* The median of each component under the weights (without weights, all 1), to element i of the quantiles: the
 * smallest x whose cumulated weight reaches W / 2; where it is W / 2 exactly, the mean of it and the next value.
 * Observations of weight 0 are absent; NaN where all are. The mask is not read. Status: quantiles missing
 * kOzkStatsErrorQuantiles; no kOzkStatsFast kOzkStatsErrorMethod. Scratch: 2 n reals for each thread. */
OZK_EXPORT int _vsldSSWeightedMedian(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                                     const OzkThreading* threading);
OZK_EXPORT int _vslsSSWeightedMedian(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                                     const OzkThreading* threading);

/* Sorts each component ascending into the sorted observations, a p by n matrix in a storage of its own, or in
 * place, where these are the observations. The mask is not read. Status: sorted observations missing
 * kOzkStatsErrorSortedObservations, their storage kOzkStatsErrorInteger; in place: another storage than that of
 * the observations kOzkStatsErrorInteger, component indices kOzkStatsErrorSortInPlace; storage unknown
 * kOzkStatsErrorStorage; no kOzkStatsRadixSort kOzkStatsErrorMethod. Scratch: n reals for each thread, 2 n where
 * the result is by observation, bounded as that of the quantiles. Method: radix sort of the primitives. */
OZK_EXPORT int _vsldSSSort(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                           const OzkThreading* threading);
OZK_EXPORT int _vslsSSSort(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                           const OzkThreading* threading);

/* Sort in place, ascending by <: `count` values side by side, or `stride` elements apart; count <= 0 does
 * nothing. The third rearranges count >= 1 values and returns the k-th smallest, 0 <= k < count. NaNs are equal
 * to everything: they leave the values in some order, and lose none. Nothing is allocated. Quicksort about the
 * median of three (Sedgewick, CACM 21, 1978): n log n on average, n^2 for arrays made to be bad. */
OZK_EXPORT void __vsldQSort(int64_t count, double* array);
OZK_EXPORT void __vslsQSort(int64_t count, float* array);
OZK_EXPORT void __vsldQSortStep(int64_t count, double* array, int64_t stride);
OZK_EXPORT void __vslsQSortStep(int64_t count, float* array, int64_t stride);
OZK_EXPORT double __vsldQSortSelect(int64_t count, double* array, int64_t k);
OZK_EXPORT float __vslsQSortSelect(int64_t count, float* array, int64_t k);

/* Quantiles of data that arrive in portions: adds the n >= 0 observations of this call to what the task keeps
 * of those before, and writes the quantiles of all so far: component i's m quantiles at i * m, NaN before the
 * first observation. Weights and mask are not read.
 *
 * The single parameter is the accuracy epsilon, 0 < epsilon <= 1, that of the first call for all that follow:
 * the answer to order q is an observed value whose rank among all N values is within epsilon N of q N, for any
 * data in any order.
 *
 *   kOzkStatsStreamExactStart  (also where both are set) values gather in a sorted buffer, and the quantiles are
 *                              exact, by the formula of _vsl?SSQuantiles, until it holds
 *                              min(4 / epsilon, 2^22), at least 256; a full buffer goes to the summary. For
 *                              small portions.
 *   kOzkStatsStreamSummary     every portion goes to the summary at once. For large portions.
 *
 * The two may follow each other. Memory of a component: the buffer and a summary that grows like (1 / epsilon)
 * log(epsilon N): measured at N = 10^6 at most 1.0 / epsilon tuples of 24 bytes
 * on random, sorted, reversed, zigzag and constant data, and 5.3 / epsilon on the worst order tried, from both
 * ends inwards. It goes with the task, or with __vslSQuantilesFreeBuffers, after
 * which the task starts afresh.
 *
 * Status: dimension missing, below 1 or other than that of the portions before kOzkStatsErrorDimension; number
 * of observations missing or below 0 kOzkStatsErrorObservationCount; for n > 0 observations missing
 * kOzkStatsErrorObservations, storage missing kOzkStatsErrorInteger or unknown kOzkStatsErrorStorage; quantiles
 * missing kOzkStatsErrorStreamQuantiles; orders missing kOzkStatsErrorStreamOrders; their number missing or
 * below 0 kOzkStatsErrorStreamOrderCount; number of parameters missing
 * kOzkStatsErrorStreamParameterCountMissing, not 1 kOzkStatsErrorStreamParameterCount; an order outside [0, 1]
 * or NaN kOzkStatsErrorStreamOrderCount; parameters missing kOzkStatsErrorStreamParameters; neither method
 * kOzkStatsErrorMethod; accuracy out of range kOzkStatsErrorStreamAccuracy; memory kOzkStatsErrorMemory. A
 * portion that fails is not added.
 *
 * Sources: Greenwald and Khanna, SIGMOD 2001; Luo, Wang, Yi and Cormode, VLDB Journal 25 (2016). */
OZK_EXPORT int _vsldSSStreamQuantiles(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                                      const OzkThreading* threading);
OZK_EXPORT int _vslsSSStreamQuantiles(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                                      const OzkThreading* threading);
/* Frees what the streaming quantiles keep in the task; null is allowed. */
OZK_EXPORT void __vslSQuantilesFreeBuffers(OzkStatsTask* task);

/* Covariance (kOzkStatsPartialCovariance) and correlation (kOzkStatsPartialCorrelation) of the components Y,
 * whose partial index is 1, when the influence of the components X, index -1, is taken out; components of index
 * 0 are left out:
 *
 *   S = S_yy - S_yx S_xx^-1 S_xy,    S_ik / sqrt(S_ii S_kk)
 *
 * matrices of as many rows as there are components Y, in their order. S_.. are parts of the covariance in the
 * task, or of the correlation where no covariance is set. Observations are not read. Computed in double through
 * the Cholesky factor of S_xx; threading is not used.
 *
 * Status: task kOzkStatsErrorTask; dimension kOzkStatsErrorDimension; partial indices missing, none of them 1, or
 * one other than -1, 0, 1 kOzkStatsErrorPartialIndices; neither covariance nor correlation
 * kOzkStatsErrorCovariance, its storage missing kOzkStatsErrorInteger or unknown kOzkStatsErrorStorage; each
 * result asked for missing kOzkStatsErrorPartialCovariance, kOzkStatsErrorPartialCorrelation, its storage as
 * above; no kOzkStatsFast kOzkStatsErrorMethod; memory kOzkStatsErrorMemory; S_xx not positive definite
 * kOzkStatsErrorSingularCovariance. */
OZK_EXPORT int _vsldSSPartialCovariance(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                                        const OzkThreading* threading);
OZK_EXPORT int _vslsSSPartialCovariance(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                                        const OzkThreading* threading);

/* Covariance within groups. Observation j belongs to the group that its group index tells, from 0; the number
 * of groups is one more than the largest index. With W_g, V_g the total and squared weights of group g and
 * C_g its cross-product matrix about its own mean:
 *
 *   kOzkStatsPooledCovariance  sum of C_g / sum of (W_g - V_g / W_g), which without weights is sum of C_g /
 *                              (n - number of groups with observations); and the pooled mean, which is the
 *                              mean of all observations
 *   kOzkStatsGroupCovariances  for each group whose requested index (an int for every group) is nonzero, one
 *                              after another in group order: p means and C_g / (W_g - V_g / W_g), a matrix of
 *                              p p values or, packed, p (p + 1) / 2. NaN for a group without observations.
 *
 * Status: group indices missing kOzkStatsErrorGroupIndices; pooled: mean missing kOzkStatsErrorPooledMean,
 * covariance kOzkStatsErrorPooledCovariance, its storage missing kOzkStatsErrorInteger or unknown
 * kOzkStatsErrorStorage; groups: requested indices missing kOzkStatsErrorGroupIndices, means
 * kOzkStatsErrorGroupMeans, covariances kOzkStatsErrorGroupCovariances, storage as above; no kOzkStatsFast
 * kOzkStatsErrorMethod; a group index below 0 or from 2^40 on kOzkStatsErrorGroupIndices. Scratch: 8 (n +
 * groups + 2 p^2 + 260 p) bytes. Computed in double on the calling thread. */
OZK_EXPORT int _vsldSSPooledCovariance(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                                       const OzkThreading* threading);
OZK_EXPORT int _vslsSSPooledCovariance(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                                       const OzkThreading* threading);

/* A valid correlation matrix near the correlation matrix of the task, which may have negative eigenvalues: with
 * R = B L B', negative and vanishing eigenvalues raised to p u max(1, largest one) (u: the real type's epsilon),
 * and the rows of B sqrt(L) scaled to length 1, the result is the product of that matrix with its transpose,
 * with ones on the diagonal. A matrix that is positive definite comes out as it was, up to rounding. The mask is
 * not read; the result may be the input. Computed in double; threading is not used.
 *
 * Status: task kOzkStatsErrorTask; dimension kOzkStatsErrorDimension; correlation missing
 * kOzkStatsErrorCorrelation, its storage missing kOzkStatsErrorInteger or unknown kOzkStatsErrorStorage; result
 * missing kOzkStatsErrorParametrizedCorrelation, its storage as above; no kOzkStatsFast kOzkStatsErrorMethod;
 * memory kOzkStatsErrorMemory; an element that is not finite, or no convergence kOzkStatsErrorEigenvalues.
 *
 * Source: Rebonato and Jaeckel, Journal of Risk 2 (1999). */
OZK_EXPORT int _vsldSSCorrelationParametrization(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                                                 const OzkThreading* threading);
OZK_EXPORT int _vslsSSCorrelationParametrization(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                                                 const OzkThreading* threading);

/* ---- Robust covariance and outliers ----
 *
 * These read the selected components together; p below is their number, and skipped components' results stay as they
 * are. Weights are not read. An observation with a value that is not finite is infinitely far from everything; where
 * half or more of a component's values are not, the status is kOzkStatsErrorSingularCovariance. Everything is computed
 * in double on standardised components, so that units do not matter, and in parts cut by the sizes alone, so that
 * the bits do not depend on the number of threads, as long as p is below about 230: beyond it the core may factor
 * matrices on a team of its own. Nothing is drawn from outside: equal data give equal results. A call that fails has
 * written nothing. */

/* Robust mean t and covariance S: of all t and S for which the mean of rho(d_j) over the observations is b
 * rho(infinity), with d_j^2 = (x_j - t)' S^-1 (x_j - t), those with the smallest determinant of S (an S-estimator).
 * rho is the integral of psi(d) = d w(d), w the translated biweight: 1 up to M, (1 - ((d - M) / c)^2)^2 up to M + c,
 * 0 beyond. M and c are such that a share a of normal observations lies beyond M + c and normal data meet the
 * constraint, so that S estimates the covariance of a normal distribution without bias for large n. Observations far
 * out do not count at all, and t and S stay bounded while less than a share b of them is replaced by anything.
 *
 * Parameters, taken when they and their number are set and the number is 4; else all have their defaults:
 *   1  breakdown point b: at most its default (n - p) / (2 n), which also stands for 0 and less
 *   2  rejection probability a: in (0, 1), else 0.001. Where a and b contradict each other, b holds and a gives
 *      way: in few dimensions M = 0, in many c = 0
 *   3  accuracy: above 0, else 0.001: iteration ends when no mean moves by more than this times its deviation and no
 *      covariance by more than this times the product of the two deviations
 *   4  most iterations: its whole part, when at least 0, else 100. They run from the better of two kinds of start,
 *      on a sample of max(600, 4 p) observations: medians and deviations along the axes of the directions from
 *      them; and up to 500 small sets of observations, each moved twice to the nearest half
 *
 * The robust mean (task parameter 39) receives t, the robust covariance (40) S in the storage of 36. Method:
 * kOzkStatsTranslatedBiweight; the mask is not read. S is singular where the good data are.
 *
 * Status, in this order: task kOzkStatsErrorTask; dimension kOzkStatsErrorDimension; number of observations missing
 * or not above twice the dimension kOzkStatsErrorObservationCount; storage kOzkStatsErrorInteger,
 * kOzkStatsErrorStorage; robust mean kOzkStatsErrorRobustMean; robust covariance kOzkStatsErrorRobustCovariance, its
 * storage kOzkStatsErrorInteger, kOzkStatsErrorStorage; no kOzkStatsTranslatedBiweight kOzkStatsErrorMethod;
 * observations kOzkStatsErrorObservations; memory kOzkStatsErrorMemory; from the computation
 * kOzkStatsErrorSingularCovariance, also when so many observations lie in a plane, or a share b of them is not
 * finite, that the constraint can't be met, kOzkStatsErrorEigenvalues, kOzkStatsErrorFactorization.
 *
 * Memory: 32 n + 10^7 bytes, 8 p^2 more for packed storage; and at most about 8 (32 p^2 + 700 p) bytes.
 * Time: n p^2 times the iterations, and for the start on the sample at most about 3 10^8 steps.
 *
 * Sources: Rocke, Annals of Statistics 24 (1996); Rocke and Woodruff, JASA 91 (1996); the starts Maronna and Zamar,
 * Technometrics 44 (2002), Rousseeuw and Van Driessen, Technometrics 41 (1999). */
OZK_EXPORT int _vsldSSRobustCovariance(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                                       const OzkThreading* threading);
OZK_EXPORT int _vslsSSRobustCovariance(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                                       const OzkThreading* threading);

/* Outliers: to the outlier weights, n reals, 0 for an outlier and 1 for every other observation. A basic subset
 * starts with the 4 p observations that look most harmless (more while their covariance is singular) and is replaced
 * by all observations whose Mahalanobis distance from its mean under its covariance is below
 *
 *   c sqrt(q),   c = max(0, (h - r) / (h + r)) + 1 + (p + 1) / (n - p) + 2 / (n - 1 - 3 p),
 *
 * r its size, h = floor((n + p + 1) / 2), q the chi-square quantile of p degrees at 1 - alpha / n, until its size
 * changes by less than the stopping threshold times itself. What is outside the last subset is an outlier.
 *
 * Parameters, taken when they and their number are set and the number is 3; else all have their defaults:
 *   1  start, its whole part: 1 smallest Mahalanobis distances from mean and covariance of all observations; 2 (and
 *      everything else, default) smallest Euclidean distances from the medians of the components, each in units of
 *      its median absolute deviation: holds against more outliers
 *   2  significance level alpha, in [0, 1], else 0.05: about the chance that clean normal data have any outlier
 *   3  stopping threshold, above 0, else 0.005
 *
 * Method: kOzkStatsOutlierDetection; the mask is not read. Without selected components all weights are 1.
 *
 * Status, in this order: task kOzkStatsErrorTask; dimension kOzkStatsErrorDimension; number of observations missing
 * or below 5 times the dimension kOzkStatsErrorObservationCount; storage missing or unknown kOzkStatsErrorStorage;
 * weights missing kOzkStatsErrorOutlierWeights; no kOzkStatsOutlierDetection kOzkStatsErrorMethod; observations
 * kOzkStatsErrorObservations; memory kOzkStatsErrorMemory; from the computation kOzkStatsErrorSingularCovariance,
 * kOzkStatsErrorEigenvalues, kOzkStatsErrorFactorization.
 *
 * Memory: 24 n bytes, 1 KB p for each thread, at most 16 matrices. Time: n p^2 times a few passes.
 * Source: Billor, Hadi and Velleman, Computational Statistics & Data Analysis 34 (2000). */
OZK_EXPORT int _vsldSSOutliersDetection(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                                        const OzkThreading* threading);
OZK_EXPORT int _vslsSSOutliersDetection(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                                        const OzkThreading* threading);

/* Squared Mahalanobis distances, the quadratic forms (x_j - t)' A (x_j - t), of the task's observations from a centre
 * t (p reals) under the inverse covariance A (p by p by columns, of which the lower triangle is read). All p
 * components count; weights, mask and method are not read. The distance fields of the task, which no editor sets,
 * hold the operands, all of which but the work array are needed and taken as they are:
 *
 *   distance_sizes[0]            int: how many observations, from the first on; may be less than the task's
 *   distance_sizes[1]            int: the leading dimension of the observations: from one component to the next where
 *                                components are contiguous, from one observation to the next where these are
 *   distance_centre, distance_inverse_covariance, distances   t, A, and as many reals as observations
 *   distance_work, distance_work_size                         an array of reals and its length (int), or null
 *
 * The work array makes no difference to the bits: where its length is p or more, it holds the differences of as
 * many observations as fit, which are then computed side by side on the calling thread; otherwise each observation
 * comes alone, through p reals of scratch. The sum of a form runs over k from 0 of e_k (A_kk e_k + 2 (sum over i > k
 * of A_ik e_i)), e = x - t, in the task's precision. It is not kept from falling below 0 by rounding. Status:
 * kOzkStatsOk, or kOzkStatsErrorMemory where p is above 1024 and there is no memory for scratch. */
OZK_EXPORT int _vsldSSMahDistance(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                                  const OzkThreading* threading);
OZK_EXPORT int _vslsSSMahDistance(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                                  const OzkThreading* threading);

/* Rank test of a covariance matrix, p >= 1, p by p by columns, with a small repair. Let t be the double of the bit
 * pattern 1000, a subnormal number of about 4.94e-321 (0 when it is stored as a float).
 *   p = 1: an element above 0 is left; one in [-t, 0] becomes t; below -t, or NaN: kOzkStatsErrorSingularCovariance.
 *   p > 1: eigenvalues from the upper triangle, whose rest is overwritten. The smallest above 1e-15: nothing to do;
 *   else a hundredth of the smallest of the others that is at least t is added to every diagonal element; where there
 *   is none, kOzkStatsErrorSingularCovariance.
 * The lower triangle is otherwise as it was. Memory: 5 p reals, kOzkStatsErrorMemory; no convergence:
 * kOzkStatsErrorEigenvalues. The matrix must be finite. */
OZK_EXPORT int __vsldTestCovRank(int64_t p, double* matrix);
OZK_EXPORT int __vslsTestCovRank(int64_t p, float* matrix);

/* Replaces the lower triangle of a positive definite matrix, p >= 1, p by p by columns, by that of its inverse; the
 * upper one is left. Closed forms up to p = 3, where a singular matrix gives values that are not finite; Cholesky
 * factors beyond. Status: kOzkStatsErrorFactorization when the matrix is not positive definite: `matrix`, which must
 * come from ozk_serv_allocate, has then been given back by ozk_serv_deallocate and must not be used or freed again;
 * kOzkStatsErrorInversion when the factor can't be inverted, and then it has not. */
OZK_EXPORT int __vsldInvCov(int64_t p, double* matrix);
OZK_EXPORT int __vslsInvCov(int64_t p, float* matrix);

/* The chi-square distribution with `degrees` > 0 degrees of freedom, which need not be whole: the probability of at
 * most x, the density at x, and the x for a probability in [0, 1]; the logarithm of |gamma(x)|, and the square root.
 * NaN for arguments outside. Error: at most 1 ulp, the square root 0.5, measured against 50 digits from 0.01 to
 * 10^6 degrees (the x for a probability from 0.5 on) down to results of 1e-300. Time: up to sqrt(degrees) terms below
 * 4000 degrees, about 10 microseconds from there on. Sources: DiDonato and Morris, ACM TOMS 12 (1986); Loader,
 * "Fast and accurate computation of binomial probabilities" (2000). */
OZK_EXPORT double __vsldChi2CDF(double x, double degrees);
OZK_EXPORT double __vsldChi2PDF(double x, double degrees);
OZK_EXPORT double __vsldChi2ICDF(double probability, double degrees);
OZK_EXPORT double __vsldLGamma(double x);
OZK_EXPORT double __vsldSqrt(double x);

/* ---- Missing values ----
 *
 * Estimates and multiple imputations of multivariate normal observations of which values are missing, at random. NaN
 * in the observations marks a missing value. Mask, method, weights and component indices are not read.
 *
 * The missing-value parameters are 5 reals (fractions are cut off where a number is meant):
 *
 *   1  most EM iterations, from 0 on
 *   2  data augmentation iterations for each copy, k, from 0 on
 *   3  EM accuracy, from 0 on: EM ends when no mean moves by more than this times the component's standard
 *      deviation, and no covariance by more than this times the product of the two
 *   4  imputed copies c, from 1 on
 *   5  missing values: how many NaNs the observations hold
 *
 * EM goes from the initial estimates to the parameters of greatest likelihood or, with a prior, greatest posterior
 * density, as far as its iterations take it. There each copy starts: an iteration draws the missing values given the
 * parameters, then mean and covariance from their distribution given these and the observed values. After the k-th,
 * the copy's missing values are drawn given its last parameters. With k = 0 the copies are drawn given the EM
 * estimate.
 *
 * All numbers of elements below count reals. An "estimate" is p means, then the upper triangle of the covariance by
 * rows, p + p (p + 1) / 2 reals.
 *
 *   initial estimates   one estimate, or one for each copy; without them, means and variances of the values that are
 *                       there, and no covariance
 *   prior parameters    tau >= 0, m, p means b, and the upper triangle by rows of a matrix L: given the covariance S
 *                       the mean is normal about b with covariance S / tau, and S is inverse Wishart, of density
 *                       |S|^(-(m + p + 1) / 2) exp(-tr(L S^-1) / 2). Without them or with 0 of them: the
 *                       noninformative |S|^(-(p + 1) / 2), which is tau = 0, m = -1, L = 0, and EM goes to the
 *                       greatest likelihood
 *   simulated sets      result, c times the missing values: copy after copy, observation after observation, component
 *                       after component. Not written when their number is 0
 *   estimates           result, c k estimates: for every copy and iteration the parameters drawn; for k = 0 c
 *                       estimates, what EM gave each copy. Not written when array or number is missing
 *
 * An observation with all values missing tells nothing: it does not count for the estimates, and its values are drawn
 * from the whole distribution. Without any missing value EM gives mean and covariance (divided by n) at once, the
 * simulated sets are empty, and the estimates are draws from the posterior given all observations.
 *
 * Every copy draws from a Philox4x32-10 stream of its own, whose key is a constant and the number of the copy: results
 * repeat, and do not depend on the number of threads, over which copies are spread. One in single precision differs
 * from one in double by rounding alone: all is computed in double.
 *
 * Status, first failing check: no task kOzkStatsErrorTask; dimension kOzkStatsErrorDimension; number of observations
 * kOzkStatsErrorObservationCount; storage missing or unknown kOzkStatsErrorStorage; parameters missing
 * kOzkStatsErrorMissingParameters, their number kOzkStatsErrorMissingParameterCount, not 5
 * kOzkStatsErrorMissingParameterCountValue; simulated sets without their number kOzkStatsErrorSimulatedSetCount,
 * number without sets kOzkStatsErrorSimulatedSets; neither both of estimates and their number nor a number of
 * simulated sets other than 0 kOzkStatsErrorNothingToSimulate; a parameter out of range (the numbers end at 2^31 - 1)
 * kOzkStatsErrorMissingParameters; initial estimates of a number that does not fit kOzkStatsErrorInitialEstimateCount,
 * missing or not finite kOzkStatsErrorInitialEstimates; prior parameters of another number
 * kOzkStatsErrorPriorCount, missing, not finite or tau < 0 kOzkStatsErrorPrior; number of estimates too small
 * kOzkStatsErrorEstimateCount; observations missing, one infinite, or a component without any value
 * kOzkStatsErrorObservations; parameter 5 other than what is missing kOzkStatsErrorMissingParameters; number of
 * simulated sets too small kOzkStatsErrorSimulatedSetCount; no more observations that tell something than p - 1 - m,
 * which is p without a prior, kOzkStatsErrorObservationCount; memory kOzkStatsErrorMemory; a covariance that is not
 * positive definite, as that of components which depend on one another, kOzkStatsErrorSingularCovariance. On any of
 * these nothing is written.
 *
 * Memory: about 8 r (p + p / 32 + 8) bytes for r observations with missing values, 8 (8 p^2 + 270 p) for each thread,
 * and as much as is written. Time of an iteration: p sweeps, and min(o, v) more for each pattern of o observed and v
 * missing components, of p^2 / 2 multiply-adds each; p (v + p / 2) of them for each observation with missing values.
 *
 * Sources: Dempster, Laird and Rubin, J. Royal Statistical Society B 39 (1977); Schafer, "Analysis of Incomplete
 * Multivariate Data" (1997), ch. 5. */
OZK_EXPORT int _vsldSSMissingValues(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                                    const OzkThreading* threading);
OZK_EXPORT int _vslsSSMissingValues(OzkStatsTask* task, uint64_t estimates, uint32_t method,
                                    const OzkThreading* threading);

#ifdef __cplusplus
}
#endif

#endif
