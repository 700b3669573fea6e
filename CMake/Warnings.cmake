# The one list of warnings, for our own code only.
add_library(nocta_warnings INTERFACE)
target_compile_options(nocta_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wold-style-cast -Wnon-virtual-dtor
  -Woverloaded-virtual -Wcast-align -Wcast-qual -Wunused -Wdouble-promotion -Wformat=2
  -Wimplicit-fallthrough -Wextra-semi
  $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local -Wduplicated-cond -Wlogical-op -Wuseless-cast -Wduplicated-branches>
  $<$<CXX_COMPILER_ID:Clang>:-Wshadow>
  $<$<BOOL:${NOCTA_WARNINGS_AS_ERRORS}>:-Werror>)
