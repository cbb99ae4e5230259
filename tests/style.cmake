# The sources are formatted, and the linter's few checks find nothing. Not under sanitizers: once is enough.
if(NOT OZK_SANITIZE)
  find_program(OZK_CLANG_FORMAT clang-format REQUIRED)
  find_program(OZK_RUN_CLANG_TIDY run-clang-tidy REQUIRED)
  file(GLOB_RECURSE OZK_FORMATTED CONFIGURE_DEPENDS
       include/*.h simd/*.hpp vml/*.?pp vsl/*.?pp df/*.?pp primitives/*.?pp core/*.?pp api/*.h api/*.?pp
       examples/*.?pp tests/*.?pp bench/*.?pp tools/*.?pp)
  add_test(NAME style.format COMMAND ${OZK_CLANG_FORMAT} --dry-run --Werror ${OZK_FORMATTED})
  add_test(NAME style.lint COMMAND ${OZK_RUN_CLANG_TIDY} -quiet -p ${CMAKE_BINARY_DIR} -extra-arg=-Wno-error
           "${PROJECT_SOURCE_DIR}/(vml|vsl|df|primitives|core|api)/.*\\.cpp")
  set_tests_properties(style.lint PROPERTIES TIMEOUT 600 PROCESSORS 4)
endif()
