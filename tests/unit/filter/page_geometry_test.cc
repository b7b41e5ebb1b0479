// SPDX-License-Identifier: Apache-2.0
#include "filter/page_geometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/model/page_patterns.h"
#include "tests/model/stream.h"

namespace {

cups_page_header2_t header(unsigned resolution, unsigned bytesPerLine, unsigned height = 1,
                           unsigned width = 0) {
  cups_page_header2_t header = {};
  header.HWResolution[0] = resolution;
  header.HWResolution[1] = 77;  // only the horizontal one counts
  header.cupsBytesPerLine = bytesPerLine;
  header.cupsHeight = height;
  header.cupsWidth = width;
  return header;
}

uint64_t skip(double maxMediaWidth, unsigned resolution, unsigned bytesPerLine) {
  const cups_page_header2_t page = header(resolution, bytesPerLine);
  return skippedRightPixels(maxMediaLinePixels(maxMediaWidth, page), page);
}

TEST(PageGeometryTest, EightInchesAt203DotsAre1624Dots) {
  EXPECT_EQ(maxMediaLinePixels(576.0, header(203, 1700)), 1624U);
  EXPECT_EQ(skip(576.0, 203, 1700), 76U);
  EXPECT_EQ(skip(576.0, 203, 1625), 1U);
  EXPECT_EQ(skip(576.0, 203, 1624), 0U);
  EXPECT_EQ(skip(576.0, 203, 1000), 0U);
}

TEST(PageGeometryTest, A4PagesLoseSeventyNineDotsOnAnEightInchHead) {
  EXPECT_EQ(skip(576.0, 300, 2479), 79U);
}

TEST(PageGeometryTest, LimitIsCutToWholeDots) {
  EXPECT_EQ(maxMediaLinePixels(575.4, header(300, 1)), 2397U);  // 2397.5
  EXPECT_EQ(maxMediaLinePixels(0.2399, header(300, 1)), 0U);    // 0.99...
  EXPECT_EQ(maxMediaLinePixels(0.25, header(300, 1)), 1U);      // 1.04...
}

TEST(PageGeometryTest, LimitIsThatOfDoublePrecision) {
  // 29 dots by hand; the quotient by 72 is rounded down, and so is its product.
  EXPECT_EQ(maxMediaLinePixels(11.6, header(180, 1)), 28U);
  EXPECT_EQ(maxMediaLinePixels(48.8, header(180, 1)), 121U);  // 121.99...
}

TEST(PageGeometryTest, LimitBelowOneDotSkipsNothing) { EXPECT_EQ(skip(0.1, 300, 100), 0U); }

TEST(PageGeometryTest, WidthThatIsMissingNegativeOrNotFiniteIsNoLimit) {
  for (const double width :
       {0.0, -0.0, -1.0, -576.0, std::nan(""), std::numeric_limits<double>::infinity(),
        -std::numeric_limits<double>::infinity()}) {
    EXPECT_EQ(maxMediaLinePixels(width, header(300, 2479)), 0U) << width;
    EXPECT_EQ(skip(width, 300, 2479), 0U) << width;
  }
}

TEST(PageGeometryTest, HugeWidthsStayWithinSixtyFourBits) {
  EXPECT_EQ(maxMediaLinePixels(1e300, header(300, 1)), UINT64_MAX);
  EXPECT_EQ(maxMediaLinePixels(72.0 * 18446744073709551616.0, header(1, 1)), UINT64_MAX);
  EXPECT_EQ(skip(1e300, 300, 0xFFFFFFFF), 0U);
  EXPECT_EQ(maxMediaLinePixels(1e12, header(300, 1)), 4166666666666U);
}

TEST(PageGeometryTest, NoResolutionIsNoLimit) { EXPECT_EQ(skip(576.0, 0, 2479), 0U); }

TEST(PageGeometryTest, RandomLimitsAgreeWithTheModel) {
  model::Random random(12);
  for (int round = 0; round < 3000; ++round) {
    const double width = static_cast<double>(random.below(1000000)) / 997.0 - 100.0;
    const unsigned resolution = random.below(1300);
    const unsigned bytesPerLine = 1 + random.below(5000);
    const cups_page_header2_t page = header(resolution, bytesPerLine);
    ASSERT_EQ(maxMediaLinePixels(width, page), model::maxMediaLinePixels(width, resolution));
    ASSERT_EQ(skip(width, resolution, bytesPerLine),
              model::skipPixels(width, resolution, bytesPerLine));
  }
}

TEST(PageGeometryTest, PageBytesAreAThirtyTwoBitProduct) {
  EXPECT_EQ(pageBytes(header(300, 2480, 3508)), 8699840U);
  EXPECT_EQ(pageBytes(header(300, 65536, 65536)), 0U);
  EXPECT_EQ(pageBytes(header(300, 65536, 65537)), 65536U);
}

TEST(PageGeometryTest, PictureWiderThanItsRowsIsUnprintable) {
  EXPECT_TRUE(isUnprintable(header(300, 8, 1, 9)));
  EXPECT_TRUE(isUnprintable(header(300, 65536, 65536, 65537)));
  EXPECT_FALSE(isUnprintable(header(300, 8, 1, 8)));
  EXPECT_FALSE(isUnprintable(header(300, 8, 1, 1)));
  EXPECT_FALSE(isUnprintable(header(300, 8, 1, 0)));
}

TEST(PageGeometryTest, PageSizeBeyondThirtyTwoBitsIsUnprintableUnlessItWrapsToZero) {
  EXPECT_TRUE(isUnprintable(header(300, 65536, 65537)));
  EXPECT_TRUE(isUnprintable(header(300, 0x7FFFFFFF, 3)));
  EXPECT_FALSE(isUnprintable(header(300, 65535, 65537))) << "4294967295 bytes fit";
  EXPECT_FALSE(isUnprintable(header(300, 65536, 65536))) << "reads as a page without data";
}

}  // namespace
