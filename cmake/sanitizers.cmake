# SPDX-License-Identifier: Apache-2.0
# DRAV_SANITIZE=address,undefined builds everything, the test framework
# included, with these sanitizers; any finding ends the program.
if(DRAV_SANITIZE)
  add_compile_options(-fsanitize=${DRAV_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${DRAV_SANITIZE})
endif()

# Sources that are compiled once for every vector target. Their checks go by trap and
# by call there: in line they make such functions so long that one file takes the
# compiler minutes.
function(drav_short_checks)
  if(DRAV_SANITIZE MATCHES "undefined" AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS
      "-fsanitize-trap=undefined,float-cast-overflow;-fno-inline-functions;-mllvm;-asan-instrumentation-with-call-threshold=0")
  endif()
endfunction()
