#include <algorithm>
#include <vector>

#include "api/status.hpp"
#include "api/team.hpp"
#include "ozk_core.h"

using namespace ozk::api;

ozk_status ozk_d_cholesky(int64_t n, const double* a, double* l) {
    return guarded(kOzkLinearAlgebra, "ozk_d_cholesky", [&] {
        require(n >= 1 && n < (int64_t{1} << 30), kOzkCodeSize,
                "The matrix is empty or too large: pass rows of at least 1.");
        require(a != nullptr && l != nullptr, kOzkCodeNull, "A matrix is null: pass both.");
        // Rows here are the columns of LAPACK, so that the lower triangle is its upper one, and a = U' U.
        std::vector<double> factor(static_cast<size_t>(n * n));
        for (int64_t i = 0; i < n; ++i) std::copy_n(a + i * n, i + 1, factor.data() + i * n);
        int64_t info = 0;
        const TeamScope team;
        ozk_lapack_dpotrf("U", &n, factor.data(), &n, &info, 1);
        if (info > 0) {
            throw Failure{
                static_cast<int32_t>(-info),
                "The leading matrix of order " + std::to_string(info) +
                    " is not positive definite: add to the diagonal, or leave dependent components out."};
        }
        std::copy(factor.begin(), factor.end(), l);
    });
}
