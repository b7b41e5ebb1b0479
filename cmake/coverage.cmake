# SPDX-License-Identifier: Apache-2.0
# DRAV_COVERAGE=ON (preset coverage) counts what runs; scripts/coverage reads the counts.
# Tests run several programs at a time: the counts are atomic.
option(DRAV_COVERAGE "Count the lines and branches that run (gcc)" OFF)
if(DRAV_COVERAGE)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    message(FATAL_ERROR "Coverage needs gcc")
  endif()
  add_compile_options(--coverage -fprofile-abs-path -fprofile-update=atomic)
  add_link_options(--coverage)
endif()
