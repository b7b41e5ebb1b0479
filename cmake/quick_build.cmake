# SPDX-License-Identifier: Apache-2.0
# Shorter builds from nothing. The presets dev, clang-libcxx and tidy switch both options
# off, and show that every source includes what it uses.
#
# DRAV_QUICK_TESTS leaves what ships as it is: the test framework's header is compiled
# once a program, and the unit tests' own code is optimized little.
option(DRAV_QUICK_TESTS "Compile the tests quickly" OFF)
# DRAV_JOIN_SOURCES compiles sources that spend their time on one large header as one, also
# in what ships.
option(DRAV_JOIN_SOURCES "Compile some sources of the product as one" ON)

# The sources of a target that are compiled as one.
function(drav_join_sources target group)
  if(DRAV_JOIN_SOURCES)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
    set_source_files_properties(${ARGN} PROPERTIES UNITY_GROUP ${group})
  endif()
endfunction()

# A program of unit tests, the header of the test framework that they include, and how
# far their own code is optimized: -O1 where they compute much, else -O0.
function(drav_quick_tests target header level)
  if(DRAV_QUICK_TESTS)
    target_precompile_headers(${target} PRIVATE <${header}>)
    target_compile_options(${target} PRIVATE ${level})
  endif()
endfunction()
