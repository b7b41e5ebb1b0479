// SPDX-License-Identifier: Apache-2.0
// Palette entries and the nearest entry to a colour.
#include <algorithm>
#include <array>

#include "tests/unit/image/image_support.h"

namespace {

constexpr tagRGBQUAD kWhite = {255, 255, 255, 0};

TEST(Palette, GreyRampStepsEvenly) {
  OwnedImage two;
  OwnedImage sixteen;
  OwnedImage full;
  ASSERT_NE(two.Create(1, 1, 1, 0), nullptr);
  ASSERT_NE(sixteen.Create(1, 1, 4, 0), nullptr);
  ASSERT_NE(full.Create(1, 1, 8, 0), nullptr);
  for (PaletteImage* image : {&two, &sixteen, &full}) {
    image->SetPaletteColor(1, 9, 9, 9, 77);
    image->SetGrayPalette();
    const uint32_t step = image->GetNumColors() == 2 ? 255 : image->GetNumColors() == 16 ? 17 : 1;
    for (uint32_t i = 0; i < image->GetNumColors(); ++i) {
      const auto level = static_cast<uint8_t>(i * step);
      // The reserved byte is not part of the ramp.
      const uint8_t reserved = i == 1 ? 77 : 0;
      EXPECT_EQ(image->GetPaletteColor(static_cast<uint8_t>(i)),
                (tagRGBQUAD{level, level, level, reserved}));
    }
  }
}

TEST(Palette, ColourIsGivenRedFirstAndStoredBlueFirst) {
  OwnedImage image;
  ASSERT_NE(image.Create(1, 1, 4, 0), nullptr);
  image.SetPaletteColor(2, 10, 20, 30, 40);
  EXPECT_EQ(image.GetPaletteColor(2), (tagRGBQUAD{30, 20, 10, 40}));
  const Bytes block = blockOf(image);
  EXPECT_EQ(Bytes(block.begin() + 48, block.begin() + 52), (Bytes{30, 20, 10, 40}));
}

TEST(Palette, IndexBehindTheLastEntryChangesNothing) {
  for (const uint32_t bpp : {1U, 4U, 24U}) {
    OwnedImage image;
    ASSERT_NE(image.Create(3, 3, bpp, 0), nullptr);
    const Bytes before = blockOf(image);
    for (uint32_t index = image.GetNumColors(); index < 256; ++index) {
      image.SetPaletteColor(static_cast<uint8_t>(index), 1, 2, 3, 4);
      EXPECT_EQ(image.GetPaletteColor(static_cast<uint8_t>(index)), (tagRGBQUAD{0, 0, 0, 0}));
    }
    EXPECT_TRUE(sameBytes(before, blockOf(image)));
  }
}

TEST(Palette, EmptyImageHasNone) {
  OwnedImage image;
  image.SetGrayPalette();
  image.SetPaletteColor(0, 1, 2, 3, 4);
  image.SetPalette(&kWhite, 1);
  EXPECT_EQ(image.GetPaletteColor(0), (tagRGBQUAD{0, 0, 0, 0}));
  EXPECT_EQ(image.GetNearestIndex(kWhite), 0);
  EXPECT_EQ(image.GetPalette(), nullptr);
}

TEST(Palette, SetPaletteCopiesAtMostWhatTheImageHolds) {
  std::array<tagRGBQUAD, 256> entries = {};
  for (size_t i = 0; i < entries.size(); ++i) {
    const auto value = static_cast<uint8_t>(i);
    entries[i] = {value, 1, 2, 3};
  }
  OwnedImage image;
  fill(image, 3, 1, 4, {1, 2, 3});
  const Bytes rows = rowsOf(image);
  image.SetPalette(entries.data(), 3);
  EXPECT_EQ(image.GetPaletteColor(2), entries[2]);
  EXPECT_EQ(image.GetPaletteColor(3), (tagRGBQUAD{51, 51, 51, 0})) << "not among the three";
  image.SetPalette(entries.data(), 256);
  EXPECT_EQ(image.GetPaletteColor(15), entries[15]);
  EXPECT_TRUE(sameBytes(rows, rowsOf(image))) << "the rows behind the palette are untouched";
  const Bytes before = blockOf(image);
  image.SetPalette(nullptr, 16);
  image.SetPalette(entries.data(), 0);
  EXPECT_TRUE(sameBytes(before, blockOf(image)));

  OwnedImage trueColour;
  ASSERT_NE(trueColour.Create(2, 2, 24, 0), nullptr);
  const Bytes untouched = blockOf(trueColour);
  trueColour.SetPalette(entries.data(), 256);
  EXPECT_TRUE(sameBytes(untouched, blockOf(trueColour)));
}

TEST(NearestIndex, GreyOnTheGreyRampIsItsLevel) {
  OwnedImage image;
  ASSERT_NE(image.Create(1, 1, 8, 0), nullptr);
  image.SetGrayPalette();
  for (int i = 255; i >= 0; --i) {
    const auto level = static_cast<uint8_t>(i);
    EXPECT_EQ(image.GetNearestIndex({level, level, level, 0}), level);
  }
}

TEST(NearestIndex, TheLowestOfEqualsWins) {
  OwnedImage image;
  ASSERT_NE(image.Create(1, 1, 4, 0), nullptr);
  for (int i = 0; i < 16; ++i) {
    image.SetPaletteColor(static_cast<uint8_t>(i), 200, 200, 200, 0);
  }
  image.SetPaletteColor(5, 10, 0, 0, 0);
  image.SetPaletteColor(9, 0, 0, 10, 0);
  EXPECT_EQ(image.GetNearestIndex({0, 0, 0, 0}), 5) << "5 and 9 are equally far";
  EXPECT_EQ(image.GetNearestIndex({10, 0, 0, 0}), 9) << "an exact match";
  EXPECT_EQ(image.GetNearestIndex({255, 255, 255, 0}), 0) << "fourteen are equally far";
}

TEST(NearestIndex, DistanceIsSquaredOverThreeColoursWithoutTheReservedByte) {
  OwnedImage image;
  ASSERT_NE(image.Create(1, 1, 1, 0), nullptr);
  image.SetPaletteColor(0, 6, 6, 6, 0);   // 108 from black
  image.SetPaletteColor(1, 10, 0, 0, 0);  // 100 from black, though 10 is more than 6
  EXPECT_EQ(image.GetNearestIndex({0, 0, 0, 0}), 1);
  image.SetPaletteColor(0, 50, 60, 70, 255);
  image.SetPaletteColor(1, 50, 60, 71, 1);
  EXPECT_EQ(image.GetNearestIndex({70, 60, 50, 1}), 0) << "the reserved byte does not count";
}

TEST(NearestIndex, AnAnswerServesForItsOwnColourAlone) {
  OwnedImage image;
  ASSERT_NE(image.Create(1, 1, 4, 0), nullptr);
  for (int i = 0; i < 16; ++i) {
    image.SetPaletteColor(static_cast<uint8_t>(i), 0, 0, 0, 0);
  }
  image.SetPaletteColor(1, 255, 0, 0, 0);
  image.SetPaletteColor(2, 0, 255, 0, 0);
  image.SetPaletteColor(3, 0, 0, 255, 0);
  const struct {
    tagRGBQUAD colour;
    int index;
  } questions[] = {{{0, 0, 0, 0}, 0}, {{255, 0, 0, 0}, 3}, {{0, 0, 0, 0}, 0},  {{0, 255, 0, 0}, 2},
                   {{0, 0, 0, 0}, 0}, {{0, 0, 255, 0}, 1}, {{0, 0, 255, 9}, 1}};
  for (const auto& question : questions) {
    EXPECT_EQ(image.GetNearestIndex(question.colour), question.index);
  }
}

TEST(NearestIndex, EvenTheFarthestEntryIsACandidate) {
  OwnedImage image;
  ASSERT_NE(image.Create(1, 1, 1, 0), nullptr);  // both entries black
  EXPECT_EQ(image.GetNearestIndex(kWhite), 0);
  image.SetPaletteColor(0, 1, 0, 0, 0);
  EXPECT_EQ(image.GetNearestIndex({254, 255, 255, 0}), 0);
}

TEST(NearestIndex, TrueColourAnswersZero) {
  OwnedImage image;
  ASSERT_NE(image.Create(1, 1, 24, 0), nullptr);
  EXPECT_EQ(image.GetNearestIndex(kWhite), 0);
}

TEST(NearestIndex, TheLastAnswerOutlivesAChangeOfThePalette) {
  OwnedImage image;
  ASSERT_NE(image.Create(1, 1, 4, 0), nullptr);
  image.SetGrayPalette();
  EXPECT_EQ(image.GetNearestIndex(kWhite), 15);
  image.SetPaletteColor(3, 255, 255, 255, 0);
  EXPECT_EQ(image.GetNearestIndex(kWhite), 15) << "remembered";
  EXPECT_EQ(image.GetNearestIndex({0, 0, 0, 0}), 0);
  EXPECT_EQ(image.GetNearestIndex(kWhite), 3) << "only one answer is remembered";
}

TEST(NearestIndex, TheLastAnswerTravelsWithTheBookkeeping) {
  OwnedImage image;
  ASSERT_NE(image.Create(1, 1, 4, 0), nullptr);
  image.SetGrayPalette();
  EXPECT_EQ(image.GetNearestIndex(kWhite), 15);
  OwnedImage other;
  other.CopyInfo(image);
  ASSERT_NE(other.Create(1, 1, 4, 0), nullptr);
  other.SetPaletteColor(2, 255, 255, 255, 0);
  EXPECT_EQ(other.GetNearestIndex(kWhite), 15);
}

}  // namespace
