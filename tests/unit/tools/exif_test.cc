// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/document/exif.h"

#include <gtest/gtest.h>

#include "tests/support/files.h"

namespace {

// A JPEG's start with an EXIF segment whose only entry is the orientation.
Bytes jpegOf(const Bytes& tiff) {
  Bytes file = {0xFF, 0xD8, 0xFF, 0xE1, 0, static_cast<uint8_t>(tiff.size() + 8),
                'E',  'x',  'i',  'f',  0, 0};
  file.insert(file.end(), tiff.begin(), tiff.end());
  const Bytes end = {0xFF, 0xD9};
  file.insert(file.end(), end.begin(), end.end());
  return file;
}

Bytes little(uint8_t orientation) {
  return jpegOf({'I', 'I', 42, 0, 8, 0,           0, 0, 1, 0, 0x12, 1, 3,
                 0,   1,   0,  0, 0, orientation, 0, 0, 0, 0, 0,    0, 0});
}

Bytes big(uint8_t orientation) {
  return jpegOf({'M', 'M', 0, 42, 0, 0, 0,           8, 0, 1, 1, 0x12, 0,
                 3,   0,   0, 0,  1, 0, orientation, 0, 0, 0, 0, 0,    0});
}

TEST(ExifOrientation, IsReadInBothByteOrders) {
  for (uint8_t orientation = 1; orientation <= 8; ++orientation) {
    EXPECT_EQ(exifOrientation(little(orientation)), orientation);
    EXPECT_EQ(exifOrientation(big(orientation)), orientation);
  }
}

TEST(ExifOrientation, WhatMakesNoSenseIsUpright) {
  EXPECT_EQ(exifOrientation(little(0)), 1U);
  EXPECT_EQ(exifOrientation(big(9)), 1U);
  EXPECT_EQ(exifOrientation({}), 1U);
  EXPECT_EQ(exifOrientation(Bytes{0xFF, 0xD8, 0xFF, 0xD9}), 1U);
  const Bytes whole = little(6);
  for (size_t size = 0; size < whole.size() - 8; ++size)
    EXPECT_EQ(exifOrientation(std::span(whole).first(size)), 1U) << size;
}

// Orientation says where the stored picture's row 0 and column 0 belong: 2 top right,
// 3 bottom right, 4 bottom left; 5 left top, 6 right top, 7 right bottom, 8 left bottom.
TEST(Upright, PutsRowAndColumnNoughtWhereTheyBelong) {
  const GreyPicture stored = {3, 2, {1, 2, 3, 4, 5, 6}};
  const auto turned = [&stored](unsigned orientation) {
    const GreyPicture picture = upright(stored, orientation);
    EXPECT_EQ(picture.width, orientation < 5 ? 3U : 2U);
    EXPECT_EQ(picture.height, orientation < 5 ? 2U : 3U);
    return picture.levels;
  };
  EXPECT_EQ(turned(1), (Bytes{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(turned(2), (Bytes{3, 2, 1, 6, 5, 4}));
  EXPECT_EQ(turned(3), (Bytes{6, 5, 4, 3, 2, 1}));
  EXPECT_EQ(turned(4), (Bytes{4, 5, 6, 1, 2, 3}));
  EXPECT_EQ(turned(5), (Bytes{1, 4, 2, 5, 3, 6}));
  EXPECT_EQ(turned(6), (Bytes{4, 1, 5, 2, 6, 3}));
  EXPECT_EQ(turned(7), (Bytes{6, 3, 5, 2, 4, 1}));
  EXPECT_EQ(turned(8), (Bytes{3, 6, 2, 5, 1, 4}));
}

}  // namespace
