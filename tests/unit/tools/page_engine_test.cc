// SPDX-License-Identifier: Apache-2.0
// The engine of the tool against the filter run as a program runs it, and the part of a
// page that a sheet shows.
#include "tools/drav/engine/page_engine.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "common/log.h"
#include "filter/run_filter.h"
#include "proof/job_stream.h"
#include "tests/support/files.h"
#include "tests/support/log_capture.h"
#include "tests/support/scoped_env.h"
#include "tools/drav/engine/page_turn.h"
#include "tools/drav/proof/hatched_page.h"
#include "tools/drav/sheet/busiest_part.h"

namespace {

using testing::HasSubstr;

GreyPage greyPage(uint32_t width, uint32_t height) {
  GreyPage page;
  page.header.HWResolution[0] = 300;
  page.header.HWResolution[1] = 200;
  page.header.cupsWidth = width;
  page.header.cupsHeight = height;
  page.header.cupsBitsPerColor = 8;
  page.header.cupsBitsPerPixel = 8;
  page.header.cupsBytesPerLine = width;
  page.header.cupsColorSpace = CUPS_CSPACE_K;
  page.header.cupsNumColors = 1;
  for (uint32_t i = 0; i < width * height; ++i)
    page.pixels.push_back(static_cast<uint8_t>(i * 37 + i / width * 5));
  return page;
}

class PageEngineTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string error;
    ASSERT_TRUE(driver_.open({"", "", {"Brightness=-5"}}, error)) << error;
  }

  // Bands of the page as runFilter itself sends them.
  Bytes filterDots(const GreyPage& page, const std::string& options) {
    const TempFolder folder;
    const std::string path = folder.file("page.ras");
    const uint32_t mark = CUPS_RASTER_SYNC;
    Bytes raster(sizeof mark + sizeof page.header + page.pixels.size());
    std::memcpy(raster.data(), &mark, sizeof mark);
    std::memcpy(raster.data() + sizeof mark, &page.header, sizeof page.header);
    std::copy(page.pixels.begin(), page.pixels.end(),
              raster.end() - static_cast<std::ptrdiff_t>(page.pixels.size()));
    writeFile(path, raster);
    const ScopedEnv ppd("PPD", driver_.path());
    const MemoryStream out;
    FilterEnvironment environment;
    environment.standardOutput = out.get();
    environment.dumpFolder = folder.path();
    std::vector<std::string> arguments = {"f", "1", "u", "t", "1", options, path};
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    captureLog([&] { EXPECT_EQ(runFilter(7, argv.data(), environment), 0); });
    const Bytes stream = out.bytes();
    Bytes dots;
    JobStreamReader reader(stream);
    while (const auto command = reader.next())
      dots.insert(dots.end(), command->data.begin(), command->data.end());
    return dots;
  }

  DriverFile driver_;
};

TEST_F(PageEngineTest, GivesTheBandsOfTheFilterAsOftenAsOneLikes) {
  const GreyPage page = greyPage(333, 250);
  PageEngine engine(driver_);
  std::string error;
  ASSERT_TRUE(engine.load(page, error)) << error;
  for (const char* options : {"HalftoneType=Tattoo", "HalftoneType=Ordered", "Brightness=10", ""}) {
    DotPage dots;
    ASSERT_TRUE(engine.print(options, dots, error)) << error;
    EXPECT_EQ(dots.rows, 250U);
    EXPECT_EQ(dots.width(), 336U);
    EXPECT_EQ(dots.dotsPerInchX, 300U);
    EXPECT_EQ(dots.dotsPerInchY, 200U);
    EXPECT_TRUE(sameBytes(filterDots(page, std::string("Brightness=-5 ") + options), dots.dots))
        << options;
  }
}

TEST_F(PageEngineTest, LeavesTheVariableAndTheLogAsTheyWere) {
  const ScopedEnv ppd("PPD", "/before");
  PageEngine engine(driver_);
  std::string error;
  DotPage dots;
  ASSERT_TRUE(engine.load(greyPage(16, 4), error));
  EXPECT_EQ(captureLogText([&] { EXPECT_TRUE(engine.print("", dots, error)) << error; }), "");
  EXPECT_STREQ(std::getenv("PPD"), "/before");
  EXPECT_THAT(captureLogText([] { dravLogCommon(kLogError, "here"); }), "ERROR:here\n");
}

TEST_F(PageEngineTest, TellsTheFiltersOwnReason) {
  PageEngine engine(driver_);
  std::string error;
  DotPage dots;
  GreyPage page = greyPage(16, 4);
  page.header.cupsBitsPerPixel = 1;
  page.header.cupsBitsPerColor = 1;
  ASSERT_TRUE(engine.load(page, error));
  EXPECT_FALSE(engine.print("", dots, error));
  EXPECT_EQ(error, "Unsupported bits per pixel : 1 ! Requires 8 bits per pixel!");
  page = greyPage(16, 4);
  page.header.cupsWidth = 0;
  ASSERT_TRUE(engine.load(page, error));
  EXPECT_FALSE(engine.print("", dots, error));
  EXPECT_THAT(error, HasSubstr("prints nothing: "));
}

