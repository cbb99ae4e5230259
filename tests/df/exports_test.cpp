// Every name that data fitting promises can be resolved in the kernel library.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ozk::df::test {
namespace {

std::vector<std::string> promised_names() {
    std::vector<std::string> names{"ozk_df_kernel_DeleteTask", "ozk_df_kernel_iEditVal",
                                   "ozk_df_kernel_iQueryVal"};
    for (const std::string p : {"s", "d"}) {
        const std::string prefix = "ozk_df_kernel_" + p;
        for (const char* name : {"NewTask1D", "EditPtr", "EditIdxPtr", "QueryPtr", "QueryIdxPtr",
                                 "EditPPSpline1D", "DFSearch1D", "DFInterpolate1D", "DFIntegrate1D"})
            names.push_back(prefix + name);
        for (const char* kind : {"Linear", "Quadratic", "NaturalCubic", "DefaultCubic", "HermiteCubic",
                                 "BesselCubic", "HymanCubic", "AkimaCubic"})
            names.push_back(prefix + "DF" + kind + "Spline1D");
        for (const char* method :
             {"Sorted", "Uniform", "QuasiUniform", "Hybrid", "Peak", "UserDef", "UniUserDef"})
            for (const char* form : {"32", "64", "64Pack", ""})
                names.push_back(prefix + "DF" + method + "Search1D" + form);
        for (const char* kind : {"LinearSpline", "QuadraticSpline", "QuadSubbSpline", "CubicSpline",
                                 "ArbitrSpline", "StepRightSpline", "StepLeftSpline", "LookUpSpline"})
            for (const char* form : {"32", "64", "32CB", "64CB"})
                names.push_back(prefix + "_" + kind + "Eval" + form);
        for (const char* routine : {"dttrfb", "dtsvb", "dttrsb"}) names.push_back(p + routine + "_4dfl");
        for (const char* routine : {"trmm", "ptrmm"}) names.push_back("ozk_blas4vml_" + p + routine);
    }
    return names;
}

TEST(DataFittingExports, AreAllInTheKernelLibrary) {
    void* library = dlopen(OZK_KERNEL_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(nullptr, library) << dlerror();
    for (const std::string& name : promised_names()) EXPECT_NE(nullptr, dlsym(library, name.c_str())) << name;
    EXPECT_EQ(nullptr, dlsym(library, "ozk_df_kernel_dNoSuchKernel"));
    dlclose(library);
}

}  // namespace
}  // namespace ozk::df::test
