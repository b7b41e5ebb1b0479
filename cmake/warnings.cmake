# SPDX-License-Identifier: Apache-2.0
# Warnings that every target of ours is built with, on gcc and clang alike.
add_library(drav_warnings INTERFACE)
target_compile_options(drav_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wformat=2
  -Wcast-qual -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual
  -Wdouble-promotion -Wundef)
if(DRAV_WARNINGS_AS_ERRORS)
  target_compile_options(drav_warnings INTERFACE -Werror)
endif()
