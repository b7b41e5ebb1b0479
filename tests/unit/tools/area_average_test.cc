// SPDX-License-Identifier: Apache-2.0
#include "proof/area_average.h"

#include <gmock/gmock.h>

#include <numeric>
#include <random>

#include "tests/support/bytes.h"

namespace {

using testing::Each;
using testing::ElementsAre;

TEST(AreaAverage, SameSizeIsTheSamePicture) {
  const Bytes from = {0, 50, 100, 150, 200, 255};
  EXPECT_EQ(areaAverage(from, 3, 2, 3, 2), from);
}

TEST(AreaAverage, WholePixelsAreMeans) {
  EXPECT_THAT(areaAverage(Bytes{0, 100, 200, 255, 10, 20, 30, 40}, 4, 2, 2, 1),
              ElementsAre(33, 131));  // 130 / 4 = 32.5, 525 / 4 = 131.25
}

TEST(AreaAverage, PartsOfPixelsCountByTheirArea) {
  // Three pixels onto two: the middle one is shared half and half.
  EXPECT_THAT(areaAverage(Bytes{30, 90, 150}, 3, 1, 2, 1), ElementsAre(50, 130));
  EXPECT_THAT(areaAverage(Bytes{30, 90, 150}, 1, 3, 1, 2), ElementsAre(50, 130));
}

TEST(AreaAverage, LargerPicturesRepeatPixels) {
  EXPECT_THAT(areaAverage(Bytes{10, 200}, 2, 1, 4, 2),
              ElementsAre(10, 10, 200, 200, 10, 10, 200, 200));
  EXPECT_THAT(areaAverage(Bytes{0, 255}, 2, 1, 3, 1), ElementsAre(0, 128, 255));
}

TEST(AreaAverage, WhiteStaysWhiteAtEverySize) {
  const Bytes white(size_t{37} * 23, 255);
  for (uint32_t width = 1; width <= 80; width += 7)
    for (uint32_t height = 1; height <= 50; height += 3)
      EXPECT_THAT(areaAverage(white, 37, 23, width, height), Each(255)) << width << "x" << height;
}

TEST(AreaAverage, KeepsTheMeanOfAHalftone) {
  std::minstd_rand random(7);
  Bytes dots(size_t{301} * 203);
  for (uint8_t& level : dots) level = random() % 3 == 0 ? 0 : 255;
  const auto mean = [](const std::vector<uint8_t>& levels) {
    return std::accumulate(levels.begin(), levels.end(), 0.0) / static_cast<double>(levels.size());
  };
  EXPECT_NEAR(mean(areaAverage(dots, 301, 203, 40, 27)), mean(dots), 0.5);
}

}  // namespace
