// SPDX-License-Identifier: Apache-2.0
#include "image/row_ops.h"

#include <algorithm>

#include "image/row_ops_simd.h"
#include "simd/variant_list.h"

namespace {

size_t packPlain(const uint8_t* row, size_t width, uint8_t* out) {
  size_t written = 0;
  for (size_t x = 0; x < width; x += 8) {
    const size_t pixels = std::min<size_t>(8, width - x);
    unsigned byte = 0;
    for (size_t bit = 0; bit < pixels; ++bit) {
      if (row[x + bit] != 0) byte |= 0x80U >> bit;
    }
    out[written++] = static_cast<uint8_t>(byte);
  }
  return written;
}

void replacePlain(const uint8_t* row, size_t width, const LevelTable& table, uint8_t* out) {
  for (size_t x = 0; x < width; ++x) out[x] = table[row[x]];
}

void reversePlain(uint8_t* row, size_t width) { std::reverse(row, row + width); }

}  // namespace

std::span<const RowOpsVariant> rowOpsVariants() {
  static const auto variants = variantList(
      RowOpsVariant{"plain", packPlain, replacePlain, reversePlain}, appendVectorRowOps);
  return variants;
}

const RowOpsVariant& rowOps() { return rowOpsVariants().back(); }
