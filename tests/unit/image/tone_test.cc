// SPDX-License-Identifier: Apache-2.0
// Brightness and contrast, tables, negative.
#include <climits>
#include <numeric>

#include "tests/model/tone.h"
#include "tests/unit/image/image_support.h"

namespace {

Bytes allLevels() {
  Bytes levels(256);
  std::iota(levels.begin(), levels.end(), uint8_t{0});
  return levels;
}

// What Light makes of the levels 0 to 255.
Bytes lit(int brightness, int contrast) {
  OwnedImage image;
  fill(image, 256, 1, 8, allLevels());
  EXPECT_TRUE(image.Light(brightness, contrast));
  return indicesOf(image);
}

TEST(Light, ZeroAndZeroChangeNothing) { EXPECT_EQ(lit(0, 0), allLevels()); }

TEST(Light, BrightnessShiftsEveryLevel) {
  const Bytes brighter = lit(50, 0);
  EXPECT_EQ(brighter[0], 50);
  EXPECT_EQ(brighter[204], 254);
  for (size_t level = 205; level < 256; ++level) EXPECT_EQ(brighter[level], 255) << level;
  const Bytes darker = lit(-50, 0);
  for (size_t level = 0; level <= 50; ++level) EXPECT_EQ(darker[level], 0) << level;
  EXPECT_EQ(darker[51], 1);
  EXPECT_EQ(darker[255], 205);
}

TEST(Light, ContrastScalesAround128) {
  EXPECT_EQ(lit(0, -100), repeated(256, 128));
  EXPECT_EQ(lit(20, -100), repeated(256, 148));
  EXPECT_EQ(lit(200, -100), repeated(256, 255));
  EXPECT_EQ(lit(-200, -100), repeated(256, 0));
  const Bytes steep = lit(0, 100);
  EXPECT_EQ(steep[64], 0);
  EXPECT_EQ(steep[65], 2);
  EXPECT_EQ(steep[128], 128);
  EXPECT_EQ(steep[191], 254);
  EXPECT_EQ(steep[192], 255);
}

TEST(Light, ProductsAreRoundedBeforeTheyAreAdded) {
  // A fused multiply-add would give one level less.
  const Bytes levels = lit(-255, 30);
  EXPECT_EQ(levels[233], 10);
  EXPECT_EQ(levels[243], 23);
  EXPECT_EQ(levels[253], 36);
}

TEST(Light, MatchesTheModelForEverySettingAndHostileOnes) {
  std::vector<int> values;
  for (int value = -260; value <= 260; value += 5) values.push_back(value);
  for (const int value : {1, 2, 3, 7, 11, 33, -1, -3, -7, -99, -101, 1000, -1000, 10000000,
                          -10000000, INT_MAX, INT_MIN, INT_MAX - 99, INT_MIN + 128}) {
    values.push_back(value);
  }
  for (const int brightness : values) {
    for (const int contrast : values) {
      const model::ToneTable table = model::lightTable(brightness, contrast);
      ASSERT_TRUE(sameBytes(Bytes(table.begin(), table.end()), lit(brightness, contrast)))
          << "brightness " << brightness << ", contrast " << contrast;
    }
  }
}

TEST(Light, TableIsWhatTheImageGets) {
  for (const auto& [brightness, contrast] : {std::pair{0, 0}, {50, -20}, {-77, 33}, {0, -100}}) {
    const auto table = PaletteImage::lightTable(brightness, contrast);
    EXPECT_EQ(Bytes(table.begin(), table.end()), lit(brightness, contrast));
  }
}

TEST(Light, EmptyImageFails) {
  OwnedImage image;
  EXPECT_FALSE(image.Light(0, 0));
}

TEST(Lut, ReplacesEveryIndexAndKeepsPaletteAndPadding) {
  OwnedImage image;
  ASSERT_TRUE(image.CreateFromArray(Bytes{1, 2, 3, 9, 4, 5, 6, 9}.data(), 3, 2, 8, 4, false));
  Bytes table = allLevels();
  std::reverse(table.begin(), table.end());
  EXPECT_TRUE(image.Lut(table.data()));
  EXPECT_EQ(rowsOf(image), (Bytes{254, 253, 252, 9, 251, 250, 249, 9}));
  EXPECT_EQ(image.GetPaletteColor(7), (tagRGBQUAD{7, 7, 7, 0}));
}

TEST(Lut, StoresTheLowBitsAtSmallDepths) {
  Bytes table(256, 0);
  table[0] = 0xF3;
  table[1] = 0x12;
  table[5] = 0x0A;
  OwnedImage four;
  fill(four, 3, 1, 4, {0, 1, 5});
  EXPECT_TRUE(four.Lut(table.data()));
  EXPECT_EQ(indicesOf(four), (Bytes{3, 2, 10}));
  OwnedImage one;
  fill(one, 3, 1, 1, {0, 1, 0});
  EXPECT_TRUE(one.Lut(table.data()));
  EXPECT_EQ(indicesOf(one), (Bytes{1, 0, 1}));
}

TEST(Lut, RowsWithoutPaddingAreReplacedOnce) {
  Bytes table(256, 0);
  for (size_t index = 0; index < 16; ++index) table[index] = static_cast<uint8_t>((index + 1) % 16);
  OwnedImage image;
  fill(image, 8, 3, 4, repeated(24, 6));
  EXPECT_TRUE(image.Lut(table.data()));
  EXPECT_EQ(indicesOf(image), repeated(24, 7));
}

TEST(Lut, TrueColourIsUnchangedAndStillTrue) {
  OwnedImage image;
  ASSERT_NE(image.Create(3, 2, 24, 0), nullptr);
  image.BlindSetPixelColor(1, 1, {1, 2, 3, 0}, false);
  const Bytes before = blockOf(image);
  const Bytes table(256, 200);
  EXPECT_TRUE(image.Lut(table.data()));
  EXPECT_TRUE(image.Light(50, 50));
  EXPECT_TRUE(sameBytes(before, blockOf(image)));
}

TEST(Lut, EmptyImageOrNoTableFails) {
  OwnedImage image;
  const Bytes table(256, 200);
  EXPECT_FALSE(image.Lut(table.data()));
  fill(image, 2, 1, 8, {1, 2});
  EXPECT_FALSE(image.Lut(nullptr));
  EXPECT_EQ(indicesOf(image), (Bytes{1, 2}));
}

TEST(Negative, ComplementsEveryByteWithPaddingAndKeepsThePalette) {
  OwnedImage image;
  ASSERT_TRUE(image.CreateFromArray(Bytes{0, 1, 255, 128, 7, 9}.data(), 3, 2, 8, 3, false));
  image.Negative();
  EXPECT_EQ(rowsOf(image), (Bytes{255, 254, 0, 255, 127, 248, 246, 255}));
  EXPECT_EQ(image.GetPaletteColor(9), (tagRGBQUAD{9, 9, 9, 0}));
}

TEST(Negative, SwapsTheTwoIndicesOfOneBit) {
  OwnedImage image;
  fill(image, 5, 1, 1, {1, 0, 0, 1, 1});
  image.Negative();
  EXPECT_EQ(indicesOf(image), (Bytes{0, 1, 1, 0, 0}));
}

TEST(Negative, TwiceRestoresTheImage) {
  for (const uint32_t bpp : {1U, 4U, 8U, 24U}) {
    const Bytes noise = model::noisePage(64, 5, bpp).pixels;
    OwnedImage image;
    ASSERT_TRUE(image.CreateFromArray(noise.data(), 13, 5, bpp, 40, false));
    const Bytes before = blockOf(image);
    image.Negative();
    EXPECT_FALSE(sameBytes(before, blockOf(image)));
    image.Negative();
    EXPECT_TRUE(sameBytes(before, blockOf(image))) << bpp << " bits";
  }
}

TEST(Negative, EmptyImageStaysEmpty) {
  OwnedImage image;
  image.Negative();
  EXPECT_FALSE(image.IsValid());
}

}  // namespace
