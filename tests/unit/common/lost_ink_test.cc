// SPDX-License-Identifier: Apache-2.0
// Ink that lies beyond the paper, on drawings of a few dots.
#include "common/lost_ink.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Rows = std::vector<std::vector<uint8_t>>;

std::vector<LostInk> lostOf(LostInkCount count, const Rows& rows) {
  for (uint32_t y = 0; y < rows.size(); ++y) count.addRow(y, rows[y]);
  return count.lost();
}

TEST(LostInk, IsCountedOnEachSide) {
  const Rows rows = {{0, 0, 100, 0, 0, 0},  //
                     {0, 50, 200, 0, 0, 0},
                     {40, 0, 250, 0, 60, 80},
                     {0, 0, 0, 20, 0, 0}};
  const auto lost = lostOf({2, 1, 4, 3}, rows);
  ASSERT_EQ(lost.size(), 4U);
  const auto expect = [&lost](size_t i, Side side, uint32_t beyond, uint32_t from, uint32_t to,
                              uint64_t ink) {
    EXPECT_EQ(lost[i].side, side);
    EXPECT_EQ(lost[i].beyond, beyond) << i;
    EXPECT_EQ(lost[i].from, from) << i;
    EXPECT_EQ(lost[i].to, to) << i;
    EXPECT_EQ(lost[i].ink, ink) << i;
    EXPECT_EQ(lost[i].all, 800U) << i;
  };
  expect(0, Side::left, 2, 1, 3, 90);
  expect(1, Side::top, 1, 2, 3, 100);
  expect(2, Side::right, 2, 2, 3, 140);
  expect(3, Side::bottom, 1, 3, 4, 20);
}

TEST(LostInk, ACornerCountsForBothSides) {
  const auto lost = lostOf({0, 0, 2, 1}, {{9, 9, 0}, {0, 0, 9}});
  ASSERT_EQ(lost.size(), 2U);
  EXPECT_EQ(lost[0].side, Side::right);
  EXPECT_EQ(lost[1].side, Side::bottom);
  EXPECT_EQ(lost[0].ink, 9U);
  EXPECT_EQ(lost[1].ink, 9U);
  EXPECT_EQ(lost[1].all, 27U);
}

TEST(LostInk, PaleLevelsAreNone) {
  EXPECT_TRUE(lostOf({0, 0, 1, 1}, {{255, kLeastInk - 1}}).empty());
  EXPECT_EQ(lostOf({0, 0, 1, 1}, {{255, kLeastInk}}).size(), 1U);
  EXPECT_TRUE(lostOf({0, 0, 2, 1}, {{255, 255}}).empty());
}

TEST(LostInk, AllOfItMayLieBeyond) {
  const auto lost = lostOf({0, 0, 0, 1}, {{0, 255}});
  ASSERT_EQ(lost.size(), 1U);
  EXPECT_EQ(lost[0].beyond, 2U);
  EXPECT_EQ(lost[0].ink, lost[0].all);
}

TEST(LostInk, IsToldInMillimetresAndPercent) {
  const std::vector<LostInk> lost = {{Side::right, 80, 0, 9, 125, 10'000},
                                     {Side::top, 203, 0, 9, 7, 7}};
  EXPECT_EQ(lostInkText(std::span(lost).first(1), 300, 203),
            "ink lost at the right: 6.8 mm, 1.3 % of the ink");
  EXPECT_EQ(lostInkText(lost, 300, 203),
            "ink lost at the right: 6.8 mm, 1.3 % of the ink; at the top: 25.4 mm, 100.0 % of the "
            "ink");
  EXPECT_EQ(lostInkText(lost, 0, 0),
            "ink lost at the right: 80 dots, 1.3 % of the ink; at the top: 203 dots, 100.0 % of "
            "the ink");
}

TEST(LostInk, OfWhatIsLostSomeIsTold) {
  const std::vector<LostInk> lost = {{Side::left, 1, 0, 9, 8, 800'000}};
  EXPECT_EQ(lostInkText(lost, 300, 300), "ink lost at the left: 0.1 mm, 0.1 % of the ink");
}

}  // namespace
