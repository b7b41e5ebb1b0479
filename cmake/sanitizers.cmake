# SPDX-License-Identifier: Apache-2.0
# DRAV_SANITIZE=address,undefined builds everything, the test framework
# included, with these sanitizers; any finding ends the program.
if(DRAV_SANITIZE)
  add_compile_options(-fsanitize=${DRAV_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${DRAV_SANITIZE})
endif()

# Sources that are compiled once for every vector target. Their checks of undefined
# behaviour trap: with messages they make such functions so long that one file takes the
# compiler minutes.
set(DRAV_SHORT_CHECKS "")
if(DRAV_SANITIZE MATCHES "undefined" AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  set(DRAV_SHORT_CHECKS -fsanitize-trap=undefined,float-cast-overflow -fno-inline-functions)
endif()
function(drav_short_checks)
  set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "${DRAV_SHORT_CHECKS}")
endfunction()
# The same where each source runs little: their checks of addresses are calls, which the
# compiler makes in less time. Checks of 32 bytes by call take most of a kernel's time.
function(drav_shortest_checks)
  set(options ${DRAV_SHORT_CHECKS})
  if(options)
    list(APPEND options -mllvm -asan-instrumentation-with-call-threshold=0)
  endif()
  set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "${options}")
endfunction()
