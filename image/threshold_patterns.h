// SPDX-License-Identifier: Apache-2.0
// The halftones without error diffusion, as the least white level of each of
// 4 x 4 places.
#ifndef IMAGE_THRESHOLD_PATTERNS_H_
#define IMAGE_THRESHOLD_PATTERNS_H_

#include <array>
#include <cstdint>

// Indexed by y & 3, then x & 3. A level is white from the entry on.
using ThresholdPattern = std::array<std::array<uint8_t, 4>, 4>;

// Pattern of method 0 (fixed), 1 (ordered 4 x 4) or 7 (Bayer table).
const ThresholdPattern& thresholdPattern(long method);

#endif  // IMAGE_THRESHOLD_PATTERNS_H_
