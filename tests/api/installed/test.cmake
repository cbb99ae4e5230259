# Installs into a fresh prefix, moves it, and builds and runs a user's programs against it: with the flags of
# pkg-config, with find_package, and in C. Run as
#   cmake -DBUILD=<build directory> -DWORK=<scratch> -DCXX=<compiler> -DCC=<compiler> -DFLAGS=<flags> -DGENERATOR=<of CMake> -P test.cmake
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})

# run(variable command...): the command's standard output; its failure ends the test.
function(run variable)
  execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE output OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  set(${variable} "${output}" PARENT_SCOPE)
endfunction()
function(expect what expected got)
  if(NOT got MATCHES "${expected}")
    message(FATAL_ERROR "${what}: expected ${expected}, got ${got}")
  endif()
endfunction()

run(ignored ${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/built)
file(RENAME ${WORK}/built ${WORK}/moved)
file(GLOB_RECURSE pc ${WORK}/moved/ozk.pc)
get_filename_component(pkgconfig ${pc} DIRECTORY)
get_filename_component(libraries ${pkgconfig} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pkgconfig})
set(numbers "1\\.000000000000000 2\\.718281828459045")

run(flags pkg-config --cflags --libs ozk)
separate_arguments(flags UNIX_COMMAND "${FLAGS} ${flags}")
set(ENV{LD_LIBRARY_PATH} ${libraries})
run(ignored ${CXX} -std=c++20 -Wall -Wextra -Wshadow -Wconversion -Werror ${CMAKE_CURRENT_LIST_DIR}/five_lines.cpp
    -o ${WORK}/five_lines ${flags})
run(output ${WORK}/five_lines)
expect("pkg-config" "^${numbers}$" "${output}")

run(ignored ${CC} -std=c11 -Wall -Wextra -pedantic -Werror ${CMAKE_CURRENT_LIST_DIR}/c11.c -o ${WORK}/c11 ${flags})
run(output ${WORK}/c11)
expect("C11" "^0 ${numbers} 1$" "${output}")
run(ignored ${CXX} -x c++ -std=c++20 -Wall -Wextra -Werror ${CMAKE_CURRENT_LIST_DIR}/c11.c -o ${WORK}/cxx ${flags})
run(output ${WORK}/cxx)
expect("the C interface in C++" "^0 ${numbers} 1$" "${output}")

# The core alone says what is missing and what to do.
run(ignored ${CXX} -std=c++20 ${CMAKE_CURRENT_LIST_DIR}/missing_kernels.cpp -o ${WORK}/missing_kernels ${flags})
file(MAKE_DIRECTORY ${WORK}/alone)
file(COPY ${libraries}/libozk_core.so.2 DESTINATION ${WORK}/alone FOLLOW_SYMLINK_CHAIN)
set(ENV{LD_LIBRARY_PATH} ${WORK}/alone)
run(output ${WORK}/missing_kernels)
set(sentence "cannot load the kernel library [^\n]*/alone/libozk_vml_mc3[^\n]*: install libozk_vml_mc3")
expect("a vector function without kernels" "^1 -90005 ozk_d_exp: ${sentence}" "${output}")
expect("a stream without kernels" "\n2 -90005 ozk_stream_new: ${sentence}" "${output}")

unset(ENV{LD_LIBRARY_PATH})
run(ignored ${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR} -B ${WORK}/project -G ${GENERATOR} -DCMAKE_PREFIX_PATH=${WORK}/moved
    -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_CXX_FLAGS=${FLAGS})
run(ignored ${CMAKE_COMMAND} --build ${WORK}/project)
run(output ${WORK}/project/five_lines)
expect("find_package" "^${numbers}$" "${output}")
