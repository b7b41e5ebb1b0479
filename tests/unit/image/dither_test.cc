// SPDX-License-Identifier: Apache-2.0
// The nine halftones: worked examples, and every method against a plain model.
#include <climits>
#include <string>
#include <tuple>

#include "tests/model/dither.h"
#include "tests/model/palette_image.h"
#include "tests/unit/image/image_support.h"

namespace {

constexpr long kAllMethods[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 100, -1, LONG_MIN, LONG_MAX};
constexpr long kDiffusions[] = {2, 3, 4, 5, 6, 8};

// One 0 or 1 per pixel.
Bytes dithered(const model::Grey& picture, long method) {
  OwnedImage image;
  fill(image, picture);
  EXPECT_TRUE(image.Dither(method));
  EXPECT_EQ(image.GetBpp(), 1U);
  return indicesOf(image);
}

model::Grey column(int height, uint8_t level) { return model::makeGrey(1, height, level); }

size_t whites(const Bytes& indices) {
  return static_cast<size_t>(std::count(indices.begin(), indices.end(), uint8_t{1}));
}

TEST(Dither, EmptyImageFails) {
  for (const long method : kAllMethods) {
    OwnedImage image;
    EXPECT_FALSE(image.Dither(method));
    EXPECT_FALSE(image.IsValid());
  }
}

TEST(Dither, OneBitImageStaysAsItIs) {
  for (const long method : kAllMethods) {
    OwnedImage image;
    fill(image, 9, 2, 1, {1, 0, 1, 1, 0, 0, 1, 0, 1, 0, 0, 0, 1, 1, 0, 1, 0, 1});
    image.SetPaletteColor(0, 1, 2, 3, 4);
    const Bytes before = blockOf(image);
    EXPECT_TRUE(image.Dither(method));
    EXPECT_TRUE(sameBytes(before, blockOf(image)));
  }
}

TEST(Dither, ResultIsOneBitUnderABlackAndWhitePalette) {
  for (const long method : kAllMethods) {
    SCOPED_TRACE(method);
    OwnedImage image;
    ASSERT_NE(image.Create(37, 5, 8, 4711), nullptr);
    for (long x = 0; x < 37; ++x) image.SetPixelIndex(x, 2, 255);
    ASSERT_TRUE(image.Dither(method));
    EXPECT_EQ(image.GetBpp(), 1U);
    EXPECT_EQ(image.GetNumColors(), 2U);
    EXPECT_EQ(image.GetWidth(), 37U);
    EXPECT_EQ(image.GetHeight(), 5U);
    EXPECT_EQ(image.GetEffWidth(), 8U);
    EXPECT_EQ(image.GetType(), 4711U) << "the type tag is kept";
    EXPECT_EQ(image.GetPaletteColor(0), (tagRGBQUAD{0, 0, 0, 0}));
    EXPECT_EQ(image.GetPaletteColor(1), (tagRGBQUAD{255, 255, 255, 0}));
    // Row 2 is white, and its padding is zero.
    const Bytes rows = rowsOf(image);
    EXPECT_EQ(Bytes(rows.begin() + 16, rows.begin() + 24),
              (Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0xF8, 0, 0, 0}));
  }
}

TEST(Dither, FixedThresholdIsWhiteAbove128) {
  model::Grey ramp = model::makeGrey(256, 1, 0);
  for (int x = 0; x < 256; ++x) ramp.set(x, 0, static_cast<uint8_t>(x));
  const Bytes result = dithered(ramp, 0);
  for (size_t level = 0; level < 256; ++level) {
    EXPECT_EQ(result[level], level > 128 ? 1 : 0) << level;
  }
  EXPECT_EQ(dithered(model::makeGrey(9, 9, 128), 0), repeated(81, 0));
  EXPECT_EQ(dithered(model::makeGrey(9, 9, 129), 0), repeated(81, 1));
}

