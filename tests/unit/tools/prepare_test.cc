// SPDX-License-Identifier: Apache-2.0
// The arithmetic of drav prepare, with lengths that come out even: at 254 dots per inch a
// millimetre is ten dots.
#include <gmock/gmock.h>

#include <map>
#include <set>

#include "proof/art_layout.h"
#include "proof/art_picture.h"
#include "proof/lost_ink.h"
#include "tools/drav/prepare/sheet_marks.h"

namespace {

using documents::Paper;
using documents::Position;
using documents::PrintScaling;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// 100 x 150 mm, of which the head leaves out 10 mm at the right and 5 mm at the top.
Paper sheet() {
  Paper paper;
  paper.dpiX = paper.dpiY = 254;
  paper.width = 1000;
  paper.height = 1500;
  paper.right = 100;
  paper.top = 50;
  return paper;
}

Paper roll() {
  Paper paper = sheet();
  paper.roll = true;
  paper.height = 9000;
  return paper;
}

std::vector<uint32_t> numbers(const Area& area) {
  return {area.left, area.top, area.width, area.height};
}

TEST(ArtLayout, MillimetresAreRoundedHalvesUp) {
  EXPECT_EQ(dotsOfMillimetres(1.24, 254), 12U);
  EXPECT_EQ(dotsOfMillimetres(1.25, 254), 13U);
  EXPECT_EQ(dotsOfMillimetres(0, 254), 0U);
  EXPECT_EQ(dotsOfMillimetres(25.4, 203), 203U);
}

TEST(ArtLayout, WithoutASizeThePictureIsToFitWhatTheHeadReaches) {
  const ArtRequest request = artRequest({}, sheet());
  EXPECT_EQ(request.box.width, 900U);
  EXPECT_EQ(request.box.height, 1450U);
  EXPECT_EQ(request.wish.scaling, PrintScaling::kAutoFit);
  EXPECT_FALSE(request.wish.turn || request.wish.ppi || request.wish.colour);
}

TEST(ArtLayout, AWidthOrHeightIsReachedWhateverThePaper) {
  ArtWish wish;
  wish.width = 300;
  ArtRequest request = artRequest(wish, sheet());
  EXPECT_EQ(request.box.width, 3000U);
  EXPECT_EQ(request.box.height, documents::kMostHeight);
  EXPECT_EQ(request.wish.scaling, PrintScaling::kFit);
  EXPECT_EQ(request.wish.turn, documents::Turn::kNone);
  wish.height = 40;
  request = artRequest(wish, sheet());
  EXPECT_EQ(request.box.height, 400U);
}

TEST(ArtLayout, TurnsAreClockwise) {
  ArtWish wish;
  wish.turn = 90;
  EXPECT_EQ(artRequest(wish, sheet()).wish.turn, documents::Turn::kRight);
  wish.turn = 270;
  EXPECT_EQ(artRequest(wish, sheet()).wish.turn, documents::Turn::kLeft);
}

TEST(ArtLayout, OnlyOutlinesNeedColourAndNotThoseOfACleanedPicture) {
  ArtWish wish;
  wish.lines = true;
  EXPECT_TRUE(artRequest(wish, sheet()).wish.colour);
  wish.clean = true;
  EXPECT_FALSE(artRequest(wish, sheet()).wish.colour);
}

TEST(ArtLayout, ACropIsInMillimetresOfTheResultAndEndsWithThePicture) {
  ArtWish wish;
  wish.crop = CropWish{5, 10.06, 20, 300};
  EXPECT_THAT(numbers(cropArea(wish, sheet(), 600, 400)), ElementsAre(50, 101, 200, 299));
  wish.crop = CropWish{60, 0, 1, 1};
  EXPECT_EQ(cropArea(wish, sheet(), 600, 400).width, 0U);
  EXPECT_EQ(artRequest(wish, sheet()).wish.scaling, PrintScaling::kNone);
}

TEST(ArtLayout, ThePositionCountsWithinTheReachAndAnOddDotGoesToTheEnd) {
  ArtWish wish;
  ArtPlace place = placeArt(wish, sheet(), 401, 451);
  EXPECT_EQ(place.x, 249);       // 499 are left
  EXPECT_EQ(place.y, 50 + 499);  // 999
  EXPECT_EQ(place.pageHeight, 1500U);
  wish.across = Position::kEnd;
  wish.along = Position::kStart;
  place = placeArt(wish, sheet(), 400, 450);
  EXPECT_EQ(place.x, 500);
  EXPECT_EQ(place.y, 50);
}

TEST(ArtLayout, ARollIsAsLongAsTheArt) {
  ArtWish wish;
  wish.along = Position::kEnd;
  const ArtPlace place = placeArt(wish, roll(), 400, 450);
  EXPECT_EQ(place.y, 50);
  EXPECT_EQ(place.pageHeight, 500U);
}

TEST(ToneTable, BlackAndWhiteAreTheEndsAndGammaBendsBetween) {
  ArtWish wish;
  for (size_t level = 0; level < 256; ++level) EXPECT_EQ(toneTable(wish).at(level), level);
  wish.black = 50;
  wish.white = 150;
  EXPECT_EQ(toneTable(wish).at(50), 0);
  EXPECT_EQ(toneTable(wish).at(75), 64);  // a quarter: 63.75
  EXPECT_EQ(toneTable(wish).at(150), 255);
  EXPECT_EQ(toneTable(wish).at(200), 255);
  wish.gamma = 2;
  EXPECT_EQ(toneTable(wish).at(75), 128);  // its square root: 127.5
}

ArtPicture blankArt(uint32_t width, uint32_t height) {
  return {width, height, std::vector<uint8_t>(size_t{width} * height)};
}

std::string lostText(const ArtPicture& art, const ArtPlace& place) {
  const std::vector<LostInk> lost = lostInk(art, place, sheet());
  return lost.empty() ? "" : lostInkText(lost, sheet().dpiX, sheet().dpiY);
}

TEST(PreparedLostInk, NothingIsSaidOfArtWithinTheReach) {
  ArtPicture art = blankArt(900, 1450);
  std::fill(art.ink.begin(), art.ink.end(), uint8_t{255});
  EXPECT_EQ(lostText(art, placeArt({}, sheet(), 900, 1450)), "");
}

TEST(PreparedLostInk, EachSideTellsHowFarAndHowMuch) {
  ArtPicture art = blankArt(1000, 100);
  const auto put = [&art](uint32_t x, uint32_t y, uint8_t ink) {
    art.ink[size_t{y} * art.width + x] = ink;
  };
  put(500, 50, 140);  // stays
  put(967, 50, 40);   // 68 dots beyond the 900 that are reached
  put(950, 99, 10);   // beyond two sides: 49 rows beyond the page below
  put(400, 98, 10);
  EXPECT_EQ(lostText(art, {0, 1449, 1500}),
            "ink lost at the right: 6.8 mm, 25.0 % of the ink; at the bottom: 4.9 mm, 10.0 % of "
            "the ink");
  EXPECT_EQ(lostText(art, {-501, 0, 1500}), "ink lost at the left: 10.1 mm, 75.0 % of the ink");
  // Where along the side is told of the page, not of the art.
  const auto leftFrom = [&art](int64_t y) {
    return lostInk(art, {-501, y, 1500}, sheet()).front().from;
  };
  EXPECT_EQ(leftFrom(20), leftFrom(0) + 20);
  EXPECT_EQ(lostText(art, {0, -1, 1500}),
            "ink lost at the top: 0.1 mm, 90.0 % of the ink; at the right: 6.8 mm, 25.0 % of "
            "the ink");
}

TEST(PreparedLostInk, BlankMarginsAreNoLoss) {
  ArtPicture art = blankArt(1000, 10);
  const ArtPlace place = {0, 100, 1500};
  EXPECT_EQ(lostText(art, place), "");
  std::fill(art.ink.begin(), art.ink.begin() + 900, uint8_t{255});
  EXPECT_EQ(lostText(art, place), "");
  art.ink[900] = kLeastInk;
  EXPECT_EQ(lostText(art, place), "ink lost at the right: 0.1 mm, 0.1 % of the ink");
}

TEST(Sheets, ArtThatFitsGetsOneSheetWithoutBands) {
  SheetPlan plan;
  std::string error;
  ASSERT_TRUE(planSheets({}, sheet(), 900, 1450, plan, error));
  EXPECT_EQ(plan.sheets(), 1U);
  EXPECT_THAT(numbers(plan.window), ElementsAre(0, 50, 900, 1450));
  EXPECT_THAT(sheetStamps(plan, 0, {0, 0, 900, 1450}, sheet(), ""), IsEmpty());
}

// 80 mm and 127 mm are left by bands of 5 mm and a caption of 8 mm.
TEST(Sheets, OneWindowMoreThanFitsWithItsOverlap) {
  SheetPlan plan;
  std::string error;
  ASSERT_TRUE(planSheets({}, sheet(), 1500, 1270, plan, error));
  EXPECT_THAT(numbers(plan.window), ElementsAre(50, 100, 800, 1270));
  EXPECT_EQ(plan.columns, 2U);  // 800 + 700
  EXPECT_EQ(plan.rows, 1U);
  ASSERT_TRUE(planSheets({}, sheet(), 1501, 1271, plan, error));
  EXPECT_EQ(plan.columns, 3U);
  EXPECT_EQ(plan.rows, 2U);
  EXPECT_THAT(numbers(artOnSheet(plan, 4, 1501, 1271)), ElementsAre(700, 1170, 800, 101));
  EXPECT_THAT(numbers(artOnSheet(plan, 2, 1501, 1271)), ElementsAre(1400, 0, 101, 1270));
}

TEST(Sheets, WhatCannotBeTiledIsRefused) {
  ArtWish wish;
  SheetPlan plan;
  std::string error;
  EXPECT_FALSE(planSheets(wish, sheet(), 900 * 20, 1450 * 20, plan, error));
  EXPECT_THAT(error, HasSubstr("sheets; at most 100"));
  wish.overlap = 40;  // leaves nothing between two overlaps
  EXPECT_FALSE(planSheets(wish, sheet(), 1000, 1000, plan, error));
  EXPECT_THAT(error, HasSubstr("--overlap"));
}

// Lays the sheets together by what they show of the art.
TEST(Sheets, NeighboursShareTheOverlapAndItsMarks) {
  const uint32_t width = 2000;
  const uint32_t height = 3000;
  SheetPlan plan;
  std::string error;
  ASSERT_TRUE(planSheets({}, sheet(), width, height, plan, error));
  ASSERT_EQ(plan.columns, 3U);
  ASSERT_EQ(plan.rows, 3U);
  std::vector<int> across(width);
  std::vector<int> along(height);
  std::map<std::pair<int64_t, int64_t>, int> marks;  // on the art
  for (uint32_t sheetNumber = 0; sheetNumber < plan.sheets(); ++sheetNumber) {
    const Area part = artOnSheet(plan, sheetNumber, width, height);
    ASSERT_LE(part.left + part.width, width);
    ASSERT_LE(part.top + part.height, height);
    for (uint32_t x = 0; x < part.width && sheetNumber < 3; ++x) ++across[part.left + x];
    for (uint32_t y = 0; y < part.height && sheetNumber % 3 == 0; ++y) ++along[part.top + y];
    for (const MarkPlace& mark : markPlaces(plan, sheetNumber, part, sheet())) {
      ++marks[{int64_t{mark.x} - plan.window.left + part.left,
               int64_t{mark.y} - plan.window.top + part.top}];
      // In the band, beside the art.
      const bool isBeside = mark.x < plan.window.left || mark.y < plan.window.top ||
                            mark.x > plan.window.left + part.width ||
                            mark.y > plan.window.top + part.height;
      EXPECT_TRUE(isBeside);
      EXPECT_LT(mark.x, 900U - 20);
      EXPECT_GE(mark.x, 20U);
      EXPECT_GE(mark.y, 50U + 20);
    }
  }
  EXPECT_EQ(std::count(across.begin(), across.end(), 2), 200);  // two overlaps of 10 mm
  EXPECT_EQ(std::count(across.begin(), across.end(), 1), 1800);
  EXPECT_EQ(std::count(along.begin(), along.end(), 2), 200);
  EXPECT_EQ(std::count(along.begin(), along.end(), 1), 2800);
  // Six joints side by side and six below each other, with a mark at both ends.
  EXPECT_EQ(marks.size(), 24U);
  for (const auto& [place, count] : marks) EXPECT_EQ(count, 2) << place.first << place.second;
}

TEST(Sheets, StampsLieBesideTheArtAndOnTheSheet) {
  SheetPlan plan;
  std::string error;
  ASSERT_TRUE(planSheets({}, sheet(), 2000, 3000, plan, error));
  const Area part = artOnSheet(plan, 4, 2000, 3000);
  std::set<std::vector<uint8_t>> drawings;
  const std::vector<Stamp> stamps = sheetStamps(plan, 4, part, sheet(), "sheet 5 of 9");
  ASSERT_EQ(stamps.size(), 9U);  // eight marks and the caption
  for (const Stamp& stamp : stamps) {
    EXPECT_EQ(stamp.ink.size(), size_t{stamp.width} * stamp.height);
    EXPECT_LE(stamp.left + stamp.width, 900U);
    EXPECT_LE(stamp.top + stamp.height, 1500U);
    const bool isBeside = stamp.left + stamp.width <= plan.window.left ||
                          stamp.left >= plan.window.left + part.width ||
                          stamp.top + stamp.height <= plan.window.top ||
                          stamp.top >= plan.window.top + part.height;
    EXPECT_TRUE(isBeside);
    drawings.insert(stamp.ink);
  }
  EXPECT_EQ(drawings.size(), 2U);
  // Sheet 5 is filled in the plan, and another one on another sheet.
  EXPECT_NE(sheetStamps(plan, 5, part, sheet(), "sheet 5 of 9").back().ink, stamps.back().ink);
}

}  // namespace
