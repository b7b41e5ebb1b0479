# SPDX-License-Identifier: Apache-2.0
# Hardening of what ships. The filter parses files of strangers as user lp.
include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported()

add_library(drav_hardening INTERFACE)
target_compile_options(drav_hardening INTERFACE -fstack-protector-strong)
# Indirect calls and returns go only where the compiler expects them: landing pads
# on x86, landing pads and signed return addresses on arm64.
set(DRAV_CONTROL_FLOW_OPTION)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i[3-6]86")
  check_cxx_compiler_flag(-fcf-protection DRAV_HAS_CF_PROTECTION)
  if(DRAV_HAS_CF_PROTECTION)
    set(DRAV_CONTROL_FLOW_OPTION -fcf-protection)
  endif()
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64" AND NOT APPLE)
  check_cxx_compiler_flag(-mbranch-protection=standard DRAV_HAS_BRANCH_PROTECTION)
  if(DRAV_HAS_BRANCH_PROTECTION)
    set(DRAV_CONTROL_FLOW_OPTION -mbranch-protection=standard)
  endif()
endif()
target_compile_options(drav_hardening INTERFACE ${DRAV_CONTROL_FLOW_OPTION})
if(NOT DRAV_SANITIZE)  # fortified calls hide overruns from the sanitizers
  target_compile_options(drav_hardening INTERFACE
    $<$<CONFIG:Release,RelWithDebInfo>:-U_FORTIFY_SOURCE>
    $<$<CONFIG:Release,RelWithDebInfo>:-D_FORTIFY_SOURCE=2>)
endif()
if(NOT APPLE)
  target_link_options(drav_hardening INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,--as-needed)
endif()
