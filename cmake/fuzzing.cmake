# SPDX-License-Identifier: Apache-2.0
# DRAV_FUZZ=ON (preset fuzz) makes the fuzzers of tests/fuzz; their engine is
# clang's libFuzzer, so the whole build must be instrumented for it:
# DRAV_SANITIZE=fuzzer-no-link,address,undefined.
option(DRAV_FUZZ "Build the fuzzers (clang)" OFF)
if(DRAV_FUZZ AND NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  message(FATAL_ERROR "The fuzzers need clang")
endif()
if(DRAV_FUZZ)
  add_compile_options(-fsanitize-coverage-ignorelist=${CMAKE_CURRENT_LIST_DIR}/fuzz_ignored.txt)
endif()
