// SPDX-License-Identifier: Apache-2.0
// Ink in the columns that the head does not reach.
#include "filter/lost_side.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

cups_page_header2_t headerOf(uint32_t width, uint32_t height, uint32_t bytesPerLine) {
  cups_page_header2_t header = {};
  header.cupsWidth = width;
  header.cupsHeight = height;
  header.cupsBytesPerLine = bytesPerLine;
  return header;
}

TEST(LostSide, IsTheRightOneOfAPageAsDrawn) {
  // Two rows of five columns and one of padding, whose ink is none.
  const std::vector<uint8_t> pixels = {9, 9, 9, 0, 0, 99, 9, 0, 0, 9, 0, 99};
  const auto header = headerOf(5, 2, 6);
  const auto lost = inkBeyondHead(header, 3, false, pixels.data());
  ASSERT_EQ(lost.size(), 1U);
  EXPECT_EQ(lost[0].side, Side::right);
  EXPECT_EQ(lost[0].beyond, 1U);
  EXPECT_EQ(lost[0].from, 1U);
  EXPECT_EQ(lost[0].to, 2U);
  EXPECT_EQ(lost[0].ink, 9U);
  EXPECT_EQ(lost[0].all, 45U);
}

TEST(LostSide, IsTheLeftOneOfAReversedPage) {
  const std::vector<uint8_t> pixels = {0, 9, 9, 9, 9, 99, 0, 0, 0, 0, 0, 99};
  const auto header = headerOf(5, 2, 6);
  const auto lost = inkBeyondHead(header, 3, true, pixels.data());
  ASSERT_EQ(lost.size(), 1U);
  EXPECT_EQ(lost[0].side, Side::left);
  EXPECT_EQ(lost[0].beyond, 1U);
  EXPECT_EQ(lost[0].ink, 9U);
  EXPECT_EQ(lost[0].all, 36U);
  EXPECT_TRUE(inkBeyondHead(header, 4, true, pixels.data()).empty());
  EXPECT_TRUE(inkBeyondHead(header, 5, true, pixels.data()).empty());
}

TEST(LostSide, APageWithoutDataIsNotLookedAt) {
  EXPECT_TRUE(inkBeyondHead(headerOf(65'536, 65'536, 65'536), 3, false, nullptr).empty());
}

}  // namespace
