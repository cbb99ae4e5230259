# What the tests of the core need beside their sources: the loader, which the core does not export, and libraries
# that carry the kernel library's name but are not it.
target_sources(test_core PRIVATE ${PROJECT_SOURCE_DIR}/core/loader.cpp)
target_link_libraries(test_core PRIVATE OpenMP::OpenMP_CXX ${CMAKE_DL_LIBS})
# Lets the BLAS routines that the test program defines take part in symbol resolution.
set_target_properties(test_core PROPERTIES ENABLE_EXPORTS ON)

set(OZK_FIXTURES ${CMAKE_BINARY_DIR}/fixtures)
# ozk_fake_kernels(folder version) - no version: no dll_cpu_version either
function(ozk_fake_kernels folder)
  add_library(fake_kernels_${folder} MODULE ${PROJECT_SOURCE_DIR}/tests/core/fixtures/fake_kernels.cpp)
  target_link_libraries(fake_kernels_${folder} PRIVATE ozk_options)
  set_target_properties(fake_kernels_${folder} PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${OZK_FIXTURES}/${folder}
                        PREFIX "" OUTPUT_NAME libozk_vml_mc3.so SUFFIX .2)
  if(ARGN)
    target_compile_definitions(fake_kernels_${folder} PRIVATE FAKE_CPU_VERSION=${ARGN})
  endif()
  add_dependencies(test_core fake_kernels_${folder})
endfunction()
ozk_fake_kernels(other_path 7)
ozk_fake_kernels(no_version)

target_compile_definitions(test_core PRIVATE OZK_FIXTURES="${OZK_FIXTURES}" OZK_CXX="${CMAKE_CXX_COMPILER}"
                           OZK_NM="${CMAKE_NM}")
