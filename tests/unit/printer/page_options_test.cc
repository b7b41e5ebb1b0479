// SPDX-License-Identifier: Apache-2.0
// Inverting, trimming and pages without pictures, on pages small enough to be read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/log_capture.h"
#include "tests/support/saved_pictures.h"
#include "tests/unit/printer/printer_fixture.h"

namespace {

using testing::Contains;
using testing::Not;
using testing::StartsWith;

constexpr const char* kInvertWarning =
    "WARN:The page is printed white on black, its solid areas heat the print head!";

// A page with ink of level 255 on the rows named.
Bytes pageWithInk(uint32_t width, uint32_t height, const std::vector<uint32_t>& rows,
                  uint32_t column = 0) {
  Bytes page(size_t{width} * height, 0);
  for (const uint32_t y : rows) page[size_t{y} * width + column] = 255;
  return page;
}

// The packed rows of all bands of a stream, whose rows are one byte each.
Bytes rowsOf(const Bytes& stream) {
  Bytes rows;
  for (size_t at = 0; at + 8 <= stream.size();) {
    const size_t count = stream[at + 6];
    EXPECT_EQ(stream[at + 4], 1);
    const auto begin = stream.begin() + static_cast<std::ptrdiff_t>(at + 8);
    rows.insert(rows.end(), begin, begin + static_cast<std::ptrdiff_t>(count));
    at += 8 + count;
  }
  return rows;
}

class PageOptionsTest : public PrinterFixture {
 protected:
  PageOptionsTest() {
    configure({});
    header_.HWResolution[0] = 203;
    header_.HWResolution[1] = 50;  // 8 mm are 16 rows
    printer_.setPageHeader(&header_);
  }

  Bytes print(const Bytes& page, uint32_t width) {
    MemoryStream out;
    printer_.getOutputStreams() = {out.get()};
    log_ = captureLog([&] { printer_.printImage(page.data(), width, page.size() / width, width); });
    return out.bytes();
  }

