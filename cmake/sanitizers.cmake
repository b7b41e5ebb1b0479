# SPDX-License-Identifier: Apache-2.0
# DRAV_SANITIZE=address,undefined builds everything, the test framework
# included, with these sanitizers; any finding ends the program.
if(DRAV_SANITIZE)
  add_compile_options(-fsanitize=${DRAV_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${DRAV_SANITIZE})
endif()

# Sources that are compiled once for every vector target; none can be joined with another.
# Their checks of undefined behaviour trap, and leave addresses to the address sanitizer:
# with messages and three checks more at each address, such functions get so long that one
# file takes the compiler minutes. Without -O2 their inlined functions stay so long that
# compiling takes more than twice the time.
set(DRAV_SHORT_CHECKS "")
if(DRAV_SANITIZE MATCHES "undefined" AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  set(DRAV_SHORT_CHECKS -O2 -fsanitize-trap=undefined,float-cast-overflow -fno-inline-functions)
  if(DRAV_SANITIZE MATCHES "address")
    list(APPEND DRAV_SHORT_CHECKS -fno-sanitize=null,alignment,pointer-overflow)
  endif()
endif()
function(drav_vector_sources)
  set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "${DRAV_SHORT_CHECKS}"
                                                 SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()
# The same where they run little: checks of addresses by call take the compiler less time,
# and most of the time of a kernel that runs.
function(drav_vector_sources_that_run_little)
  drav_vector_sources(${ARGN})
  if(DRAV_SHORT_CHECKS)
    set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_OPTIONS
                 -mllvm -asan-instrumentation-with-call-threshold=0)
  endif()
endfunction()
