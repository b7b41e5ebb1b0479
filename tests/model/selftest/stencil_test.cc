// SPDX-License-Identifier: Apache-2.0
// Known answers for the models of the stencil stages.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/model/grey.h"
#include "tests/model/page_patterns.h"
#include "tests/model/selftest/known_answers.h"
#include "tests/model/tattoo.h"

namespace {

using namespace model;
using std::to_string;

int thresholdOfTwo(int levelA, int countA, int levelB, int countB) {
  std::array<int32_t, 256> counts{};
  counts[static_cast<size_t>(levelA)] += countA;
  counts[static_cast<size_t>(levelB)] += countB;
  return threshOfHistogram(counts, countA + countB);
}

void expectEntry(int pivot, float low, float high, int level, int want) {
  const auto table = piecewiseGammaTable(pivot, low, high);
  EXPECT_EQ(table[static_cast<size_t>(level)], want)
      << "gamma pivot " + to_string(pivot) + " entry " + to_string(level);
}

TEST(ModelStencil, GreyAndThreshold) {
  EXPECT_EQ(hexOf(cvtGray(makeQzPicture(1, 1, 2, {255, 0, 0})).pixels), "4C") << "red in RGB";
  EXPECT_EQ(hexOf(cvtGray(makeQzPicture(1, 1, 1, {255, 0, 0})).pixels), "1D") << "blue in BGR";
  for (int layout = 0; layout <= 7; ++layout) {
    EXPECT_EQ(hexOf(cvtGray(makeQzPicture(1, 1, layout, {255, 255, 255, 0})).pixels), "FF")
        << "white";
  }
  EXPECT_EQ(hexOf(cvtGray(makeQzPicture(1, 1, 3, {255, 0, 0, 9})).pixels), "1D") << "blue in BGRA";
  EXPECT_EQ(hexOf(cvtGray(makeQzPicture(1, 1, 4, {255, 0, 0, 9})).pixels), "4C") << "red in RGBA";

  EXPECT_EQ(thresholdOfTwo(0, 50, 255, 50), 255) << "half black, half white";
  EXPECT_EQ(thresholdOfTwo(0, 100, 255, 900), 0) << "100 black among 900 white";
  EXPECT_EQ(thresholdOfTwo(30, 3, 200, 7), 30) << "30 and 200 in 3:7";
  // Fused multiply-adds give the other answer in each of these.
  EXPECT_EQ(thresholdOfTwo(0, 2, 255, 8), 255) << "2 of 0, 8 of 255";
  EXPECT_EQ(thresholdOfTwo(30, 1, 200, 9), 30) << "1 of 30, 9 of 200";
  EXPECT_EQ(thresholdOfTwo(30, 6, 200, 4), 200) << "6 of 30, 4 of 200";
  // Powers of the level formed in single precision give the other answer in these.
  EXPECT_EQ(thresholdOfTwo(0, 11, 255, 9), 0) << "11 of 0, 9 of 255";
  EXPECT_EQ(thresholdOfTwo(0, 33, 255, 67), 255) << "33 of 0, 67 of 255";
  for (int level = 0; level < 256; ++level) {
    EXPECT_EQ(threshGlobalMoments(makeGrey(8, 8, static_cast<uint8_t>(level))), 128)
        << "one level: " + to_string(level);
    EXPECT_EQ(thresholdOfTwo(level, 945 * 2362, level, 0), 128) << "one level, whole page";
  }
  EXPECT_EQ(thresholdOfTwo(255, 1024000, 254, 1), 128) << "nearly flat 255";
  EXPECT_EQ(thresholdOfTwo(220, 1, 242, 1023999), 128) << "nearly flat 242";
  int at255 = 0;
  for (int black = 1; black < 1000; ++black) {
    if (thresholdOfTwo(0, black, 255, 1000 - black) == 255) ++at255;
  }
  EXPECT_NEAR(at255 / 999.0, 0.66, 0.1) << "share of black-and-white pages with threshold 255";
}

TEST(ModelStencil, Gamma) {
  const int tattoo[][2] = {{0, 0},     {1, 1},     {2, 3},    {10, 13},   {32, 35},
                           {63, 63},   {64, 64},   {65, 68},  {100, 123}, {128, 152},
                           {192, 208}, {254, 254}, {255, 255}};
  for (const auto& row : tattoo) expectEntry(64, 0.85F, 0.7F, row[0], row[1]);
  const int middle[][2] = {{0, 0},     {1, 11},    {2, 16},    {18, 47},   {32, 64},
                           {64, 90},   {72, 95},   {127, 127}, {128, 128}, {129, 128},
                           {192, 173}, {254, 253}, {255, 255}};
  for (const auto& row : middle) expectEntry(128, 0.5F, 1.5F, row[0], row[1]);
  const int below[][2] = {{0, 0}, {1, 0}, {15, 2}, {63, 30}, {128, 90}, {255, 255}};
  for (const auto& row : below) expectEntry(-1, 0.5F, 1.5F, row[0], row[1]);
  // Fused multiply-adds give one less in each of these.
  expectEntry(5, 0.5F, 1.5F, 165, 133);
  expectEntry(95, 0.5F, 1.5F, 135, 115);
  expectEntry(103, 0.5F, 1.5F, 141, 122);
  // The other order of the products inside the exponential gives a neighbour.
  expectEntry(36, 0.5F, 1.5F, 1, 6);
  expectEntry(72, 0.5F, 1.5F, 2, 12);
  expectEntry(108, 0.5F, 1.5F, 3, 18);
  expectEntry(121, 0.5F, 1.5F, 1, 10);
  expectEntry(255, 0.5F, 1.5F, 255, 255);
  expectEntry(255, 0.5F, 1.5F, 0, 0);
  for (int pivot = 0; pivot < 255; ++pivot) {
    expectEntry(pivot, 0.5F, 1.5F, 255, 255);
    expectEntry(pivot, 0.5F, 1.5F, 0, 0);
  }
}

TEST(ModelStencil, Smoothing) {
  const double taps[] = {0.142300460, 0.134610473, 0.113945306,
                         0.086309584, 0.058501466, 0.035482941};
  const std::vector<double> kernel = gaussianKernel1D(11, 3.0);
  EXPECT_EQ(kernel.size(), 11U) << "taps";
  for (size_t k = 0; k < 6; ++k) {
    EXPECT_NEAR(kernel[5 + k], taps[k], 5.1e-10) << "tap " + to_string(k);
    EXPECT_EQ(kernel[5 + k], kernel[5 - k]) << "symmetry of tap " + to_string(k);
  }
  EXPECT_EQ(gaussianKernel1D(1, 3.0)[0], 1.0) << "a single tap";

  Grey step;
  step.width = 20;
  step.height = 1;
  for (int x = 0; x < 20; ++x) step.pixels.push_back(x < 10 ? 100 : 150);
  const std::vector<int> blurred = {100, 100, 100, 100, 100, 102, 105, 109, 115, 121,
                                    129, 135, 141, 145, 148, 150, 150, 150, 150, 150};
  const std::vector<int> sharpened = {100, 100, 100, 100, 100, 94,  85,  73,  55,  37,
                                      213, 195, 177, 165, 156, 150, 150, 150, 150, 150};
  EXPECT_EQ(gaussianFilterFast(step, 11, 3.0).pixels, toBytes(blurred)) << "blurred step";
  EXPECT_EQ(unsharpMask(step, 300.0F, 11).pixels, toBytes(sharpened)) << "sharpened step";
  EXPECT_EQ(unsharpMask(step, 0.0F, 11).pixels, step.pixels) << "amount 0";
  EXPECT_EQ(gaussianFilterFast(step, 1, 3.0).pixels, step.pixels) << "blur of size 1";
  EXPECT_EQ(unsharpMask(step, 300.0F, 1).pixels, step.pixels) << "mask of size 1";
  Grey hard = step;
  for (uint8_t& level : hard.pixels) level = level == 100 ? 0 : 255;
  EXPECT_EQ(unsharpMask(hard, 300.0F, 11).pixels, hard.pixels) << "a full step stays";
  for (int level = 0; level < 256; ++level) {
    const Grey flat = makeGrey(5, 7, static_cast<uint8_t>(level));
    EXPECT_EQ(gaussianFilterFast(flat, 11, 3.0).pixels, flat.pixels) << "flat blur";
    EXPECT_EQ(gaussianFilter(flat, 5, 1.5, 2.5).pixels, flat.pixels) << "flat 2-D blur";
    EXPECT_EQ(unsharpMask(flat, 300.0F, 11).pixels, flat.pixels) << "flat mask";
  }
  // The column offset goes with the first sigma: along x this one is wide, along y narrow.
  const std::vector<double> flatKernel = gaussianKernel(3, 2.0, 0.5);
  EXPECT_GT(flatKernel[3], flatKernel[1]) << "which sigma is across";
  const Grey photo = photoPage(23, 19, 8);
  const Grey direct = gaussianFilter(photo, 11, 3.0, 3.0);
  const Grey fast = gaussianFilterFast(photo, 11, 3.0);
  for (size_t i = 0; i < photo.pixels.size(); ++i) {
    EXPECT_LE(std::abs(direct.pixels[i] - fast.pixels[i]), 1) << "both blurs are near";
  }
}

TEST(ModelStencil, ErrorDiffusion) {
  const std::vector<int> wanted = {0, 255, 0, 255, 255, 0, 255, 0, 0, 255, 255, 0, 255, 0, 255, 0};
  EXPECT_EQ(edfCus(makeGrey(4, 4, 128), 128).pixels, toBytes(wanted)) << "4 x 4 of 128";
  const double shares[][2] = {{32, 14.4},  {64, 32.3},  {128, 58.8},
                              {192, 81.3}, {224, 91.9}, {255, 100.0}};
  for (const auto& row : shares) {
    const Grey result = edfCus(makeGrey(64, 64, static_cast<uint8_t>(row[0])), 128);
    EXPECT_NEAR(100 * whiteShare(result.pixels), row[1], 0.05) << "share of " + to_string(row[0]);
  }
  const Grey white = edfCus(makeGrey(64, 64, 255), 255);
  std::vector<int> firstRow;
  int lastColumn = 0;
  int black = 0;
  for (int y = 0; y < 64; ++y) {
    for (int x = 0; x < 64; ++x) {
      if (white.at(x, y) != 0) continue;
      ++black;
      if (y == 0) firstRow.push_back(x);
      if (x == 63) ++lastColumn;
    }
  }
  EXPECT_EQ(black, 6) << "black pixels of white at threshold 255";
  EXPECT_EQ(firstRow, std::vector<int>({0, 18, 36, 54})) << "columns of the first row";
  EXPECT_EQ(lastColumn, 2) << "black pixels of the last column";
  for (int level = 0; level < 256; ++level) {
    const Grey result = edfCus(makeGrey(3, 3, static_cast<uint8_t>(level)), 100);
    EXPECT_EQ(result.at(0, 0), level > 100 ? 255 : 0) << "first pixel of " + to_string(level);
  }
  EXPECT_EQ(edfCus(makeGrey(1, 1, 0), -1).at(0, 0), 255) << "threshold -1";
  // One column: 200 turns white, its error -55 times 0.243191 goes straight down.
  const Grey column = edfCus(greyOf(1, 3, {200, 113, 114}), 100);
  EXPECT_EQ(hexOf(column.pixels), "FF 00 FF") << "one column";
}

std::string dots(const Grey& picture) {
  std::string out;
  for (int y = 0; y < picture.height; ++y) {
    if (y > 0) out += ", ";
    for (int x = 0; x < picture.width; ++x) {
      out += picture.at(x, y) == 255 ? 'o' : picture.at(x, y) == 0 ? 'x' : '?';
    }
  }
  return out;
}

void expectRows(const Grey& picture, const std::vector<int>& row, const std::string& what) {
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      EXPECT_EQ(picture.at(x, y), row[static_cast<size_t>(x)]) << what;
    }
  }
}

