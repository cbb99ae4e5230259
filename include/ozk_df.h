/* Data fitting: one-dimensional piecewise polynomial splines over a partition.
 *
 * A task describes a partition of nx knots x[0] < ... < x[nx-1] and ny functions given by their values at the
 * knots. The caller fills it, constructs coefficients into memory of its own, and evaluates or integrates the
 * spline. The task keeps pointers to the caller's arrays and copies none of them: they must outlive it.
 *
 * Functions come in two precisions, written ? below: s (float) and d (double). The arrays of a task have the
 * precision of the function that created it, and it is passed only to functions of that precision. Integers
 * are 64-bit unless they are declared otherwise. Every function returns 0 or a negative status. A task has
 * one owner at a time; functions that take it as const may run on it concurrently.
 */
#ifndef OZK_DF_H
#define OZK_DF_H

#include "ozk_core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Status ----------------------------------------------------------------------------------------- */

enum {
    kDfOk = 0,                     /* Done. */
    kDfErrorNullTask = -1000,      /* The task is null. */
    kDfErrorMemory = -1001,        /* There is not enough memory. */
    kDfErrorArgument = -1002,      /* An argument must be null or the spline type does not exist, or the
                                      knots or breaks are such that there is no spline. */
    kDfErrorTooFewKnots = -1004,   /* There are too few knots. */
    kDfErrorNullPartition = -1005, /* The partition is null. */
    kDfErrorPartitionHint = -1006, /* The partition hint is not one of DfPartitionHint. */
    kDfErrorFunctionCount = -1007, /* The number of functions does not fit the function values. */
    kDfErrorNullValues = -1008,    /* Function values are null. */
    kDfErrorValueHint = -1009,     /* The hint of the function values is not one of DfStorageHint, or values
                                      stored by columns are addressed function by function. */
    kDfErrorOrder = -1010,         /* The spline order is negative, or there is no spline of this order. */
    kDfErrorType = -1011,          /* The spline type does not exist. */
    kDfErrorInternalType = -1012,  /* The type of the internal conditions is not one that the spline takes. */
    kDfErrorNullInternal = -1013,  /* Internal conditions are needed and null. */
    kDfErrorBoundaryType = -1014,  /* The spline does not take these boundary conditions. */
    kDfErrorNullBoundary = -1015,  /* Values of the boundary conditions are needed and null. */
    kDfErrorNullCoefficients = -1016, /* The coefficients are null. */
    kDfErrorCoefficientHint = -1017,  /* The hint of the coefficients is not one of DfStorageHint. */
    kDfErrorNotPeriodic = -1018,      /* First and last value of a periodic function differ. */
    kDfErrorAttribute = -1019,        /* There is no such attribute. */
    kDfErrorFunctionIndex = -1020,    /* The function index is out of range. */
    kDfErrorSiteNotKnot = -1022,      /* A site of a look-up is not a knot. */
    kDfErrorLookUpOrderCount = -1024, /* A look-up gives values alone: exactly one order may be named. */
    kDfErrorLookUpNoValue = -1025,    /* A look-up gives values alone: the value must be requested. */
    kDfErrorFlag = -1036,             /* The flag is neither 0 nor 1. */
    kDfErrorNullResult = -1037,       /* The place for the result is null. */
    kDfErrorNullSites = -1040,        /* The sites or limits are null. */
    kDfErrorSiteHint = -1041,         /* The site hint is not one of DfSiteHint. */
    kDfErrorResultHint = -1042        /* The result hint is not one of DfResultHint. */
};

/* ---- The task --------------------------------------------------------------------------------------- */

/* How the knots lie. */
typedef enum DfPartitionHint {
    kDfPartitionNoHint = 0,       /* Nothing is known: treated as non-uniform. */
    kDfPartitionNonUniform = 1,   /* Any distances. */
    kDfPartitionQuasiUniform = 2, /* Nearly equal distances: an even grid is a good first guess. */
    kDfPartitionUniform = 4       /* Equal distances; x holds the two ends alone. */
} DfPartitionHint;

/* How values y (ny functions at nx knots) or coefficients are stored. */
typedef enum DfStorageHint {
    kDfStorageNoHint = 0,     /* As rows. */
    kDfStorageRows = 16,      /* One function after another. */
    kDfStorageColumns = 32,   /* Values: y[knot * ny + function]. Coefficients: as rows. */
    kDfStorageFirstOnly = 128 /* The pointer is for function 0; the others are set by EditIdxPtr. */
} DfStorageHint;

/* Coefficients of one cell: 1 + degree. */
typedef enum DfOrder {
    kDfOrderConstant = 1,
    kDfOrderLinear = 2,
    kDfOrderQuadratic = 3,
    kDfOrderCubic = 4
} DfOrder;

