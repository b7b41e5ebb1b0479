// SPDX-License-Identifier: Apache-2.0
// Single-precision approximations of the tattoo processing. Their results, with
// every quirk, are part of the printed picture: the gamma tables, the Gaussian
// taps and the rounding of each stage follow from them. Plain IEEE arithmetic
// in the written order; docs/numerics.md.
#ifndef TATTOO_FAST_MATH_H_
#define TATTOO_FAST_MATH_H_

#include <cfloat>
#include <cstdint>
#include <limits>

#include "simd/conversion.h"

static_assert(FLT_EVAL_METHOD == 0, "single precision must be evaluated as such");
static_assert(std::numeric_limits<float>::is_iec559 && std::numeric_limits<double>::is_iec559);

// -x for x < 0, else x: not-a-number and -0.0 come back as they are.
inline float myabs(float x) { return x < 0.0F ? -x : x; }

// Rounds half away from zero by adding 0.5 in single precision, so the float
// below 0.5 rounds to 1. Range as truncateToInt32.
inline int32_t my_round(float x) {
  return x >= 0.0F ? truncateToInt32(x + 0.5F) : truncateToInt32(x - 0.5F);
}

template <typename T>
constexpr T myClamp(T value, T low, T high) {
  if (value < low) return low;
  return value > high ? high : value;
}

// True for 0 <= x < width and 0 <= y < height.
constexpr bool isWithinBounds(int32_t x, int32_t y, int32_t width, int32_t height) {
  return x >= 0 && x < width && y >= 0 && y < height;
}

// Square root by Newton's iteration (Heron's method) with an absolute stopping
// test of 1e-6; returns the iterate before the last. -1 below 0. Within a
// relative 7.2e-7 from 1 to 65025; below 1 it stops early. Not-a-number and
// +infinity come back as they are.
float my_sqrt(float x);

// e^x by its Taylor series, at most 20 terms, so large arguments come out low:
// 10 by 0.16 per cent. Below 0 the reciprocal of my_exp(-x), formed in double.
float my_exp(float x);

// Natural logarithm by fixed-point iteration on my_exp; the correction divides
// by x, and the iterate before the last is returned. -1 for x <= 0.
// Not-a-number and +infinity come back as they are.
float my_ln(float x);

// base^exponent as my_exp(exponent * my_ln(base)). A base of 0 gives 1, 0 or -1
// for an exponent of 0, above 0, else. A negative base gives -1 for a fractional
// exponent and e^-exponent for a whole one.
float my_pow(float base, float exponent);

#endif  // TATTOO_FAST_MATH_H_
