// SPDX-License-Identifier: Apache-2.0
// Which instruction sets the vector code is built for. Included before any header of
// Google Highway.
//
// Fused multiply-add, half floats and AES are switched off: nothing here needs
// them, floating point must not be fused, and without them the AVX2 code needs
// AVX2 alone and the arm64 code no cryptography extension (a Raspberry Pi 3 or 4
// has none). SVE is off because it is not tested. AVX-512 and Highway's emulation of
// vectors are not shipped; DRAV_ALL_VECTORS adds them so that the digests also hold
// the code to vectors of other widths (scripts/portability), and
// DRAV_UNSHIPPED_VECTORS builds those alone.
#ifndef SIMD_TARGETS_H_
#define SIMD_TARGETS_H_

#define HWY_DISABLE_BMI2_FMA
#define HWY_DISABLE_F16C
#define HWY_DISABLE_PCLMUL_AES
#if defined(DRAV_UNSHIPPED_VECTORS)
#undef DRAV_ALL_VECTORS
#define DRAV_ALL_VECTORS
#define HWY_WANT_AVX3_DL
#define HWY_DISABLED_TARGETS \
  (HWY_SSSE3 | HWY_SSE4 | HWY_AVX2 | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128)
#elif defined(DRAV_ALL_VECTORS)
#define HWY_WANT_AVX3_DL
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128)
#else
#define HWY_DISABLED_TARGETS \
  (HWY_AVX3 | HWY_AVX3_DL | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128)
#endif

// Assertions of builds without optimisation call the library, of which only headers are used.
#define HWY_IS_DEBUG_BUILD 0

// On arm64 NEON is the base line: no other target, and no target attribute, which
// would ask for the cryptography extension.
#if defined(__aarch64__)
#define HWY_COMPILE_ONLY_STATIC
#endif

#endif  // SIMD_TARGETS_H_
