# libozk_vml_mc3.so.2: every kernel. Loaded by the core by name; needs nothing but the core and the C++ runtime.
file(GLOB_RECURSE OZK_KERNEL_SOURCES CONFIGURE_DEPENDS vml/*.cpp vsl/*.cpp df/*.cpp primitives/*.cpp)
add_library(ozk_vml_mc3 SHARED ${OZK_KERNEL_SOURCES})
set_target_properties(ozk_vml_mc3 PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
                      BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "$ORIGIN")
target_compile_options(ozk_vml_mc3 PRIVATE -fno-exceptions -fno-rtti -ftls-model=initial-exec)
target_link_libraries(ozk_vml_mc3 PRIVATE ozk_options ozk_core)
target_link_options(ozk_vml_mc3 PRIVATE -Wl,-Bsymbolic -Wl,--no-undefined)
