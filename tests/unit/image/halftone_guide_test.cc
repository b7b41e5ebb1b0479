// SPDX-License-Identifier: Apache-2.0
// The halftone of docs/adding-a-halftone.md, compiled with the code of that page. The
// tests of halftone_rows_test.cc run besides, and take its number from the table.
#include <algorithm>
#include <cstring>

#include "image/halftone_rows.h"
#include "image/halftones.h"
#include "tests/model/dither.h"
#include "tests/unit/image/image_support.h"

namespace {

constexpr int kNew = 10;
constexpr int kNone = 11;  // no row's number: Floyd and Steinberg

Bytes halftoned(const model::Grey& picture, long method) {
  Bytes dots;
  const auto width = static_cast<size_t>(picture.width);
  halftoneRows(
      method, static_cast<uint32_t>(width), static_cast<uint32_t>(picture.height),
      [&](uint32_t y, uint8_t* row) { std::memcpy(row, picture.pixels.data() + y * width, width); },
      [&](uint32_t, const uint8_t* row) { dots.insert(dots.end(), row, row + width); });
  return dots;
}

TEST(HalftoneGuide, TheTableHasTheRow) {
  ASSERT_EQ(kHalftoneTypeCount, kNew + 1);
  const DitherType type = dravHalftoneTypeFromStr("TwoRowSierra");
  EXPECT_EQ(static_cast<int>(type), kNew);
  EXPECT_STREQ(dravHalftoneTypeToStr(type), "TwoRowSierra");
  EXPECT_EQ(halftonePipeline(type), HalftonePipeline::rows);
  EXPECT_STREQ(halftones()[kNew].label, "Two-row Sierra (photos, quick)");
}

// By hand: the first pixel's error, 100, gives its neighbours 100 * 4 / 16 = 25 and
// 100 * 3 / 16 = 18. So 104 becomes 129, which is white, and 110 becomes 128, which
// loses (129 - 255) * 4 / 16 = -31.
TEST(HalftoneGuide, TheKernelSpreadsTheError) {
  model::Grey picture = model::makeGrey(3, 1, 0);
  picture.pixels = {100, 104, 110};
  EXPECT_EQ(halftoned(picture, kNew), (Bytes{0, 1, 0}));
  picture.pixels = {100, 103, 110};  // 128, which is black, and 110 + 18 + 32
  EXPECT_EQ(halftoned(picture, kNew), (Bytes{0, 0, 1}));
}

TEST(HalftoneGuide, ItIsNoOtherHalftone) {
  const model::Grey photo = model::patternPage("photo", 130, 60, 4);
  const Bytes dots = halftoned(photo, kNew);
  EXPECT_TRUE(sameBytes(model::dither(photo, kNew), dots));
  for (const long other : {0, 1, 2, 3, 4, 5, 6, 7, kNone}) {
    EXPECT_FALSE(std::equal(dots.begin(), dots.end(), halftoned(photo, other).begin())) << other;
  }
}

}  // namespace
