// SPDX-License-Identifier: Apache-2.0
// The parts of a proof for browsers: what is made first, figures, pictures in texts.
#include <gmock/gmock.h>

#include <set>

#include "proof/ink.h"
#include "tools/drav/html/combinations.h"
#include "tools/drav/html/html_file.h"
#include "tools/drav/html/original.h"
#include "tools/drav/html/png_data.h"

namespace {

using testing::ElementsAre;
using testing::StartsWith;

std::vector<std::pair<size_t, size_t>> pairs(const std::vector<Combination>& list) {
  std::vector<std::pair<size_t, size_t>> out;
  for (const Combination& one : list) out.emplace_back(one.halftone, one.brightness);
  return out;
}

TEST(Combinations, JobFirstThenHalftonesThenTheNearestSteps) {
  const CombinationSpace space = {3, 5};
  EXPECT_THAT(pairs(mainCombinations(space, {1, 3, {}})),
              ElementsAre(std::pair(1, 3), std::pair(0, 3), std::pair(2, 3)));
  EXPECT_THAT(pairs(stepCombinations(space, {1, 3, {}})),
              ElementsAre(std::pair(1, 2), std::pair(1, 4), std::pair(1, 1), std::pair(1, 0)));
  EXPECT_THAT(pairs(mainCombinations({1, 1}, {})), ElementsAre(std::pair(0, 0)));
  EXPECT_THAT(pairs(stepCombinations({1, 1}, {})), ElementsAre());
}

TEST(Combinations, TheJobsOwnTheOtherWaysRound) {
  const auto others = [](const CombinationSpace& space, const PageTurn& turn) {
    std::vector<std::pair<bool, bool>> list;
    for (const Combination& one : mainCombinations(space, {1, 3, turn})) {
      if (one.turn == turn) continue;
      EXPECT_EQ(one.halftone, 1U);
      EXPECT_EQ(one.brightness, 3U);
      list.emplace_back(one.turn.mirrored, one.turn.halfTurn);
    }
    return list;
  };
  EXPECT_THAT(others({3, 5, true, true}, {true, false}),
              ElementsAre(std::pair(false, false), std::pair(false, true), std::pair(true, true)));
  EXPECT_THAT(others({3, 5, true, false}, {false, false}), ElementsAre(std::pair(true, false)));
  EXPECT_THAT(others({3, 5, false, true}, {false, true}), ElementsAre(std::pair(false, false)));
  EXPECT_THAT(others({3, 5, false, false}, {}), ElementsAre());
}

TEST(Combinations, AllOfTheJobsWayRoundOnce) {
  for (const Combination job :
       {Combination{0, 0, {}}, Combination{9, 12, {}}, Combination{4, 7, {}}}) {
    const CombinationSpace space = {10, 13};
    std::set<std::pair<size_t, size_t>> seen;
    size_t count = 0;
    for (const auto& list : {mainCombinations(space, job), stepCombinations(space, job),
                             farCombinations(space, job)}) {
      count += list.size();
      for (const auto& one : pairs(list)) seen.insert(one);
    }
    EXPECT_EQ(count, space.size());
    EXPECT_EQ(seen.size(), space.size());
    EXPECT_EQ(mainCombinations(space, job).size(), 10U);
    EXPECT_EQ(stepCombinations(space, job).size(), 12U);
  }
}

DotPage pageOf(const std::vector<uint32_t>& bands, const std::vector<uint8_t>& rows) {
  DotPage page;
  page.bytesPerRow = 1;
  page.rows = static_cast<uint32_t>(rows.size());
  page.dots = rows;
  page.bands = bands;
  return page;
}

TEST(Ink, HeaviestBandByItsShare) {
  // Twelve dots in four rows are less than four in one.
  Ink ink = inkOf(pageOf({4, 1}, {0x07, 0x07, 0x07, 0x07, 0x0F}));
  EXPECT_EQ(ink.black, 16U);
  EXPECT_EQ(ink.bandRow, 4U);
  EXPECT_EQ(ink.bandRows, 1U);
  EXPECT_EQ(ink.bandBlack, 4U);
  // The first of equals, and of a blank page.
  ink = inkOf(pageOf({2, 2, 1}, {0x00, 0x03, 0x03, 0x00, 0x01}));
  EXPECT_EQ(ink.bandRow, 0U);
  EXPECT_EQ(ink.bandBlack, 2U);
  ink = inkOf(pageOf({2, 1}, {0, 0, 0}));
  EXPECT_EQ(ink.black, 0U);
  EXPECT_EQ(ink.bandRows, 2U);
}

TEST(Ink, OfTheOppositeDots) {
  // Six columns of eight; the others hold no dot.
  Ink ink = invertedInkOf(pageOf({2, 2}, {0xFC, 0xFC, 0x00, 0x80}), 6);
  EXPECT_EQ(ink.black, 11U);
  EXPECT_EQ(ink.bandRow, 2U);
  EXPECT_EQ(ink.bandRows, 2U);
  EXPECT_EQ(ink.bandBlack, 11U);
  // A page without ink stays without.
  ink = invertedInkOf(pageOf({2, 1}, {0, 0, 0}), 6);
  EXPECT_EQ(ink.black, 0U);
  EXPECT_EQ(ink.bandBlack, 0U);
}

TEST(PngData, IsADataAddressOfAnyLength) {
  const std::vector<uint8_t> rows = {0x80, 0x01};
  std::string data;
  std::string error;
  ASSERT_TRUE(pngData(PngKind::kDots, rows, 1, 8, 2, data, error)) << error;
  // The PNG signature in base64.
  EXPECT_THAT(data, StartsWith("data:image/png;base64,iVBORw0KGgo"));
  EXPECT_EQ((data.size() - 22) % 4, 0U);
  EXPECT_EQ(data.find('\0'), std::string::npos);
}

TEST(ScriptSafe, NothingEndsTheScript) {
  EXPECT_EQ(scriptSafe(R"({"a":"</script><!--"})"), R"({"a":"\u003c/script>\u003c!--"})");
}

TEST(Original, RefusesWhatTheFilterDoes) {
  GreyPage page;
  page.header.cupsWidth = 8;
  page.header.cupsBytesPerLine = 1;
  page.header.cupsHeight = 2;
  page.header.cupsBitsPerPixel = 1;
  page.pixels = {0, 0};
  Original original;
  std::string error;
  EXPECT_FALSE(makeOriginal(page, original, error));
  EXPECT_EQ(error, "the page is not 8-bit grey");
}

}  // namespace
