// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/model/page_patterns.h"
#include "tests/model/pages.h"
#include "tests/support/log_capture.h"
#include "tests/unit/printer/printer_fixture.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Not;

class AntiWrinkleTest : public PrinterFixture {
 protected:
  ~AntiWrinkleTest() override { image_.Destroy(); }

  // Draws the frame into a page of the given size and compares the image and
  // the log with the model.
  void frame(const std::string& pageSize, int level, int width, int height) {
    const Bytes levels = model::noisePage(width, height, 8).pixels;
    model::PrinterSettings settings;
    settings.antiWrinkle = level;
    settings.pageSizeName = pageSize;
    const auto columns = static_cast<uint32_t>(width);
    const auto rows = static_cast<uint32_t>(height);

    model::PaletteImage expected;
    ASSERT_TRUE(expected.CreateFromArray(levels.data(), columns, rows, 8, columns, false));
    std::vector<std::string> expectedLog;
    model::enableAntiWrinkle(settings, expected, expectedLog);

    configure(settings);
    ASSERT_TRUE(image_.CreateFromArray(levels.data(), columns, rows, 8, columns, false));
    log_ = captureLog([&] { printer_.EnableAntiWrink(image_); });
    ASSERT_TRUE(image_.IsValid());
    ASSERT_EQ(image_.GetWidth(), expected.GetWidth());
    ASSERT_EQ(image_.GetHeight(), expected.GetHeight());
    ASSERT_EQ(image_.GetEffWidth(), expected.GetEffWidth());
    const uint8_t* bits = image_.GetBits(0);
    EXPECT_TRUE(sameBytes(expected.rows(),
                          {bits, bits + size_t{image_.GetEffWidth()} * image_.GetHeight()}));
    EXPECT_THAT(log_, ElementsAreArray(expectedLog));
  }

  // Whether every dot of the columns [left, right) and rows [top, bottom) has
  // the frame's index.
  bool isSolid(long left, long right, long top, long bottom) const {
    for (long y = top; y < bottom; ++y) {
      for (long x = left; x < right; ++x) {
        if (image_.GetPixelIndex(x, y) != 255) return false;
      }
    }
    return true;
  }

  PaletteImage image_;
  std::vector<std::string> log_;
};

TEST_F(AntiWrinkleTest, SmallPageIsCentredOnItsCanvas) {
  frame("Tattoo_A6", 1, 1000, 1000);
  EXPECT_EQ(image_.GetWidth(), 1204U);  // one dot less than the canvas
  EXPECT_EQ(image_.GetHeight(), 1418U);
  EXPECT_THAT(
      log_,
      ElementsAre(
          "DEBUG:EnableAntiWrink: AntiWrinkle level: 1, line_v: 12 points, line_h: 12 points.",
          "DEBUG:EnableAntiWrink: Page size is Tattoo_A6, CanvasWidth: 1205, CanvasHeight: 1418",
          "DEBUG:EnableAntiWrink: Image width is less than canvas width, exPoints: 102",
          "DEBUG:EnableAntiWrink: Image height is less than canvas height, eyPoints: 209",
          "DEBUG:EnableAntiWrink: Image expanded successfully.",
          "DEBUG:EnableAntiWrink: Drawing left line. point(0, 0, 12, 1418)",
          "DEBUG:EnableAntiWrink: Drawing top line. point(0, 0, 1205, 12)",
          "DEBUG:EnableAntiWrink: Drawing right line. point(1193, 0, 1205, 1418)",
          "DEBUG:EnableAntiWrink: Drawing bottom line. point(0, 1406, 1205, 1418)"));
  EXPECT_TRUE(isSolid(0, 12, 0, 1418));
  EXPECT_TRUE(isSolid(0, 1204, 0, 12));
  EXPECT_TRUE(isSolid(1193, 1204, 0, 1418));
  EXPECT_TRUE(isSolid(0, 1204, 1406, 1418));
}

