// SPDX-License-Identifier: Apache-2.0
// Pictures in another size, each new pixel the mean of the area that it covers.
#ifndef PROOF_AREA_AVERAGE_H_
#define PROOF_AREA_AVERAGE_H_

#include <cstdint>
#include <span>
#include <vector>

// `from` holds fromHeight rows of fromWidth levels. Parts of a pixel count by their
// area, so that a fine halftone keeps its mean grey and makes no pattern of its own;
// when enlarging, a pixel becomes a square. REQUIRES: no size is 0.
std::vector<uint8_t> areaAverage(std::span<const uint8_t> from, uint32_t fromWidth,
                                 uint32_t fromHeight, uint32_t toWidth, uint32_t toHeight);

#endif  // PROOF_AREA_AVERAGE_H_
