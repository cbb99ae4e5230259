// This program defines BLAS and LAPACK names of its own, as one that loads another BLAS has; they are
// exported, so that a core that left its own names open to the process would call these.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "matrices.hpp"

namespace {

int foreign_calls = 0;

}  // namespace

extern "C" {
#define OZK_FOREIGN(name)   \
    OZK_EXPORT void name(); \
    void name() { ++foreign_calls; }
OZK_FOREIGN(dgemm_)
OZK_FOREIGN(dtrmm_)
OZK_FOREIGN(dsyrk_)
OZK_FOREIGN(dpotrf_)
OZK_FOREIGN(lsame_)
OZK_FOREIGN(xerbla_)
OZK_FOREIGN(ilaenv_)
#undef OZK_FOREIGN
}

namespace {

using namespace ozk::test;

TEST(AnotherBlas, AndTheCoreEachKeepTheirOwn) {
    ASSERT_EQ(dlsym(RTLD_DEFAULT, "dgemm_"), reinterpret_cast<void*>(dgemm_))
        << "the program's names are not exported";
    foreign_calls = 0;
    const int64_t n = 150;
    const double one = 1, zero = 0;
    auto a = random_matrix<double>(n, n, 1);
    Matrix<double> c(n, n);
    const Exact expected = product(Exact(a), Exact(a));
    ozk_blas_dgemm("N", "N", &n, &n, &n, &one, a.data(), &n, a.data(), &n, &zero, c.data(), &n, 1, 1);
    EXPECT_TRUE(close(c, expected, n));
    for (int64_t i = 0; i < n; ++i) a.at(i, i) = double(n);
    int64_t info = -1;
    ozk_lapack_dpotrf("U", &n, a.data(), &n, &info, 1);
    EXPECT_EQ(info, 0);
    std::vector<double> w(static_cast<size_t>(n)), work(10000);
    const int64_t lwork = 10000, negative = -1;
    ozk_lapack_dsyev("V", "U", &n, a.data(), &n, w.data(), work.data(), &lwork, &info, 1, 1);
    EXPECT_EQ(info, 0);
    testing::internal::CaptureStderr();
    ozk_lapack_dpotri("U", &negative, a.data(), &n, &info, 1);
    EXPECT_EQ(info, -2);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("DPOTRI"), std::string::npos);
    EXPECT_EQ(foreign_calls, 0);
    dgemm_();
    EXPECT_EQ(foreign_calls, 1);
}

}  // namespace
