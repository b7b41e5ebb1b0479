// SPDX-License-Identifier: Apache-2.0
// Known answers for the models of the tone and of blank rows.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/model/grey.h"
#include "tests/model/page_patterns.h"
#include "tests/model/palette_image.h"
#include "tests/model/selftest/known_answers.h"
#include "tests/model/tone.h"

namespace {

using namespace model;
using std::to_string;

TEST(ModelTone, Tone) {
  const ToneTable identity = lightTable(0, 0);
  for (int i = 0; i < 256; ++i) {
    EXPECT_EQ(identity[static_cast<size_t>(i)], i) << "identity table " + to_string(i);
  }
  const ToneTable brighter = lightTable(50, 0);
  EXPECT_EQ(brighter[0], 50) << "brightness 50 of 0";
  EXPECT_EQ(brighter[204], 254) << "brightness 50 of 204";
  EXPECT_EQ(brighter[205], 255) << "brightness 50 of 205";
  EXPECT_EQ(brighter[255], 255) << "brightness 50 of 255";
  const ToneTable flat = lightTable(0, -100);
  const ToneTable flatMoved = lightTable(30, -100);
  const ToneTable flatClamped = lightTable(300, -100);
  for (size_t i = 0; i < 256; ++i) {
    EXPECT_EQ(flat[i], 128) << "contrast -100";
    EXPECT_EQ(flatMoved[i], 158) << "contrast -100 and brightness 30";
    EXPECT_EQ(flatClamped[i], 255) << "contrast -100 and brightness 300";
  }
  const ToneTable steep = lightTable(0, 100);
  EXPECT_EQ(steep[64], 0) << "contrast 100 of 64";
  EXPECT_EQ(steep[65], 2) << "contrast 100 of 65";
  EXPECT_EQ(steep[191], 254) << "contrast 100 of 191";
  EXPECT_EQ(steep[192], 255) << "contrast 100 of 192";
  // From a setting of 51 on (five times that as table argument) one level is left.
  for (int setting = 51; setting <= 100; ++setting) {
    const ToneTable up = lightTable(setting * 5, 0);
    const ToneTable down = lightTable(-setting * 5, 0);
    bool one = true;
    for (size_t i = 0; i < 256; ++i) one = one && up[i] == 255 && down[i] == 0;
    EXPECT_TRUE(one) << "brightness " + to_string(setting) + " leaves one level";
  }
  EXPECT_NE(lightTable(250, 0)[0], 255) << "brightness 50 leaves more than one level";

  const Grey noise = noisePage(7, 5, 1);
  EXPECT_EQ(negative(negative(noise)).pixels, noise.pixels) << "negative twice";
  EXPECT_EQ(mirror(mirror(noise)).pixels, noise.pixels) << "mirror twice";
  EXPECT_EQ(rotate180(rotate180(noise)).pixels, noise.pixels) << "rotation twice";
  const Grey both = mirror(rotate180(noise));
  for (int y = 0; y < 5; ++y) {
    for (int x = 0; x < 7; ++x) {
      EXPECT_EQ(both.at(x, y), noise.at(x, 4 - y)) << "rotation and mirror are a vertical flip";
    }
  }
}

Bytes pageWithInkIn(uint64_t rowBytes, uint64_t height, const std::vector<uint64_t>& rows) {
  Bytes page(rowBytes * height, 0);
  for (uint64_t row : rows) page[row * rowBytes + 1] = 9;
  return page;
}

TEST(ModelTone, BlankRows) {
  const Bytes blank = pageWithInkIn(4, 6, {});
  EXPECT_EQ(countBlankFromFront(blank, 4, 6, 0, 4), 6U) << "front, blank";
  EXPECT_EQ(countBlankFromBack(blank, 4, 6, 0, 4), 0U) << "back, blank";
  const Bytes first = pageWithInkIn(4, 6, {0});
  EXPECT_EQ(countBlankFromFront(first, 4, 6, 0, 4), 6U) << "front, row 0";
  EXPECT_EQ(countBlankFromBack(first, 4, 6, 0, 4), 1U) << "back, row 0";
  const Bytes some = pageWithInkIn(4, 6, {0, 3});
  EXPECT_EQ(countBlankFromFront(some, 4, 6, 0, 4), 2U) << "front, row 3";
  EXPECT_EQ(countBlankFromBack(some, 4, 6, 0, 4), 4U) << "back, row 3";
  const Bytes last = pageWithInkIn(4, 6, {5});
  EXPECT_EQ(countBlankFromFront(last, 4, 6, 0, 4), 4U) << "front, row 5";
  EXPECT_EQ(countBlankFromBack(last, 4, 6, 0, 4), 6U) << "back, row 5";
  EXPECT_EQ(countBlankFromFront(some, 4, 6, 4, 4), 6U) << "front, skip all";
  EXPECT_EQ(countBlankFromBack(some, 4, 6, 4, 4), 0U) << "back, skip all";
  EXPECT_EQ(countBlankFromFront(some, 4, 6, 5, 4), 2U) << "front, big skip";
  EXPECT_EQ(countBlankFromBack(some, 4, 6, 5, 4), 4U) << "back, big skip";
  EXPECT_EQ(countBlankFromBack(some, 4, 6, 3, 4), 0U) << "back, skip ink";
  const Bytes one = pageWithInkIn(4, 1, {0});
  EXPECT_EQ(countBlankFromFront(one, 4, 1, 0, 4), 1U) << "front, one row";
}

}  // namespace
