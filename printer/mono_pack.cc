// SPDX-License-Identifier: Apache-2.0
#include "printer/mono_pack.h"

#include <algorithm>

#include "common/log.h"
#include "image/row_ops.h"
#include "printer/drav_printer.h"

size_t packMonoRow(std::span<const uint8_t> row, uint8_t* out) {
  return rowOps().pack(row.data(), row.size(), out);
}

size_t DravPrinter::packedRowPixels(size_t rowBytes) const {
  const bool skips = skipRightPixels_ != 0 && skipRightPixels_ < rowBytes;
  return skips ? rowBytes - skipRightPixels_ : rowBytes;
}

void DravPrinter::reportPacking(int32_t bytesPerLine, int32_t height) const {
  const size_t rowPixels = packedRowPixels(static_cast<size_t>(std::max(bytesPerLine, 0)));
  dravLogCommon(kLogDebug, "GrayToMono, bpl(%d), h(%d), skipPixels(%d), wb(%d)", bytesPerLine,
                height, static_cast<int>(skipRightPixels_), static_cast<int>(rowPixels));
}

int32_t DravPrinter::GrayToMono(int32_t bytesPerLine, int32_t height, uint8_t* pixels) const {
  reportPacking(bytesPerLine, height);
  if (pixels == nullptr) return 0;
  const auto rowBytes = static_cast<size_t>(std::max(bytesPerLine, 0));
  const size_t rowPixels = packedRowPixels(rowBytes);
  size_t out = 0;
  for (int32_t y = 0; y < height; ++y) {
    const uint8_t* row = pixels + static_cast<size_t>(y) * rowBytes;
    out += packMonoRow({row, rowPixels}, pixels + out);
  }
  return static_cast<int32_t>(out);
}
