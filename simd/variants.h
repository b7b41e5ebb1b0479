// SPDX-License-Identifier: Apache-2.0
// Which of the compiled vector targets this machine can run. Included after
// <hwy/foreach_target.h>.
//
// The run-time check is ours: the library's own needs its shared object at every
// start of the filter, and prints on standard error on an arm64 processor without
// AES. NEON is part of arm64 and needs no check.
#ifndef SIMD_VARIANTS_H_
#define SIMD_VARIANTS_H_

#include <hwy/detect_targets.h>

#include "simd/targets.h"

namespace drav_simd {

#if defined(__x86_64__) || defined(__i386__)
#if defined(DRAV_ALL_VECTORS)
inline bool hasAvx512() {
  return static_cast<bool>(__builtin_cpu_supports("avx512f")) &&
         static_cast<bool>(__builtin_cpu_supports("avx512bw")) &&
         static_cast<bool>(__builtin_cpu_supports("avx512cd")) &&
         static_cast<bool>(__builtin_cpu_supports("avx512dq")) &&
         static_cast<bool>(__builtin_cpu_supports("avx512vl"));
}
inline bool hasAvx512Dl() {
  return hasAvx512() && static_cast<bool>(__builtin_cpu_supports("avx512vnni")) &&
         static_cast<bool>(__builtin_cpu_supports("avx512vbmi")) &&
         static_cast<bool>(__builtin_cpu_supports("avx512vbmi2")) &&
         static_cast<bool>(__builtin_cpu_supports("avx512bitalg")) &&
         static_cast<bool>(__builtin_cpu_supports("avx512vpopcntdq")) &&
         static_cast<bool>(__builtin_cpu_supports("vpclmulqdq"));
}
#endif
inline bool hasAvx2() { return static_cast<bool>(__builtin_cpu_supports("avx2")); }
inline bool hasSse4() {
  return static_cast<bool>(__builtin_cpu_supports("sse4.1")) &&
         static_cast<bool>(__builtin_cpu_supports("sse4.2"));
}
inline bool hasSsse3() { return static_cast<bool>(__builtin_cpu_supports("ssse3")); }
#endif

}  // namespace drav_simd

// SIMD_VARIANTS(ADD) runs ADD(name, space); for each target that was compiled and that
// this machine can run, the fastest last. `space` is the target's namespace.
#define SIMD_VARIANTS(ADD) \
  SIMD_EMU128(ADD)         \
  SIMD_SSSE3(ADD)          \
  SIMD_SSE4(ADD)           \
  SIMD_AVX2(ADD)           \
  SIMD_AVX512(ADD)         \
  SIMD_AVX512DL(ADD)       \
  SIMD_NEON(ADD)

#define SIMD_WHERE(supported, ADD, name, space) \
  if (supported) {                              \
    ADD(name, space);                           \
  }

#if defined(DRAV_ALL_VECTORS) && (HWY_TARGETS & HWY_EMU128)
#define SIMD_EMU128(ADD) SIMD_WHERE(true, ADD, "emu128", N_EMU128)
#else
#define SIMD_EMU128(ADD)
#endif
#if HWY_TARGETS & HWY_SSSE3
#define SIMD_SSSE3(ADD) SIMD_WHERE(drav_simd::hasSsse3(), ADD, "ssse3", N_SSSE3)
#else
#define SIMD_SSSE3(ADD)
#endif
#if HWY_TARGETS & HWY_SSE4
#define SIMD_SSE4(ADD) SIMD_WHERE(drav_simd::hasSse4(), ADD, "sse4", N_SSE4)
#else
#define SIMD_SSE4(ADD)
#endif
#if HWY_TARGETS & HWY_AVX2
#define SIMD_AVX2(ADD) SIMD_WHERE(drav_simd::hasAvx2(), ADD, "avx2", N_AVX2)
#else
#define SIMD_AVX2(ADD)
#endif
#if HWY_TARGETS & HWY_AVX3
#define SIMD_AVX512(ADD) SIMD_WHERE(drav_simd::hasAvx512(), ADD, "avx512", N_AVX3)
#else
#define SIMD_AVX512(ADD)
#endif
#if HWY_TARGETS & HWY_AVX3_DL
#define SIMD_AVX512DL(ADD) SIMD_WHERE(drav_simd::hasAvx512Dl(), ADD, "avx512dl", N_AVX3_DL)
#else
#define SIMD_AVX512DL(ADD)
#endif
#if HWY_TARGETS & HWY_NEON
#define SIMD_NEON(ADD) SIMD_WHERE(true, ADD, "neon", N_NEON)
#else
#define SIMD_NEON(ADD)
#endif

#endif  // SIMD_VARIANTS_H_