  std::vector<std::string> log_;
};

TEST_F(PageOptionsTest, InvertedDotsArePaperAndPaperIsDots) {
  printer_.setInvertPage(true);
  // 6 dots wide: the two columns of padding stay blank.
  const Bytes page = {255, 0, 0, 255, 0, 0, 0, 0, 0, 0, 0, 255};
  EXPECT_TRUE(sameBytes(hex("1D 76 30 00 01 00 02 00 6C F8"), print(page, 6)));
  EXPECT_THAT(log_, Contains(kInvertWarning).Times(1));
  const std::vector<SavedPicture> pictures = savedPictures(folder_);
  ASSERT_EQ(pictures.size(), 2U);
  const Bytes& picture = pictures[1].bytes;
  EXPECT_TRUE(sameBytes({0, 1, 1, 0, 1, 1, 0, 0, 1, 1, 1, 1}, {picture.end() - 12, picture.end()}));
}

TEST_F(PageOptionsTest, SkippedColumnsAreNotInverted) {
  printer_.setInvertPage(true).setSkipRightPixels(3);
  EXPECT_TRUE(sameBytes(hex("1D 76 30 00 01 00 01 00 78"), print({255, 0, 0, 0, 0, 0, 0, 0}, 8)));
  const Bytes picture = savedPictures(folder_)[1].bytes;
  EXPECT_TRUE(sameBytes({0, 1, 1, 1, 1, 0, 0, 0}, {picture.end() - 8, picture.end()}));
}

TEST_F(PageOptionsTest, BlankRowsBeforeTheFirstDotAreInvertedToo) {
  printer_.setInvertPage(true);
  EXPECT_TRUE(sameBytes(hex("FF FF FF 7F FF FF"), rowsOf(print(pageWithInk(8, 6, {3}), 8))));
}

TEST_F(PageOptionsTest, PageWithoutInkStaysWithoutInk) {
  printer_.setInvertPage(true);
  EXPECT_TRUE(sameBytes(Bytes(200, 0), rowsOf(print(Bytes(8 * 200, 0), 8))));
  // Ink in the columns that do not print is none.
  printer_.setSkipRightPixels(4);
  EXPECT_TRUE(sameBytes(Bytes(5, 0), rowsOf(print(pageWithInk(8, 5, {2}, 7), 8))));
}

TEST_F(PageOptionsTest, StencilsAreInvertedWithTheirOwnDots) {
  const Bytes page = pageWithInk(8, 20, {3, 4, 5, 6});
  printer_.setHalftoneType(DitherType::Tattoo).setKeepPictures(false);
  const Bytes plain = rowsOf(print(page, 8));
  Bytes opposite = plain;
  for (uint8_t& row : opposite) row = static_cast<uint8_t>(~row);
  ASSERT_NE(plain, Bytes(20, 0));
  printer_.setInvertPage(true).setKeepPictures(true);
  EXPECT_TRUE(sameBytes(opposite, rowsOf(print(page, 8))));
  const Bytes picture = savedPictures(folder_)[1].bytes;
  EXPECT_EQ(picture.back(), 255);
}

TEST_F(PageOptionsTest, NegativeThenInvertingOfStencilsIsThePlainPage) {
  const Bytes page = pageWithInk(8, 20, {3, 4, 5, 6});
  printer_.setHalftoneType(DitherType::Tattoo_X8);
  const Bytes plain = print(page, 8);
  printer_.setNegativePrint(true).setInvertPage(true);
  EXPECT_TRUE(sameBytes(plain, print(page, 8)));
}

TEST_F(PageOptionsTest, EndIsTrimmedAfterTheLastDot) {
  printer_.setTrimPaper(TrimPaper::End);
  const Bytes rows = rowsOf(print(pageWithInk(8, 300, {20, 100}), 8));
  ASSERT_EQ(rows.size(), 101U);
  EXPECT_EQ(rows[20], 0x80);
  EXPECT_EQ(rows[100], 0x80);
  EXPECT_THAT(log_, Contains("DEBUG:printImage: Trimmed the page to the rows 0 to 101 of 300"));
  EXPECT_EQ(savedPictures(folder_)[1].bytes.size(), 1078U + 8 * 300) << "of the whole page";
}

TEST_F(PageOptionsTest, BothEndsAreTrimmed) {
  printer_.setTrimPaper(TrimPaper::Both);
  const Bytes rows = rowsOf(print(pageWithInk(8, 300, {20, 100}), 8));
  ASSERT_EQ(rows.size(), 81U);
  EXPECT_EQ(rows.front(), 0x80);
  EXPECT_EQ(rows.back(), 0x80);
}

TEST_F(PageOptionsTest, TrimmedPageKeepsEightMillimetresOrAllItHad) {
  const auto rowsWith = [&](TrimPaper trim, const Bytes& page) {
    printer_.setTrimPaper(trim);
    return rowsOf(print(page, 8));
  };
  Bytes expected(16, 0);
  expected[3] = 0x80;
  EXPECT_TRUE(sameBytes(expected, rowsWith(TrimPaper::End, pageWithInk(8, 300, {3}))));
  expected = Bytes(16, 0);
  expected[0] = 0x80;
  EXPECT_TRUE(sameBytes(expected, rowsWith(TrimPaper::Both, pageWithInk(8, 300, {3}))));
  expected = Bytes(16, 0);
  expected[15] = 0x80;
  EXPECT_TRUE(sameBytes(expected, rowsWith(TrimPaper::Both, pageWithInk(8, 300, {299}))))
      << "rows above make up where there are none below";
  EXPECT_EQ(rowsWith(TrimPaper::Both, pageWithInk(8, 9, {4})).size(), 9U);
}

TEST_F(PageOptionsTest, EightMillimetresFollowTheVerticalResolution) {
  printer_.setTrimPaper(TrimPaper::End);
  const auto least = [&](unsigned resolution) {
    header_.HWResolution[1] = resolution;
    return rowsOf(print(pageWithInk(8, 300, {0}), 8)).size();
  };
  EXPECT_EQ(least(203), 64U);  // 63.9
  EXPECT_EQ(least(300), 95U);  // 94.5
  EXPECT_EQ(least(254), 80U);
  EXPECT_EQ(least(0), 95U) << "the printer's own where none is stated";
  printer_.setPageHeader(nullptr);
  EXPECT_EQ(rowsOf(print(pageWithInk(8, 300, {0}), 8)).size(), 95U);
}

TEST_F(PageOptionsTest, TrimmedPageWithoutInkSendsNothing) {
  for (const TrimPaper trim : {TrimPaper::End, TrimPaper::Both}) {
    printer_.setTrimPaper(trim);
    EXPECT_TRUE(print(Bytes(8 * 100, 0), 8).empty());
    EXPECT_THAT(log_, Contains("DEBUG:printImage: Trimmed the page to the rows 0 to 0 of 100"));
  }
  EXPECT_EQ(printer_.bandsSent(), 0U);
  printer_.setSkipRightPixels(4);
  EXPECT_TRUE(print(pageWithInk(8, 100, {50}, 6), 8).empty()) << "no ink in what is sent";
}

TEST_F(PageOptionsTest, TrimmingLooksAtThePageBeforeItIsInverted) {
  printer_.setTrimPaper(TrimPaper::Both).setInvertPage(true);
  const Bytes rows = rowsOf(print(pageWithInk(8, 300, {20, 100}), 8));
  ASSERT_EQ(rows.size(), 81U);
  EXPECT_EQ(rows.front(), 0x7F);
  EXPECT_EQ(rows[1], 0xFF);
  EXPECT_TRUE(print(Bytes(8 * 100, 0), 8).empty());
}

TEST_F(PageOptionsTest, FramedPageIsNeitherTrimmedNorItsFrameInverted) {
  model::PrinterSettings settings;
  settings.antiWrinkle = 1;
  settings.pageSizeName = "Tattoo_A6";
  configure(settings);
  const Bytes page = pageWithInk(1208, 1418, {700}, 600);
  const Bytes framed = print(page, 1208);
  printer_.setTrimPaper(TrimPaper::Both);
  EXPECT_TRUE(sameBytes(framed, print(page, 1208)));
  EXPECT_THAT(log_, Not(Contains(StartsWith("DEBUG:printImage: Trimmed"))));

  printer_.setInvertPage(true).setTrimPaper(TrimPaper::None);
  const Bytes inverted = print(page, 1208);
  // Row 1 of the first band: the top of the frame with a column of paper before it,
  // which is inverted, and two behind it.
  ASSERT_EQ(inverted.size(), framed.size());
  EXPECT_EQ(framed[8], 0x7F);
  EXPECT_EQ(inverted[8], 0xFF);
  EXPECT_EQ(inverted[9], 0xFF);
  // Row 20 below it: 12 dots of the side, then what was paper.
  const size_t row20 = 8 + size_t{20} * 151;
  EXPECT_EQ(framed[row20 + 1], 0xF8);
  EXPECT_EQ(inverted[row20 + 1], 0xFF);
}

TEST_F(PageOptionsTest, FrameThatIsLeftOutDoesNotKeepThePageFromBeingTrimmed) {
  model::PrinterSettings settings;
  settings.antiWrinkle = 1;
  settings.pageSizeName = "Tattoo_A6";
  configure(settings);
  header_.HWResolution[1] = 50;
  printer_.setTrimPaper(TrimPaper::Both);
  EXPECT_EQ(rowsOf(print(pageWithInk(8, 300, {20, 100}), 8)).size(), 81U);
  EXPECT_THAT(log_,
              Contains("WARN:The frame of 1205 x 1418 dots does not fit the 8 x 300 dots that "
                       "print, it is left out!")
                  .Times(1));
}

TEST_F(PageOptionsTest, FourSidesAreInTheBytesSent) {
  for (int level = 1; level <= 5; ++level) {
    SCOPED_TRACE(level);
    model::PrinterSettings settings;
    settings.antiWrinkle = level;
    settings.pageSizeName = "Tattoo_A6";
    configure(settings);
    constexpr size_t kRowBytes = 164;  // 1312 dots
    const Bytes stream = print(Bytes(size_t{1312} * 1500, 0), 1312);
    Bytes rows;
    for (size_t at = 0; at < stream.size();) {
      const size_t bytes = kRowBytes * stream[at + 6];
      const auto begin = stream.begin() + static_cast<std::ptrdiff_t>(at + 8);
      rows.insert(rows.end(), begin, begin + static_cast<std::ptrdiff_t>(bytes));
      at += 8 + bytes;
    }
    ASSERT_EQ(rows.size(), kRowBytes * 1500);
    const auto isDot = [&](size_t x, size_t y) {
      return (rows[y * kRowBytes + x / 8] & (0x80U >> (x % 8))) != 0;
    };
    size_t across = 0;
    for (size_t x = 0; x < 1312; ++x) across += isDot(x, 750) ? 1U : 0U;
    size_t down = 0;
    for (size_t y = 0; y < 1500; ++y) down += isDot(656, y) ? 1U : 0U;
    constexpr size_t kSides[] = {12, 24, 35, 47, 59};
    EXPECT_EQ(across, 2 * kSides[level - 1]);
    EXPECT_EQ(down, 2U * 12U);
  }
}

TEST_F(PageOptionsTest, PageWithoutPicturesOpensNoFile) {
  printer_.setKeepPictures(false);
  const Bytes page = pageWithInk(8, 30, {3});
  const Bytes without = print(page, 8);
  EXPECT_TRUE(folder_.names().empty());
  EXPECT_THAT(log_, Not(Contains(testing::HasSubstr("Saving"))));
  printer_.setDumpFolder(folder_.file("missing"));
  print(page, 8);
  EXPECT_THAT(log_, Not(Contains(testing::HasSubstr("unable to open"))));
  printer_.setDumpFolder(folder_.path()).setKeepPictures(true);
  EXPECT_TRUE(sameBytes(print(page, 8), without));
  EXPECT_EQ(folder_.names().size(), 2U);
}

TEST_F(PageOptionsTest, NeutralChoicesChangeNoByteAndNoLine) {
  const Bytes page = pageWithInk(8, 300, {20, 100});
  const Bytes bytes = print(page, 8);
  const std::vector<std::string> log = maskLog(log_);
  printer_.setInvertPage(false).setTrimPaper(TrimPaper::None).setKeepPictures(true);
  EXPECT_TRUE(sameBytes(bytes, print(page, 8)));
  EXPECT_EQ(maskLog(log_), log);
}

}  // namespace
