// SPDX-License-Identifier: Apache-2.0
// Creation, ownership, sizes and rows.
#include <array>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <numeric>

#include "tests/unit/image/image_support.h"

namespace {

TEST(Creation, NewImageIsEmpty) {
  OwnedImage image;
  EXPECT_FALSE(image.IsValid());
  EXPECT_EQ(image.GetWidth(), 0U);
  EXPECT_EQ(image.GetHeight(), 0U);
  EXPECT_EQ(image.GetEffWidth(), 0U);
  EXPECT_EQ(image.GetNumColors(), 0U);
  EXPECT_EQ(image.GetPaletteSize(), 0U);
  EXPECT_EQ(image.GetSize(), 0U);
  EXPECT_STREQ(image.GetLastError(), "");
  EXPECT_EQ(image.GetBits(0), nullptr);
  EXPECT_EQ(image.GetPalette(), nullptr);
}

TEST(Creation, ZeroSideFailsWithText) {
  for (const auto& [width, height] : {std::pair{0U, 5U}, {5U, 0U}, {0U, 0U}}) {
    OwnedImage image;
    EXPECT_EQ(image.Create(width, height, 8, 0), nullptr);
    EXPECT_FALSE(image.IsValid());
    EXPECT_STREQ(image.GetLastError(), kZeroSideText);
    EXPECT_FALSE(PaletteImage::IsCreatable(width, height, 8));
  }
  EXPECT_TRUE(PaletteImage::IsCreatable(5, 5, 8));
}

TEST(Creation, FailureReleasesTheOldBlockAndKeepsTheOldSizes) {
  OwnedImage image;
  ASSERT_NE(image.Create(7, 3, 8, 9), nullptr);
  EXPECT_EQ(image.Create(0, 3, 8, 1), nullptr);
  EXPECT_FALSE(image.IsValid());
  EXPECT_EQ(image.GetWidth(), 7U);
  EXPECT_EQ(image.GetHeight(), 3U);
  EXPECT_EQ(image.GetType(), 9U);
  EXPECT_EQ(image.GetBits(0), nullptr);
  EXPECT_EQ(image.GetPalette(), nullptr);
}

TEST(Creation, LaterSuccessKeepsTheErrorText) {
  OwnedImage image;
  EXPECT_EQ(image.Create(0, 5, 8, 0), nullptr);
  EXPECT_NE(image.Create(4, 5, 8, 0), nullptr);
  EXPECT_STREQ(image.GetLastError(), kZeroSideText);
}

TEST(Creation, DepthIsRoundedUp) {
  struct Row {
    uint32_t asked;
    uint32_t got;
    uint32_t colours;
  };
  for (const Row& row : {Row{0, 1, 2}, Row{1, 1, 2}, Row{2, 4, 16}, Row{3, 4, 16}, Row{4, 4, 16},
                         Row{5, 8, 256}, Row{8, 8, 256}, Row{9, 24, 0}, Row{16, 24, 0},
                         Row{24, 24, 0}, Row{32, 24, 0}, Row{0xFFFFFFFF, 24, 0}}) {
    SCOPED_TRACE(row.asked);
    OwnedImage image;
    ASSERT_NE(image.Create(5, 3, row.asked, 0), nullptr);
    EXPECT_EQ(image.GetBpp(), row.got);
    EXPECT_EQ(image.GetNumColors(), row.colours);
    EXPECT_EQ(image.GetPaletteSize(), row.colours * 4);
    EXPECT_EQ(image.GetPalette() == nullptr, row.colours == 0);
  }
}

TEST(Creation, RowsArePaddedToFourBytes) {
  struct Row {
    uint32_t width;
    uint32_t bpp;
    uint32_t bytes;
  };
  for (const Row& row : {Row{1, 8, 4}, Row{4, 8, 4}, Row{5, 8, 8}, Row{33, 1, 8}, Row{32, 1, 4},
                         Row{1, 1, 4}, Row{8, 4, 4}, Row{9, 4, 8}, Row{1, 24, 4}, Row{2, 24, 8},
                         Row{4, 24, 12}, Row{2479, 8, 2480}, Row{2479, 1, 312}}) {
    SCOPED_TRACE(testing::Message() << row.width << " pixels of " << row.bpp << " bits");
    OwnedImage image;
    ASSERT_NE(image.Create(row.width, 2, row.bpp, 0), nullptr);
    EXPECT_EQ(image.GetEffWidth(), row.bytes);
  }
}

TEST(Creation, BlockStartsWithTheInfoHeader) {
  OwnedImage image;
  const uint8_t* block = image.Create(33, 7, 4, 0x12345678);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(block + 40 + 64, image.GetBits(0));
  const BITMAPINFOHEADER header = headerOf(image);
  EXPECT_EQ(header.biSize, 40U);
  EXPECT_EQ(header.biWidth, 33);
  EXPECT_EQ(header.biHeight, 7);
  EXPECT_EQ(header.biPlanes, 1);
  EXPECT_EQ(header.biBitCount, 4);
  EXPECT_EQ(header.biCompression, 0U);
  EXPECT_EQ(header.biSizeImage, 20U * 7U);
  EXPECT_EQ(header.biXPelsPerMeter, 0);
  EXPECT_EQ(header.biYPelsPerMeter, 0);
  EXPECT_EQ(header.biClrUsed, 16U);
  EXPECT_EQ(header.biClrImportant, 0U);
  EXPECT_EQ(image.GetSize(), 40U + 140U + 64U);
  EXPECT_EQ(image.GetType(), 0x12345678U);
}

TEST(Creation, PaletteAndRowsAreZeroEvenOnUsedMemory) {
  for (const uint32_t bpp : {1U, 4U, 8U, 24U}) {
    for (int round = 0; round < 8; ++round) {
      OwnedImage image;
      ASSERT_NE(image.Create(37, 5, bpp, 0), nullptr);
      const Bytes block = blockOf(image);
      EXPECT_TRUE(sameBytes(repeated(block.size() - 40, 0), Bytes(block.begin() + 40, block.end())))
          << bpp << " bits";
      // What the next round may find in the heap.
      std::fill_n(image.GetBits(0) - image.GetPaletteSize(), block.size() - 40, uint8_t{0xAA});
    }
  }
}

TEST(Creation, PixelCountTimesDepthMustNotWrap) {
  // 2^29 pixels of 8 bits would fit, but their number of bits is exactly 2^32.
  OwnedImage image;
  ASSERT_NE(image.Create(3, 2, 8, 0), nullptr);
  EXPECT_EQ(image.Create(0x20000000, 1, 8, 0), nullptr);
  EXPECT_STREQ(image.GetLastError(), kTooLargeText);
  EXPECT_FALSE(image.IsValid());
  EXPECT_EQ(image.GetWidth(), 3U) << "the header is untouched";
}

TEST(Creation, TrueBlockSizeMustFit32Bits) {
  struct Size {
    uint32_t width;
    uint32_t height;
    uint32_t bpp;
  };
  for (const Size& size : {Size{0x10000, 0x10000, 8}, Size{0x10000, 0x10000, 24},
                           Size{0x8000, 0x80000, 8}, Size{0x40000000, 0x40000000, 1},
                           Size{0xFFFFFFFF, 0xFFFFFFFF, 1}, Size{0xFFFFFFFF, 0xFFFFFFFF, 24},
                           Size{0x80000000, 0x80000000, 4}, Size{1, 0x40000000, 1}}) {
    SCOPED_TRACE(testing::Message() << size.width << " x " << size.height << " x " << size.bpp);
    OwnedImage image;
    EXPECT_EQ(image.Create(size.width, size.height, size.bpp, 0), nullptr);
    EXPECT_STREQ(image.GetLastError(), kTooLargeText);
  }
}

TEST(Creation, RowLengthThatWrapsIsRefused) {
  // The bits of one such row do not fit 32 bits, and the row would come out empty.
  OwnedImage image;
  EXPECT_EQ(image.Create(0xFFFFFFFF, 1, 1, 0), nullptr);
  EXPECT_FALSE(image.IsValid());
}

TEST(Ownership, DestroyKeepsTheSizes) {
  OwnedImage image;
  ASSERT_NE(image.Create(6, 4, 8, 3), nullptr);
  EXPECT_TRUE(image.Destroy());
  EXPECT_FALSE(image.IsValid());
  EXPECT_EQ(image.GetWidth(), 6U);
  EXPECT_EQ(image.GetHeight(), 4U);
  EXPECT_EQ(image.GetEffWidth(), 8U);
  EXPECT_EQ(image.GetBits(0), nullptr);
  EXPECT_TRUE(image.Destroy()) << "twice does no harm";
}

TEST(Ownership, TransferMovesEverythingAndEmptiesTheSource) {
  for (const bool frames : {false, true}) {
    OwnedImage from;
    OwnedImage to;
    ASSERT_NE(to.Create(50, 50, 24, 1), nullptr);
    EXPECT_EQ(from.Create(0, 1, 8, 0), nullptr);  // leaves an error text
    fill(from, 3, 2, 8, {1, 2, 3, 4, 5, 6});
    const Bytes block = blockOf(from);
    EXPECT_TRUE(to.Transfer(from, frames));
    EXPECT_TRUE(sameBytes(block, blockOf(to)));
    EXPECT_EQ(to.GetWidth(), 3U);
    EXPECT_EQ(to.GetBpp(), 8U);
    EXPECT_STREQ(to.GetLastError(), kZeroSideText);
    EXPECT_FALSE(from.IsValid());
    EXPECT_EQ(from.GetWidth(), 0U);
    EXPECT_EQ(from.GetHeight(), 0U);
    EXPECT_EQ(from.GetEffWidth(), 0U);
    EXPECT_EQ(from.GetSize(), 0U);
    EXPECT_STREQ(from.GetLastError(), "");
  }
}

TEST(Ownership, TransferToItselfKeepsTheImage) {
  OwnedImage image;
  fill(image, 3, 2, 8, {1, 2, 3, 4, 5, 6});
  const Bytes block = blockOf(image);
  EXPECT_TRUE(image.Transfer(image, true));
  ASSERT_TRUE(image.IsValid());
  EXPECT_TRUE(sameBytes(block, blockOf(image)));
}

TEST(Ownership, TransferFromAnEmptyImageEmptiesTheTarget) {
  OwnedImage from;
  OwnedImage to;
  ASSERT_NE(to.Create(5, 5, 8, 1), nullptr);
  EXPECT_TRUE(to.Transfer(from, true));
  EXPECT_FALSE(to.IsValid());
  EXPECT_EQ(to.GetWidth(), 0U);
}

TEST(Ownership, CopyInfoReachesOnlyAnImageWithoutBlock) {
  OwnedImage source;
  EXPECT_EQ(source.Create(0, 1, 8, 0), nullptr);
  ASSERT_NE(source.Create(9, 2, 8, 77), nullptr);

  OwnedImage empty;
  empty.CopyInfo(source);
  EXPECT_EQ(empty.GetType(), 77U);
  EXPECT_EQ(empty.GetEffWidth(), 12U);
  EXPECT_STREQ(empty.GetLastError(), kZeroSideText);
  EXPECT_FALSE(empty.IsValid());
  EXPECT_EQ(empty.GetWidth(), 0U) << "the header is not part of it";
  EXPECT_EQ(empty.GetBits(0), nullptr);

  OwnedImage full;
  ASSERT_NE(full.Create(3, 3, 8, 5), nullptr);
  full.CopyInfo(source);
  EXPECT_EQ(full.GetType(), 5U);
  EXPECT_EQ(full.GetEffWidth(), 4U);
  EXPECT_STREQ(full.GetLastError(), "");
}

TEST(Rows, GetBitsStepsByTheRowLengthAndEndsWithTheImage) {
  OwnedImage image;
  ASSERT_NE(image.Create(5, 3, 8, 0), nullptr);
  const PaletteImage& constant = image;
  EXPECT_EQ(image.GetBits(1), image.GetBits(0) + 8);
  EXPECT_EQ(image.GetBits(2), image.GetBits(0) + 16);
  EXPECT_EQ(constant.GetBits(2), image.GetBits(2));
  for (const uint32_t row : {3U, 4U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    EXPECT_EQ(image.GetBits(row), nullptr) << row;
    EXPECT_EQ(constant.GetBits(row), nullptr) << row;
  }
}

TEST(CreateFromArray, RefusesNullAndUnknownDepthsAndKeepsTheImage) {
  const Bytes array(64, 9);
  OwnedImage image;
  fill(image, 2, 1, 8, {3, 4});
  const Bytes before = blockOf(image);
  EXPECT_FALSE(image.CreateFromArray(nullptr, 2, 2, 8, 2, false));
  for (const uint32_t bpp : {0U, 2U, 3U, 5U, 7U, 9U, 16U, 23U, 31U, 33U, 0xFFFFFFFFU}) {
    EXPECT_FALSE(image.CreateFromArray(array.data(), 2, 2, bpp, 2, false)) << bpp;
  }
  EXPECT_TRUE(sameBytes(before, blockOf(image)));
  EXPECT_STREQ(image.GetLastError(), "");
}

TEST(CreateFromArray, ZeroSideFailsWithText) {
  const Bytes array(64, 9);
  OwnedImage image;
  EXPECT_FALSE(image.CreateFromArray(array.data(), 0, 2, 8, 4, false));
  EXPECT_STREQ(image.GetLastError(), kZeroSideText);
  EXPECT_FALSE(image.IsValid());
}

TEST(CreateFromArray, CopiesRowsUnderAGreyPaletteAndLeavesPaddingZero) {
  const Bytes array = {1, 2, 3, 4, 5, 6};
  OwnedImage image;
  ASSERT_TRUE(image.CreateFromArray(array.data(), 3, 2, 8, 3, false));
  EXPECT_EQ(rowsOf(image), (Bytes{1, 2, 3, 0, 4, 5, 6, 0}));
  EXPECT_EQ(image.GetType(), 0U);
  for (int i = 0; i < 256; ++i) {
    const auto level = static_cast<uint8_t>(i);
    EXPECT_EQ(image.GetPaletteColor(level), (tagRGBQUAD{level, level, level, 0}));
  }
}

TEST(CreateFromArray, FlipPutsTheFirstSourceRowLast) {
  const Bytes array = {1, 2, 3, 4, 5, 6};
  OwnedImage image;
  ASSERT_TRUE(image.CreateFromArray(array.data(), 2, 3, 8, 2, true));
  EXPECT_EQ(indicesOf(image), (Bytes{5, 6, 3, 4, 1, 2}));
}

TEST(CreateFromArray, CopiesTheShorterOfBothRowLengths) {
  const Bytes array = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18};
  OwnedImage image;
  // Shorter than a stored row: the rest of it stays zero.
  ASSERT_TRUE(image.CreateFromArray(array.data(), 6, 2, 8, 3, false));
  EXPECT_EQ(rowsOf(image), (Bytes{1, 2, 3, 0, 0, 0, 0, 0, 4, 5, 6, 0, 0, 0, 0, 0}));
  // Longer: a stored row takes as much as it holds, padding included.
  ASSERT_TRUE(image.CreateFromArray(array.data(), 2, 2, 8, 9, false));
  EXPECT_EQ(rowsOf(image), (Bytes{1, 2, 3, 4, 10, 11, 12, 13}));
}

TEST(CreateFromArray, RowsOfNoBytesStayZero) {
  const Bytes array = {1, 2, 3, 4};
  OwnedImage image;
  ASSERT_TRUE(image.CreateFromArray(array.data(), 4, 2, 8, 0, true));
  EXPECT_EQ(rowsOf(image), repeated(8, 0));
}

TEST(CreateFromArray, OneAndFourBitsArePacked) {
  const Bytes array = {0xA5, 0xC0, 0x3C, 0x80};
  OwnedImage image;
  ASSERT_TRUE(image.CreateFromArray(array.data(), 10, 2, 1, 2, false));
  EXPECT_EQ(indicesOf(image), (Bytes{1, 0, 1, 0, 0, 1, 0, 1, 1, 1, 0, 0, 1, 1, 1, 1, 0, 0, 1, 0}));
  EXPECT_EQ(image.GetPaletteColor(1), (tagRGBQUAD{255, 255, 255, 0}));
  ASSERT_TRUE(image.CreateFromArray(array.data(), 3, 2, 4, 2, false));
  EXPECT_EQ(indicesOf(image), (Bytes{10, 5, 12, 3, 12, 8}));
  EXPECT_EQ(image.GetPaletteColor(3), (tagRGBQUAD{51, 51, 51, 0}));
}

TEST(CreateFromArray, TrueColourKeepsItsBytes) {
  const Bytes array = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  OwnedImage image;
  ASSERT_TRUE(image.CreateFromArray(array.data(), 2, 2, 24, 6, false));
  EXPECT_EQ(image.GetBpp(), 24U);
  EXPECT_EQ(rowsOf(image), (Bytes{1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11, 12, 0, 0}));
}

TEST(CreateFromArray, ThirtyTwoBitsTakeAPictureOutOfLongerRows) {
  const Bytes array = {1, 2, 3, 99, 50, 51, 52, 53, 4, 5, 6, 98, 54, 55, 56, 57};
  OwnedImage image;
  ASSERT_TRUE(image.CreateFromArray(array.data(), 1, 2, 32, 8, false));
  EXPECT_EQ(rowsOf(image), (Bytes{1, 2, 3, 0, 4, 5, 6, 0}));
}

TEST(CreateFromArray, ThirtyTwoBitsCopyThePixelsThatShorterRowsHold) {
  // Blocks of just the rows: the sanitizers see a read behind the last one.
  for (const uint32_t bytesPerLine : {0U, 3U, 4U, 7U, 8U, 11U}) {
    const size_t pixels = bytesPerLine / 4;
    Bytes array(size_t{bytesPerLine} * 2);
    for (size_t i = 0; i < array.size(); ++i) array[i] = static_cast<uint8_t>(i + 1);
    array.shrink_to_fit();
    array.reserve(1);  // not null
    Bytes expected(2 * 12, 0);
    for (size_t y = 0; y < 2; ++y) {
      for (size_t x = 0; x < pixels; ++x) {
        for (size_t c = 0; c < 3; ++c) {
          expected[y * 12 + x * 3 + c] = array[y * bytesPerLine + x * 4 + c];
        }
      }
    }
    OwnedImage image;
    ASSERT_TRUE(image.CreateFromArray(array.data(), 4, 2, 32, bytesPerLine, false));
    EXPECT_EQ(rowsOf(image), expected) << bytesPerLine;
  }
}

TEST(CreateFromArray, ThirtyTwoBitsDropTheFourthByte) {
  const Bytes array = {1, 2, 3, 99, 4, 5, 6, 98, 7, 8, 9, 97, 10, 11, 12, 96};
  OwnedImage image;
  ASSERT_TRUE(image.CreateFromArray(array.data(), 2, 2, 32, 8, true));
  EXPECT_EQ(image.GetBpp(), 24U);
  EXPECT_EQ(image.GetNumColors(), 0U);
  EXPECT_EQ(rowsOf(image), (Bytes{7, 8, 9, 10, 11, 12, 0, 0, 1, 2, 3, 4, 5, 6, 0, 0}));
}

}  // namespace
