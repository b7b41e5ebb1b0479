// SPDX-License-Identifier: Apache-2.0
// Rotation, mirroring, depth, canvas, lines.
#include <climits>

#include "tests/model/tone.h"
#include "tests/unit/image/image_support.h"

namespace {

constexpr tagRGBQUAD kWhiteFill = {255, 255, 255, 0};

// ---- Rotate180 -------------------------------------------------------------------

TEST(Rotate180, TurnsInPlaceWithItsPalette) {
  OwnedImage image;
  fill(image, 3, 2, 8, {1, 2, 3, 4, 5, 6});
  image.SetPaletteColor(9, 1, 2, 3, 4);
  EXPECT_TRUE(image.Rotate180(nullptr));
  EXPECT_EQ(rowsOf(image), (Bytes{6, 5, 4, 0, 3, 2, 1, 0}));
  EXPECT_EQ(image.GetPaletteColor(9), (tagRGBQUAD{3, 2, 1, 4}));
}

TEST(Rotate180, OnePixelStaysButBecomesEightBits) {
  for (const uint32_t bpp : {1U, 4U, 8U}) {
    OwnedImage image;
    fill(image, 1, 1, bpp, {1});
    EXPECT_TRUE(image.Rotate180(nullptr));
    EXPECT_EQ(image.GetBpp(), 8U);
    EXPECT_EQ(indicesOf(image), (Bytes{1}));
  }
}

TEST(Rotate180, OtherDepthsKeepTheirIndicesAndEntries) {
  OwnedImage image;
  fill(image, 3, 2, 4, {1, 2, 3, 4, 5, 6});
  EXPECT_TRUE(image.Rotate180(nullptr));
  EXPECT_EQ(indicesOf(image), (Bytes{6, 5, 4, 3, 2, 1}));
  EXPECT_EQ(image.GetNumColors(), 256U);
  EXPECT_EQ(image.GetPaletteColor(15), (tagRGBQUAD{255, 255, 255, 0}));
  EXPECT_EQ(image.GetPaletteColor(16), (tagRGBQUAD{0, 0, 0, 0}));
}

TEST(Rotate180, IntoATargetLeavesTheSource) {
  OwnedImage image;
  OwnedImage target;
  fill(image, 3, 1, 8, {1, 2, 3});
  fill(target, 9, 1, 8, repeated(9, 77));
  const Bytes before = blockOf(image);
  EXPECT_TRUE(image.Rotate180(&target));
  EXPECT_TRUE(sameBytes(before, blockOf(image)));
  EXPECT_EQ(indicesOf(target), (Bytes{3, 2, 1}));
}

TEST(Rotate180, KeepsTypeAndErrorText) {
  OwnedImage image;
  EXPECT_EQ(image.Create(0, 0, 8, 0), nullptr);
  ASSERT_NE(image.Create(2, 2, 8, 31), nullptr);
  EXPECT_TRUE(image.Rotate180(nullptr));
  EXPECT_EQ(image.GetType(), 31U);
  EXPECT_STREQ(image.GetLastError(), kZeroSideText);
}

TEST(Rotate180, EmptyImageFailsAndLeavesTheTarget) {
  OwnedImage image;
  OwnedImage target;
  fill(target, 2, 1, 8, {8, 9});
  EXPECT_FALSE(image.Rotate180(nullptr));
  EXPECT_FALSE(image.Rotate180(&target));
  EXPECT_EQ(indicesOf(target), (Bytes{8, 9}));
}

TEST(Rotate180, ImageTooLargeForEightBitsEndsUpEmpty) {
  OwnedImage image;
  ASSERT_NE(image.Create(0x8000, 0x4000, 1, 0), nullptr);
  EXPECT_TRUE(image.Rotate180(nullptr));
  EXPECT_FALSE(image.IsValid());
  EXPECT_STREQ(image.GetLastError(), kTooLargeText);
}

// ---- Mirror ----------------------------------------------------------------------

TEST(Mirror, ReversesEveryRow) {
  OwnedImage image;
  fill(image, 3, 2, 8, {1, 2, 3, 4, 5, 6});
  image.SetPaletteColor(9, 1, 2, 3, 4);
  image.Mirror();
  EXPECT_EQ(rowsOf(image), (Bytes{3, 2, 1, 0, 6, 5, 4, 0}));
  EXPECT_EQ(image.GetPaletteColor(9), (tagRGBQUAD{3, 2, 1, 4}));
}

TEST(Mirror, MatchesThePlainPictureAtManyWidths) {
  for (int width = 1; width <= 70; ++width) {
    const model::Grey noise = model::noisePage(width, 3, 1);
    OwnedImage mirrored;
    OwnedImage turned;
    fill(mirrored, noise);
    fill(turned, noise);
    mirrored.Mirror();
    EXPECT_TRUE(turned.Rotate180(nullptr));
    EXPECT_TRUE(sameBytes(model::mirror(noise).pixels, indicesOf(mirrored))) << width;
    EXPECT_TRUE(sameBytes(model::rotate180(noise).pixels, indicesOf(turned))) << width;
  }
}

TEST(Mirror, OtherDepthsBecomeEightBitsAndStayInsideTheirRows) {
  for (const uint32_t bpp : {1U, 4U, 24U}) {
    for (uint32_t width = 1; width <= 70; ++width) {
      const Bytes noise = model::noisePage(240, 4, width).pixels;
      OwnedImage image;
      ASSERT_TRUE(image.CreateFromArray(noise.data(), width, 4, bpp, 240, false));
      image.Mirror();
      EXPECT_EQ(image.GetBpp(), 8U);
      EXPECT_EQ(image.GetWidth(), width);
      EXPECT_EQ(image.GetHeight(), 4U);
    }
  }
}

TEST(Mirror, EmptyImageStaysEmpty) {
  OwnedImage image;
  image.Mirror();
  EXPECT_FALSE(image.IsValid());
}

// ---- IncreaseBpp -------------------------------------------------------------------

TEST(IncreaseBpp, EqualDepthIsTrueAndUnchanged) {
  for (const uint32_t bpp : {4U, 8U, 24U}) {
    OwnedImage image;
    ASSERT_NE(image.Create(3, 2, bpp, 5), nullptr);
    const Bytes before = blockOf(image);
    EXPECT_TRUE(image.IncreaseBpp(bpp));
    EXPECT_TRUE(sameBytes(before, blockOf(image)));
  }
}

TEST(IncreaseBpp, SmallerAndUnknownDepthsFail) {
  OwnedImage eight;
  fill(eight, 2, 1, 8, {1, 2});
  OwnedImage trueColour;
  ASSERT_NE(trueColour.Create(2, 1, 24, 0), nullptr);
  EXPECT_FALSE(eight.IncreaseBpp(4));
  EXPECT_FALSE(trueColour.IncreaseBpp(4));
  EXPECT_FALSE(trueColour.IncreaseBpp(8));
  for (const uint32_t bpp : {0U, 1U, 2U, 5U, 16U, 32U, 0xFFFFFFFFU}) {
    EXPECT_FALSE(eight.IncreaseBpp(bpp)) << bpp;
  }
  EXPECT_EQ(indicesOf(eight), (Bytes{1, 2}));
  EXPECT_EQ(eight.GetBpp(), 8U);
}

TEST(IncreaseBpp, IndicesAndEntriesAreKeptAndNewEntriesAreBlack) {
  struct Row {
    uint32_t from;
    uint32_t to;
  };
  for (const Row& row : {Row{1, 4}, Row{1, 8}, Row{4, 8}}) {
    SCOPED_TRACE(testing::Message() << row.from << " to " << row.to);
    const Bytes indices = {1, 0, 1, 1, 0, 0, 1, 1, 1, 0, 1, 1, 0, 1, 0, 1, 1, 0, 1, 0, 0, 1};
    OwnedImage image;
    fill(image, 11, 2, row.from, indices);
    image.SetPaletteColor(1, 40, 50, 60, 70);
    const uint32_t oldColours = image.GetNumColors();
    EXPECT_TRUE(image.IncreaseBpp(row.to));
    EXPECT_EQ(image.GetBpp(), row.to);
    EXPECT_EQ(indicesOf(image), indices);
    EXPECT_EQ(image.GetPaletteColor(1), (tagRGBQUAD{60, 50, 40, 70}));
    for (uint32_t i = oldColours; i < image.GetNumColors(); ++i) {
      EXPECT_EQ(image.GetPaletteColor(static_cast<uint8_t>(i)), (tagRGBQUAD{0, 0, 0, 0}));
    }
  }
}

TEST(IncreaseBpp, TrueColourTakesTheColoursOfTheEntries) {
  OwnedImage image;
  fill(image, 3, 1, 4, {0, 5, 15});
  image.SetPaletteColor(5, 10, 20, 30, 40);
  EXPECT_TRUE(image.IncreaseBpp(24));
  EXPECT_EQ(image.GetBpp(), 24U);
  EXPECT_EQ(image.GetNumColors(), 0U);
  EXPECT_EQ(rowsOf(image), (Bytes{0, 0, 0, 30, 20, 10, 255, 255, 255, 0, 0, 0}));
}

TEST(IncreaseBpp, ResultTooLargeFailsWithTextAndLeavesTheImage) {
  OwnedImage image;
  ASSERT_NE(image.Create(0x4000, 0x4000, 1, 0), nullptr);
  EXPECT_FALSE(image.IncreaseBpp(24));
  EXPECT_STREQ(image.GetLastError(), kTooLargeText);
  EXPECT_TRUE(image.IsValid());
  EXPECT_EQ(image.GetBpp(), 1U);
}

TEST(IncreaseBpp, EmptyImageFails) {
  for (const uint32_t bpp : {4U, 8U, 24U}) {
    OwnedImage image;
    EXPECT_FALSE(image.IncreaseBpp(bpp));
  }
}

// ---- Expand ------------------------------------------------------------------------

TEST(Expand, AddsWhiteColumnsToAGreyImage) {
  OwnedImage image;
  fill(image, 2, 2, 8, {1, 2, 3, 4});
  EXPECT_TRUE(image.Expand(2, 0, 2, 0, kWhiteFill));
  EXPECT_EQ(image.GetWidth(), 6U);
  EXPECT_EQ(image.GetHeight(), 2U);
  EXPECT_EQ(indicesOf(image), (Bytes{255, 255, 1, 2, 255, 255, 255, 255, 3, 4, 255, 255}));
  EXPECT_EQ(image.GetPaletteColor(200), (tagRGBQUAD{200, 200, 200, 0}));
}

TEST(Expand, BottomMarginComesFirstInMemory) {
  for (const uint32_t bpp : {1U, 4U, 8U}) {
    SCOPED_TRACE(bpp);
    OwnedImage image;
    fill(image, 1, 1, bpp, {0});
    ASSERT_TRUE(image.Expand(1, 1, 0, 2, kWhiteFill));
    const auto top = static_cast<uint8_t>((1U << bpp) - 1);
    EXPECT_EQ(indicesOf(image), (Bytes{top, top, top, top, top, 0, top, top}));
  }
}

TEST(Expand, EightBitsFillThePaddingToo) {
  OwnedImage image;
  fill(image, 1, 1, 8, {7});
  ASSERT_TRUE(image.Expand(0, 1, 1, 0, {9, 9, 9, 0}));
  EXPECT_EQ(rowsOf(image), (Bytes{7, 9, 9, 9, 9, 9, 9, 9}));
}

TEST(Expand, TrueColourGetsTheCanvasColourAndKeepsItsPaddingZero) {
  OwnedImage image;
  ASSERT_NE(image.Create(1, 1, 24, 0), nullptr);
  image.BlindSetPixelColor(0, 0, {1, 2, 3, 0}, false);
  ASSERT_TRUE(image.Expand(1, 0, 0, 1, {7, 8, 9, 10}));
  EXPECT_EQ(rowsOf(image), (Bytes{7, 8, 9, 7, 8, 9, 0, 0, 7, 8, 9, 1, 2, 3, 0, 0}));
}

TEST(Expand, CanvasIsTheNearestEntry) {
  OwnedImage image;
  fill(image, 1, 1, 4, {2});
  ASSERT_TRUE(image.Expand(0, 0, 1, 0, {100, 100, 100, 0}));
  EXPECT_EQ(indicesOf(image), (Bytes{2, 6})) << "102 is nearest to 100";
}

TEST(Expand, NoMarginsKeepThePicture) {
  for (const uint32_t bpp : {1U, 4U, 8U}) {
    OwnedImage image;
    fill(image, 5, 2, bpp, {1, 0, 0, 1, 1, 0, 1, 0, 1, 0});
    ASSERT_TRUE(image.Expand(0, 0, 0, 0, kWhiteFill));
    EXPECT_EQ(indicesOf(image), (Bytes{1, 0, 0, 1, 1, 0, 1, 0, 1, 0})) << bpp;
  }
}

TEST(Expand, NegativeMarginFailsAndChangesNothing) {
  OwnedImage image;
  fill(image, 2, 1, 8, {1, 2});
  const Bytes before = blockOf(image);
  for (const long margin : {-1L, LONG_MIN}) {
    EXPECT_FALSE(image.Expand(margin, 0, 0, 0, kWhiteFill));
    EXPECT_FALSE(image.Expand(0, margin, 0, 0, kWhiteFill));
    EXPECT_FALSE(image.Expand(0, 0, margin, 0, kWhiteFill));
    EXPECT_FALSE(image.Expand(0, 0, 0, margin, kWhiteFill));
    EXPECT_FALSE(image.Expand(margin, LONG_MAX, LONG_MAX, LONG_MAX, kWhiteFill));
  }
  EXPECT_TRUE(sameBytes(before, blockOf(image)));
  EXPECT_STREQ(image.GetLastError(), "");
}

TEST(Expand, MarginsThatDoNotFitFailWithTextAndChangeNothing) {
  for (const uint32_t bpp : {1U, 4U, 8U, 24U}) {
    OwnedImage image;
    ASSERT_NE(image.Create(3, 2, bpp, 0), nullptr);
    const Bytes before = blockOf(image);
    for (const long margin : {0x7FFFFFFFL, 0xFFFFFFFEL}) {
      EXPECT_FALSE(image.Expand(margin, margin, 0, 0, kWhiteFill)) << margin;
      EXPECT_STREQ(image.GetLastError(), kTooLargeText);
    }
    // Beyond 32 bits the sides themselves wrap or overflow: no way to serve them.
    for (const long margin : {0xFFFFFFFFL, 1L << 32, (1L << 32) + 5, 1L << 62, LONG_MAX}) {
      EXPECT_FALSE(image.Expand(margin, margin, margin, margin, kWhiteFill)) << margin;
      EXPECT_FALSE(image.Expand(margin, 0, margin, 0, kWhiteFill)) << margin;
      EXPECT_FALSE(image.Expand(0, margin, 0, margin, kWhiteFill)) << margin;
    }
    EXPECT_TRUE(sameBytes(before, blockOf(image))) << bpp;
  }
}

TEST(Expand, EmptyImageFails) {
  OwnedImage image;
  EXPECT_FALSE(image.Expand(1, 1, 1, 1, kWhiteFill));
}

// ---- DrawLine ----------------------------------------------------------------------

// The picture after one line of 9s on black, one text row per image row.
std::string drawn(uint32_t width, uint32_t height, int startX, int endX, int startY, int endY) {
  OwnedImage image;
  fill(image, width, height, 8, repeated(size_t{width} * height, 0));
  image.DrawLine(startX, endX, startY, endY, 9);
  std::string text;
  const Bytes indices = indicesOf(image);
  for (size_t i = 0; i < indices.size(); ++i) {
    if (i != 0 && i % width == 0) text += '/';
    text += indices[i] == 9 ? 'o' : indices[i] == 0 ? '.' : '?';
  }
  return text;
}

TEST(DrawLine, StepsAlongTheLongerSide) {
  EXPECT_EQ(drawn(5, 3, 0, 3, 0, 1), "oo.../..oo./.....");
  EXPECT_EQ(drawn(3, 5, 0, 1, 0, 3), "o../o../.o./.o./...");
}

TEST(DrawLine, EqualEndsSetOnePixel) { EXPECT_EQ(drawn(3, 3, 1, 1, 1, 1), ".../.o./..."); }

TEST(DrawLine, BothEndsAreDrawnInEveryDirection) {
  EXPECT_EQ(drawn(4, 2, 0, 3, 1, 1), "..../oooo");
  EXPECT_EQ(drawn(4, 2, 3, 0, 1, 1), "..../oooo");
  EXPECT_EQ(drawn(2, 4, 1, 1, 0, 3), ".o/.o/.o/.o");
  EXPECT_EQ(drawn(2, 4, 1, 1, 3, 0), ".o/.o/.o/.o");
  EXPECT_EQ(drawn(3, 3, 0, 2, 0, 2), "o../.o./..o");
  EXPECT_EQ(drawn(3, 3, 2, 0, 0, 2), "..o/.o./o..");
  EXPECT_EQ(drawn(3, 3, 0, 2, 2, 0), "..o/.o./o..");
  EXPECT_EQ(drawn(3, 3, 2, 0, 2, 0), "o../.o./..o");
}

TEST(DrawLine, BackwardsRoundsFromTheOtherEnd) {
  // From the right, the sum reaches the denominator after two steps again.
  EXPECT_EQ(drawn(5, 3, 3, 0, 0, 1), "..oo./oo.../.....");
  EXPECT_EQ(drawn(5, 3, 3, 0, 1, 0), "oo.../..oo./.....");
}

TEST(DrawLine, PartsOutsideAreSkipped) {
  EXPECT_EQ(drawn(3, 3, -2, 5, 1, 1), ".../ooo/...");
  EXPECT_EQ(drawn(3, 3, -5, -1, 0, 0), ".../.../...");
  EXPECT_EQ(drawn(3, 3, 0, 2, 3, 9), ".../.../...");
  EXPECT_EQ(drawn(3, 3, -1, 3, -1, 3), "o../.o./..o");
}

TEST(DrawLine, LinesAcrossAllIntegersEnd) {
  EXPECT_EQ(drawn(3, 3, INT_MIN, INT_MAX, 1, 1), ".../ooo/...");
  EXPECT_EQ(drawn(3, 3, INT_MAX, INT_MIN, 1, 1), ".../ooo/...");
  EXPECT_EQ(drawn(3, 3, 2, 2, INT_MAX, INT_MIN), "..o/..o/..o");
  EXPECT_EQ(drawn(3, 3, INT_MIN, INT_MAX, INT_MIN, INT_MAX), "o../.o./..o");
  EXPECT_EQ(drawn(3, 3, INT_MAX, INT_MIN, INT_MAX, INT_MIN), "o../.o./..o");
  EXPECT_EQ(drawn(3, 3, INT_MAX, INT_MAX, INT_MIN, INT_MAX), ".../.../...");
  EXPECT_EQ(drawn(3, 3, INT_MIN, INT_MIN, INT_MIN, INT_MIN), ".../.../...");
  // The minor side steps once, in the very middle of the line: at column 1, and
  // one column earlier for a line that starts earlier.
  EXPECT_EQ(drawn(3, 3, INT_MIN + 3, INT_MAX, 0, 1), "o../.oo/...");
  EXPECT_EQ(drawn(3, 3, INT_MIN + 1, INT_MAX, 0, 1), ".../ooo/...");
}

TEST(DrawLine, SmallDepthsStoreTheLowBits) {
  OwnedImage image;
  fill(image, 10, 1, 1, repeated(10, 0));
  image.DrawLine(2, 8, 0, 0, 255);
  EXPECT_EQ(indicesOf(image), (Bytes{0, 0, 1, 1, 1, 1, 1, 1, 1, 0}));
}

TEST(DrawLine, EmptyImageStaysEmpty) {
  OwnedImage image;
  image.DrawLine(0, 5, 0, 5, 1);
  EXPECT_FALSE(image.IsValid());
}

// ---- MakeCenter --------------------------------------------------------------------

TEST(MakeCenter, CentresTheOldContent) {
  OwnedImage image;
  fill(image, 2, 2, 8, {1, 2, 3, 4});
  image.SetPaletteColor(9, 1, 2, 3, 4);
  image.MakeCenter(5);
  EXPECT_EQ(image.GetWidth(), 5U);
  EXPECT_EQ(image.GetHeight(), 2U);
  EXPECT_EQ(indicesOf(image), (Bytes{0, 1, 2, 0, 0, 0, 3, 4, 0, 0}));
  EXPECT_EQ(image.GetPaletteColor(9), (tagRGBQUAD{3, 2, 1, 4}));
}

TEST(MakeCenter, SmallerEqualAndNegativeWidthsDoNothing) {
  OwnedImage image;
  fill(image, 3, 1, 4, {1, 2, 3});
  const Bytes before = blockOf(image);
  for (const int width : {3, 2, 0, -1, INT_MIN}) image.MakeCenter(width);
  EXPECT_TRUE(sameBytes(before, blockOf(image)));
}

TEST(MakeCenter, OtherDepthsBecomeEightBits) {
  OwnedImage image;
  fill(image, 3, 1, 4, {1, 2, 3});
  image.MakeCenter(4);
  EXPECT_EQ(image.GetBpp(), 8U);
  EXPECT_EQ(indicesOf(image), (Bytes{1, 2, 3, 0}));
}

TEST(MakeCenter, WidthTooLargeLeavesNothing) {
  OwnedImage image;
  fill(image, 3, 1, 8, {1, 2, 3});
  image.MakeCenter(INT_MAX);
  EXPECT_FALSE(image.IsValid());
  EXPECT_STREQ(image.GetLastError(), kTooLargeText);
}

TEST(MakeCenter, EmptyImageStaysEmpty) {
  OwnedImage image;
  image.MakeCenter(5);
  EXPECT_FALSE(image.IsValid());
}

}  // namespace
