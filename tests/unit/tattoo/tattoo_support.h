// SPDX-License-Identifier: Apache-2.0
// Between the pictures of the models and the records of the product.
#ifndef TESTS_UNIT_TATTOO_TATTOO_SUPPORT_H_
#define TESTS_UNIT_TATTOO_TATTOO_SUPPORT_H_

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "tattoo/qz_image.h"
#include "tests/model/grey.h"
#include "tests/model/page_patterns.h"
#include "tests/support/bytes.h"

inline QZImage greyImage(const model::Grey& picture) {
  return QZImage(picture.width, picture.height, QZ_IMG_GRAY, picture.pixels.data());
}

// Rows of equal length, one channel.
inline QZImage greyRows(int32_t width, const Bytes& pixels) {
  return QZImage(width, static_cast<int32_t>(pixels.size()) / width, QZ_IMG_GRAY, pixels.data());
}

inline Bytes bytesOf(const QZImage& image) {
  const int64_t count = image.byteCount();
  return Bytes(image.data, image.data + (count > 0 ? count : 0));
}

// A grey result that must have the size and the bytes of `wanted`.
inline testing::AssertionResult samePicture(const model::Grey& wanted, const QZImage& got) {
  if (got.width != wanted.width || got.height != wanted.height || got.channels != 1 ||
      got.color != QZ_IMG_GRAY) {
    return testing::AssertionFailure()
           << "expected a grey image of " << wanted.width << " x " << wanted.height << ", got "
           << got.width << " x " << got.height << " of colour " << got.color << " and "
           << got.channels << " channels";
  }
  return sameBytes(wanted.pixels, bytesOf(got));
}

struct Size {
  int width;
  int height;
};

// One pixel, single rows and columns, widths around the steps of vector code,
// the widest page.
inline constexpr Size kSizes[] = {
    {1, 1},   {1, 2},   {2, 1},   {1, 23},  {23, 1}, {2, 2},   {3, 3},    {4, 4},    {5, 7},
    {7, 5},   {8, 8},   {9, 6},   {10, 11}, {11, 3}, {12, 4},  {15, 9},   {16, 5},   {17, 8},
    {31, 13}, {32, 12}, {33, 11}, {64, 4},  {65, 3}, {127, 2}, {2479, 1}, {2479, 3}, {90, 70}};

// Contents by seed: anything; two levels; few levels close together; smooth.
inline model::Grey randomPicture(Size size, uint64_t seed) {
  model::Random random(seed * 7919 + static_cast<uint64_t>(size.width));
  model::Grey picture = model::makeGrey(size.width, size.height, 0);
  const uint32_t low = random.below(256);
  const uint32_t high = random.below(256);
  uint32_t walk = random.below(256);
  for (uint8_t& level : picture.pixels) {
    walk = (walk + random.below(7) + 253) & 255;
    switch (seed % 4) {
      case 0:
        level = random.byte();
        break;
      case 1:
        level = static_cast<uint8_t>(random.below(3) == 0 ? low : high);
        break;
      case 2:
        level = static_cast<uint8_t>((low + random.below(5)) & 255);
        break;
      default:
        level = static_cast<uint8_t>(walk);
    }
  }
  return picture;
}

// Equal floats bit for bit; any not-a-number equals any other.
inline testing::AssertionResult sameFloat(float wanted, float got) {
  const bool both = wanted != wanted && got != got;
  if (both || std::bit_cast<uint32_t>(wanted) == std::bit_cast<uint32_t>(got)) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << "expected " << testing::PrintToString(wanted) << ", got "
                                     << testing::PrintToString(got);
}

inline constexpr float kInfinity = std::numeric_limits<float>::infinity();
inline constexpr float kNotANumber = std::numeric_limits<float>::quiet_NaN();

#endif  // TESTS_UNIT_TATTOO_TATTOO_SUPPORT_H_
