// SPDX-License-Identifier: Apache-2.0
#include "documents/luminance.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace documents {
namespace {

TEST(Luminance, AGreyStaysWhatItIs) {
  for (int level = 0; level < 256; ++level) {
    const auto grey = static_cast<uint8_t>(level);
    EXPECT_EQ(luminance(grey, grey, grey), grey);
  }
}

// The primaries' luminance 0.2126, 0.7152 and 0.0722, encoded by hand with
// 1.055 * light^(1 / 2.4) - 0.055.
TEST(Luminance, ColoursAreWeightedInLinearLight) {
  EXPECT_EQ(luminance(255, 0, 0), 127);    // 0.4983
  EXPECT_EQ(luminance(0, 255, 0), 220);    // 0.8625
  EXPECT_EQ(luminance(0, 0, 255), 76);     // 0.2979
  EXPECT_EQ(luminance(255, 255, 0), 247);  // 0.9278 of light: 0.9677
  EXPECT_EQ(luminance(0, 1, 0), 1);        // 0.7 of a level of the linear part
  EXPECT_EQ(luminance(1, 0, 0), 0);
}

// The level whose light is nearest on the encoded scale, straight from the formulas.
TEST(Luminance, EveryColourGetsTheNearestLevel) {
  const auto light = [](size_t level) {
    const double encoded = static_cast<double>(level) / 255;
    return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
  };
  std::vector<uint8_t> pixels;
  std::vector<long> want;
  for (size_t red = 0; red < 256; red += 5)
    for (size_t green = 0; green < 256; green += 3)
      for (size_t blue = 0; blue < 256; blue += 17) {
        const double all = 0.2126 * light(red) + 0.7152 * light(green) + 0.0722 * light(blue);
        const double encoded =
            all <= 0.0031308 ? 12.92 * all : 1.055 * std::pow(all, 1 / 2.4) - 0.055;
        want.push_back(std::lround(255 * encoded));
        for (const size_t level : {red, green, blue, size_t{9}})  // four channels
          pixels.push_back(static_cast<uint8_t>(level));
      }
  std::vector<uint8_t> grey(want.size());
  luminanceRow(pixels.data(), 4, want.size(), grey.data());
  for (size_t i = 0; i < want.size(); ++i)
    ASSERT_EQ(grey[i], want[i]) << int{pixels[i * 4]} << " " << int{pixels[i * 4 + 1]} << " "
                                << int{pixels[i * 4 + 2]};
}

}  // namespace
}  // namespace documents
