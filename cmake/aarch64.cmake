# SPDX-License-Identifier: Apache-2.0
# Toolchain for arm64 Linux from another processor: Debian's cross compiler, or
# clang with DRAV_CROSS_CLANG=ON. DRAV_ARM64_SYSROOT holds the arm64 libraries
# (scripts/portability makes it); the C library is the cross compiler's own.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES DRAV_ARM64_SYSROOT DRAV_CROSS_CLANG)

if(DRAV_CROSS_CLANG)
  set(CMAKE_C_COMPILER clang-14)
  set(CMAKE_CXX_COMPILER clang++-14)
  set(CMAKE_C_COMPILER_TARGET aarch64-linux-gnu)
  set(CMAKE_CXX_COMPILER_TARGET aarch64-linux-gnu)
else()
  set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
  set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
endif()

set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH ${DRAV_ARM64_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
# pkg-config sees what is there, not what this system has.
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${DRAV_ARM64_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR}
    ${DRAV_ARM64_SYSROOT}/usr/lib/aarch64-linux-gnu/pkgconfig:${DRAV_ARM64_SYSROOT}/usr/share/pkgconfig)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L ${DRAV_ARM64_SYSROOT})

# What libcups needs besides is found beside it.
foreach(folder lib/aarch64-linux-gnu usr/lib/aarch64-linux-gnu)
  string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT " -Wl,-rpath-link,${DRAV_ARM64_SYSROOT}/${folder}")
endforeach()