/* The kind of a spline of a given order. */
typedef enum DfType {
    kDfTypeDefault = 0,   /* The kind that has no other number: linear; default quadratic; default cubic. */
    kDfTypeSubbotin = 1,  /* Quadratic with breaks between the knots; nx pieces, one for each knot. */
    kDfTypeNatural = 2,   /* Cubic with two continuous derivatives. */
    kDfTypeHermite = 3,   /* Cubic through given slopes. */
    kDfTypeBessel = 4,    /* Cubic with slopes of parabolas through three knots. */
    kDfTypeAkima = 5,     /* Cubic with Akima's slopes. */
    kDfTypeHyman = 9,     /* Cubic that is monotone where the data are. */
    kDfTypeStepRight = 0, /* Order 1: constant from each knot on, y[i] on [x[i], x[i+1]). */
    kDfTypeStepLeft = 2,  /* Order 1: constant up to each knot, y[i] on (x[i-1], x[i]]. */
    kDfTypeLookUp = 3     /* Order 1: values at the knots and nowhere else. */
} DfType;

/* Boundary conditions: a set of bits. The values are two: of the left end, then of the right end. */
typedef enum DfBoundary {
    kDfBoundaryNone = 0,            /* No condition (Akima: slopes from extrapolated secants). */
    kDfBoundaryNotAKnot = 1,        /* The third derivative is continuous at the first and last inner knot;
                                       with three knots the parabola through them. Needs no values. */
    kDfBoundaryFree = 2,            /* The second derivative is 0 at both ends. Needs no values. */
    kDfBoundaryFirstLeft = 4,       /* The first derivative at the left end. */
    kDfBoundaryFirstRight = 8,      /* The first derivative at the right end. */
    kDfBoundarySecondLeft = 16,     /* The second derivative at the left end. */
    kDfBoundarySecondRight = 32,    /* The second derivative at the right end. */
    kDfBoundaryFirstFirst = 12,     /* First derivatives at both ends. */
    kDfBoundaryFirstSecond = 36,    /* First derivative at the left, second at the right end. */
    kDfBoundarySecondFirst = 24,    /* Second derivative at the left, first at the right end. */
    kDfBoundarySecondSecond = 48,   /* Second derivatives at both ends. */
    kDfBoundaryPeriodic = 64,       /* Value, first and second derivative agree at both ends. Spline types 0
                                       and 3 require values, which are not read. */
    kDfBoundaryQuadraticFirst = 128 /* Default quadratic: the first derivative at the left end, one value. */
} DfBoundary;

/* Internal conditions. */
typedef enum DfInternal {
    kDfInternalNone = 0,
    kDfInternalFirst = 1,       /* First derivatives at the nx - 2 inner knots, function after function. */
    kDfInternalSecond = 2,      /* Second derivatives at the nx - 2 inner knots, function after function. */
    kDfInternalBreaksGiven = 4, /* With kDfInternalBreaks: the internal conditions are the nx - 1 breaks. */
    kDfInternalBreaks = 8       /* Subbotin: breaks between the knots, by default in the middle. */
} DfInternal;

/* Attributes of EditPtr, QueryPtr, EditIdxPtr and QueryIdxPtr. */
typedef enum DfPointerAttribute {
    kDfPartition = 1,
    kDfValues = 2,
    kDfInternalConditions = 3,
    kDfBoundaryConditions = 4,
    kDfCoefficients = 5
} DfPointerAttribute;

/* Attributes of iEditVal and iQueryVal. */
typedef enum DfIntegerAttribute {
    kDfKnotCount = 14,         /* At least 2. */
    kDfPartitionHintCode = 15, /* DfPartitionHint. */
    kDfFunctionCount = 16,     /* At least 1. */
    kDfValueHint = 17,         /* DfStorageHint. */
    kDfSplineOrder = 18,       /* Not negative. */
    kDfSplineType = 19,        /* 0 to 5, or 9. */
    kDfInternalType = 20,      /* DfInternal: below 3, or with kDfInternalBreaks. */
    kDfBoundaryType = 21,      /* DfBoundary: not negative. */
    kDfCoefficientHint = 22,   /* DfStorageHint. */
    kDfFlag = 23               /* 0 or 1; kept for the caller. */
} DfIntegerAttribute;

/* The task record. "Owned" memory belongs to the record, all other pointers are the caller's. */
typedef struct DfTask {
    int32_t wide_integers; /* nonzero: integer results are 64-bit, zero: 32-bit */
    int8_t tag;            /* 4 */
    int32_t precision;     /* 1 double, 0 single */
    int32_t valid;         /* 1 once NewTask has filled the record */
    int64_t nx;
    const void* x; /* nx knots ascending, or the two ends of a uniform partition */
    int64_t x_hint;
    int64_t ny;
    const void** y; /* owned: pointers to the values of each function; one entry when stored by columns */
    int64_t y_hint;
    int64_t order;
    int64_t type;
    int64_t internal_type;
    const void* internal;
    int64_t boundary_type;
    const void* boundary;
    void** coefficients; /* owned: pointers to the coefficients of each function */
    int64_t coefficient_hint;
    int32_t flag;
    int64_t bins;   /* of the search accelerator: B = min(max(nx / 16, 16), 1024) */
    int64_t* table; /* owned: pairs (lo, hi) for the bins 0 .. B and a spare pair. A site t of bin
                       trunc((t - x[0]) * scale) lies between the knots lo and hi. */
    union {
        double d;
        float s;
    } scale; /* B / (x[nx-1] - x[0]) */
    /* What the owned arrays were built for; guards against fields that were edited since. */
    int64_t y_entries;
    int64_t coefficient_entries;
    const void* table_x;
    int64_t table_nx;
} DfTask;

