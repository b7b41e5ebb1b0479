// SPDX-License-Identifier: Apache-2.0
// Conversions that processors disagree about, written out.
#ifndef SIMD_CONVERSION_H_
#define SIMD_CONVERSION_H_

#include <cstdint>
#include <limits>

// Converts toward zero. What does not fit 32 bits, not-a-number included, is
// -2147483648 on every processor.
inline int32_t truncateToInt32(float x) {
  if (!(x >= -2147483648.0F && x < 2147483648.0F)) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(x);
}

#endif  // SIMD_CONVERSION_H_
