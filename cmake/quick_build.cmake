# SPDX-License-Identifier: Apache-2.0
# Shorter builds from nothing: most of a source's time goes into the headers that it
# includes, so sources of one kind are compiled as one. The presets dev, clang-libcxx and
# tidy switch both options off, and show that every source includes what it uses.
option(DRAV_JOIN_SOURCES "Compile sources of one kind together, also in what ships" ON)
option(DRAV_QUICK_TESTS "Compile the unit tests together, and optimize their code little" OFF)

# The sources of a target that are compiled as one.
function(drav_join_sources target group)
  if(DRAV_JOIN_SOURCES)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
    set_source_files_properties(${ARGN} PROPERTIES UNITY_GROUP ${group})
  endif()
endfunction()

# All sources of a target as one.
function(drav_join_all target)
  if(DRAV_JOIN_SOURCES)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 0)
  endif()
endfunction()

# drav_join_folders(<target> [<folder>...]): the sources of these folders that are in no
# group yet become one; without folders, those of each folder that is left.
function(drav_join_folders target)
  list(JOIN ARGN _ together)
  get_target_property(sources ${target} SOURCES)
  foreach(source IN LISTS sources)
    get_source_file_property(group ${source} UNITY_GROUP)
    if(group OR NOT source MATCHES "^([a-z_]+)/.*[.]cc$")
      continue()
    endif()
    if(NOT together)
      drav_join_sources(${target} ${CMAKE_MATCH_1} ${source})
    elseif(CMAKE_MATCH_1 IN_LIST ARGN)
      drav_join_sources(${target} ${together} ${source})
    endif()
  endforeach()
endfunction()

# Product code that the tests under the sanitizers run little: the checks take the compiler
# longest when it optimizes them.
function(drav_quick_sanitizers target)
  if(DRAV_QUICK_TESTS AND DRAV_SANITIZE)
    target_compile_options(${target} PRIVATE -O0)
  endif()
endfunction()

# A program of unit tests, and how far their own code is optimized: -O1 where they
# compute much, else -O0. Undefined behaviour is looked for in the product.
function(drav_quick_tests target level)
  if(DRAV_QUICK_TESTS)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 8)
    target_compile_options(${target} PRIVATE ${level})
    if(DRAV_SANITIZE MATCHES "undefined")
      target_compile_options(${target} PRIVATE -fno-sanitize=undefined,float-cast-overflow)
    endif()
  endif()
endfunction()