#ifdef __cplusplus
static_assert(sizeof(DfTask) == 192 && offsetof(DfTask, tag) == 4 && offsetof(DfTask, precision) == 8 &&
              offsetof(DfTask, valid) == 12 && offsetof(DfTask, nx) == 16 && offsetof(DfTask, y) == 48 &&
              offsetof(DfTask, order) == 64 && offsetof(DfTask, internal) == 88 &&
              offsetof(DfTask, coefficients) == 112 && offsetof(DfTask, flag) == 128 &&
              offsetof(DfTask, bins) == 136 && offsetof(DfTask, table) == 144 &&
              offsetof(DfTask, scale) == 152);
#endif

/* ?NewTask1D: creates a task and stores it in *task.
 * x: nx >= 2 knots, or two ends (x_hint kDfPartitionUniform). y: ny functions of nx values stored as y_hint
 * says; null with ny = 0 when they come later. wide_integers: see DfTask. Unless the partition is uniform the
 * search accelerator is built, which reads all knots. Status, in the order of the checks: kDfErrorNullTask,
 * kDfErrorTooFewKnots, kDfErrorNullPartition, kDfErrorPartitionHint, kDfErrorFunctionCount (y without ny),
 * kDfErrorNullValues (ny without y), kDfErrorValueHint; these leave *task alone. kDfErrorMemory may leave a
 * record in *task: delete it.
 *
 * ?EditPtr: sets a pointer. kDfValues rebuilds the pointers of all functions from the present ny and value
 * hint, kDfCoefficients from the present nx, ny, order, type and coefficient hint: function i starts at i *
 * order * (nx - 1) elements, for spline type 1 at i * order * nx. Set those first. With kDfStorageFirstOnly
 * the pointers of functions 1 and up are null until EditIdxPtr sets them. Status: kDfErrorNullTask; 0 and no
 * change when the task is not valid; kDfErrorAttribute; kDfErrorNullPartition, kDfErrorNullValues,
 * kDfErrorNullInternal, kDfErrorNullBoundary or kDfErrorNullCoefficients for a null pointer;
 * kDfErrorFunctionCount when there are no functions; kDfErrorMemory. A failure changes nothing.
 *
 * ?EditIdxPtr: replaces the pointer of one function (kDfValues or kDfCoefficients), 0 <= index < ny.
 * Status: kDfErrorNullTask; 0 when not valid; kDfErrorFunctionIndex; kDfErrorAttribute; kDfErrorValueHint
 * (values by columns); kDfErrorNullValues or kDfErrorNullCoefficients when the pointer is null or EditPtr has
 * not been called; kDfErrorFunctionIndex when ny has grown since.
 *
 * ?QueryPtr: stores a pointer in *out; for values and coefficients that of function 0 (null when there is
 * none). Status: kDfErrorNullTask; 0 when not valid; kDfErrorNullResult; kDfErrorAttribute.
 *
 * ?QueryIdxPtr: stores the pointer of one function in *out. index = ny is accepted and gives null.
 * Status: kDfErrorNullTask; kDfErrorNullResult; kDfErrorFunctionIndex (index < 0 or > ny); 0 when not valid;
 * kDfErrorAttribute; kDfErrorValueHint (values by columns).
 *
 * ?EditPPSpline1D: describes the spline in one call; validity is not looked at. In this order: order and type
 * (kDfErrorOrder, kDfErrorType when negative) are stored; boundary type and values (kDfErrorNullBoundary when
 * null for a type of 3 or more other than 64) are stored; internal type and values (kDfErrorNullInternal when
 * null with a nonzero type, kDfErrorInternalType when given with type 0) are stored; coefficients, when
 * given, rebuild the pointers for coefficient_hint (kDfErrorFunctionCount without functions, kDfErrorMemory);
 * the hint is stored. A failure leaves what was stored before it. */
#define OZK_DF_TASK_DECLARE(p, T)                                                                       \
    OZK_EXPORT int ozk_df_kernel_##p##NewTask1D(DfTask** task, int64_t nx, const T* x, int64_t x_hint,  \
                                                int64_t ny, const T* y, int64_t y_hint,                 \
                                                int32_t wide_integers);                                 \
    OZK_EXPORT int ozk_df_kernel_##p##EditPtr(DfTask* task, int64_t attribute, const T* pointer);       \
    OZK_EXPORT int ozk_df_kernel_##p##EditIdxPtr(DfTask* task, int64_t attribute, int64_t index,        \
                                                 const T* pointer);                                     \
    OZK_EXPORT int ozk_df_kernel_##p##QueryPtr(const DfTask* task, int64_t attribute, T** out);         \
    OZK_EXPORT int ozk_df_kernel_##p##QueryIdxPtr(const DfTask* task, int64_t attribute, int64_t index, \
                                                  T** out);                                             \
    OZK_EXPORT int ozk_df_kernel_##p##EditPPSpline1D(                                                   \
        DfTask* task, int64_t order, int64_t type, int64_t boundary_type, const T* boundary,            \
        int64_t internal_type, const T* internal, const T* coefficients, int64_t coefficient_hint);

