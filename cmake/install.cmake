# cmake --install build [--prefix DIRECTORY]: the libraries, which find each other by standing in one directory, the
# public headers, and what pkg-config and find_package(ozk) read. A program uses ozk::ozk, which is the core.
include(CMakePackageConfigHelpers)
set(OZK_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ozk)

set_target_properties(ozk_core PROPERTIES EXPORT_NAME ozk)
install(TARGETS ozk_core EXPORT ozkTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS ozk_vml_mc3 LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_SKIP)
install(FILES api/ozk.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY api/ozk ${OZK_GENERATED}/ozk DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

# The prefix as seen from the pkg-config file, so that an installed tree can be moved.
file(RELATIVE_PATH OZK_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/ozk.pc.in ${CMAKE_BINARY_DIR}/ozk.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/ozk.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

configure_package_config_file(cmake/ozkConfig.cmake.in ${CMAKE_BINARY_DIR}/ozkConfig.cmake
                              INSTALL_DESTINATION ${OZK_PACKAGE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/ozkConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/ozkConfig.cmake ${CMAKE_BINARY_DIR}/ozkConfigVersion.cmake
        DESTINATION ${OZK_PACKAGE_DIR})
install(EXPORT ozkTargets NAMESPACE ozk:: DESTINATION ${OZK_PACKAGE_DIR})
