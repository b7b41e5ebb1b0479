# SPDX-License-Identifier: Apache-2.0
# drav_add_unit_tests(<target> [<argument>...] [PROPERTIES <property> <value>...])
# A GoogleTest program, run once with all its tests: hundreds of processes that each load
# the libraries and the sanitizers again would take longer than what they test. They
# start first, with the Python programs (COST).
function(drav_add_unit_tests target)
  cmake_parse_arguments(PARSE_ARGV 1 test "" "" "PROPERTIES")
  add_test(NAME ${target} COMMAND ${target} ${test_UNPARSED_ARGUMENTS})
  set_tests_properties(${target} PROPERTIES TIMEOUT 300 COST 100 ${test_PROPERTIES})
endfunction()