OZK_DF_TASK_DECLARE(s, float)
OZK_DF_TASK_DECLARE(d, double)

/* Frees what the task owns and the task, and sets *task to null. A null *task is nothing to do.
 * Status: kDfErrorNullTask when the argument is null. */
OZK_EXPORT int ozk_df_kernel_DeleteTask(DfTask** task);

/* Sets an integer (DfIntegerAttribute, which names the ranges). Partition hint kDfPartitionNonUniform builds
 * the search accelerator again from the present x and nx, and reads nx knots; call it after editing either.
 * Status: kDfErrorNullTask; 0 and no change when the task is not valid; the error of the attribute
 * (kDfErrorTooFewKnots, kDfErrorPartitionHint, kDfErrorFunctionCount, kDfErrorValueHint, kDfErrorOrder,
 * kDfErrorType, kDfErrorInternalType, kDfErrorBoundaryType, kDfErrorCoefficientHint, kDfErrorFlag);
 * kDfErrorAttribute; kDfErrorMemory. */
OZK_EXPORT int ozk_df_kernel_iEditVal(DfTask* task, int64_t attribute, int64_t value);

/* Stores an integer in *out, which is an int64_t when the task was created with wide_integers, else an
 * int32_t. Status: kDfErrorNullTask; 0 when the task is not valid; kDfErrorNullResult; kDfErrorAttribute. */
OZK_EXPORT int ozk_df_kernel_iQueryVal(const DfTask* task, int64_t attribute, void* out);

/* ---- Construction ----------------------------------------------------------------------------------- */

/* Writes the coefficients of every function to the task's coefficient pointers: for each cell (for type
 * Subbotin each knot) ascending powers of the distance from its left knot (from its knot). Functions are
 * split over the threads of `threading` (null: one thread); no result depends on the number of threads.
 * `reserved` must be null for the linear and the natural cubic and is not read by the other kinds. Arguments
 * are checked before anything is written, knots are not: they must ascend. Below, h are the cell widths and s
 * the secant slopes of the cells.
 *
 * Boundary conditions of all cubics and of the Subbotin quadratic: 1, 2, 12, 24, 36, 48, 64 (DfBoundary).
 * Bessel, Hyman, Akima and Hermite splines meet them by their end slopes alone, the default cubic by its end
 * curvatures.
 *
 * Status, in the order of the checks: kDfErrorNullTask; kDfErrorArgument (reserved); kDfErrorTooFewKnots;
 * kDfErrorValueHint; kDfErrorArgument (type of a quadratic); kDfErrorInternalType (Subbotin);
 * kDfErrorBoundaryType; kDfErrorNullBoundary; kDfErrorInternalType and kDfErrorNullInternal where internal
 * conditions are needed; kDfErrorNullValues, kDfErrorFunctionCount, kDfErrorNullCoefficients;
 * kDfErrorNotPeriodic for boundary code 64 when first and last value of a function differ or are NaN;
 * kDfErrorArgument (breaks); kDfErrorMemory; kDfErrorArgument (system).
 *
 * ?DFLinearSpline1D: order 2, nx >= 2, any boundary code. c0 = y, c1 = s.
 *
 * ?DFQuadraticSpline1D: order 3, nx >= 2.
 *   Type kDfTypeDefault: boundary code 128; the slope at the left end is given and carried from knot to knot
 * by m[i+1] = 2 s[i] - m[i]. Type kDfTypeSubbotin: breaks between the knots (internal type kDfInternalBreaks:
 * in the middle of each cell; with kDfInternalBreaksGiven: the nx - 1 internal conditions, break i inside
 * cell i, else kDfErrorArgument). nx pieces, piece i between the breaks around knot i, with value y[i] at the
 * knot; value and slope are continuous. kDfBoundaryNotAKnot: one quadratic over the first two, and over the
 * last two pieces. One tridiagonal system; work memory as for the natural cubic.
 *
 * ?DFNaturalCubicSpline1D: order 4, nx >= 2, with kDfBoundaryNotAKnot >= 3. Two continuous derivatives. Below
 * 300 knots one tridiagonal system for the slopes is factored once and solved for each function in its own
 * coefficient block; work memory is 3 nx elements, 4 nx for kDfBoundaryPeriodic, whatever ny is; the periodic
 * system is reduced to a tridiagonal one by the formula of Sherman and Morrison. From 300 knots on the slopes are
 * found in tiles whose elimination starts 64 knots outside: the effect of a knot on a slope halves at least from
 * knot to knot (Sun, Zhang, Ni, IEEE Trans. Comput. 41, 1992); work memory is 56,000 elements a thread. A singular
 * system (coincident knots) is kDfErrorArgument. De Boor, "A Practical Guide to Splines" (2001), chapter IV.
 *
 * ?DFDefaultCubicSpline1D: order 4, nx >= 3. Internal conditions kDfInternalSecond: each cell takes both
 * values and both second derivatives; the slope is continuous only as far as these allow it.
 *
 * ?DFHermiteCubicSpline1D: order 4, nx >= 3. Internal conditions kDfInternalFirst: the slopes at the inner
 * knots.
 *
 * ?DFBesselCubicSpline1D: order 4, nx >= 4. Slopes (h[i] s[i-1] + h[i-1] s[i]) / (h[i-1] + h[i]), of the
 * parabola through three knots.
 *
 * ?DFHymanCubicSpline1D: order 4, nx >= 4. Bessel slopes, 0 where the secants around a knot differ in sign,
 * else with their sign and at most three times the smaller one: monotone in every cell where the data are, in
 * the end cells when the end slope allows it. Hyman, SIAM J. Sci. Stat. Comput. 4 (1983).
 *
 * ?DFAkimaCubicSpline1D: order 4, nx >= 5, with kDfBoundaryNone, which it accepts too, >= 4. Slopes
 *   (|s[i+1] - s[i]| s[i-1] + |s[i-1] - s[i-2]| s[i]) / (sum of the weights), the mean of both when the
 * weights vanish; secants beyond the ends extrapolated. Akima, J. ACM 17 (1970). */
