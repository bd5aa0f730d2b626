if(LIBCONFIG_COVERAGE)
  # Everything that has the library in it.
  add_link_options(-fprofile-instr-generate)
endif()

if(LIBCONFIG_SANITIZE)
  # With little optimization, as the checks that are added take the compiler three times as long
  # with more.
  add_compile_options(-fsanitize=${LIBCONFIG_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer -Og -g1)
  add_link_options(-fsanitize=${LIBCONFIG_SANITIZE})
  if(CMAKE_SYSTEM_PROCESSOR STREQUAL "ppc")
    add_library(target_sync8 OBJECT ${PROJECT_SOURCE_DIR}/cmake/target/sync8.cpp)
    link_libraries($<TARGET_OBJECTS:target_sync8> "-Wl,--no-as-needed,-latomic,--as-needed")
  endif()
endif()
