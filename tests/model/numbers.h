// SPDX-License-Identifier: Apache-2.0
// Float to integer conversion with a written-out answer for every argument.
#ifndef TESTS_MODEL_NUMBERS_H_
#define TESTS_MODEL_NUMBERS_H_

#include <cstdint>

namespace model {

// Truncates toward zero. Not-a-number and every value outside the signed 32-bit range give
// -2147483648, so that no answer depends on the processor.
inline int32_t truncateToInt32(float value) {
  if (!(value >= -2147483648.0F && value < 2147483648.0F)) return INT32_MIN;
  return static_cast<int32_t>(value);
}

}  // namespace model

#endif  // TESTS_MODEL_NUMBERS_H_
