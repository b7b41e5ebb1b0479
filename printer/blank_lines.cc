// SPDX-License-Identifier: Apache-2.0
#include "printer/blank_lines.h"

#include <cstring>

namespace {

uint64_t measuredBytes(uint64_t rowBytes, uint64_t skipRight) {
  return skipRight <= rowBytes ? rowBytes - skipRight : rowBytes;
}

}  // namespace

// The first byte is 0 and every other equals the one before it.
bool isBlankRow(const uint8_t* row, uint64_t bytes) {
  return bytes == 0 || (row[0] == 0 && std::memcmp(row, row + 1, bytes - 1) == 0);
}

uint64_t dravImageCountBlankLinesFromFront(const uint8_t* pixels, uint64_t rowBytes,
                                           uint64_t height, uint64_t skipRight, uint64_t stride) {
  const uint64_t bytes = measuredBytes(rowBytes, skipRight);
  for (uint64_t i = 0; i + 1 < height; ++i) {
    if (!isBlankRow(pixels + (i + 1) * stride, bytes)) return i;
  }
  return height;
}

uint64_t dravImageCountBlankLinesFromBack(const uint8_t* pixels, uint64_t rowBytes, uint64_t height,
                                          uint64_t skipRight, uint64_t stride) {
  const uint64_t bytes = measuredBytes(rowBytes, skipRight);
  for (uint64_t i = height; i > 0; --i) {
    if (!isBlankRow(pixels + (i - 1) * stride, bytes)) return i;
  }
  return 0;
}