TEST_F(PageEngineTest, TellsWhichRowsPrint) {
  GreyPage page = greyPage(64, 400);
  std::fill(page.pixels.begin(), page.pixels.begin() + 64 * 100, uint8_t{0});
  std::fill(page.pixels.begin() + 64 * 300, page.pixels.end(), uint8_t{0});
  PageEngine engine(driver_);
  std::string error;
  DotPage whole;
  DotPage dots;
  ASSERT_TRUE(engine.load(page, error));
  ASSERT_TRUE(engine.print("HalftoneType=Burkes Brightness=0", whole, error)) << error;
  EXPECT_EQ(whole.firstRow, 0U);
  EXPECT_EQ(whole.pageRows, 400U);
  ASSERT_TRUE(engine.print("HalftoneType=Burkes Brightness=0 TrimPaper=Both", dots, error))
      << error;
  EXPECT_EQ(dots.firstRow, 100U);
  EXPECT_EQ(dots.rows, 200U);
  EXPECT_EQ(dots.pageRows, 400U);
  restoreRows(dots);
  EXPECT_EQ(dots.firstRow, 0U);
  EXPECT_EQ(dots.rows, 400U);
  EXPECT_TRUE(sameBytes(whole.dots, dots.dots));
}

TEST_F(PageEngineTest, TrimmedPageWithoutInkHasNoRow) {
  GreyPage page = greyPage(2479, 200);
  std::fill(page.pixels.begin(), page.pixels.end(), uint8_t{0});
  PageEngine engine(driver_);
  std::string error;
  DotPage dots;
  ASSERT_TRUE(engine.load(page, error));
  ASSERT_TRUE(engine.print("Brightness=0 TrimPaper=End", dots, error)) << error;
  EXPECT_EQ(dots.rows, 0U);
  restoreRows(dots);
  EXPECT_EQ(dots.width(), 2400U);
  EXPECT_EQ(dots.rows, 200U);
  EXPECT_EQ(dots.dots.size(), 300U * 200U);
  EXPECT_EQ(countDots(dots), 0U);
}

TEST_F(PageEngineTest, TellsOfAFrameThatWasLeftOut) {
  PageEngine engine(driver_);
  std::string error;
  DotPage dots;
  GreyPage page = greyPage(100, 100);
  ASSERT_TRUE(engine.load(page, error));
  ASSERT_TRUE(engine.print("", dots, error)) << error;
  EXPECT_FALSE(engine.leftOutFrame());
  std::strcpy(page.header.cupsPageSizeName, "Tattoo_A6");
  ASSERT_TRUE(engine.load(page, error));
  ASSERT_TRUE(engine.print("PaperFrame=1", dots, error)) << error;
  EXPECT_TRUE(engine.leftOutFrame());
}

TEST(PageTurn, TurnsThePictureAndLeavesThePadding) {
  GreyPage page = greyPage(4, 2);
  page.header.cupsWidth = 3;
  page.pixels = {1, 2, 3, 9, 4, 5, 6, 8};
  const auto turned = [&page](bool mirrored, bool halfTurn) {
    return turnedPage(page, {mirrored, halfTurn}).pixels;
  };
  EXPECT_THAT(turned(true, false), testing::ElementsAre(3, 2, 1, 9, 6, 5, 4, 8));
  EXPECT_THAT(turned(false, true), testing::ElementsAre(6, 5, 4, 9, 3, 2, 1, 8));
  EXPECT_THAT(turned(true, true), testing::ElementsAre(4, 5, 6, 9, 1, 2, 3, 8));
}

// 2479 columns on a head of 2400 dots, of which the driver uses 2398.
TEST(PageTurn, TheSideOfTheDrawingThatIsLostIsKnown) {
  const auto lostOf = [](const std::vector<std::string>& options, uint32_t inked) {
    DriverFile driver;
    std::string error;
    EXPECT_TRUE(driver.open({"", "", options}, error)) << error;
    GreyPage page = greyPage(2479, 3);
    std::fill(page.pixels.begin(), page.pixels.end(), uint8_t{0});
    page.pixels[2479 + inked] = 255;
    const auto lost = lostInkOf(page, driver);
    return lost.empty() ? "" : lostInkText(lost, 300, 300);
  };
  EXPECT_EQ(lostOf({}, 2398), "ink lost at the right: 0.1 mm, 100.0 % of the ink");
  EXPECT_EQ(lostOf({}, 2397), "");
  EXPECT_EQ(lostOf({"StencilMirror=True"}, 0), "ink lost at the left: 6.9 mm, 100.0 % of the ink");
  EXPECT_EQ(lostOf({"StencilMirror=True"}, 81), "");
  EXPECT_EQ(lostOf({"HalfTurn=True"}, 80), "ink lost at the left: 0.1 mm, 100.0 % of the ink");
  EXPECT_EQ(lostOf({"HalfTurn=True"}, 2398), "");
  EXPECT_EQ(lostOf({"StencilMirror=True", "HalfTurn=True"}, 2478),
            "ink lost at the right: 6.9 mm, 100.0 % of the ink");
  EXPECT_EQ(lostOf({"StencilMirror=True", "HalfTurn=True"}, 0), "");
}

