// SPDX-License-Identifier: Apache-2.0
// Thinning: what hangs together still does, rings stay rings, one pixel is left.
#include "documents/prepare/thin_lines.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/model/page_patterns.h"
#include "tests/unit/documents/prepare/plane_support.h"

namespace {

using Marks = std::vector<uint8_t>;

Marks fromText(const std::vector<std::string>& rows) {
  Marks marks;
  for (const std::string& row : rows) {
    for (const char c : row) marks.push_back(c == 'o' ? 1 : 0);
  }
  return marks;
}

std::vector<bool> where(const Marks& marks, uint8_t value) {
  std::vector<bool> result;
  for (const uint8_t mark : marks) result.push_back(mark == value);
  return result;
}

size_t count(const Marks& marks) {
  return static_cast<size_t>(std::count(marks.begin(), marks.end(), 1));
}

TEST(ThinLines, ABarBecomesItsMiddleLine) {
  Marks marks(20 * 9, 0);
  for (int y = 2; y < 7; ++y) std::fill_n(marks.begin() + y * 20 + 2, 16, 1);
  thinLines(marks, 20);
  EXPECT_GE(count(marks), 11U);
  for (size_t i = 0; i < marks.size(); ++i) {
    if (marks[i] != 0) {
      EXPECT_EQ(i / 20, 4U) << "column " << i % 20;
    }
  }
}

TEST(ThinLines, ADiscBecomesNearlyAPoint) {
  Marks marks(31 * 31, 0);
  for (int i = 0; i < 31 * 31; ++i) {
    const int x = i % 31 - 15;
    const int y = i / 31 - 15;
    marks[static_cast<size_t>(i)] = x * x + y * y < 150 ? 1 : 0;
  }
  thinLines(marks, 31);
  EXPECT_GE(count(marks), 1U);
  EXPECT_LE(count(marks), 5U);
}

TEST(ThinLines, KeepsPartsAndHolesOfRandomBlobs) {
  for (uint64_t seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(seed);
    constexpr int kWidth = 60;
    constexpr int kHeight = 50;
    model::Random random(seed);
    Marks marks(kWidth * kHeight, 0);
    for (int blob = 0; blob < 25; ++blob) {
      const auto left = 1 + random.below(kWidth - 14);
      const auto top = 1 + random.below(kHeight - 14);
      const auto right = left + 1 + random.below(12);
      const auto bottom = top + 1 + random.below(12);
      for (auto y = top; y < bottom; ++y) {
        for (auto x = left; x < right; ++x) marks[y * kWidth + x] = 1;
      }
    }
    const Marks before = marks;
    thinLines(marks, kWidth);
    EXPECT_LT(count(marks), count(before));
    EXPECT_EQ(countParts(where(marks, 1), kWidth, true),
              countParts(where(before, 1), kWidth, true));
    EXPECT_EQ(countParts(where(marks, 0), kWidth, false),
              countParts(where(before, 0), kWidth, false));
    for (size_t i = 0; i < marks.size(); ++i) EXPECT_LE(marks[i], before[i]) << i;
  }
}

TEST(ThinLines, NothingMarkedStaysSo) {
  Marks marks(9, 0);
  thinLines(marks, 3);
  dropShortBranches(marks, 3, 5);
  dropShortLines(marks, 3, 5);
  EXPECT_EQ(count(marks), 0U);
}

TEST(DropShortBranches, TakesTheBranchAndLeavesTheLine) {
  Marks marks = fromText({"..............",  //
                          ".......o......",  //
                          ".......o......",  //
                          ".......o......",  //
                          ".oooooooooooo.",  //
                          ".............."});
  dropShortBranches(marks, 14, 5);
  EXPECT_EQ(marks, fromText({"..............",  //
                             "..............",  //
                             "..............",  //
                             "..............",  //
                             ".oooooooooooo.",  //
                             ".............."}));
}

TEST(DropShortBranches, LeavesLongBranchesAndFreeLines) {
  const Marks wanted = fromText({"..............",  //
                                 ".......o......",  //
                                 ".......o......",  //
                                 ".......o......",  //
                                 ".oooooooooooo.",  //
                                 "..............",  //
                                 "..ooo.....o...",  //
                                 ".............."});
  Marks marks = wanted;
  dropShortBranches(marks, 14, 3);
  EXPECT_EQ(marks, wanted);
}

TEST(DropShortLines, CountsPixelsThatHangTogether) {
  Marks marks = fromText({"..........",  //
                          ".o...oo...",  //
                          "..o....oo.",  //
                          "...o......",  //
                          ".........."});
  dropShortLines(marks, 10, 4);
  EXPECT_EQ(marks, fromText({"..........",  //
                             ".....oo...",  //
                             ".......oo.",  //
                             "..........",  //
                             ".........."}));
}

}  // namespace
