# SPDX-License-Identifier: Apache-2.0
# drav_add_python_test(<name> <source> [<argument>...]
#                      [ENVIRONMENT <name=value>...] [PROPERTIES <property> <value>...])
# A test program in Python. Each finds the programs under test, the driver files and
# the modules of tests/e2e in its environment, may take 300 seconds, and ends with
# status 77 where it cannot run on this machine. They take longest, some of it waiting,
# so they start first (COST).
find_package(Python3 REQUIRED COMPONENTS Interpreter)

set(DRAV_PYTHON_ENVIRONMENT
    DRAV_FILTER=$<TARGET_FILE:rastertodrav>
    DRAV_TOOL=$<TARGET_FILE:drav>
    DRAV_MODEL_STREAM=$<TARGET_FILE:model_stream>
    DRAV_PPDS=${PROJECT_BINARY_DIR}/ppd
    DRAV_PPD=${PROJECT_BINARY_DIR}/ppd/dravsa43.ppd
    PYTHONPATH=${PROJECT_SOURCE_DIR}/tests/e2e
    PYTHONDONTWRITEBYTECODE=1)
if(DRAV_SANITIZE)
  list(APPEND DRAV_PYTHON_ENVIRONMENT DRAV_SANITIZED=1)
endif()
if(CMAKE_CXX_FLAGS MATCHES "-stdlib=libc\\+\\+")
  list(APPEND DRAV_PYTHON_ENVIRONMENT DRAV_LIBCXX=1)
endif()
if(CMAKE_BUILD_TYPE STREQUAL "Debug")
  list(APPEND DRAV_PYTHON_ENVIRONMENT DRAV_UNOPTIMISED=1)
endif()

function(drav_add_python_test name source)
  cmake_parse_arguments(PARSE_ARGV 2 test "" "" "ENVIRONMENT;PROPERTIES")
  add_test(NAME ${name}
           COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/${source}
                   ${test_UNPARSED_ARGUMENTS})
  set_tests_properties(${name} PROPERTIES
    ENVIRONMENT "${DRAV_PYTHON_ENVIRONMENT};${test_ENVIRONMENT}"
    SKIP_RETURN_CODE 77
    TIMEOUT 300
    COST 100
    ${test_PROPERTIES})
endfunction()
