// SPDX-License-Identifier: Apache-2.0
// Brightness and contrast, look-up table, negative.
#include <algorithm>
#include <array>
#include <cmath>

#include "image/palette_image.h"
#include "image/row_ops.h"
#include "simd/conversion.h"

std::array<uint8_t, 256> PaletteImage::lightTable(int brightness, int contrast) {
  const float scale = static_cast<float>(int64_t{contrast} + 100) / 100.0F;
  const auto shift = static_cast<float>(int64_t{brightness} + 128);
  std::array<uint8_t, 256> table = {};
  for (int i = 0; i < 256; ++i) {
    const float value = static_cast<float>(i - 128) * scale + shift + 0.5F;
    table[static_cast<size_t>(i)] =
        static_cast<uint8_t>(std::clamp(truncateToInt32(value), 0, 255));
  }
  return table;
}

bool PaletteImage::Light(int brightness, int contrast) {
  if (dib == nullptr) return false;
  return Lut(lightTable(brightness, contrast).data());
}

bool PaletteImage::Lut(const uint8_t* table) {
  if (dib == nullptr || table == nullptr) return false;
  LevelTable levels = {};
  std::copy_n(table, levels.size(), levels.begin());
  const auto width = static_cast<long>(GetWidth());
  const auto height = static_cast<long>(GetHeight());
  for (long y = 0; y < height; ++y) {
    if (head.biBitCount == 8) {
      uint8_t* row = GetBits(static_cast<uint32_t>(y));
      rowOps().replace(row, GetWidth(), levels, row);
      continue;
    }
    for (long x = 0; x < width; ++x) BlindSetPixelIndex(x, y, table[BlindGetPixelIndex(x, y)]);
  }
  return true;
}

void PaletteImage::Negative() {
  if (dib == nullptr) return;
  uint8_t* pixels = GetBits(0);
  const size_t size = head.biSizeImage;
  for (size_t i = 0; i < size; ++i) pixels[i] = static_cast<uint8_t>(~pixels[i]);
}
