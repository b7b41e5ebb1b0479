// SPDX-License-Identifier: Apache-2.0
#include "documents/luminance.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace documents