#define OZK_DF_CONSTRUCTION_DECLARE(p, Kind)                                                          \
    OZK_EXPORT int ozk_df_kernel_##p##DF##Kind##Spline1D(DfTask* task, const OzkThreading* threading, \
                                                         const void* reserved);

#define OZK_DF_CONSTRUCTIONS_DECLARE(p)          \
    OZK_DF_CONSTRUCTION_DECLARE(p, Linear)       \
    OZK_DF_CONSTRUCTION_DECLARE(p, Quadratic)    \
    OZK_DF_CONSTRUCTION_DECLARE(p, NaturalCubic) \
    OZK_DF_CONSTRUCTION_DECLARE(p, DefaultCubic) \
    OZK_DF_CONSTRUCTION_DECLARE(p, HermiteCubic) \
    OZK_DF_CONSTRUCTION_DECLARE(p, BesselCubic)  \
    OZK_DF_CONSTRUCTION_DECLARE(p, HymanCubic)   \
    OZK_DF_CONSTRUCTION_DECLARE(p, AkimaCubic)

OZK_DF_CONSTRUCTIONS_DECLARE(s)
OZK_DF_CONSTRUCTIONS_DECLARE(d)

/* ---- Cell search ------------------------------------------------------------------------------------ */

/* The cell of a site t is the number of knots not greater than t: 0 left of the partition, i on
 * [x[i-1], x[i]), nx right of the partition; the last knot itself is in cell nx - 1. The result for a NaN
 * follows from comparisons x[j] > t that all fail and is a number from 0 to nx. */

/* How sites lie. */
typedef enum DfSiteHint {
    kDfSitesNoHint = 0,   /* Anyhow. */
    kDfSitesSorted = 64,  /* Ascending, no NaN. */
    kDfSitesCluster = 128 /* Close to the first site. */
} DfSiteHint;

/* Finds cells for the caller: `cell` and `flag` hold *nsite zeros. Returns a negative status to stop the
 * search, kDfCellsFinal when all cells are final, and any other value when the cells with a zero flag are
 * only places to start looking. */
typedef int (*DfsCellCallback)(const int64_t* nsite, const float* site, int64_t* cell, int32_t* flag,
                               void* parameters);
typedef int (*DfdCellCallback)(const int64_t* nsite, const double* site, int64_t* cell, int32_t* flag,
                               void* parameters);
enum { kDfCellsFinal = 1000 };

/* The method kernels. A count nsite below 1 returns 0 at once; nothing else is checked. Form 32 writes 32-bit
 * cells, 64 and 64Pack 64-bit cells, the cells of the sites one behind the other; the form without a width
 * reads nx, x, table and scale from a task and writes cells as wide as the task's integer results. All other
 * integers are 64-bit.
 *
 * ?DFUniformSearch1D: x holds the two ends; scale = (nx - 1) / (x[1] - x[0]).
 * x[1] is in cell nx - 1, other t >= x[0] in cell min(nx, trunc((t - x[0]) * scale) + 1).
 *
 * ?DFQuasiUniformSearch1D: scale = (nx - 1) / (x[nx-1] - x[0]); a walk from the cell of an even grid.
 *
 * ?DFSortedSearch1D: ascending sites, a walk along the knots; *index is the number of a knot that is not
 * right of the first cell, 0 to begin, and is left where the walk ended: calls over one stream of sites
 * continue.
 *
 * ?DFHybridSearch1D: the accelerator table and scale of the task narrow a site down to the knots of one bin,
 * which are bisected to 20 and then counted.
 *
 * ?DFPeakSearch1D: walks from knot trunc(start). All walks stride longer and longer after eight knots, and bisect the
 * last stride.
 *
 * ?DFUserDefSearch1D, ?DFUniUserDefSearch1D: the callback is called for up to 1024 sites at a time. A
 * negative return is returned at once, cells of earlier calls being written. Where it leaves a site open the
 * cell is found by a walk from the callback's cell (negative: 0), on a uniform partition by the formula.
 * Flagged sites keep the callback's cell unchecked. Returns the callback's last return other than 0 and
 * kDfCellsFinal, or 0. */
