if(LIBCONFIG_SANITIZE)
  add_compile_options(-fsanitize=${LIBCONFIG_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer -g)
  add_link_options(-fsanitize=${LIBCONFIG_SANITIZE})
endif()
