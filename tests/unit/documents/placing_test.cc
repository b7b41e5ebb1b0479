// SPDX-License-Identifier: Apache-2.0
// Cases worked out by hand; tests/documents/test_placing.py has the model.
#include "documents/placing.h"

#include <gmock/gmock.h>

namespace documents {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A4 at 300 dpi on paper as wide as the head.
Paper sheet() {
  Paper paper;
  paper.width = 2400;
  paper.height = 3508;
  return paper;
}

Paper roll() {
  Paper paper;
  paper.dpiX = paper.dpiY = 203;
  paper.width = 576;
  paper.height = 8000;
  paper.roll = true;
  return paper;
}

PictureFacts pixels(uint32_t width, uint32_t height, double dpi = 0) {
  return {width, height, {dpi, dpi}, 1};
}

PageWish scaled(PrintScaling scaling) {
  PageWish wish;
  wish.scaling = scaling;
  return wish;
}

std::vector<int64_t> box(const Placing& placing) {
  return {placing.width, placing.height, placing.x, placing.y};
}

std::vector<NoteKind> notesOf(const PictureFacts& facts, const Paper& paper,
                              const PageWish& wish = {}) {
  std::vector<Note> notes;
  (void)placePicture(facts, paper, wish, &notes);
  std::vector<NoteKind> kinds;
  for (const Note& note : notes) kinds.push_back(note.kind);
  return kinds;
}

TEST(Placing, ASmallPictureHasItsTrueSizeInTheMiddle) {
  const Placing placing = placePicture(pixels(400, 200, 300), sheet(), {});
  EXPECT_THAT(box(placing), ElementsAre(400, 200, 1000, 1654));
  EXPECT_TRUE(placing.isExact);
  EXPECT_EQ(placing.turn, Turn::kNone);
  EXPECT_THAT(notesOf(pixels(400, 200, 300), sheet()), IsEmpty());
}

TEST(Placing, AResolutionFrom60To2400Counts) {
  EXPECT_THAT(box(placePicture(pixels(60, 120, 60), sheet(), {})),
              ElementsAre(300, 600, 1050, 1454));
  EXPECT_THAT(box(placePicture(pixels(80, 80, 2400), sheet(), {})),
              ElementsAre(10, 10, 1195, 1749));
  EXPECT_EQ(placePicture(pixels(80, 80, 59.9), sheet(), {}).width, 80U);
  EXPECT_EQ(placePicture(pixels(80, 80, 2401), sheet(), {}).width, 80U);
  EXPECT_THAT(notesOf(pixels(80, 80, 59.9), sheet()), ElementsAre(NoteKind::kResolutionIgnored));
}

TEST(Placing, NearlyTheHeadsResolutionIsTheHeads) {
  EXPECT_TRUE(placePicture(pixels(2400, 3500, 299.72), sheet(), {}).isExact);  // 118 a centimetre
  EXPECT_FALSE(placePicture(pixels(2400, 3500, 301), sheet(), {}).isExact);
}

TEST(Placing, WhatIsTooLargeIsReducedAndNotTurnedForNothing) {
  const Placing placing = placePicture(pixels(4800, 6000, 300), sheet(), {});
  EXPECT_THAT(box(placing), ElementsAre(2400, 3000, 0, 254));
  EXPECT_TRUE(placing.isReduced);
  EXPECT_THAT(notesOf(pixels(4800, 6000, 300), sheet()), ElementsAre(NoteKind::kReduced));
}

TEST(Placing, WhatFitsOnlyTurnedIsTurned) {
  const Placing placing = placePicture(pixels(3000, 2000, 300), sheet(), {});
  EXPECT_EQ(placing.turn, Turn::kLeft);
  EXPECT_THAT(box(placing), ElementsAre(2000, 3000, 200, 254));
  EXPECT_TRUE(placing.isExact);
  EXPECT_THAT(notesOf(pixels(3000, 2000, 300), sheet()), ElementsAre(NoteKind::kTurned));
  EXPECT_EQ(placePicture(pixels(3000, 2000, 300), sheet(), scaled(PrintScaling::kFit)).turn,
            Turn::kNone);
}

TEST(Placing, AutoFillsASheetWithoutMarginsAndFitsOneWithThem) {
  Paper paper = sheet();
  const PictureFacts large = pixels(5000, 5000, 300);
  const PageWish wish = scaled(PrintScaling::kAuto);
  EXPECT_THAT(box(placePicture(large, paper, wish)), ElementsAre(3508, 3508, -554, 0));
  paper.left = 10;
  EXPECT_THAT(box(placePicture(large, paper, wish)), ElementsAre(2390, 2390, 10, 559));
  EXPECT_THAT(notesOf(large, sheet(), wish), ElementsAre(NoteKind::kReduced, NoteKind::kCut));
}

TEST(Placing, NoneCentresAndCuts) {
  const Placing placing =
      placePicture(pixels(2410, 100, 300), sheet(), scaled(PrintScaling::kNone));
  EXPECT_EQ(placing.turn, Turn::kLeft);  // it fits so
  PageWish upright = scaled(PrintScaling::kNone);
  upright.turn = Turn::kNone;
  const Placing cut = placePicture(pixels(2410, 100, 300), sheet(), upright);
  EXPECT_THAT(box(cut), ElementsAre(2410, 100, -5, 1704));
  EXPECT_EQ(cut.visibleLeft(), 5U);
  EXPECT_EQ(cut.visibleWidth(), 2400U);
}

TEST(Placing, WhatIsTooLargeByLessThanItMattersFits) {
  const Placing placing = placePicture(pixels(2407, 3515, 300), sheet(), {});
  EXPECT_THAT(box(placing), ElementsAre(2407, 3515, 0, 0));
  EXPECT_EQ(placing.turn, Turn::kNone);
  EXPECT_TRUE(placing.isExact);
  EXPECT_THAT(notesOf(pixels(2407, 3515, 300), sheet()), ElementsAre(NoteKind::kCut));
  EXPECT_TRUE(placePicture(pixels(2408, 3500, 300), sheet(), {}).isReduced);
  PageWish right;
  right.across = Position::kEnd;
  EXPECT_EQ(placePicture(pixels(2407, 100, 300), sheet(), right).x, -7);
}

TEST(Placing, PpiWinsOverScalingOverFitToPageOverPrintScaling) {
  PageWish wish = scaled(PrintScaling::kFill);
  EXPECT_EQ(placePicture(pixels(100, 100), sheet(), wish).width, 3508U);
  wish.fitToPage = true;
  EXPECT_EQ(placePicture(pixels(100, 100), sheet(), wish).width, 2400U);
  wish.percent = 50;
  EXPECT_EQ(placePicture(pixels(100, 100), sheet(), wish).width, 1200U);
  wish.ppi = Density{100, 100};
  EXPECT_EQ(placePicture(pixels(100, 100, 72), sheet(), wish).width, 300U);
}

TEST(Placing, NaturalScalingIsOfTheTrueSize) {
  PageWish wish;
  wish.naturalPercent = 50;
  const Placing half = placePicture(pixels(400, 200, 300), sheet(), wish);
  EXPECT_THAT(box(half), ElementsAre(200, 100, 1100, 1704));
  EXPECT_FALSE(half.isExact || half.isReduced);
  EXPECT_EQ(half.scale, 0.5);
  wish.ppi = Density{100, 100};
  EXPECT_THAT(box(placePicture(pixels(400, 200, 300), sheet(), wish)),
              ElementsAre(600, 300, 900, 1604));
}

TEST(Placing, NaturalScalingThatIsTooLargeFitsThePageOrIsCut) {
  PageWish wish;
  wish.naturalPercent = 200;
  const PictureFacts large = pixels(1500, 2000, 300);
  const Placing placing = placePicture(large, sheet(), wish);
  EXPECT_THAT(box(placing), ElementsAre(2400, 3200, 0, 154));
  std::vector<Note> notes;
  (void)placePicture(large, sheet(), wish, &notes);
  ASSERT_EQ(notes.size(), 1U);
  EXPECT_EQ(notes[0].text, "it is 254 x 339 mm large and was reduced to 80.0 % to fit the page");
  wish.scaling = PrintScaling::kNone;
  wish.turn = Turn::kNone;
  EXPECT_THAT(box(placePicture(large, sheet(), wish)), ElementsAre(3000, 4000, -300, -246));
  wish.turn.reset();
  EXPECT_EQ(placePicture(pixels(1500, 1100, 300), sheet(), wish).turn, Turn::kLeft);
}

TEST(Placing, NaturalScalingWinsOverPrintScalingAlone) {
  PageWish wish = scaled(PrintScaling::kFill);
  wish.naturalPercent = 300;
  EXPECT_EQ(placePicture(pixels(100, 100, 300), sheet(), wish).width, 300U);
  wish.fitToPage = true;
  EXPECT_EQ(placePicture(pixels(100, 100, 300), sheet(), wish).width, 2400U);
  wish.percent = 50;
  EXPECT_EQ(placePicture(pixels(100, 100, 300), sheet(), wish).width, 1200U);
}

TEST(Placing, OnARollThePageIsAsLongAsThePicture) {
  const Placing small = placePicture(pixels(300, 100), roll(), {});
  EXPECT_THAT(box(small), ElementsAre(300, 100, 138, 0));
  EXPECT_EQ(small.pageHeight, 100U);
  const Placing wide = placePicture(pixels(1152, 700), roll(), {});
  EXPECT_THAT(box(wide), ElementsAre(576, 350, 0, 0));
  EXPECT_EQ(wide.pageHeight, 350U);
  const Placing turned = placePicture(pixels(1152, 500), roll(), {});
  EXPECT_EQ(turned.turn, Turn::kLeft);
  EXPECT_EQ(turned.pageHeight, 1152U);
}

TEST(Placing, WhatNobodyCouldPrintIsBounded) {
  PageWish wish = scaled(PrintScaling::kNone);
  wish.ppi = Density{1, 1};
  wish.turn = Turn::kNone;
  const Placing placing = placePicture(pixels(300'000'000, 1), sheet(), wish);
  EXPECT_EQ(placing.width, 4'000'000U);
  EXPECT_EQ(placing.height, 1U);
}

TEST(Placing, LinesTellInMillimetres) {
  std::vector<Note> notes;
  (void)placePicture(pixels(4800, 6000, 300), sheet(), {}, &notes);
  ASSERT_EQ(notes.size(), 1U);
  EXPECT_EQ(notes[0].text, "it is 406 x 508 mm large and was reduced to 50.0 % to fit the page");
  notes.clear();
  PageWish wish = scaled(PrintScaling::kNone);
  wish.turn = Turn::kNone;
  (void)placePicture(pixels(2700, 100, 300), sheet(), wish, &notes);
  ASSERT_EQ(notes.size(), 1U);
  EXPECT_EQ(notes[0].text, "25.4 mm of its width and 0.0 mm of its height lie beyond the page");
}

}  // namespace
}  // namespace documents