#define OZK_DF_SEARCH_DECLARE(p, T, Form, Cell)                                                            \
    OZK_EXPORT int ozk_df_kernel_##p##DFUniformSearch1D##Form(int64_t nx, const T* x, int64_t nsite,       \
                                                              const T* site, Cell* cell, T scale);         \
    OZK_EXPORT int ozk_df_kernel_##p##DFQuasiUniformSearch1D##Form(int64_t nx, const T* x, int64_t nsite,  \
                                                                   const T* site, Cell* cell, T scale);    \
    OZK_EXPORT int ozk_df_kernel_##p##DFSortedSearch1D##Form(int64_t nx, const T* x, int64_t nsite,        \
                                                             const T* site, int64_t* index, Cell* cell);   \
    OZK_EXPORT int ozk_df_kernel_##p##DFHybridSearch1D##Form(                                              \
        int64_t nx, const T* x, int64_t nsite, const T* site, const int64_t* table, Cell* cell, T scale);  \
    OZK_EXPORT int ozk_df_kernel_##p##DFPeakSearch1D##Form(int64_t nx, const T* x, int64_t nsite,          \
                                                           const T* site, Cell* cell, T start);            \
    OZK_EXPORT int ozk_df_kernel_##p##DFUserDefSearch1D##Form(int64_t nx, const T* x, int64_t nsite,       \
                                                              const T* site, Df##p##CellCallback callback, \
                                                              void* parameters, Cell* cell);               \
    OZK_EXPORT int ozk_df_kernel_##p##DFUniUserDefSearch1D##Form(                                          \
        int64_t nx, const T* x, int64_t nsite, const T* site, Df##p##CellCallback callback,                \
        void* parameters, Cell* cell, T scale);

OZK_DF_SEARCH_DECLARE(s, float, 32, int32_t)
OZK_DF_SEARCH_DECLARE(s, float, 64, int64_t)
OZK_DF_SEARCH_DECLARE(s, float, 64Pack, int64_t)
OZK_DF_SEARCH_DECLARE(d, double, 32, int32_t)
OZK_DF_SEARCH_DECLARE(d, double, 64, int64_t)
OZK_DF_SEARCH_DECLARE(d, double, 64Pack, int64_t)

#define OZK_DF_TASK_SEARCH_DECLARE(p, T)                                                                     \
    OZK_EXPORT int ozk_df_kernel_##p##DFUniformSearch1D(const DfTask* task, int64_t nsite, const T* site,    \
                                                        void* cell);                                         \
    OZK_EXPORT int ozk_df_kernel_##p##DFQuasiUniformSearch1D(const DfTask* task, int64_t nsite,              \
                                                             const T* site, void* cell);                     \
    OZK_EXPORT int ozk_df_kernel_##p##DFSortedSearch1D(const DfTask* task, int64_t nsite, const T* site,     \
                                                       int64_t* index, void* cell);                          \
    OZK_EXPORT int ozk_df_kernel_##p##DFHybridSearch1D(const DfTask* task, int64_t nsite, const T* site,     \
                                                       void* cell);                                          \
    OZK_EXPORT int ozk_df_kernel_##p##DFPeakSearch1D(const DfTask* task, int64_t nsite, const T* site,       \
                                                     void* cell, T start);                                   \
    OZK_EXPORT int ozk_df_kernel_##p##DFUserDefSearch1D(const DfTask* task, int64_t nsite, const T* site,    \
                                                        Df##p##CellCallback callback, void* parameters,      \
                                                        void* cell);                                         \
    OZK_EXPORT int ozk_df_kernel_##p##DFUniUserDefSearch1D(const DfTask* task, int64_t nsite, const T* site, \
                                                           Df##p##CellCallback callback, void* parameters,   \
                                                           void* cell);

OZK_DF_TASK_SEARCH_DECLARE(s, float)
OZK_DF_TASK_SEARCH_DECLARE(d, double)

/* The general search: the cells of nsite sites of the task's partition, as wide as the task's integer
 * results, by the method that suits the partition hint and the site hint (DfSiteHint), split over the
 * threads. A callback (or null) takes precedence and is called on the calling thread alone. A partition whose
 * accelerator is missing, or was built for another x or nx, is bisected. Status: kDfErrorNullTask; 0 when
 * nsite < 1; kDfErrorNullSites; kDfErrorSiteHint; kDfErrorNullResult; what the callback's method returns. */
