# SPDX-License-Identifier: Apache-2.0
# Floating point is part of the printed picture: plain IEEE single and double in
# the written order. Contraction to fused multiply-add (which clang does on
# arm64 unasked) and every fast-math licence change bytes. docs/numerics.md has
# the reasons and the rows that prove it.
add_library(drav_numerics INTERFACE)
target_compile_options(drav_numerics INTERFACE -ffp-contract=off -fno-fast-math)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(i[3-6]86|x86)$")
  target_compile_options(drav_numerics INTERFACE -msse2 -mfpmath=sse)
endif()
