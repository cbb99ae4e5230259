# Each examples/<name>.cpp is a program; it uses the application interface and nothing else.
file(GLOB OZK_EXAMPLES CONFIGURE_DEPENDS examples/*.cpp)
foreach(source ${OZK_EXAMPLES})
  get_filename_component(name ${source} NAME_WE)
  add_executable(${name} ${source})
  target_link_libraries(${name} PRIVATE ozk_core)
  target_compile_options(${name} PRIVATE -Wall -Wextra -Werror)
  add_dependencies(${name} ozk_vml_mc3)
endforeach()