TEST(ModelStencil, Pipelines) {
  const std::vector<int> ramp = {0, 36, 72, 109, 145, 182, 218, 255};
  Grey page = makeGrey(8, 8, 0);
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < 8; ++x) page.set(x, y, toBytes(ramp)[static_cast<size_t>(x)]);
  }
  const TattooTrace plain = traceTattoo(page, false);
  EXPECT_EQ(plain.threshold, 145) << "threshold of the ramp";
  expectRows(plain.toned, {0, 39, 84, 133, 168, 200, 228, 255}, "toned");
  expectRows(plain.sharpened, {0, 0, 54, 160, 210, 255, 255, 255}, "sharpened");
  EXPECT_EQ(dots(plain.result),
            "xxxooooo, xxxxoooo, xxxooooo, xxxooooo, xxxooooo, xxxxoooo, xxxooooo, xxxooooo")
      << "stencil";
  const TattooTrace x8 = traceTattoo(page, true);
  EXPECT_EQ(x8.threshold, 145) << "threshold of the ramp, X8";
  expectRows(x8.toned, {0, 72, 102, 125, 145, 166, 204, 255}, "toned, X8");
  expectRows(x8.sharpened, {0, 84, 129, 140, 139, 145, 225, 255}, "sharpened, X8");
  EXPECT_EQ(dots(x8.result),
            "xxoxoxoo, xxooxooo, xxoxoooo, xxooxxoo, xxoxoooo, xxooxooo, xxoxoxoo, xxooxooo")
      << "stencil, X8";

  const QzPicture input = makeQzPicture(8, 8, 0, page.pixels);
  EXPECT_EQ(tattooDithering(input).data, plain.result.pixels) << "pipeline";
  EXPECT_EQ(tattooDitheringX8(input).data, x8.result.pixels) << "pipeline, X8";
  const QzPicture none = makeQzPicture(0, 5, 2, {});
  const QzPicture same = tattooDithering(none);
  EXPECT_TRUE(same.width == 0 && same.height == 5 && same.colour == 2) << "no area is copied";
  // One level: nothing hangs, a blank page stays blank and a page above 128 prints solid.
  for (int level : {0, 1, 127, 128, 129, 200, 255}) {
    const QzPicture flat = makeQzPicture(6, 6, 0, Bytes(36, static_cast<uint8_t>(level)));
    EXPECT_EQ(tattooDithering(flat).data.size(), 36U) << "one level";
    EXPECT_EQ(tattooDitheringX8(flat).data.size(), 36U) << "one level, X8";
    if (level == 0) {
      EXPECT_EQ(tattooDithering(flat).data, Bytes(36, 0)) << "blank stays blank";
      EXPECT_EQ(tattooDitheringX8(flat).data, Bytes(36, 0)) << "blank stays blank, X8";
    }
    if (level == 255) {
      EXPECT_EQ(tattooDithering(flat).data, Bytes(36, 255)) << "full is solid";
      EXPECT_EQ(tattooDitheringX8(flat).data, Bytes(36, 255)) << "full is solid, X8";
    }
  }
}

}  // namespace
