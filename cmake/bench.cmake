# Speed against peers (bench/) and error in ulp against MPFR (tools/accuracy/).

# The radix sorts beside other sorts, on Google Benchmark.
find_package(benchmark REQUIRED)
find_library(OZK_HWY_SORT hwy_contrib REQUIRED)
find_library(OZK_HWY hwy REQUIRED)
add_executable(ozk_bench_sort bench/sort/main.cpp)
target_link_libraries(ozk_bench_sort PRIVATE ozk_options ozk_core ozk_vml_mc3 benchmark::benchmark ${OZK_HWY_SORT}
                      ${OZK_HWY})
