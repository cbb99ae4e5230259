# One test program for each mirrored folder: tests/vml -> test_vml, tests/vsl/streams -> test_vsl_streams.
find_package(GTest REQUIRED)
include(GoogleTest)

# ozk_tests(folder [libraries...])
function(ozk_tests folder)
  file(GLOB sources CONFIGURE_DEPENDS tests/${folder}/*.cpp)
  if(NOT sources)
    return()
  endif()
  string(REPLACE "/" "_" name test_${folder})
  add_executable(${name} ${sources})
  target_link_libraries(${name} PRIVATE ozk_options ozk_core ozk_vml_mc3 GTest::gtest GTest::gtest_main ${ARGN})
  target_compile_definitions(${name} PRIVATE OZK_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
                             OZK_BINARY_DIR="${CMAKE_BINARY_DIR}"
                             OZK_KERNEL_LIBRARY="$<TARGET_FILE:ozk_vml_mc3>"
                             OZK_CORE_LIBRARY="$<TARGET_FILE:ozk_core>")
  gtest_discover_tests(${name} TEST_PREFIX "${folder}." DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()

ozk_tests(simd)
ozk_tests(vml mpfr gmp)
ozk_tests(vsl/streams)
ozk_tests(vsl/distributions)
ozk_tests(vsl/stats)
ozk_tests(df)
ozk_tests(primitives)
ozk_tests(core)
include(${PROJECT_SOURCE_DIR}/tests/core/fixtures.cmake)
ozk_tests(api)
ozk_tests(examples)
