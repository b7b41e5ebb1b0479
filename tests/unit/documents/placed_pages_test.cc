// SPDX-License-Identifier: Apache-2.0
#include "documents/placed_pages.h"

#include <gmock/gmock.h>

#include <vector>

namespace documents {
namespace {

using testing::ElementsAre;

// One row of two pixels, counted up from 10, on a page of four dots and three rows.
class TwoPixels : public PlacedPages {
 public:
  explicit TwoPixels(const PageWish& wish) : PlacedPages(wish) {}

  Step nextPage(GreyPage& page, std::string& /*error*/) override {
    Placing placing;
    placing.pageWidth = 4;
    placing.pageHeight = 3;
    placing.width = 2;
    placing.x = placing.y = 1;
    beginPage({2, 1, {}, 1}, placing, page);
    return Step::page;
  }

  std::vector<int> row() {
    std::string error;
    std::vector<uint8_t> row(size_t{4} * channels(), 99);
    EXPECT_TRUE(nextRow(row, error));
    return {row.begin(), row.end()};
  }

 protected:
  bool readRow(std::span<uint8_t> levels, std::string& /*error*/) override {
    uint8_t level = 10;
    for (uint8_t& to : levels) to = level++;
    return true;
  }
};

std::vector<int> middleRow(const PageWish& wish) {
  TwoPixels pages(wish);
  GreyPage page;
  std::string error;
  EXPECT_EQ(pages.nextPage(page, error), Step::page);
  EXPECT_THAT(pages.row(), testing::Each(0));
  std::vector<int> row = pages.row();
  EXPECT_THAT(pages.row(), testing::Each(0));
  return row;
}

TEST(PlacedPages, LevelsBecomeInkAtTheirPlace) {
  PageWish wish;
  EXPECT_THAT(middleRow(wish), ElementsAre(0, 245, 244, 0));
}

TEST(PlacedPages, AMirroredRowKeepsTheOrderOfItsColours) {
  PageWish wish;
  wish.colour = true;
  EXPECT_THAT(middleRow(wish), ElementsAre(0, 0, 0, 245, 244, 243, 242, 241, 240, 0, 0, 0));
  wish.mirror = true;
  EXPECT_THAT(middleRow(wish), ElementsAre(0, 0, 0, 242, 241, 240, 245, 244, 243, 0, 0, 0));
}

}  // namespace
}  // namespace documents
