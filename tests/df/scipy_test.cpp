// Splines and their derivatives against SciPy's.

#include <map>

#include "tests/df/support.hpp"

namespace ozk::df::test {
namespace {

enum class Kind { kNaturalCubic, kAkima, kBessel, kHermite, kHyman };

struct OracleCase {
    Kind kind;
    int64_t boundary;
    std::vector<double> y;
    std::vector<std::vector<double>> derivatives;  // of each site: value and three derivatives
};

#include "tests/df/scipy_oracle.inc"

template <class T>
class SplineOracle : public ::testing::Test {};
TYPED_TEST_SUITE(SplineOracle, Precisions);

template <class T>
int construct(Kind kind, Task<T>& task, int64_t boundary, const T* ends) {
    switch (kind) {
        case Kind::kNaturalCubic:
            task.describe(kDfOrderCubic, kDfTypeNatural, boundary, ends);
            return Df<T>::natural_cubic(task.handle, nullptr, nullptr);
        case Kind::kAkima:
            task.describe(kDfOrderCubic, kDfTypeAkima, boundary, ends);
            return Df<T>::akima_cubic(task.handle, nullptr, nullptr);
        case Kind::kBessel:
            task.describe(kDfOrderCubic, kDfTypeBessel, boundary, ends);
            return Df<T>::bessel_cubic(task.handle, nullptr, nullptr);
        case Kind::kHyman:
            task.describe(kDfOrderCubic, kDfTypeHyman, boundary, ends);
            return Df<T>::hyman_cubic(task.handle, nullptr, nullptr);
        case Kind::kHermite:  // the values serve as slopes
            task.describe(kDfOrderCubic, kDfTypeHermite, boundary, ends, kDfInternalFirst,
                          static_cast<const T*>(task.handle->y[0]) + 1);
            return Df<T>::hermite_cubic(task.handle, nullptr, nullptr);
    }
    return -1;
}

// SciPy computes in double precision; rounding the data to single moves values by 2^-24 and derivative k by
// that over the shortest cell to the k.
TYPED_TEST(SplineOracle, AgreesWithSciPy) {
    using T = TypeParam;
    const std::vector<T> x(kOracleKnots.begin(), kOracleKnots.end()),
        t(kOracleSites.begin(), kOracleSites.end());
    const T ends[2] = {static_cast<T>(kOracleEnds[0]), static_cast<T>(kOracleEnds[1])};
    double shortest = 1;
    for (size_t i = 1; i < x.size(); ++i) shortest = std::min<double>(shortest, x[i] - x[i - 1]);
    for (const OracleCase& c : kOracleCases) {
        const std::vector<T> y(c.y.begin(), c.y.end());
        Task<T> task(static_cast<int64_t>(x.size()), x, kDfPartitionNonUniform, 1, y);
        ASSERT_EQ(kDfOk, construct(c.kind, task, c.boundary, ends));
        const std::vector<T> s = task.evaluate(0, t, {1, 1, 1, 1});
        for (size_t i = 0; i < t.size(); ++i) {
            for (size_t k = 0; k < 4; ++k) {
                if (k == 3 && std::count(x.begin(), x.end(), t[i])) continue;  // it jumps there
                const double tolerance =
                    50 * static_cast<double>(kEpsilon<T>) * std::pow(shortest, -static_cast<double>(k));
                EXPECT_NEAR(c.derivatives[i][k], s[4 * i + k], tolerance)
                    << "kind " << static_cast<int>(c.kind) << ", code " << c.boundary << ", derivative " << k
                    << ", site " << t[i];
            }
        }
    }
}

}  // namespace
}  // namespace ozk::df::test
