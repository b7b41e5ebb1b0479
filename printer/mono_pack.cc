// SPDX-License-Identifier: Apache-2.0
#include "printer/mono_pack.h"

#include <algorithm>

#include "common/log.h"
#include "printer/drav_printer.h"

size_t packMonoRow(std::span<const uint8_t> row, uint8_t* out) {
  size_t written = 0;
  for (size_t x = 0; x < row.size(); x += 8) {
    const size_t pixels = std::min<size_t>(8, row.size() - x);
    unsigned byte = 0;
    for (size_t bit = 0; bit < pixels; ++bit) {
      if (row[x + bit] != 0) byte |= 0x80U >> bit;
    }
    out[written++] = static_cast<uint8_t>(byte);
  }
  return written;
}

int32_t DravPrinter::GrayToMono(int32_t bytesPerLine, int32_t height, uint8_t* pixels) const {
  const auto rowBytes = static_cast<unsigned long>(std::max(bytesPerLine, 0));
  const bool skips = skipRightPixels_ != 0 && skipRightPixels_ < rowBytes;
  const unsigned long rowPixels = skips ? rowBytes - skipRightPixels_ : rowBytes;
  dravLogCommon(kLogDebug, "GrayToMono, bpl(%d), h(%d), skipPixels(%d), wb(%d)", bytesPerLine,
                height, static_cast<int>(skipRightPixels_), static_cast<int>(rowPixels));
  if (pixels == nullptr) return 0;
  size_t out = 0;
  for (int32_t y = 0; y < height; ++y) {
    const uint8_t* row = pixels + static_cast<size_t>(y) * rowBytes;
    out += packMonoRow({row, rowPixels}, pixels + out);
  }
  return static_cast<int32_t>(out);
}
