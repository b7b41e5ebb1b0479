// SPDX-License-Identifier: Apache-2.0
// The halftones without error diffusion, as the least white level of each of
// 4 x 4 places.
#ifndef IMAGE_THRESHOLD_PATTERNS_H_
#define IMAGE_THRESHOLD_PATTERNS_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "image/diffusion_kernels.h"

// Indexed by y & 3, then x & 3. A level is white from the entry on.
using ThresholdPattern = std::array<std::array<uint8_t, 4>, 4>;

constexpr ThresholdPattern fixedPattern() {
  ThresholdPattern pattern = {};
  for (auto& row : pattern) row.fill(kWhiteAbove + 1);
  return pattern;
}

// B. E. Bayer's matrix, IEEE ICC 1973. A level becomes level * 16 / 255, 0 to 16, and is white
// above the matrix entry; 16, reached by 255 alone, is white everywhere.
constexpr ThresholdPattern orderedPattern() {
  constexpr int kMatrix[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
  ThresholdPattern pattern = {};
  for (size_t y = 0; y < 4; ++y) {
    for (size_t x = 0; x < 4; ++x) {
      int level = 0;
      while (level * 16 / 255 <= kMatrix[y][x]) ++level;
      pattern[y][x] = static_cast<uint8_t>(level);
    }
  }
  return pattern;
}

// The generator's table of a 16 x 16 Bayer matrix, by bit interleaving.
inline constexpr unsigned kBayerOrder = 4;

constexpr std::array<uint8_t, 256> bayerTable() {
  std::array<uint8_t, 256> table = {};
  for (unsigned i = 0; i < table.size(); ++i) {
    unsigned a = i / kBayerOrder;
    unsigned b = i % kBayerOrder;
    unsigned value = 0;
    for (unsigned bit = 0; bit < kBayerOrder; ++bit) {
      value = (((value << 1) | ((a & 1) ^ (b & 1))) << 1) | (b & 1);
      a >>= 1;
      b >>= 1;
    }
    table[i] = static_cast<uint8_t>(value);
  }
  return table;
}

// The matrix has a side of 16, but the look-up steps by its order, 4. So only the
// first 16 entries count, as a 4 x 4 pattern. Queues in the field print this
// pattern, so it must not change. Levels above the entry are white; the largest
// entry is 240.
constexpr ThresholdPattern bayerPattern() {
  constexpr std::array<uint8_t, 256> kTable = bayerTable();
  ThresholdPattern pattern = {};
  for (size_t y = 0; y < 4; ++y) {
    for (size_t x = 0; x < 4; ++x) {
      pattern[y][x] = static_cast<uint8_t>(kTable[x + kBayerOrder * y] + 1);
    }
  }
  return pattern;
}

inline constexpr ThresholdPattern kFixedPattern = fixedPattern();
inline constexpr ThresholdPattern kOrderedPattern = orderedPattern();
inline constexpr ThresholdPattern kBayerPattern = bayerPattern();

#endif  // IMAGE_THRESHOLD_PATTERNS_H_
