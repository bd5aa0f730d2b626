# The warnings that the code is held to, with either compiler.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Woverloaded-virtual -Wnon-virtual-dtor)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  add_compile_options(-Wthread-safety)
endif()
if(LIBCONFIG_WERROR)
  add_compile_options(-Werror)
endif()