TEST_F(AntiWrinkleTest, LargePageIsNotCutAndTheFrameIsCentredInIt) {
  frame("A4", 2, 3000, 4000);
  EXPECT_EQ(image_.GetWidth(), 3000U);
  EXPECT_EQ(image_.GetHeight(), 4000U);
  EXPECT_THAT(
      log_,
      ElementsAre(
          "DEBUG:EnableAntiWrink: AntiWrinkle level: 2, line_v: 24 points, line_h: 12 points.",
          "DEBUG:EnableAntiWrink: Page size is A4, CanvasWidth: 2410, CanvasHeight: 3272",
          "DEBUG:EnableAntiWrink: Image width is greater than canvas width, offset.x: 295",
          "DEBUG:EnableAntiWrink: Image height is greater than canvas height, offset.y: 364",
          "DEBUG:EnableAntiWrink: Drawing left line. point(295, 364, 319, 3636)",
          "DEBUG:EnableAntiWrink: Drawing top line. point(295, 364, 2705, 376)",
          "DEBUG:EnableAntiWrink: Drawing right line. point(2681, 364, 2705, 3636)",
          "DEBUG:EnableAntiWrink: Drawing bottom line. point(295, 3624, 2705, 3636)"));
  EXPECT_TRUE(isSolid(295, 319, 364, 3636));
  EXPECT_TRUE(isSolid(295, 2705, 364, 376));
  EXPECT_TRUE(isSolid(2681, 2705, 364, 3636));
  EXPECT_TRUE(isSolid(295, 2705, 3624, 3636));
}

TEST_F(AntiWrinkleTest, UnknownPageSizeDrawsNothing) {
  frame("A5", 3, 100, 60);
  EXPECT_EQ(image_.GetWidth(), 100U);
  EXPECT_EQ(image_.GetHeight(), 60U);
  // Bands without rows repeat the column of the one before.
  EXPECT_THAT(
      log_,
      ElementsAre(
          "DEBUG:EnableAntiWrink: AntiWrinkle level: 3, line_v: 35 points, line_h: 12 points.",
          "DEBUG:EnableAntiWrink: Image width is greater than canvas width, offset.x: 50",
          "DEBUG:EnableAntiWrink: Image height is greater than canvas height, offset.y: 30",
          "DEBUG:EnableAntiWrink: Drawing left line. point(50, 30, 0, 30)",
          "DEBUG:EnableAntiWrink: Drawing top line. point(50, 30, 50, 42)",
          "DEBUG:EnableAntiWrink: Drawing right line. point(15, 30, 50, 30)",
          "DEBUG:EnableAntiWrink: Drawing bottom line. point(50, 18, 50, 30)"));
  const Bytes levels = model::noisePage(100, 60, 8).pixels;
  const uint8_t* bits = image_.GetBits(0);
  EXPECT_TRUE(sameBytes(levels, {bits, bits + levels.size()}));
}

TEST_F(AntiWrinkleTest, PageSizeNamesAreComparedExactly) {
  for (const char* name :
       {"a4", "A4 ", "A41", "letter", "tattoo_a6", "Tattoo_A", "", "X80MMY200MM"}) {
    frame(name, 1, 20, 20);
    EXPECT_EQ(image_.GetWidth(), 20U) << name;
  }
}

TEST_F(AntiWrinkleTest, LinesGrowWithTheLevel) {
  const int widths[] = {12, 24, 35, 47, 59};
  for (int level = 1; level <= 5; ++level) {
    frame("A5", level, 8, 8);
    const std::string expected =
        "DEBUG:EnableAntiWrink: AntiWrinkle level: " + std::to_string(level) +
        ", line_v: " + std::to_string(widths[level - 1]) + " points, line_h: 12 points.";
    ASSERT_THAT(log_, Not(IsEmpty()));
    EXPECT_EQ(log_[0], expected);
  }
}

TEST_F(AntiWrinkleTest, EveryPaperHasItsCanvas) {
  struct Row {
    const char* name;
    int width;
    int height;
  };
  // Sizes without the frame's lines.
  for (const Row& row : {Row{"A4", 2362, 3248}, Row{"Letter", 2480, 3035},
                         Row{"Tattoo_A5", 2362, 1394}, Row{"Tattoo_A6", 1181, 1394}}) {
    SCOPED_TRACE(row.name);
    const int canvasWidth = row.width + 2 * 59;
    const int canvasHeight = row.height + 2 * 12;
    // A page of just the canvas is neither expanded nor moved.
    frame(row.name, 5, canvasWidth, canvasHeight);
    ASSERT_EQ(log_.size(), 6U);
    EXPECT_EQ(log_[1], "DEBUG:EnableAntiWrink: Page size is " + std::string(row.name) +
                           ", CanvasWidth: " + std::to_string(canvasWidth) +
                           ", CanvasHeight: " + std::to_string(canvasHeight));
    EXPECT_TRUE(isSolid(0, 59, 0, canvasHeight));
    EXPECT_TRUE(isSolid(canvasWidth - 59, canvasWidth, 0, canvasHeight));
  }
}

