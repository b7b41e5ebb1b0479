// SPDX-License-Identifier: Apache-2.0
// Known answers for the models of what happens to a page.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/model/dither.h"
#include "tests/model/grey.h"
#include "tests/model/page_patterns.h"
#include "tests/model/pages.h"
#include "tests/model/palette_image.h"
#include "tests/model/selftest/known_answers.h"
#include "tests/model/stream.h"
#include "tests/model/tattoo.h"
#include "tests/model/tone.h"

namespace {

using namespace model;
using std::to_string;

TEST(ModelPage, PrinterSettings) {
  EXPECT_EQ(clampTone(-101), -100) << "brightness -101";
  EXPECT_EQ(clampTone(101), 100) << "brightness 101";
  EXPECT_EQ(clampTone(-100), -100) << "brightness -100";
  EXPECT_EQ(parseSpeed("0"), 1) << "speed 0";
  EXPECT_EQ(parseSpeed("abc"), 1) << "speed abc";
  EXPECT_EQ(parseSpeed("16"), 15) << "speed 16";
  EXPECT_EQ(parseSpeed("15"), 15) << "speed 15";
  EXPECT_EQ(clampDensity(-1), 0) << "density -1";
  EXPECT_EQ(clampDensity(16), 15) << "density 16";
  EXPECT_EQ(logLine(3, "No pages found!"), "ERROR:No pages found!") << "level 3";
  EXPECT_EQ(logLine(1, "Ready to print."), "DEBUG:Ready to print.") << "level 1";
  EXPECT_EQ(halftoneTypeFromName("Tattoo_X8"), 9) << "Tattoo_X8";
  EXPECT_EQ(halftoneTypeFromName("Tattoo"), 8) << "Tattoo";
  EXPECT_EQ(halftoneTypeFromName("tattoo"), 0) << "lower case";
  EXPECT_EQ(halftoneTypeFromName(""), 0) << "no name";
}

TEST(ModelPage, Frame) {
  EXPECT_EQ(dotsOf(300, 100), 12) << "one millimetre";
  const int lines[] = {0, 12, 24, 35, 47, 59};
  for (int level = 1; level <= 5; ++level) {
    EXPECT_EQ(frameLineWidth(300, level), lines[level]) << "line of level " + to_string(level);
  }
  EXPECT_EQ(frameCanvas(300, 0, "A4").width, 2362) << "A4 width";
  EXPECT_EQ(frameCanvas(300, 0, "A4").height - 24, 3248) << "A4 height";
  EXPECT_EQ(frameCanvas(300, 0, "Letter").width, 2480) << "Letter width";
  EXPECT_EQ(frameCanvas(300, 0, "Letter").height - 24, 3035) << "Letter height";
  EXPECT_EQ(frameCanvas(300, 0, "Tattoo_A5").width, 2362) << "A5 width";
  EXPECT_EQ(frameCanvas(300, 0, "Tattoo_A5").height - 24, 1394) << "A5 height";
  EXPECT_EQ(frameCanvas(300, 0, "Tattoo_A6").width, 1181) << "A6 width";
  EXPECT_EQ(frameCanvas(300, 0, "Tattoo_A6").height - 24, 1394) << "A6 height";
  EXPECT_EQ(frameCanvas(300, 1, "Tattoo_A6").width, 1205) << "A6 canvas width";
  EXPECT_EQ(frameCanvas(300, 1, "Tattoo_A6").height, 1418) << "A6 canvas height";
  EXPECT_EQ(frameCanvas(300, 1, "A5").width, 0) << "no canvas";

  PrinterSettings settings;
  settings.antiWrinkle = 1;
  settings.pageSizeName = "Tattoo_A6";
  PaletteImage image = imageOf(makeGrey(1000, 1000, 10));
  std::vector<std::string> log;
  enableAntiWrinkle(settings, image, log);
  EXPECT_EQ(image.GetWidth(), 1204) << "expanded width";
  EXPECT_EQ(image.GetHeight(), 1418) << "expanded height";
  EXPECT_EQ(image.GetPixelIndex(0, 0), 255) << "frame corner";
  EXPECT_EQ(image.GetPixelIndex(11, 700), 255) << "left band";
  EXPECT_EQ(image.GetPixelIndex(12, 700), 255) << "canvas";
  EXPECT_EQ(image.GetPixelIndex(101, 700), 255) << "canvas beside the page";
  EXPECT_EQ(image.GetPixelIndex(102, 700), 10) << "first column of the page";
  EXPECT_EQ(image.GetPixelIndex(1101, 700), 10) << "last column of the page";
  EXPECT_EQ(image.GetPixelIndex(1102, 700), 255) << "canvas right of the page";
  EXPECT_EQ(image.GetPixelIndex(600, 208), 255) << "canvas above the page";
  EXPECT_EQ(image.GetPixelIndex(600, 209), 10) << "first row of the page";
  EXPECT_EQ(log.back(), "DEBUG:EnableAntiWrink: Drawing bottom line. point(0, 1406, 1205, 1418)")
      << "bottom line";

  settings.antiWrinkle = 2;
  settings.pageSizeName = "A4";
  PaletteImage large = imageOf(makeGrey(3000, 4000, 10));
  log.clear();
  enableAntiWrinkle(settings, large, log);
  EXPECT_EQ(large.GetWidth(), 3000) << "not expanded";
  EXPECT_EQ(log[4], "DEBUG:EnableAntiWrink: Drawing left line. point(295, 364, 319, 3636)")
      << "left line";
  EXPECT_EQ(log[5], "DEBUG:EnableAntiWrink: Drawing top line. point(295, 364, 2705, 376)")
      << "top line";
  EXPECT_EQ(large.GetPixelIndex(294, 400), 10) << "left of the frame";
  EXPECT_EQ(large.GetPixelIndex(295, 400), 255) << "left band";
  EXPECT_EQ(large.GetPixelIndex(318, 400), 255) << "left band";
  EXPECT_EQ(large.GetPixelIndex(319, 400), 10) << "inside the frame";
  EXPECT_EQ(large.GetPixelIndex(2681, 400), 255) << "right band";
  EXPECT_EQ(large.GetPixelIndex(2680, 400), 10) << "inside the frame";
  EXPECT_EQ(large.GetPixelIndex(1000, 375), 255) << "top band";
  EXPECT_EQ(large.GetPixelIndex(1000, 376), 10) << "inside the frame";
  EXPECT_EQ(large.GetPixelIndex(1000, 3624), 255) << "bottom band";
  EXPECT_EQ(large.GetPixelIndex(1000, 3636), 10) << "below the frame";

  settings.pageSizeName = "A5";
  PaletteImage plain = imageOf(makeGrey(100, 60, 10));
  log.clear();
  enableAntiWrinkle(settings, plain, log);
  EXPECT_EQ(plain.rows(), imageOf(makeGrey(100, 60, 10)).rows()) << "nothing drawn";
  EXPECT_EQ(log[3], "DEBUG:EnableAntiWrink: Drawing left line. point(50, 30, 0, 30)")
      << "no left line";
  EXPECT_EQ(log[4], "DEBUG:EnableAntiWrink: Drawing top line. point(50, 30, 50, 42)")
      << "no top line";
  EXPECT_EQ(log[5], "DEBUG:EnableAntiWrink: Drawing right line. point(26, 30, 50, 30)")
      << "no right line";
  settings.hasPageHeader = false;
  log.clear();
  enableAntiWrinkle(settings, plain, log);
  EXPECT_EQ(log.size(), 1U) << "no header";
}

TEST(ModelPage, PageProcessing) {
  const Grey photo = photoPage(37, 29, 4);
  for (int type = 0; type <= 9; ++type) {
    PrinterSettings settings;
    settings.halftoneType = type;
    const FinishedPage page = processPage(settings, photo.pixels, 37, 37, 29);
    EXPECT_TRUE(page.valid) << "page of type " + to_string(type);
    EXPECT_EQ(page.filled, 29 * 40) << "filled bytes";
    EXPECT_EQ(page.image.GetEffWidth(), 40) << "row length";
    Bytes want;
    if (type < 8) {
      want = dither(photo, type);
    } else {
      want = traceTattoo(photo, type == 9).result.pixels;
    }
    EXPECT_EQ(indicesOf(page.image), want) << "pixels of type " + to_string(type);
    for (uint32_t y = 0; y < 29; ++y) {
      for (uint32_t x = 37; x < 40; ++x) {
        EXPECT_EQ(page.image.rows()[y * 40 + x], 0) << "the padding is no dot";
      }
    }
  }
  PrinterSettings settings;
  settings.halftoneType = 2;
  settings.brightness = 20;
  settings.rotate180 = true;
  settings.mirror = true;
  const FinishedPage page = processPage(settings, photo.pixels, 37, 37, 29);
  const Grey turned = mirror(rotate180(applyTable(photo, lightTable(100, 0))));
  EXPECT_EQ(indicesOf(page.image), dither(turned, 2)) << "light, rotation, mirror, halftone";
  bool adjusted = false;
  for (const std::string& line : page.log) {
    adjusted =
        adjusted || line == "DEBUG:PageProcess: Adjusted brightness to 100 and contrast to 0";
  }
  EXPECT_TRUE(adjusted) << "adjustment line";
  settings.halftoneType = 8;
  settings.negative = true;
  const FinishedPage inverted = processPage(settings, photo.pixels, 37, 37, 29);
  const Grey stencil = traceTattoo(turned, false).result;
  EXPECT_EQ(indicesOf(inverted.image), negative(stencil).pixels) << "negative stencil";
  for (int y = 0; y < 29; ++y) {
    for (int x = 0; x < 37; ++x) {
      EXPECT_EQ(inverted.dst[static_cast<size_t>(y) * 40 + static_cast<size_t>(x)],
                stencil.at(x, y))
          << "the copy is inverted twice";
    }
  }
  // Rows wider than the page: the stencil stages read the buffer as if they were not.
  Bytes wide;
  for (int y = 0; y < 29; ++y) {
    for (int x = 0; x < 41; ++x) wide.push_back(x < 37 ? photo.at(x, y) : 99);
  }
  PrinterSettings ordered;
  ordered.halftoneType = 1;
  EXPECT_EQ(indicesOf(processPage(ordered, wide, 41, 37, 29).image), dither(photo, 1))
      << "spaced rows, ordered";
  ordered.halftoneType = 8;
  Grey skewed = makeGrey(37, 29, 0);
  for (size_t i = 0; i < skewed.pixels.size(); ++i) {
    skewed.pixels[i] = i % 41 < 37 ? wide[i] : 0;
  }
  EXPECT_EQ(indicesOf(processPage(ordered, wide, 41, 37, 29).image),
            traceTattoo(skewed, false).result.pixels)
      << "spaced rows, stencil";
  const FinishedPage none = processPage(ordered, wide, 41, 0, 29);
  EXPECT_TRUE(!none.valid && none.filled == 0) << "no width, no page";
}

TEST(ModelPage, Packing) {
  const PackedPage ten = packMono(toBytes({255, 0, 0, 0, 0, 0, 0, 0, 1, 0}), 10, 1, 0);
  EXPECT_EQ(hexOf(ten.bytes), "80 80") << "row of ten";
  EXPECT_EQ(ten.log, "DEBUG:GrayToMono, bpl(10), h(1), skipPixels(0), wb(10)") << "line";
  EXPECT_EQ(hexOf(packMono(Bytes(24, 255), 12, 2, 4).bytes), "FF FF") << "skip 4 of 12";
  EXPECT_EQ(hexOf(packMono(Bytes(24, 255), 12, 2, 12).bytes), "FF F0 FF F0") << "skip 12 of 12";
  EXPECT_EQ(hexOf(packMono(Bytes(24, 255), 12, 2, 13).bytes), "FF F0 FF F0") << "skip 13 of 12";
  EXPECT_EQ(packMono(Bytes(948), 948, 1, 0).bytes.size(), 119U) << "948 columns";

  const Bytes page = rasterBands(Bytes(296 * 200, 7), 296 * 200, 200);
  EXPECT_EQ(static_cast<int64_t>(page.size()), 3 * 8 + 296 * 200) << "three bands";
  EXPECT_EQ(hexOf(Bytes(page.begin(), page.begin() + 8)), "1D 76 30 00 28 01 60 00")
      << "first band";
  const auto second = page.begin() + 8 + 96 * 296;
  EXPECT_EQ(hexOf(Bytes(second, second + 8)), "1D 76 30 00 28 01 60 00") << "second band";
  const auto third = second + 8 + 96 * 296;
  EXPECT_EQ(hexOf(Bytes(third, third + 8)), "1D 76 30 00 28 01 08 00") << "third band";
  const Bytes odd = rasterBands(Bytes(97, 7), 97, 97);
  EXPECT_EQ(static_cast<int64_t>(odd.size()), 16 + 97) << "97 rows";
  EXPECT_EQ(hexOf(Bytes(odd.end() - 9, odd.end())), "1D 76 30 00 01 00 01 00 07") << "last row";
  EXPECT_EQ(static_cast<int64_t>(rasterBands(Bytes(7, 1), 7, 3).size()), 8 + 6)
      << "a remainder is lost";
  EXPECT_TRUE(rasterBands(Bytes(7, 1), 7, 0).empty()) << "no rows";
}

// Pages of 3 columns of full ink in the given rows, one pixel one dot.
PrintedPage printedPage(const PrinterSettings& settings, int height, std::vector<int> inked) {
  Grey page = makeGrey(12, height, 0);
  for (const int y : inked) {
    for (int x = 0; x < 3; ++x) page.set(x, y, 255);
  }
  return printImage(settings, page.pixels, 12, static_cast<uint64_t>(height), 12);
}

TEST(ModelPage, WhiteOnBlack) {
  PrinterSettings settings;
  settings.invert = true;
  settings.skipRightPixels = 2;
  const PrintedPage page = printedPage(settings, 2, {1});
  EXPECT_EQ(hexOf(page.bands), "1D 76 30 00 02 00 02 00 FF C0 1F C0") << "ten columns print";
  EXPECT_EQ(page.saved[1].bytes[1078], 1) << "a dot of the first row in the picture";
  EXPECT_EQ(page.saved[1].bytes[1078 + 10], 0) << "a skipped column stays bare";
  EXPECT_EQ(page.saved[1].bytes[1078 + 12], 0) << "ink in the picture";
  EXPECT_EQ(hexOf(printedPage(settings, 2, {}).bands), "1D 76 30 00 02 00 02 00 00 00 00 00")
      << "a page without ink";
}

TEST(ModelPage, TrimmedRows) {
  const auto rows = [](Trim trim, uint32_t resolution, int height, std::vector<int> inked) {
    PrinterSettings settings;
    settings.trim = trim;
    settings.verticalResolution = resolution;
    const PrintedPage page = printedPage(settings, height, std::move(inked));
    for (const std::string& line : page.log) {
      if (line.rfind("DEBUG:printImage: Trimmed", 0) == 0) return line.substr(42);
    }
    return std::string("whole");
  };
  EXPECT_EQ(rows(Trim::nothing, 300, 300, {7}), "whole");
  EXPECT_EQ(rows(Trim::end, 300, 300, {200}), "rows 0 to 201 of 300");
  EXPECT_EQ(rows(Trim::both, 300, 300, {100, 250}), "rows 100 to 251 of 300");
  EXPECT_EQ(rows(Trim::both, 300, 300, {100}), "rows 100 to 195 of 300") << "95 rows are 8 mm";
  EXPECT_EQ(rows(Trim::both, 203, 300, {100}), "rows 100 to 164 of 300") << "64 rows are 8 mm";
  EXPECT_EQ(rows(Trim::both, 0, 300, {290}), "rows 205 to 300 of 300") << "up to the end";
  EXPECT_EQ(rows(Trim::both, 300, 40, {3}), "rows 0 to 40 of 40") << "all it had";
  EXPECT_EQ(rows(Trim::end, 300, 300, {}), "rows 0 to 0 of 300") << "no ink";
}

TEST(ModelPage, NoPictures) {
  PrinterSettings settings;
  settings.keepPictures = false;
  const PrintedPage page = printedPage(settings, 4, {1});
  EXPECT_TRUE(page.saved.empty());
  for (const std::string& line : page.log) EXPECT_EQ(line.find("Saving"), std::string::npos);
}

TEST(ModelPage, FrameThatDoesNotPrintWhole) {
  PrinterSettings settings;
  settings.antiWrinkle = 1;
  settings.pageSizeName = "Tattoo_A6";
  const PrintedPage page = printedPage(settings, 2, {1});
  EXPECT_EQ(hexOf(page.bands), "1D 76 30 00 02 00 02 00 00 00 E0 00");
  bool warned = false;
  for (const std::string& line : page.log) {
    warned |= line ==
              "WARN:The frame of 1205 x 1418 dots does not fit the 12 x 2 dots that print, it is "
              "left out!";
  }
  EXPECT_TRUE(warned);
}

TEST(ModelPage, Bmp) {
  const Bytes grey = bmpFile(Bytes(20, 5), 10, 2, 10, 8);
  EXPECT_EQ(grey.size(), 1098U) << "length of a grey file";
  EXPECT_EQ(hexOf(Bytes(grey.begin(), grey.begin() + 54)),
            "42 4D 4E 04 00 00 00 00 00 00 36 04 00 00 28 00 00 00 0A 00 00 00 02 00 00 00 "
            "01 00 08 00 00 00 00 00 18 00 00 00 00 00 00 00 00 00 00 00 00 01 00 00 00 01 00 00")
      << "header of a grey file (file size 1102, image size 24)";
  EXPECT_EQ(hexOf(Bytes(grey.begin() + 54 + 4 * 255, grey.begin() + 1078)), "FF FF FF 00")
      << "last grey";
  EXPECT_EQ(hexOf(Bytes(grey.begin() + 54 + 4, grey.begin() + 54 + 8)), "01 01 01 00")
      << "second grey";
  const Bytes mono = bmpFile(Bytes(12, 0), 12, 1, 12, 1);
  EXPECT_EQ(hexOf(mono),
            "42 4D 42 00 00 00 00 00 00 00 3E 00 00 00 28 00 00 00 0C 00 00 00 01 00 00 00 "
            "01 00 01 00 00 00 00 00 04 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
            "00 00 00 00 FF FF FF 00 FF FF 00 00")
      << "1-bit file";
  const Bytes other = bmpFile(toBytes({0, 1, 1, 1}), 2, 2, 2, 24);
  EXPECT_EQ(static_cast<int64_t>(other.size()), 54 + 8) << "other depths have no palette";
  EXPECT_EQ(hexOf(Bytes(other.begin() + 54, other.end())), "3F 00 00 00 BF 00 00 00")
      << "the last row comes first";
}

}  // namespace
