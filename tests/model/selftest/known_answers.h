// SPDX-License-Identifier: Apache-2.0
// How the known answers for the models are written down.
#ifndef TESTS_MODEL_SELFTEST_KNOWN_ANSWERS_H_
#define TESTS_MODEL_SELFTEST_KNOWN_ANSWERS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "tests/model/grey.h"
#include "tests/model/palette_image.h"

using Bytes = std::vector<uint8_t>;

// "1B 40", two digits a byte with a blank between.
inline std::string hexOf(const Bytes& bytes) {
  const char* digits = "0123456789ABCDEF";
  std::string out;
  for (const uint8_t byte : bytes) {
    if (!out.empty()) out += ' ';
    out += digits[byte >> 4U];
    out += digits[byte & 15U];
  }
  return out;
}

inline Bytes toBytes(const std::vector<int>& values) {
  Bytes out;
  for (const int value : values) out.push_back(static_cast<uint8_t>(value));
  return out;
}

inline model::Grey greyOf(int width, int height, const std::vector<int>& values) {
  model::Grey picture;
  picture.width = width;
  picture.height = height;
  picture.pixels = toBytes(values);
  return picture;
}

inline model::PaletteImage imageOf(const model::Grey& picture) {
  model::PaletteImage image;
  image.CreateFromArray(picture.pixels.data(), static_cast<uint32_t>(picture.width),
                        static_cast<uint32_t>(picture.height), 8,
                        static_cast<uint32_t>(picture.width), false);
  return image;
}

inline Bytes indicesOf(const model::PaletteImage& image) {
  Bytes out;
  for (uint32_t y = 0; y < image.GetHeight(); ++y) {
    for (uint32_t x = 0; x < image.GetWidth(); ++x) {
      out.push_back(image.BlindGetPixelIndex(static_cast<long>(x), static_cast<long>(y)));
    }
  }
  return out;
}

inline double whiteShare(const Bytes& bits) {
  size_t white = 0;
  for (uint8_t bit : bits) {
    if (bit != 0) ++white;
  }
  return static_cast<double>(white) / static_cast<double>(bits.size());
}

#endif  // TESTS_MODEL_SELFTEST_KNOWN_ANSWERS_H_
