# Address and undefined-behaviour checks of everything that is built; the first finding ends the program.
if(NOCTA_SANITIZE)
  add_compile_definitions(NOCTA_SANITIZED)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
