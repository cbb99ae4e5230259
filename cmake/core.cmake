# libozk_core.so.2: services, messages, threading, dense linear algebra, the loader, and the application
# interface. OpenBLAS with 64-bit integers is linked statically and hidden, so that a program that loads
# another BLAS keeps both.
find_package(OpenMP REQUIRED)
find_library(OZK_OPENBLAS64 NAMES libopenblas64.a
             PATHS /usr/lib/x86_64-linux-gnu/openblas64-openmp REQUIRED)

file(GLOB OZK_CORE_SOURCES CONFIGURE_DEPENDS core/*.cpp api/*.cpp)
add_library(ozk_core SHARED ${OZK_CORE_SOURCES})
set_target_properties(ozk_core PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
                      BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "$ORIGIN")
target_link_libraries(ozk_core PRIVATE ozk_options ${OZK_OPENBLAS64} OpenMP::OpenMP_CXX gfortran
                      ${CMAKE_DL_LIBS})
target_link_options(ozk_core PRIVATE -Wl,--exclude-libs,ALL -Wl,--no-undefined
                    -Wl,--version-script=${PROJECT_SOURCE_DIR}/core/exports.map)
set_target_properties(ozk_core PROPERTIES LINK_DEPENDS ${PROJECT_SOURCE_DIR}/core/exports.map)
# The loader must still run where the kernels cannot, to say so.
set_source_files_properties(core/loader.cpp PROPERTIES COMPILE_OPTIONS "-mno-sse3;-mno-popcnt")
target_include_directories(ozk_core INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/api>
                           $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_compile_features(ozk_core INTERFACE cxx_std_20)