TEST(Dither, OrderedMatrixHoldsForEveryLevelAndCell) {
  const int matrix[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
  for (int level = 0; level < 256; ++level) {
    const Bytes result = dithered(model::makeGrey(9, 7, static_cast<uint8_t>(level)), 1);
    const int steps = level * 16 / 255;
    for (size_t y = 0; y < 7; ++y) {
      for (size_t x = 0; x < 9; ++x) {
        const bool white = level == 255 || matrix[y % 4][x % 4] < steps;
        ASSERT_EQ(result[y * 9 + x], white ? 1 : 0) << level << " at " << x << ", " << y;
      }
    }
  }
}

TEST(Dither, OrderedMatrixLeavesBlackBlackAndWhiteWhite) {
  EXPECT_EQ(dithered(model::makeGrey(8, 8, 0), 1), repeated(64, 0));
  EXPECT_EQ(dithered(model::makeGrey(8, 8, 255), 1), repeated(64, 1));
  EXPECT_EQ(whites(dithered(model::makeGrey(8, 8, 254), 1)), 60U) << "15 of 16 cells";
}

TEST(Dither, BayerThresholdsHoldForEveryLevelAndCell) {
  const int thresholds[4][4] = {
      {0, 192, 48, 240}, {128, 64, 176, 112}, {32, 224, 16, 208}, {160, 96, 144, 80}};
  for (int level = 0; level < 256; ++level) {
    const Bytes result = dithered(model::makeGrey(9, 7, static_cast<uint8_t>(level)), 7);
    for (size_t y = 0; y < 7; ++y) {
      for (size_t x = 0; x < 9; ++x) {
        const bool white = level > thresholds[y % 4][x % 4];
        ASSERT_EQ(result[y * 9 + x], white ? 1 : 0) << level << " at " << x << ", " << y;
      }
    }
  }
}

TEST(Dither, BayerLeavesBlackBlackAndWhiteWhite) {
  EXPECT_EQ(dithered(model::makeGrey(8, 8, 0), 7), repeated(64, 0));
  EXPECT_EQ(dithered(model::makeGrey(8, 8, 255), 7), repeated(64, 1));
}

TEST(Dither, DiffusionOf128IsHalfAndHalf) {
  for (const long method : kDiffusions) {
    const Bytes result = dithered(model::makeGrey(64, 64, 128), method);
    const double share = static_cast<double>(whites(result)) / 4096.0;
    EXPECT_GT(share, 0.45) << "method " << method;
    EXPECT_LT(share, 0.55) << "method " << method;
  }
}

TEST(Dither, DiffusionLeavesBlackBlackAndWhiteWhite) {
  for (const long method : kDiffusions) {
    EXPECT_EQ(dithered(model::makeGrey(17, 9, 0), method), repeated(153, 0)) << method;
    EXPECT_EQ(dithered(model::makeGrey(17, 9, 255), method), repeated(153, 1)) << method;
  }
}

TEST(Dither, FloydSteinbergTruncatesEachShareAndDropsWhatFallsOutside) {
  // Worked by hand. 100 is black and gives 43 to the right, 31 below and 6 to the
  // lower right; 143 is white, its error of -112 gives -49, -21, -35 and -7; 51
  // is black and gives 9 and 15. The second row is then 110, 80, 108: 110 is
  // black and gives 48; 128 is still black and gives 56; 164 is white.
  EXPECT_EQ(dithered(model::makeGrey(3, 2, 100), 8), (Bytes{0, 1, 0, 0, 0, 1}));
}

TEST(Dither, OnePixelWideImagesPassErrorOnlyDown) {
  // Floyd-Steinberg gives 5/16 down: 100 black (31), 131 white (-38), 62 black
  // (19), 119 black (37), 137 white.
  EXPECT_EQ(dithered(column(5, 100), 8), (Bytes{0, 1, 0, 0, 1}));
  // Burkes gives 8/32: 100 black (25), 125 black (31), 131 white (-31), 69 black
  // (17), 117 black (29), 129 white.
  EXPECT_EQ(dithered(column(6, 100), 2), (Bytes{0, 0, 1, 0, 0, 1}));
  // Stucki gives 8/42 and 4/42: 100 black (19, 9), 119 black (22, 11), 131 white.
  EXPECT_EQ(dithered(column(3, 100), 3), (Bytes{0, 0, 1}));
  // Jarvis gives 7/48 and 5/48: 100 black (14, 10), 114 black (16, 11), 126
  // black (18, 13), 129 white.
  EXPECT_EQ(dithered(column(4, 100), 4), (Bytes{0, 0, 0, 1}));
  // Sierra gives 5/32 and 3/32: 100 black (15, 9), 115 black (17, 10), 126 black
  // (19, 11), 129 white.
  EXPECT_EQ(dithered(column(4, 100), 5), (Bytes{0, 0, 0, 1}));
  // Stevenson and Arce give 26/200 two rows down and nothing one row down: 113
  // and 114 in the third pair of rows, 100 + 113 * 26 / 200 = 114.
  EXPECT_EQ(dithered(column(8, 100), 6), repeated(8, 0));
  // 120 black (15): two rows down 135, white.
  EXPECT_EQ(dithered(column(4, 120), 6), (Bytes{0, 0, 1, 1}));
}

TEST(Dither, EveryNumberOutsideTheTableIsFloydSteinberg) {
  const model::Grey noise = model::noisePage(61, 33, 5);
  const Bytes wanted = dithered(noise, 8);
  for (const long method : {9L, 100L, -1L, -2L, 1L << 32, (1L << 32) + 2, LONG_MIN, LONG_MAX}) {
    EXPECT_TRUE(sameBytes(wanted, dithered(noise, method))) << method;
  }
  for (long method = 0; method < 8; ++method) {
    EXPECT_FALSE(sameBytes(wanted, dithered(noise, method))) << method;
  }
}

TEST(Dither, TrueColourTurnsAllBlack) {
  for (const long method : kAllMethods) {
    OwnedImage image;
    ASSERT_NE(image.Create(13, 6, 24, 0), nullptr);
    for (long y = 0; y < 6; ++y) {
      for (long x = 0; x < 13; ++x) image.BlindSetPixelColor(x, y, {255, 255, 255, 0}, false);
    }
    EXPECT_TRUE(image.Dither(method));
    EXPECT_EQ(indicesOf(image), repeated(78, 0)) << method;
  }
}

// ---- Against the model ---------------------------------------------------------

struct Size {
  int width;
  int height;
};

constexpr Size kSizes[] = {{1, 1},  {1, 2},   {1, 17},  {2, 1},    {17, 1},   {2, 2},
                           {3, 5},  {4, 4},   {5, 3},   {6, 7},    {7, 9},    {8, 8},
                           {9, 4},  {15, 6},  {16, 3},  {17, 5},   {31, 7},   {32, 4},
                           {33, 9}, {64, 64}, {255, 3}, {2479, 1}, {2479, 4}, {300, 200}};

// Contents that push the arithmetic to its ends: anything, levels close to the
// threshold, mostly black and white.
model::Grey randomPicture(Size size, uint64_t seed) {
  model::Random random(seed);
  model::Grey picture = model::makeGrey(size.width, size.height, 0);
  for (uint8_t& level : picture.pixels) {
    switch (seed % 3) {
      case 0:
        level = random.byte();
        break;
      case 1:
        level = static_cast<uint8_t>(120 + random.below(18));
        break;
      default:
        level = random.below(8) == 0 ? random.byte() : random.below(2) == 0 ? 0 : 255;
    }
  }
  return picture;
}

class DitherMethod : public testing::TestWithParam<long> {};

TEST_P(DitherMethod, MatchesTheModelOnGreyPages) {
  for (uint64_t seed = 1; seed <= 6; ++seed) {
    for (const Size& size : kSizes) {
      SCOPED_TRACE(testing::Message() << size.width << " x " << size.height << ", seed " << seed);
      const model::Grey picture = randomPicture(size, seed);
      ASSERT_TRUE(sameBytes(model::dither(picture, GetParam()), dithered(picture, GetParam())));
    }
  }
}

TEST_P(DitherMethod, MatchesTheModelOnEveryPattern) {
  for (const std::string& name : model::patternNames()) {
    const model::Grey picture = model::patternPage(name, 203, 61, 3);
    EXPECT_TRUE(sameBytes(model::dither(picture, GetParam()), dithered(picture, GetParam())))
        << name;
  }
}

TEST_P(DitherMethod, MatchesTheModelAtEveryDepth) {
  for (const uint32_t bpp : {1U, 4U, 8U, 24U}) {
    for (uint64_t seed = 11; seed <= 13; ++seed) {
      for (const Size& size : kSizes) {
        if (size.width > 64) continue;
        SCOPED_TRACE(testing::Message()
                     << size.width << " x " << size.height << " x " << bpp << ", seed " << seed);
        // Packed rows of random bytes, padding included.
        model::Random random(seed);
        const uint32_t rowBytes = (bpp * static_cast<uint32_t>(size.width) + 31) / 32 * 4;
        Bytes rows(size_t{rowBytes} * static_cast<size_t>(size.height));
        for (uint8_t& byte : rows) byte = random.byte();
        OwnedImage image;
        model::PaletteImage plain;
        const auto width = static_cast<uint32_t>(size.width);
        const auto height = static_cast<uint32_t>(size.height);
        ASSERT_TRUE(image.CreateFromArray(rows.data(), width, height, bpp, rowBytes, false));
        ASSERT_TRUE(plain.CreateFromArray(rows.data(), width, height, bpp, rowBytes, false));
        ASSERT_EQ(image.Dither(GetParam()), plain.Dither(GetParam()));
        ASSERT_TRUE(sameBytes(plain.rows(), rowsOf(image)));
      }
    }
  }
}

std::string methodName(const testing::TestParamInfo<long>& method) {
  static constexpr const char* kNames[] = {"Threshold", "Ordered",   "Burkes", "Stucki", "Jarvis",
                                           "Sierra",    "Stevenson", "Bayer",  "Eight",  "Hundred",
                                           "MinusOne",  "Lowest",    "Highest"};
  static_assert(std::size(kNames) == std::size(kAllMethods));
  return kNames[method.index];
}

INSTANTIATE_TEST_SUITE_P(All, DitherMethod, testing::ValuesIn(kAllMethods), methodName);

}  // namespace
