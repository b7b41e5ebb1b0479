// SPDX-License-Identifier: Apache-2.0
#include "printer/mono_pack.h"

#include <algorithm>

#include "common/log.h"
#include "image/row_ops.h"
#include "printer/drav_printer.h"

size_t packMonoRow(std::span<const uint8_t> row, uint8_t* out) {
  return rowOps().pack(row.data(), row.size(), out);
}

size_t packedRowPixels(size_t rowBytes, unsigned long skipRightPixels) {
  return skipRightPixels < rowBytes ? rowBytes - skipRightPixels : rowBytes;
}

void reportPacking(int32_t bytesPerLine, int32_t height, unsigned long skipRightPixels) {
  const size_t rowPixels =
      packedRowPixels(static_cast<size_t>(std::max(bytesPerLine, 0)), skipRightPixels);
  dravLogCommon(kLogDebug, "GrayToMono, bpl(%d), h(%d), skipPixels(%d), wb(%d)", bytesPerLine,
                height, static_cast<int>(skipRightPixels), static_cast<int>(rowPixels));
}

int32_t DravPrinter::GrayToMono(int32_t bytesPerLine, int32_t height, uint8_t* pixels) const {
  reportPacking(bytesPerLine, height, settings_.skipRightPixels);
  if (pixels == nullptr) return 0;
  const auto rowBytes = static_cast<size_t>(std::max(bytesPerLine, 0));
  const size_t rowPixels = packedRowPixels(rowBytes, settings_.skipRightPixels);
  size_t out = 0;
  for (int32_t y = 0; y < height; ++y) {
    const uint8_t* row = pixels + static_cast<size_t>(y) * rowBytes;
    out += packMonoRow({row, rowPixels}, pixels + out);
  }
  return static_cast<int32_t>(out);
}
