// SPDX-License-Identifier: Apache-2.0
#include "tests/model/tone.h"

#include "tests/model/numbers.h"

namespace model {
namespace {

// True when the `count` bytes from `offset` on are all zero. Bytes past the buffer are blank.
bool isBlank(const std::vector<uint8_t>& pixels, uint64_t offset, uint64_t count) {
  for (uint64_t k = 0; k < count; ++k) {
    if (offset + k >= pixels.size()) return true;
    if (pixels[offset + k] != 0) return false;
  }
  return true;
}

}  // namespace

ToneTable lightTable(int brightness, int contrast) {
  const float c = static_cast<float>(int64_t{contrast} + 100) / 100.0F;
  const float b = static_cast<float>(int64_t{brightness} + 128);
  ToneTable table{};
  for (int i = 0; i < 256; ++i) {
    const float scaled = static_cast<float>(i - 128) * c;
    const float moved = scaled + b;
    const float rounded = moved + 0.5F;
    int32_t v = truncateToInt32(rounded);
    if (v < 0) v = 0;
    if (v > 255) v = 255;
    table[static_cast<size_t>(i)] = static_cast<uint8_t>(v);
  }
  return table;
}

Grey applyTable(const Grey& picture, const ToneTable& table) {
  Grey result = picture;
  for (uint8_t& level : result.pixels) level = table[level];
  return result;
}

Grey negative(const Grey& picture) {
  Grey result = picture;
  for (uint8_t& level : result.pixels) level = static_cast<uint8_t>(255 - level);
  return result;
}

Grey rotate180(const Grey& picture) {
  Grey result = picture;
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      result.set(picture.width - 1 - x, picture.height - 1 - y, picture.at(x, y));
    }
  }
  return result;
}

Grey mirror(const Grey& picture) {
  Grey result = picture;
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      result.set(picture.width - 1 - x, y, picture.at(x, y));
    }
  }
  return result;
}

uint64_t bytesTestedPerRow(uint64_t rowBytes, uint64_t skipRight) {
  if (skipRight > rowBytes) return rowBytes;
  return rowBytes - skipRight;
}

uint64_t countBlankFromFront(const std::vector<uint8_t>& pixels, uint64_t rowBytes, uint64_t height,
                             uint64_t skipRight, uint64_t stride) {
  const uint64_t n = bytesTestedPerRow(rowBytes, skipRight);
  for (uint64_t i = 0; i < height; ++i) {
    const uint64_t row = i + 1;
    const bool blank = row == height || isBlank(pixels, row * stride, n);
    if (!blank) return i;
  }
  return height;
}

uint64_t countBlankFromBack(const std::vector<uint8_t>& pixels, uint64_t rowBytes, uint64_t height,
                            uint64_t skipRight, uint64_t stride) {
  const uint64_t n = bytesTestedPerRow(rowBytes, skipRight);
  for (uint64_t i = height; i >= 1; --i) {
    if (!isBlank(pixels, (i - 1) * stride, n)) return i;
  }
  return 0;
}

}  // namespace model
