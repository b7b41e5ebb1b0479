// SPDX-License-Identifier: Apache-2.0
// Known answers for the models of the halftones.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>

#include "tests/model/dither.h"
#include "tests/model/grey.h"
#include "tests/model/page_patterns.h"
#include "tests/model/palette_image.h"
#include "tests/model/selftest/known_answers.h"
#include "tests/model/tone.h"

namespace {

using namespace model;
using std::to_string;

TEST(ModelHalftone, Dither) {
  for (long method = 2; method <= 8; ++method) {
    if (method == 7) continue;
    const ErrorKernel kernel = errorKernel(method);
    int sum = 0;
    for (const KernelCell& cell : kernel.cells) sum += cell.weight;
    EXPECT_EQ(sum, kernel.divisor) << "weights of method " + to_string(method);
    const double half = whiteShare(dither(makeGrey(64, 64, 128), method));
    EXPECT_NEAR(half, 0.5, 0.05) << "flat 128 by method " + to_string(method);
  }
  EXPECT_EQ(errorKernel(2).cells.size(), 7U) << "cells of Burkes";
  EXPECT_EQ(errorKernel(3).cells.size(), 12U) << "cells of Stucki";
  EXPECT_EQ(errorKernel(4).cells.size(), 12U) << "cells of Jarvis";
  EXPECT_EQ(errorKernel(5).cells.size(), 10U) << "cells of Sierra";
  EXPECT_EQ(errorKernel(6).cells.size(), 12U) << "cells of Stevenson";
  EXPECT_EQ(errorKernel(8).cells.size(), 4U) << "cells of Floyd";

  EXPECT_NEAR(whiteShare(dither(makeGrey(9, 9, 128), 0)), 0.0, 0.0) << "flat 128, threshold";
  EXPECT_NEAR(whiteShare(dither(makeGrey(9, 9, 129), 0)), 1.0, 0.0) << "flat 129, threshold";
  EXPECT_NEAR(whiteShare(dither(makeGrey(9, 9, 255), 1)), 1.0, 0.0) << "flat 255, ordered";
  EXPECT_NEAR(whiteShare(dither(makeGrey(9, 9, 0), 1)), 0.0, 0.0) << "flat 0, ordered";
  EXPECT_NEAR(whiteShare(dither(makeGrey(9, 9, 0), 7)), 0.0, 0.0) << "flat 0, Bayer";
  EXPECT_NEAR(whiteShare(dither(makeGrey(9, 9, 255), 7)), 1.0, 0.0) << "flat 255, Bayer";

  const int ordered[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
  const int bayer[4][4] = {
      {0, 192, 48, 240}, {128, 64, 176, 112}, {32, 224, 16, 208}, {160, 96, 144, 80}};
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < 8; ++x) {
      EXPECT_EQ(orderedThreshold(x, y), ordered[y % 4][x % 4]) << "ordered threshold";
      EXPECT_EQ(bayerThreshold(x, y), bayer[y % 4][x % 4]) << "Bayer threshold";
    }
  }

  const Grey photo = photoPage(61, 43, 5);
  const Bytes floyd = dither(photo, 8);
  EXPECT_EQ(dither(photo, 100), floyd) << "method 100 is Floyd-Steinberg";
  EXPECT_EQ(dither(photo, -1), floyd) << "method -1 is Floyd-Steinberg";
  EXPECT_EQ(dither(photo, 4294967296L), floyd) << "method 2^32 is Floyd-Steinberg";
  EXPECT_NE(dither(photo, 1), floyd) << "method 1 is not Floyd-Steinberg";

  // One column: Floyd-Steinberg keeps 5/16 of each error, the rest is dropped.
  EXPECT_EQ(hexOf(dither(greyOf(1, 4, {100, 100, 100, 200}), 8)), "00 01 00 01") << "one column";
  // By hand: 100 gives 43 to the right (143, white, error -112), which takes 49 off the last.
  EXPECT_EQ(hexOf(dither(greyOf(3, 1, {100, 100, 177}), 8)), "00 01 00") << "one row";

  // Share of dots on a blank page that is only made darker.
  const Bytes lifted5 = dither(applyTable(makeGrey(400, 400, 0), lightTable(25, 0)), 1);
  EXPECT_NEAR(whiteShare(lifted5), 0.0625, 0.0) << "blank page, brightness 5, ordered";
  const Bytes burkes5 = dither(applyTable(makeGrey(400, 400, 0), lightTable(25, 0)), 2);
  EXPECT_NEAR(whiteShare(burkes5), 0.086, 0.003) << "blank page, brightness 5, Burkes";
  const Bytes lifted20 = dither(applyTable(makeGrey(400, 400, 0), lightTable(100, 0)), 1);
  EXPECT_NEAR(whiteShare(lifted20), 0.38, 0.02) << "blank page, brightness 20";
  for (long method = 0; method <= 8; ++method) {
    const Bytes solid = dither(applyTable(makeGrey(40, 40, 0), lightTable(255, 0)), method);
    EXPECT_NEAR(whiteShare(solid), 1.0, 0.0) << "blank page, brightness 51";
  }
}

}  // namespace