#define OZK_DF_GENERAL_SEARCH_DECLARE(p, T)                                                                 \
    OZK_EXPORT int ozk_df_kernel_##p##DFSearch1D(                                                           \
        const DfTask* task, const OzkThreading* threading, int64_t nsite, const T* site, int64_t site_hint, \
        Df##p##CellCallback callback, void* parameters, void* cell);

OZK_DF_GENERAL_SEARCH_DECLARE(s, float)
OZK_DF_GENERAL_SEARCH_DECLARE(d, double)

/* ---- Evaluation ------------------------------------------------------------------------------------- */

/* Gives derivative `order` (0: the value) at nsite sites left of the first or right of the last knot, in
 * place of the polynomial of the end cell. Returns a negative status to stop the evaluation. */
typedef int (*DfsSiteCallback)(int64_t nsite, const float* site, int64_t order, float* result,
                               void* parameters);
typedef int (*DfdSiteCallback)(int64_t nsite, const double* site, int64_t order, double* result,
                               void* parameters);

/* The evaluation kernels: function `function` of the task at nsite sites whose cells are given. h is the
 * distance of the knots of a uniform partition, (x[1] - x[0]) / (nx - 1), and not read otherwise. order[0 ..
 * norder-1] are flags: nonzero where that derivative is wanted (0 is the value). The wanted orders of a site
 * stand next to each other, ascending, from result[site * stride] on; derivatives at or above the order of
 * the spline are 0. Sites left (right) of the partition continue the polynomial of the first (last) cell.
 * Only the sites and the request of a look-up are checked; cells outside 0 .. nx count as the nearest.
 * The CB forms call `left` and `right`, where they are not null, for the sites outside the partition, and
 * return their negative status, sites before being written.
 *
 * LinearSpline, QuadraticSpline, CubicSpline, ArbitrSpline: 2, 3, 4, the task's order coefficients a cell.
 * QuadSubbSpline: the pieces of type Subbotin. A site right of or on the break of its cell has the piece of
 * the cell's right knot, else that of the left one; the breaks are those of the task's internal conditions.
 * StepRightSpline: y[i] on [x[i], x[i+1]), from the last knot on its value; left of the partition y[0].
 * StepLeftSpline: y[i] on (x[i-1], x[i]]; right of the partition the last value.
 *   Of step functions the value alone is written, and nothing when it is not wanted.
 * LookUpSpline: the value of the knot that the site is: equal to it, on a uniform partition within 2^-40.
 *   Status: kDfErrorSiteNotKnot, kDfErrorLookUpOrderCount, kDfErrorLookUpNoValue; nothing is written then. */
#define OZK_DF_EVALUATION_DECLARE(p, T, Name, Width)                                                         \
    OZK_EXPORT int ozk_df_kernel_##p##_##Name##Eval##Width(                                                  \
        const DfTask* task, T h, int64_t function, int64_t nsite, const T* site, const int##Width##_t* cell, \
        int64_t norder, const int64_t* order, T* result, int64_t stride);                                    \
    OZK_EXPORT int ozk_df_kernel_##p##_##Name##Eval##Width##CB(                                              \
        const DfTask* task, T h, int64_t function, int64_t nsite, const T* site, const int##Width##_t* cell, \
        int64_t norder, const int64_t* order, T* result, int64_t stride, Df##p##SiteCallback left,           \
        void* left_parameters, Df##p##SiteCallback right, void* right_parameters);

#define OZK_DF_EVALUATION_FORMS_DECLARE(Name)      \
    OZK_DF_EVALUATION_DECLARE(s, float, Name, 32)  \
    OZK_DF_EVALUATION_DECLARE(s, float, Name, 64)  \
    OZK_DF_EVALUATION_DECLARE(d, double, Name, 32) \
    OZK_DF_EVALUATION_DECLARE(d, double, Name, 64)

OZK_DF_EVALUATION_FORMS_DECLARE(LinearSpline)
OZK_DF_EVALUATION_FORMS_DECLARE(QuadraticSpline)
OZK_DF_EVALUATION_FORMS_DECLARE(QuadSubbSpline)
OZK_DF_EVALUATION_FORMS_DECLARE(CubicSpline)
OZK_DF_EVALUATION_FORMS_DECLARE(ArbitrSpline)
OZK_DF_EVALUATION_FORMS_DECLARE(StepRightSpline)
OZK_DF_EVALUATION_FORMS_DECLARE(StepLeftSpline)
OZK_DF_EVALUATION_FORMS_DECLARE(LookUpSpline)

/* How results lie. */
typedef enum DfResultHint {
    kDfResultNoHint = 0,  /* By sites. */
    kDfResultBySite = 16, /* result[site * stride + k]: k counts the wanted orders, ascending. */
    kDfResultByOrder = 32 /* result[k * stride + site]. */
} DfResultHint;

