# SPDX-License-Identifier: Apache-2.0
# DRAV_QUICK_BUILD is for the builds of the gate, which start from nothing: sources that
# spend their time on one large header are compiled as one, the test framework's header
# is compiled once a program, and the unit tests' own code is optimized little. Builds
# without it show that every source includes what it uses.
option(DRAV_QUICK_BUILD "Shorten a build from nothing" OFF)

# The sources of a target that are compiled as one.
function(drav_join_sources target group)
  if(DRAV_QUICK_BUILD)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
    set_source_files_properties(${ARGN} PROPERTIES UNITY_GROUP ${group})
  endif()
endfunction()

# A program of unit tests, the header of the test framework that they include, and how
# far their own code is optimized: -O1 where they compute much, else -O0.
function(drav_quick_tests target header level)
  if(DRAV_QUICK_BUILD)
    target_precompile_headers(${target} PRIVATE <${header}>)
    target_compile_options(${target} PRIVATE ${level})
  endif()
endfunction()