TEST_F(AntiWrinkleTest, PageMayBeNarrowerAndTallerThanItsCanvas) {
  frame("Tattoo_A6", 1, 700, 1501);
  frame("Tattoo_A6", 1, 1300, 900);
}

TEST_F(AntiWrinkleTest, OddDotIsLeftOutOfTheMargins) {
  // The canvas is 1205 dots wide and 1418 high. Half of an odd difference is
  // rounded down: for a page that grows, and for a frame inside a larger page.
  frame("Tattoo_A6", 1, 1300, 901);
  EXPECT_EQ(image_.GetWidth(), 1300U);
  EXPECT_EQ(image_.GetHeight(), 901U + 2 * 258);
  EXPECT_THAT(log_, Contains("DEBUG:EnableAntiWrink: Image height is less than canvas height, "
                             "eyPoints: 258"));
  EXPECT_THAT(log_, Contains("DEBUG:EnableAntiWrink: Image width is greater than canvas width, "
                             "offset.x: 47"));
  EXPECT_TRUE(isSolid(47, 59, 0, 1417));
  EXPECT_TRUE(isSolid(47 + 1193, 47 + 1205, 0, 1417));
  EXPECT_NE(image_.GetPixelIndex(46, 700), 255) << "left of the frame";
  EXPECT_NE(image_.GetPixelIndex(47 + 1205, 700), 255) << "right of the frame";

  frame("Tattoo_A6", 1, 900, 1501);
  EXPECT_EQ(image_.GetWidth(), 900U + 2 * 152);
  EXPECT_EQ(image_.GetHeight(), 1501U);
  EXPECT_THAT(log_, Contains("DEBUG:EnableAntiWrink: Image width is less than canvas width, "
                             "exPoints: 152"));
  EXPECT_THAT(log_, Contains("DEBUG:EnableAntiWrink: Image height is greater than canvas height, "
                             "offset.y: 41"));
  EXPECT_TRUE(isSolid(0, 1204, 41, 53));
  EXPECT_TRUE(isSolid(0, 1204, 41 + 1406, 41 + 1418));

  // One dot more or less than the canvas: nothing moves.
  frame("Tattoo_A6", 1, 1204, 1417);
  EXPECT_EQ(image_.GetWidth(), 1204U);
  EXPECT_EQ(image_.GetHeight(), 1417U);
  frame("Tattoo_A6", 1, 1206, 1419);
  EXPECT_TRUE(isSolid(0, 12, 0, 1418));
  EXPECT_TRUE(isSolid(1193, 1205, 0, 1418));
}

TEST_F(AntiWrinkleTest, MissingHeaderOrImageIsReported) {
  const std::string line = "DEBUG:EnableAntiWrink: Image or pageHdr_ is not valid, returning.";
  printer_.setAntiWrinkle(1);
  PaletteImage empty;
  header_ = {};
  printer_.setPageHeader(&header_);
  EXPECT_THAT(captureLog([&] { printer_.EnableAntiWrink(empty); }), ElementsAre(line));
  const Bytes levels(16, 3);
  ASSERT_TRUE(image_.CreateFromArray(levels.data(), 4, 4, 8, 4, false));
  printer_.setPageHeader(nullptr);
  EXPECT_THAT(captureLog([&] { printer_.EnableAntiWrink(image_); }), ElementsAre(line));
  EXPECT_TRUE(sameBytes(levels, {image_.GetBits(0), image_.GetBits(0) + 16}));
}

TEST_F(AntiWrinkleTest, CanvasThatDoesNotFitLeavesThePageAsItIs) {
  frame("A4", 100000, 16, 8);
  ASSERT_THAT(log_, Not(IsEmpty()));
  EXPECT_EQ(log_.back(), "DEBUG:EnableAntiWrink: Failed to expand image, returning.");
  EXPECT_EQ(image_.GetWidth(), 16U);
  EXPECT_EQ(image_.GetHeight(), 8U);
}

TEST_F(AntiWrinkleTest, PageSizeNameWithoutAnEndIsReadWithinItsField) {
  header_ = {};
  std::memset(header_.cupsPageSizeName, 'A', sizeof header_.cupsPageSizeName);
  printer_.setAntiWrinkle(1).setPageHeader(&header_);
  const Bytes levels(16, 3);
  ASSERT_TRUE(image_.CreateFromArray(levels.data(), 4, 4, 8, 4, false));
  captureLog([&] { printer_.EnableAntiWrink(image_); });
  EXPECT_TRUE(sameBytes(levels, {image_.GetBits(0), image_.GetBits(0) + 16}));
}

}  // namespace
