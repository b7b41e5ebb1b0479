// SPDX-License-Identifier: Apache-2.0
// Operations on one row of bytes. All variants give the same bytes.
#ifndef IMAGE_ROW_OPS_H_
#define IMAGE_ROW_OPS_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

// A level's replacement.
using LevelTable = std::array<uint8_t, 256>;

struct RowOpsVariant {
  const char* name;

  // Sets one bit per non-zero byte of `row`, leftmost pixel in the top bit;
  // unused low bits of the last byte are 0. Returns the (width + 7) / 8 bytes
  // written to `out`, which may start at or before `row` in the same buffer.
  size_t (*pack)(const uint8_t* row, size_t width, uint8_t* out);

  // out[x] = table[row[x]]. `out` may be `row`.
  void (*replace)(const uint8_t* row, size_t width, const LevelTable& table, uint8_t* out);

  // Turns the row end for end.
  void (*reverse)(uint8_t* row, size_t width);
};

// Those that this machine can run: the plain reference first, the fastest last.
std::span<const RowOpsVariant> rowOpsVariants();

// The fastest variant.
const RowOpsVariant& rowOps();

#endif  // IMAGE_ROW_OPS_H_