/* The caller's functions that an interpolation uses; null members are not called, parameters are handed on.
 */
typedef struct DfsCallbacks {
    DfsCellCallback search;
    void* search_parameters;
    DfsSiteCallback left;
    void* left_parameters;
    DfsSiteCallback right;
    void* right_parameters;
} DfsCallbacks;
typedef struct DfdCallbacks {
    DfdCellCallback search;
    void* search_parameters;
    DfdSiteCallback left;
    void* left_parameters;
    DfdSiteCallback right;
    void* right_parameters;
} DfdCallbacks;

/* Values and derivatives of one function of the task at nsite sites.
 * The task's order and type choose the kind: order 1 step functions and look-up (kDfTypeStepRight,
 * kDfTypeStepLeft, kDfTypeLookUp), which read y; 2, 3, 4 linear, quadratic, cubic; above, any polynomial with
 * `order` coefficients a cell. site_hint: DfSiteHint. cell: the sites' cells when they are known, else null:
 * they are searched. norder, order: as for the evaluation kernels; order null: the value alone. result,
 * stride, result_hint: see DfResultHint. callbacks may be null; with callbacks the calling thread alone
 * works, otherwise the sites are split over the threads. No result depends on the number of threads.
 * Sites of a uniform partition and dense ascending ones are evaluated without a search. A look-up checks all sites
 * before it writes; of at most 2^22 sites of a non-uniform partition it keeps the cells meanwhile, 8 bytes each, where
 * there is memory, of more it searches twice.
 * Status, in the order of the checks: kDfErrorNullTask; 0 when nsite < 1; kDfErrorFunctionIndex;
 * kDfErrorNullSites; kDfErrorSiteHint; kDfErrorNullResult; kDfErrorResultHint; kDfErrorOrder; kDfErrorType;
 * kDfErrorNullInternal (breaks); kDfErrorNullValues or kDfErrorNullCoefficients of this function; those of the
 * look-up; a negative status of
 * a callback, when some results may have been written. */
#define OZK_DF_INTERPOLATE_DECLARE(p, T)                                                                   \
    OZK_EXPORT int ozk_df_kernel_##p##DFInterpolate1D(                                                     \
        const DfTask* task, const OzkThreading* threading, int64_t function, int64_t nsite, const T* site, \
        int64_t site_hint, const int64_t* cell, int64_t norder, const int64_t* order, T* result,           \
        int64_t stride, int64_t result_hint, const Df##p##Callbacks* callbacks);

OZK_DF_INTERPOLATE_DECLARE(s, float)
OZK_DF_INTERPOLATE_DECLARE(d, double)

/* ---- Integration ------------------------------------------------------------------------------------ */

/* Gives npair integrals from left[i] to right[i] > left[i], each outside the partition, in place of the end
 * polynomials. Returns a negative status to stop. */
typedef int (*DfsIntegralCallback)(int64_t npair, const float* left, const float* right, float* result,
                                   void* parameters);
typedef int (*DfdIntegralCallback)(int64_t npair, const double* left, const double* right, double* result,
                                   void* parameters);
typedef struct DfsIntegralCallbacks {
    DfsIntegralCallback left;
    void* left_parameters;
    DfsIntegralCallback right;
    void* right_parameters;
} DfsIntegralCallbacks;
typedef struct DfdIntegralCallbacks {
    DfdIntegralCallback left;
    void* left_parameters;
    DfdIntegralCallback right;
    void* right_parameters;
} DfdIntegralCallbacks;

/* result[i] = integral of one function of the task from left[i] to right[i], npair of each; minus the
 * integral from right[i] to left[i] when left[i] > right[i], NaN when a limit is. Outside the partition the
 * end polynomials go on (the end values of step functions), or the callbacks (null, or with null members)
 * give that part. The kind is chosen as for interpolation; there is no integral of a look-up. Sums are kept
 * in double precision with compensation. For more than four pairs sums over the whole cells are tabulated:
 * work memory 8 (nx + 1) bytes. Pairs are split over the threads unless there are callbacks; no result
 * depends on the number of threads. Status, in the order of the checks: kDfErrorNullTask; 0 when npair < 1;
 * kDfErrorFunctionIndex; kDfErrorNullSites; kDfErrorNullResult; kDfErrorOrder; kDfErrorType;
 * kDfErrorNullInternal (breaks); kDfErrorNullValues or kDfErrorNullCoefficients of this function;
 * kDfErrorMemory; a negative status of a callback, when some results may have been written. */
#define OZK_DF_INTEGRATE_DECLARE(p, T)                                                                     \
    OZK_EXPORT int ozk_df_kernel_##p##DFIntegrate1D(                                                       \
        const DfTask* task, const OzkThreading* threading, int64_t function, int64_t npair, const T* left, \
        const T* right, T* result, const Df##p##IntegralCallbacks* callbacks);

OZK_DF_INTEGRATE_DECLARE(s, float)
OZK_DF_INTEGRATE_DECLARE(d, double)

#ifdef __cplusplus
}
#endif

#endif
