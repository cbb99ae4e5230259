# libozk_vml_mc3.so.2: every kernel. Loaded by the core by name; needs nothing but the core and the C++ runtime.
file(GLOB_RECURSE OZK_KERNEL_SOURCES CONFIGURE_DEPENDS vml/*.cpp vsl/*.cpp df/*.cpp primitives/*.cpp)
add_library(ozk_vml_mc3 SHARED ${OZK_KERNEL_SOURCES})
set_target_properties(ozk_vml_mc3 PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
                      BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "$ORIGIN")
target_compile_options(ozk_vml_mc3 PRIVATE -fno-exceptions -fno-rtti -ftls-model=initial-exec)
target_link_libraries(ozk_vml_mc3 PRIVATE ozk_options ozk_core)
target_link_options(ozk_vml_mc3 PRIVATE -Wl,-Bsymbolic -Wl,--no-undefined)
# These kernels interleave independent vectors in their source. GCC would move an operation to where its only result is
# used, and the chains apart again: that costs them 3 to 15 percent.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  set_source_files_properties(vml/kernels/exp.cpp vml/kernels/exp_single.cpp vml/kernels/inv_sqrt.cpp vml/kernels/ln.cpp
                              vml/kernels/ln_single.cpp vml/kernels/log.cpp vml/kernels/log1p.cpp PROPERTIES COMPILE_OPTIONS -fno-tree-ter)
endif()
