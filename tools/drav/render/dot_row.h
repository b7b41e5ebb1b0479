// SPDX-License-Identifier: Apache-2.0
// Dots of a packed row: the top bit of a byte is the leftmost of its eight.
#ifndef TOOLS_DRAV_RENDER_DOT_ROW_H_
#define TOOLS_DRAV_RENDER_DOT_ROW_H_

#include <algorithm>
#include <cstdint>
#include <span>

// Makes `count` dots from `x` on black; what lies past the row is left out.
inline void blacken(std::span<uint8_t> row, uint64_t x, uint64_t count) {
  const uint64_t end = std::min(x + count, uint64_t{row.size()} * 8);
  for (; x < end; ++x) row[x / 8] = static_cast<uint8_t>(row[x / 8] | 0x80U >> (x % 8));
}

#endif  // TOOLS_DRAV_RENDER_DOT_ROW_H_
