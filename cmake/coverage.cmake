# SPDX-License-Identifier: Apache-2.0
# DRAV_COVERAGE=ON (preset coverage) counts what runs, with clang's source-based
# coverage. The counts go to files whose names are built in: tests run the programs
# with environments of their own. %4m: at most four files for each program.
option(DRAV_COVERAGE "Count the lines and branches that run (clang)" OFF)
if(DRAV_COVERAGE)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "Coverage needs clang")
  endif()
  add_compile_options(-fcoverage-mapping
                      -fprofile-instr-generate=${PROJECT_BINARY_DIR}/profiles/%4m.profraw)
  add_link_options(-fprofile-instr-generate)
endif()

# drav_count_vector_copies(<source>...): Highway's <hwy/foreach_target.h> includes a
# vector source once for each processor. What a system header includes is a system
# header to clang, whose lines it does not count: without this the copy that is
# compiled last, which no processor runs, would be the only one.
function(drav_count_vector_copies)
  if(DRAV_COVERAGE)
    set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS --no-system-header-prefix=hwy/)
  endif()
endfunction()
