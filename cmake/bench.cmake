# Error in ulp against MPFR (tools/accuracy/) and speed against peers (bench/).
find_package(fmt REQUIRED)
find_package(Threads REQUIRED)

# The engine that both programs share: exact values, arguments, the measure, tables.
file(GLOB OZK_ACCURACY_SOURCES CONFIGURE_DEPENDS tools/accuracy/*.cpp)
list(FILTER OZK_ACCURACY_SOURCES EXCLUDE REGEX "/(main|find_hard)\\.cpp$")
add_library(ozk_measures STATIC ${OZK_ACCURACY_SOURCES})
target_link_libraries(ozk_measures PUBLIC ozk_options fmt::fmt mpfr gmp Threads::Threads ${CMAKE_DL_LIBS})
target_compile_definitions(ozk_measures PRIVATE OZK_KERNEL_LIBRARY="$<TARGET_FILE:ozk_vml_mc3>"
                           PUBLIC OZK_HARD_CASES="${PROJECT_SOURCE_DIR}/tools/accuracy/hard")
add_dependencies(ozk_measures ozk_vml_mc3)

add_executable(ozk_accuracy tools/accuracy/main.cpp)
target_link_libraries(ozk_accuracy PRIVATE ozk_measures)
add_executable(ozk_find_hard tools/accuracy/find_hard.cpp)   # writes tools/accuracy/hard/*.txt
target_link_libraries(ozk_find_hard PRIVATE ozk_measures)

# The peers are compiled like everything here: SSE4.2, no wider vectors, no fast-math.
find_package(Eigen3 REQUIRED NO_MODULE)
find_library(OZK_SLEEF sleef REQUIRED)
find_library(OZK_HWY hwy REQUIRED)
find_library(OZK_HWY_SORT hwy_contrib REQUIRED)
find_library(OZK_GSL gsl REQUIRED)
find_library(OZK_GSL_CBLAS gslcblas REQUIRED)
find_library(OZK_ALGLIB alglib REQUIRED)
find_path(OZK_ALGLIB_HEADERS interpolation.h PATH_SUFFIXES libalglib REQUIRED)
file(GLOB OZK_BENCH_SOURCES CONFIGURE_DEPENDS bench/*.cpp)
add_executable(ozk_bench ${OZK_BENCH_SOURCES})
target_link_libraries(ozk_bench PRIVATE ozk_measures ozk_core Eigen3::Eigen ${OZK_SLEEF} ${OZK_HWY_SORT} ${OZK_HWY} ${OZK_GSL} ${OZK_GSL_CBLAS} ${OZK_ALGLIB} mvec)
target_include_directories(ozk_bench SYSTEM PRIVATE ${OZK_ALGLIB_HEADERS})

# How much of the catalogue is built.
add_executable(ozk_status tools/status.cpp)
target_link_libraries(ozk_status PRIVATE ozk_options fmt::fmt ${CMAKE_DL_LIBS})
target_compile_definitions(ozk_status PRIVATE OZK_KERNEL_LIBRARY="$<TARGET_FILE:ozk_vml_mc3>")
add_dependencies(ozk_status ozk_vml_mc3)

# Numbers of any generator on standard output, for test batteries.
find_package(CLI11 REQUIRED)
add_executable(ozk_random tools/random/ozk_random.cpp)
set_target_properties(ozk_random PROPERTIES OUTPUT_NAME ozk-random)
target_link_libraries(ozk_random PRIVATE ozk_options ozk_core CLI11::CLI11)
add_dependencies(ozk_random ozk_vml_mc3)

# The pictures of docs/random.md.
add_executable(ozk_distribution_pictures tools/pictures/distributions.cpp)
target_link_libraries(ozk_distribution_pictures PRIVATE ozk_options ozk_core fmt::fmt)
add_dependencies(ozk_distribution_pictures ozk_vml_mc3)
