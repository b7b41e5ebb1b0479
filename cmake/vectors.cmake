# SPDX-License-Identifier: Apache-2.0
# Google Highway: one source for all vector targets. Its headers are all that is
# used; the choice at run time is ours (simd/variants.h).
find_path(DRAV_HIGHWAY_INCLUDE_DIR hwy/highway.h REQUIRED)
add_library(drav_vectors INTERFACE)
target_include_directories(drav_vectors SYSTEM INTERFACE ${DRAV_HIGHWAY_INCLUDE_DIR})
