// SPDX-License-Identifier: Apache-2.0
#include "app/raster_page.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace app {
namespace {

const PrinterModel& stencil() { return *findPrinterModel("dravsa43"); }

cups_page_header2_t headerOf(uint32_t width, uint32_t height) {
  cups_page_header2_t header = {};
  header.cupsWidth = header.cupsBytesPerLine = width;
  header.cupsHeight = height;
  header.cupsBitsPerColor = header.cupsBitsPerPixel = 8;
  header.cupsNumColors = 1;
  header.cupsColorSpace = CUPS_CSPACE_K;
  header.HWResolution[0] = header.HWResolution[1] = 300;
  return header;
}

std::vector<uint8_t> pixelsOf(const RasterPage& page) {
  const size_t size = size_t{page.header().cupsBytesPerLine} * page.header().cupsHeight;
  return {page.pixels(), page.pixels() + size};
}

TEST(RasterPage, GathersInkWhateverTheColourSpace) {
  const std::vector<uint8_t> levels = {0, 1, 127, 128, 254, 255};
  for (const auto space : {CUPS_CSPACE_K, CUPS_CSPACE_W, CUPS_CSPACE_SW}) {
    cups_page_header2_t header = headerOf(3, 2);
    header.cupsColorSpace = space;
    RasterPage page;
    ASSERT_EQ(page.begin(header, stencil(), "A4"), nullptr);
    EXPECT_FALSE(page.isWhole());
    page.takeRow(&levels[0]);
    EXPECT_FALSE(page.isWhole());
    EXPECT_EQ(page.rows(), 1U);
    page.takeRow(&levels[3]);
    EXPECT_TRUE(page.isWhole());
    std::vector<uint8_t> want = levels;
    if (space != CUPS_CSPACE_K) want = {255, 254, 128, 127, 1, 0};
    EXPECT_EQ(pixelsOf(page), want) << "colour space " << space;
    EXPECT_EQ(page.header().cupsColorSpace, CUPS_CSPACE_K);
    EXPECT_STREQ(page.header().cupsPageSizeName, "A4");
    page.takeRow(&levels[0]);  // which the page does not have
    EXPECT_EQ(pixelsOf(page), want);
  }
}

TEST(RasterPage, ThePaperTakesThePlaceOfWhatTheRasterSays) {
  cups_page_header2_t header = headerOf(3, 1);
  std::memset(header.cupsPageSizeName, 'x', sizeof header.cupsPageSizeName);
  RasterPage page;
  ASSERT_EQ(page.begin(header, stencil(), "X203MMY600MM"), nullptr);
  EXPECT_STREQ(page.header().cupsPageSizeName, "X203MMY600MM");
  ASSERT_EQ(page.begin(header, stencil(), std::string(100, 'y')), nullptr);
  EXPECT_EQ(page.header().cupsPageSizeName, std::string(63, 'y'));
}

TEST(RasterPage, ALaterPageForgetsTheOneBefore) {
  const std::vector<uint8_t> levels(8, 9);
  RasterPage page;
  ASSERT_EQ(page.begin(headerOf(8, 1), stencil(), "A4"), nullptr);
  page.takeRow(levels.data());
  ASSERT_EQ(page.begin(headerOf(4, 1), stencil(), "A4"), nullptr);
  EXPECT_FALSE(page.isWhole());
  EXPECT_EQ(page.rows(), 0U);
}

TEST(RasterPage, PagesThatCannotBePrintedAreRefusedAndTakeNoRow) {
  using Change = std::function<void(cups_page_header2_t&)>;
  const std::pair<const char*, Change> changes[] = {
      {"1 bit", [](auto& one) { one.cupsBitsPerPixel = 1; }},
      {"24 bits", [](auto& one) { one.cupsBitsPerPixel = 24; }},
      {"three colours", [](auto& one) { one.cupsNumColors = 3; }},
      {"RGB", [](auto& one) { one.cupsColorSpace = CUPS_CSPACE_RGB; }},
      {"resolution across", [](auto& one) { one.HWResolution[0] = 203; }},
      {"resolution along", [](auto& one) { one.HWResolution[1] = 600; }},
      {"no columns", [](auto& one) { one.cupsWidth = one.cupsBytesPerLine = 0; }},
      {"no rows", [](auto& one) { one.cupsHeight = 0; }},
      {"too long", [](auto& one) { one.cupsHeight = 35'434; }},
      {"far too long", [](auto& one) { one.cupsHeight = 4'000'000'000; }},
      {"too wide", [](auto& one) { one.cupsWidth = one.cupsBytesPerLine = 5'103; }},
      {"padded rows", [](auto& one) { one.cupsBytesPerLine += 1; }},
      {"short rows", [](auto& one) { one.cupsBytesPerLine -= 1; }},
      // 2,048 times as many bytes are 2,048 in 32 bits.
      {"rows whose bytes overflow",
       [](auto& one) {
         one.cupsBytesPerLine = (1U << 21U) + 1;
         one.cupsHeight = 2'048;
       }},
  };
  for (const auto& [name, change] : changes) {
    cups_page_header2_t header = headerOf(40, 30);
    change(header);
    RasterPage page;
    const char* fault = page.begin(header, stencil(), "A4");
    ASSERT_NE(fault, nullptr) << name;
    EXPECT_STRNE(fault, "") << name;
    page.takeRow(nullptr);
    EXPECT_FALSE(page.isWhole()) << name;
    EXPECT_EQ(page.rows(), 0U) << name;
  }
}

TEST(RasterPage, TheLargestPageOfEachModelIsTaken) {
  for (const auto& [name, dpi, rows, width] :
       {std::tuple("dravsa43", 300U, 35'433U, 5'102U), {"dravr582", 203U, 23'976U, 927U}}) {
    cups_page_header2_t header = headerOf(1, rows);
    header.HWResolution[0] = header.HWResolution[1] = dpi;
    RasterPage page;
    EXPECT_EQ(page.begin(header, *findPrinterModel(name), "A4"), nullptr) << name;
    header.cupsWidth = header.cupsBytesPerLine = width;
    header.cupsHeight = 1;
    EXPECT_EQ(page.begin(header, *findPrinterModel(name), "A4"), nullptr) << name;
    ++header.cupsWidth;
    ++header.cupsBytesPerLine;
    EXPECT_STREQ(page.begin(header, *findPrinterModel(name), "A4"), "it is wider than any paper");
  }
}

}  // namespace
}  // namespace app
