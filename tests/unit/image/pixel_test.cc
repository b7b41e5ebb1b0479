// SPDX-License-Identifier: Apache-2.0
// Reading and writing single pixels.
#include <climits>

#include "tests/unit/image/image_support.h"

namespace {

constexpr std::pair<long, long> kOutside[] = {
    {-1, 0},       {0, -1},       {10, 0},       {0, 3},        {10, 3},
    {LONG_MIN, 0}, {0, LONG_MIN}, {LONG_MAX, 0}, {0, LONG_MAX}, {LONG_MAX, LONG_MAX},
    {-1, -1},      {1L << 32, 0}, {0, 1L << 32}, {-8, 1},       {9, -1}};

TEST(Pixels, EightBitsAreABytePerPixel) {
  OwnedImage image;
  ASSERT_NE(image.Create(5, 2, 8, 0), nullptr);
  image.SetPixelIndex(4, 1, 200);
  image.BlindSetPixelIndex(0, 0, 7);
  EXPECT_EQ(rowsOf(image), (Bytes{7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 200, 0, 0, 0}));
  EXPECT_EQ(image.GetPixelIndex(4, 1), 200);
  EXPECT_EQ(image.BlindGetPixelIndex(4, 1), 200);
}

TEST(Pixels, FourBitsPutTheEvenColumnHigh) {
  OwnedImage image;
  ASSERT_NE(image.Create(3, 1, 4, 0), nullptr);
  image.SetPixelIndex(0, 0, 0x1A);
  image.SetPixelIndex(1, 0, 0xF5);
  image.SetPixelIndex(2, 0, 3);
  EXPECT_EQ(rowsOf(image), (Bytes{0xA5, 0x30, 0, 0})) << "index & 15 is stored";
  EXPECT_EQ(image.GetPixelIndex(0, 0), 10);
  EXPECT_EQ(image.BlindGetPixelIndex(1, 0), 5);
  image.SetPixelIndex(0, 0, 0);
  EXPECT_EQ(rowsOf(image), (Bytes{0x05, 0x30, 0, 0})) << "the neighbour stays";
}

TEST(Pixels, OneBitPutsTheFirstColumnHighest) {
  OwnedImage image;
  ASSERT_NE(image.Create(10, 1, 1, 0), nullptr);
  for (const long x : {0, 2, 7, 9}) image.SetPixelIndex(x, 0, 1);
  EXPECT_EQ(rowsOf(image), (Bytes{0xA1, 0x40, 0, 0}));
  EXPECT_EQ(image.BlindGetPixelIndex(7, 0), 1);
  EXPECT_EQ(image.BlindGetPixelIndex(8, 0), 0);
}

TEST(Pixels, OneBitStoresTheLowestBitOfTheIndex) {
  OwnedImage image;
  ASSERT_NE(image.Create(10, 1, 1, 0), nullptr);
  image.SetPixelIndex(3, 0, 255);
  EXPECT_EQ(image.GetPixelIndex(3, 0), 1);
  image.SetPixelIndex(3, 0, 2);
  EXPECT_EQ(image.GetPixelIndex(3, 0), 0);
}

TEST(Pixels, OutsideReadsTheFirstByteOfThePixelArea) {
  OwnedImage eight;
  fill(eight, 10, 3, 8, repeated(30, 11));
  eight.SetPixelIndex(0, 0, 123);
  OwnedImage four;
  fill(four, 10, 3, 4, repeated(30, 9));
  OwnedImage one;
  fill(one, 10, 3, 1, repeated(30, 1));
  one.SetPixelIndex(0, 0, 0);
  for (const auto& [x, y] : kOutside) {
    SCOPED_TRACE(testing::Message() << x << ", " << y);
    EXPECT_EQ(eight.GetPixelIndex(x, y), 123);
    EXPECT_EQ(four.GetPixelIndex(x, y), 0x99) << "the packed byte";
    EXPECT_EQ(one.GetPixelIndex(x, y), 0x7F) << "the packed byte";
  }
}

TEST(Pixels, OutsideWritesNothing) {
  for (const uint32_t bpp : {1U, 4U, 8U, 24U}) {
    OwnedImage image;
    ASSERT_NE(image.Create(10, 3, bpp, 0), nullptr);
    const Bytes before = blockOf(image);
    for (const auto& [x, y] : kOutside) image.SetPixelIndex(x, y, 255);
    EXPECT_TRUE(sameBytes(before, blockOf(image))) << bpp << " bits";
  }
}

TEST(Pixels, TrueColourHasNoIndices) {
  OwnedImage image;
  ASSERT_NE(image.Create(2, 2, 24, 0), nullptr);
  image.BlindSetPixelColor(0, 0, {1, 2, 3, 4}, true);
  const Bytes before = blockOf(image);
  EXPECT_EQ(image.GetPixelIndex(0, 0), 0);
  EXPECT_EQ(image.GetPixelIndex(-1, 0), 0);
  EXPECT_EQ(image.BlindGetPixelIndex(0, 0), 0);
  image.SetPixelIndex(0, 0, 255);
  image.BlindSetPixelIndex(0, 0, 255);
  EXPECT_TRUE(sameBytes(before, blockOf(image)));
}

TEST(Pixels, EmptyImageReadsZeroAndIgnoresWrites) {
  OwnedImage image;
  image.SetPixelIndex(0, 0, 1);
  EXPECT_EQ(image.GetPixelIndex(0, 0), 0);
  ASSERT_NE(image.Create(3, 3, 8, 0), nullptr);
  image.Destroy();
  image.SetPixelIndex(1, 1, 1);
  EXPECT_EQ(image.GetPixelIndex(1, 1), 0);
  EXPECT_EQ(image.GetPixelIndex(-1, 1), 0);
}

TEST(Pixels, ColoursOfTrueColourAreStoredBlueFirst) {
  OwnedImage image;
  ASSERT_NE(image.Create(3, 2, 24, 0), nullptr);
  image.BlindSetPixelColor(1, 1, {10, 20, 30, 40}, false);
  EXPECT_EQ(rowsOf(image),
            (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 10, 20, 30, 0, 0, 0, 0, 0, 0}));
  for (const bool alpha : {false, true}) {
    EXPECT_EQ(image.BlindGetPixelColor(1, 1, alpha), (tagRGBQUAD{10, 20, 30, 0}));
  }
}

TEST(Pixels, ColoursOfIndexedImagesGoThroughThePalette) {
  OwnedImage image;
  ASSERT_NE(image.Create(3, 2, 4, 0), nullptr);
  image.SetGrayPalette();
  image.SetPaletteColor(6, 1, 2, 3, 4);
  image.BlindSetPixelColor(2, 1, {3, 2, 1, 0}, true);
  EXPECT_EQ(image.GetPixelIndex(2, 1), 6);
  EXPECT_EQ(image.BlindGetPixelColor(2, 1, false), (tagRGBQUAD{3, 2, 1, 4}));
}

}  // namespace
