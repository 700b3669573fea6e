# A library of what wayland-scanner makes of descriptions of protocols: headers NAME.h, and C.
function(nocta_wayland_protocols name)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/${name})
  file(MAKE_DIRECTORY ${folder})
  add_library(${name} STATIC)
  target_link_libraries(${name} PUBLIC PkgConfig::wayland-client)
  target_include_directories(${name} SYSTEM PUBLIC ${folder})
  foreach(description ${ARGN})
    cmake_path(GET description STEM protocol)
    add_custom_command(OUTPUT ${folder}/${protocol}.h ${folder}/${protocol}.c
      COMMAND ${WAYLAND_SCANNER} client-header ${description} ${folder}/${protocol}.h
      COMMAND ${WAYLAND_SCANNER} private-code ${description} ${folder}/${protocol}.c
      DEPENDS ${description} VERBATIM)
    target_sources(${name} PRIVATE ${folder}/${protocol}.c ${folder}/${protocol}.h)
  endforeach()
endfunction()