TEST(PageTurn, ALostSideLiesOnThePaperAsTheDrawingDoes) {
  cups_page_header2_t header = {};
  header.cupsWidth = 100;
  header.cupsHeight = 40;
  const auto lies = [&header](Side side, const PageTurn& turn, Side where, uint32_t from) {
    const LostInk lost = onPaper({side, 5, 10, 13, 0, 0}, header, turn);
    EXPECT_EQ(lost.side, where);
    EXPECT_EQ(lost.from, from);
    EXPECT_EQ(lost.to, from + 3);
  };
  lies(Side::left, {false, false}, Side::left, 10);
  lies(Side::left, {true, false}, Side::right, 10);
  lies(Side::left, {false, true}, Side::right, 27);
  lies(Side::right, {true, true}, Side::right, 27);
  lies(Side::top, {true, false}, Side::top, 87);
  lies(Side::top, {false, true}, Side::bottom, 87);
  lies(Side::bottom, {true, true}, Side::top, 10);
}

TEST(HatchedPage, HasAMarginWhereInkIsLost) {
  DotPage page;
  page.bytesPerRow = 2;
  page.rows = 60;
  page.firstRow = 7;
  page.dotsPerInchX = page.dotsPerInchY = 203;
  page.dots.assign(120, 0xA5);
  const std::vector<LostInk> lost = {{Side::right, 5, 17, 47, 0, 0}, {Side::top, 5, 0, 16, 0, 0}};
  const HatchedPage hatched = hatchLostInk(page, lost);
  EXPECT_EQ(hatched.margins.text(), "0 24 24 0");
  ASSERT_EQ(hatched.bytesPerRow, 5U);
  ASSERT_EQ(hatched.rows, 84U);
  const auto hasInk = [&hatched](uint32_t y, uint32_t from, uint32_t to) {
    const auto row = hatched.dots.begin() + static_cast<std::ptrdiff_t>(y * 5);
    return std::any_of(row + from, row + to, [](uint8_t byte) { return byte != 0; });
  };
  for (uint32_t y = 0; y < 84; ++y) {
    EXPECT_EQ(hasInk(y, 2, 5), y >= 24 + 10 && y < 24 + 40) << y;
    EXPECT_EQ(hasInk(y, 0, 2), y < 20 || y >= 24) << y;
    if (y >= 24) {
      EXPECT_EQ(hatched.dots[size_t{y} * 5], 0xA5) << y;
    }
  }
  EXPECT_EQ(hatchLostInk(page, {}).dots, page.dots);
}

TEST_F(PageEngineTest, CountsDots) {
  DotPage dots;
  dots.bytesPerRow = 2;
  dots.rows = 2;
  dots.dots = {0xFF, 0x01, 0x00, 0x80};
  EXPECT_EQ(countDots(dots), 10U);
  EXPECT_TRUE(dots.isDot(15, 0));
  EXPECT_FALSE(dots.isDot(14, 0));
  EXPECT_TRUE(dots.isDot(8, 1));
}

TEST(BusiestPart, LiesWhereTheEdgesAre) {
  GreyPage page = greyPage(400, 300);
  std::fill(page.pixels.begin(), page.pixels.end(), uint8_t{0});
  for (uint32_t y = 200; y < 280; ++y)
    for (uint32_t x = 320; x < 390; ++x)
      page.pixels[size_t{y} * 400 + x] = (x + y) % 2 == 0 ? 255 : 0;
  const DotRectangle part = busiestPart(page, 400, 100, 100);
  EXPECT_LE(part.x, 320U);
  EXPECT_GE(part.x + part.width, 390U);
  EXPECT_LE(part.y, 200U);
  EXPECT_GE(part.y + part.height, 280U);
}

TEST(BusiestPart, StaysOnThePageAndInTheUsableColumns) {
  for (const uint32_t side : {1U, 15U, 16U, 17U, 100U, 333U}) {
    const GreyPage page = greyPage(side, side + 3);
    for (const uint32_t usable : {1U, 90U, 1000U}) {
      const DotRectangle part = busiestPart(page, usable, 64, 48);
      EXPECT_EQ(part.width, std::min({64U, side, usable}));
      EXPECT_EQ(part.height, std::min(48U, side + 3));
      EXPECT_LE(part.x + part.width, std::min(side, usable));
      EXPECT_LE(part.y + part.height, side + 3);
    }
  }
}

TEST(BusiestPart, ABlankPageGivesItsCorner) {
  GreyPage page = greyPage(300, 200);
  std::fill(page.pixels.begin(), page.pixels.end(), uint8_t{0});
  const DotRectangle part = busiestPart(page, 300, 64, 48);
  EXPECT_EQ(part.x, 0U);
  EXPECT_EQ(part.y, 0U);
}

}  // namespace
