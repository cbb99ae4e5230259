# The installed tree as a user finds it, and the interface of the whole catalogue, built or not.
find_program(OZK_C_COMPILER NAMES cc gcc REQUIRED)
set(OZK_USER_FLAGS "")
if(OZK_SANITIZE)
  set(OZK_USER_FLAGS "-fsanitize=address,undefined")
endif()
add_test(NAME api.InstalledTree
         COMMAND ${CMAKE_COMMAND} -DBUILD=${CMAKE_BINARY_DIR} -DWORK=${CMAKE_BINARY_DIR}/installed
                 -DCXX=${CMAKE_CXX_COMPILER} -DCC=${OZK_C_COMPILER} -DFLAGS=${OZK_USER_FLAGS} -DGENERATOR=${CMAKE_GENERATOR}
                 -P ${PROJECT_SOURCE_DIR}/tests/api/installed/test.cmake)
set_tests_properties(api.InstalledTree PROPERTIES TIMEOUT 300)

# Rows that are not built have no kernels to link to, but their declarations, wrappers and definitions must compile.
add_library(api_whole_catalogue OBJECT ${PROJECT_SOURCE_DIR}/api/vector_math.cpp
                                       ${PROJECT_SOURCE_DIR}/tests/api/installed/five_lines.cpp)
target_link_libraries(api_whole_catalogue PRIVATE ozk_options ozk_core)
target_compile_definitions(api_whole_catalogue PRIVATE OZK_API_WHOLE_CATALOGUE)
