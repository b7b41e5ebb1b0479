// SPDX-License-Identifier: Apache-2.0
// The level of the paper: beside ink, below ink, across a shadow's edge.
#include "documents/prepare/paper_surface.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/unit/documents/prepare/plane_support.h"

namespace {

constexpr double kPixelsPerMm = 12;  // cells of 12 pixels

PaperSurface paperOf(const model::Grey& picture) {
  return findPaper(
      {picture.pixels, static_cast<uint32_t>(picture.width), static_cast<uint32_t>(picture.height)},
      kPixelsPerMm);
}

TEST(PaperSurface, RunsStraightBelowInk) {
  // A black disc of 20 mm on paper that darkens to the right.
  const auto light = [](double x) { return 220 - 0.2 * x; };
  const auto isInk = [](int x, int y) { return std::hypot(x - 300, y - 300) < 120; };
  const PaperSurface paper =
      paperOf(drawn(600, 600, [&](int x, int y) { return isInk(x, y) ? 10 : light(x); }));
  ASSERT_EQ(paper.level.columns, 50U);
  ASSERT_EQ(paper.level.rows, 50U);
  for (uint32_t y = 0; y < 50; ++y) {
    for (uint32_t x = 1; x < 49; ++x) {  // the outermost have no neighbour to be smoothed with
      const double wanted = light(12.0 * x + 5.5);
      EXPECT_NEAR(paper.level.at(x, y), wanted, 0.04 * wanted) << x << ", " << y;
    }
  }
  EXPECT_EQ(paper.isBare[25 * 50 + 25], 0);
  EXPECT_EQ(paper.isBare[3 * 50 + 3], 1);
}

TEST(PaperSurface, KeepsAShadowsEdgeWhereItIs) {
  const PaperSurface paper =
      paperOf(drawn(600, 600, [](int x, int) { return x < 300 ? 200 : 120; }));
  for (uint32_t y = 0; y < 50; ++y) {
    EXPECT_NEAR(paper.level.at(23, y), 200, 1);
    EXPECT_NEAR(paper.level.at(26, y), 120, 1);
    EXPECT_EQ(paper.step.at(10, y), 0);
    EXPECT_GT(paper.step.at(25, y), 0.2F);
  }
}

TEST(PaperSurface, DarkUpToTheEdgeIsAShadow) {
  // 5 mm wide: in the middle of the page it would be ink.
  const auto strip = [](int left) {
    return paperOf(
        drawn(600, 600, [&](int x, int) { return x >= left && x < left + 60 ? 120 : 200; }));
  };
  EXPECT_NEAR(strip(0).level.at(1, 25), 120, 1);
  EXPECT_NEAR(strip(300).level.at(27, 25), 200, 1);
}

TEST(PaperSurface, NothingLightIsWhitePaperUnderInk) {
  const PaperSurface paper = paperOf(model::makeGrey(100, 50, 20));
  EXPECT_EQ(paper.level.at(4, 2), 255);
  EXPECT_EQ(paper.isBare, std::vector<uint8_t>(paper.isBare.size(), 0));
}

TEST(InterpolateRow, IsLinearBetweenTheCellsMiddles) {
  const CellGrid grid = {4, 2, 2, {10, 18, 110, 118}};  // middles at 1.5 and 5.5
  std::vector<float> row(8);
  interpolateRow(grid, 0, row);  // above the first middles
  EXPECT_EQ(row, (std::vector<float>{10, 10, 11, 13, 15, 17, 18, 18}));
  interpolateRow(grid, 3, row);
  EXPECT_FLOAT_EQ(row[0], 10 + 100 * 1.5F / 4);
  EXPECT_FLOAT_EQ(row[7], 18 + 100 * 1.5F / 4);
}

TEST(InterpolateRow, EveryWidthAndCell) {
  for (uint32_t cell = 1; cell <= 13; ++cell) {
    for (uint32_t width = 1; width <= 60; ++width) {
      CellGrid grid = {cell, (width - 1) / cell + 1, 1, {}};
      // A plane: each pixel's level is its own place.
      for (uint32_t x = 0; x < grid.columns; ++x) {
        grid.values.push_back(static_cast<float>(x * cell) + static_cast<float>(cell - 1) / 2);
      }
      std::vector<float> row(width, -1);
      interpolateRow(grid, 0, row);
      for (uint32_t x = 0; x < width; ++x) {
        const float wanted =
            std::clamp(static_cast<float>(x), grid.values.front(), grid.values.back());
        EXPECT_NEAR(row[x], wanted, 1e-4) << "cell " << cell << ", width " << width;
      }
    }
  }
}

}  // namespace
