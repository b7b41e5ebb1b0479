# SPDX-License-Identifier: Apache-2.0
# Gives a test program allocations that fail on demand and are counted
# (failing_allocations.h), where the linker can wrap symbols. Elsewhere the tests
# that need it skip themselves.
function(drav_wrap_allocations target)
  if(NOT CMAKE_SYSTEM_NAME STREQUAL "Linux")
    return()
  endif()
  target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/failing_allocations.cc)
  target_compile_definitions(${target} PRIVATE DRAV_TEST_WRAPS_ALLOCATIONS=1)
  target_link_options(${target} PRIVATE
    -Wl,--wrap=malloc -Wl,--wrap=calloc -Wl,--wrap=posix_memalign -Wl,--wrap=free)
endfunction()
