// SPDX-License-Identifier: Apache-2.0
// Areas inside outlines: shaded where they are darker than what lies around them, in any
// light.
#include "documents/prepare/outlined_areas.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>

namespace {

using Where = std::function<bool(int x, int y)>;

// A square picture of cells: paper of level 200, a square outline around its middle.
struct Drawing {
  explicit Drawing(int cells = 40) : side(cells) {
    paper.columns = paper.rows = static_cast<uint32_t>(side);
    paper.values.assign(static_cast<size_t>(side) * static_cast<size_t>(side), 200.0F);
  }

  // Distance from the middle, by which the outlines are squares.
  int ring(int x, int y) const { return std::max(std::abs(x - side / 2), std::abs(y - side / 2)); }
  Where within(int reach) const {
    return [=, this](int x, int y) { return ring(x, y) < reach; };
  }
  Where outline(int reach) const {
    return [=, this](int x, int y) { return ring(x, y) == reach; };
  }

  void multiply(float share, const Where& where) {
    forEach([&](int x, int y, size_t at) { paper.values[at] *= where(x, y) ? share : 1.0F; });
  }

  // What is found when `lines` are drawn.
  std::vector<uint8_t> shaded(const Where& lines) {
    CellGrid darkest = paper;
    forEach([&](int x, int y, size_t at) { darkest.values[at] *= lines(x, y) ? 0.3F : 0.95F; });
    return shadedAreas(paper, darkest);
  }

  template <typename Callback>
  void forEach(const Callback& callback) const {
    for (int y = 0; y < side; ++y) {
      for (int x = 0; x < side; ++x) callback(x, y, static_cast<size_t>(y * side + x));
    }
  }

  void expectShaded(const std::vector<uint8_t>& cells, const Where& where) const {
    forEach([&](int x, int y, size_t at) {
      EXPECT_EQ(cells[at], where(x, y) ? 1 : 0) << x << ' ' << y;
    });
  }

  int side;
  CellGrid paper;
};

const Where kNowhere = [](int, int) { return false; };
// A shadow across the drawing takes 40 % of the light.
const Where kRightHalf = [](int x, int) { return x > 19; };

TEST(OutlinedAreas, DarkerThanAroundIsShadedWithItsOutline) {
  Drawing drawing;
  drawing.multiply(0.9F, drawing.within(8));
  drawing.expectShaded(drawing.shaded(drawing.outline(8)), drawing.within(9));
}

TEST(OutlinedAreas, ShadingIsFoundAcrossTheEdgeOfAShadow) {
  Drawing drawing;
  drawing.multiply(0.6F, kRightHalf);
  drawing.multiply(0.9F, drawing.within(8));
  drawing.expectShaded(drawing.shaded(drawing.outline(8)), drawing.within(9));
}

TEST(OutlinedAreas, PaperUnderTheEdgeOfAShadowIsNot) {
  Drawing drawing;
  drawing.multiply(0.6F, kRightHalf);
  drawing.expectShaded(drawing.shaded(drawing.outline(8)), kNowhere);
}

TEST(OutlinedAreas, LittleDarkerIsLightAlone) {
  Drawing drawing;
  drawing.multiply(0.97F, drawing.within(8));
  drawing.expectShaded(drawing.shaded(drawing.outline(8)), kNowhere);
}

TEST(OutlinedAreas, PaperInsideOfShadingIsNotShaded) {
  Drawing drawing;
  drawing.multiply(0.8F, [&](int x, int y) { return drawing.ring(x, y) < 9; });
  drawing.multiply(1.25F, drawing.within(4));
  const Where lines = [&](int x, int y) {
    return drawing.ring(x, y) == 9 || drawing.ring(x, y) == 4;
  };
  drawing.expectShaded(drawing.shaded(lines), [&](int x, int y) {
    return drawing.ring(x, y) <= 9 && drawing.ring(x, y) >= 4;
  });
}

TEST(OutlinedAreas, AnOpenOutlineClosesNothingOff) {
  Drawing drawing;
  drawing.multiply(0.9F, drawing.within(8));
  const Where open = [&](int x, int y) { return drawing.ring(x, y) == 8 && y != 20; };
  drawing.expectShaded(drawing.shaded(open), kNowhere);
}

TEST(OutlinedAreas, CornersThatTouchCloseAnOutline) {
  Drawing drawing;
  const auto distance = [](int x, int y) { return std::abs(x - 20) + std::abs(y - 20); };
  drawing.multiply(0.9F, [&](int x, int y) { return distance(x, y) < 9; });
  const Where diamond = [&](int x, int y) { return distance(x, y) == 9; };
  drawing.expectShaded(drawing.shaded(diamond), [&](int x, int y) { return distance(x, y) <= 9; });
}

TEST(OutlinedAreas, OutlinesOfFourCellsAreTooWide) {
  for (const int width : {3, 4}) {
    Drawing drawing;
    drawing.multiply(0.9F, drawing.within(8));
    const Where wide = [&](int x, int y) {
      return drawing.ring(x, y) >= 8 && drawing.ring(x, y) < 8 + width;
    };
    const std::vector<uint8_t> cells = drawing.shaded(wide);
    EXPECT_EQ(cells[20 * 40 + 20], width == 3 ? 1 : 0) << width;
  }
}

TEST(OutlinedAreas, TheSheetIsNotShadedOnALighterTable) {
  for (const int reach : {9, 10, 11}) {  // 17, 19 and 21 cells of 40 squared
    Drawing drawing;
    drawing.multiply(0.8F, drawing.within(reach));
    const std::vector<uint8_t> cells = drawing.shaded(drawing.outline(reach));
    EXPECT_EQ(cells[20 * 40 + 20], reach < 11 ? 1 : 0) << reach;
  }
}

TEST(OutlinedAreas, WhatReachesTheEdgeIsTheSheet) {
  Drawing drawing;
  drawing.multiply(0.8F, [](int x, int) { return x < 8; });
  drawing.expectShaded(drawing.shaded([](int x, int) { return x == 8; }), kNowhere);
}

TEST(OutlinedAreas, ShortOutlinesSayNothing) {
  Drawing drawing;
  drawing.multiply(0.8F, drawing.within(1));  // one cell: four neighbours
  drawing.expectShaded(drawing.shaded(drawing.outline(1)), kNowhere);
}

TEST(OutlinedAreas, BlackAndSmallPictures) {
  Drawing drawing(1);
  drawing.expectShaded(drawing.shaded(kNowhere), kNowhere);
  Drawing black;
  black.multiply(0.0F, [](int, int) { return true; });
  black.expectShaded(black.shaded(black.outline(8)), kNowhere);
}

}  // namespace
