// SPDX-License-Identifier: Apache-2.0
#include "documents/prepare/outlined_areas.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <utility>

namespace {

constexpr float kLineShare = 0.7F;     // of the cell's paper, for the darkest of a cell with a line
constexpr float kShadedShare = 0.95F;  // of what lies outside of the outline
constexpr uint32_t kWidestLine = 3;    // cells
constexpr size_t kLeastOutline = 8;    // cells that are compared
constexpr size_t kLargestShare = 4;    // an area of more than 1/4 of the picture is the sheet
constexpr int32_t kLine = -1;
constexpr int32_t kUnseen = -2;

// One area, and how much lighter or darker it is than each of its neighbours.
struct Area {
  size_t cells = 0;
  bool reachesEdge = false;
  std::map<int32_t, std::vector<float>> shares;  // of the neighbour's lightness, by its number
};

class OutlinedAreas {
 public:
  OutlinedAreas(const CellGrid& paper, const CellGrid& darkest)
      : paper_(paper), number_(paper.values.size(), kUnseen) {
    for (size_t i = 0; i < number_.size(); ++i) {
      if (darkest.values[i] < kLineShare * paper.values[i]) number_[i] = kLine;
    }
    for (size_t i = 0; i < number_.size(); ++i) {
      if (number_[i] == kUnseen) fill(i);
    }
    for (uint32_t y = 0; y < paper.rows; ++y) {
      for (uint32_t x = 0; x < paper.columns; ++x) compare(x, y);
    }
  }

  std::vector<uint8_t> shaded() const {
    std::vector<uint8_t> areas(areas_.size());
    for (size_t k = 0; k < areas.size(); ++k) areas[k] = isShaded(areas_[k]) ? 1 : 0;
    std::vector<uint8_t> cells(number_.size());
    for (uint32_t y = 0; y < paper_.rows; ++y) {
      for (uint32_t x = 0; x < paper_.columns; ++x) {
        const int32_t number = number_[at(x, y)];
        if (number == kLine || areas[static_cast<size_t>(number)] == 0) continue;
        cells[at(x, y)] = 1;
        markOutline(x, y, cells);
      }
    }
    return cells;
  }

 private:
  static constexpr std::array<std::pair<int, int>, 4> kSides = {{{1, 0}, {-1, 0}, {0, 1}, {0, -1}}};

  size_t at(uint32_t x, uint32_t y) const { return size_t{y} * paper_.columns + x; }

  // Numbers the area around a cell. Its cells share sides: a line closes, too, whose cells
  // touch at corners alone.
  void fill(size_t first) {
    const auto number = static_cast<int32_t>(areas_.size());
    Area& area = areas_.emplace_back();
    std::vector<size_t> waiting = {first};
    number_[first] = number;
    while (!waiting.empty()) {
      const auto x = static_cast<uint32_t>(waiting.back() % paper_.columns);
      const auto y = static_cast<uint32_t>(waiting.back() / paper_.columns);
      waiting.pop_back();
      ++area.cells;
      for (const auto& [right, down] : kSides) {
        const uint32_t column = x + static_cast<uint32_t>(right);
        const uint32_t row = y + static_cast<uint32_t>(down);
        if (column >= paper_.columns || row >= paper_.rows) {  // also what wrapped below 0
          area.reachesEdge = true;
        } else if (number_[at(column, row)] == kUnseen) {
          number_[at(column, row)] = number;
          waiting.push_back(at(column, row));
        }
      }
    }
  }

  // Compares a cell with what lies straight across a line beside it.
  void compare(uint32_t x, uint32_t y) {
    const int32_t here = number_[at(x, y)];
    if (here == kLine) return;
    for (const auto& [right, down] : kSides) {
      uint32_t column = x;
      uint32_t row = y;
      for (uint32_t step = 0; step <= kWidestLine; ++step) {
        column += static_cast<uint32_t>(right);
        row += static_cast<uint32_t>(down);
        if (column >= paper_.columns || row >= paper_.rows) break;
        const int32_t there = number_[at(column, row)];
        if (there == kLine) continue;
        if (there != here) {
          areas_[static_cast<size_t>(here)].shares[there].push_back(
              paper_.values[at(x, y)] / std::max(1.0F, paper_.values[at(column, row)]));
        }
        break;
      }
    }
  }

  bool isShaded(const Area& area) const {
    if (area.reachesEdge || area.cells * kLargestShare > number_.size()) return false;
    return std::any_of(area.shares.begin(), area.shares.end(), [](const auto& neighbour) {
      std::vector<float> shares = neighbour.second;
      if (shares.size() < kLeastOutline) return false;
      const auto middle = shares.begin() + static_cast<std::ptrdiff_t>(shares.size() / 2);
      std::nth_element(shares.begin(), middle, shares.end());
      return *middle < kShadedShare;
    });
  }

  void markOutline(uint32_t x, uint32_t y, std::vector<uint8_t>& cells) const {
    for (uint32_t row = y > 0 ? y - 1 : 0; row <= y + 1 && row < paper_.rows; ++row) {
      for (uint32_t column = x > 0 ? x - 1 : 0; column <= x + 1 && column < paper_.columns;
           ++column) {
        if (number_[at(column, row)] == kLine) cells[at(column, row)] = 1;
      }
    }
  }

  const CellGrid& paper_;
  std::vector<int32_t> number_;  // of each cell's area
  std::vector<Area> areas_;
};

}  // namespace

std::vector<uint8_t> shadedAreas(const CellGrid& paper, const CellGrid& darkest) {
  return OutlinedAreas(paper, darkest).shaded();
}
