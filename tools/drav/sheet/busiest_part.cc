// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/sheet/busiest_part.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr uint32_t kTile = 16;       // parts begin at multiples of this
constexpr uint64_t kGreyWorth = 24;  // a middle grey counts as an edge of so many levels

// How much goes on at a pixel.
uint64_t worth(const GreyPage& page, uint32_t x, uint32_t y) {
  const size_t rowBytes = page.header.cupsBytesPerLine;
  const size_t at = y * rowBytes + x;
  const int level = page.pixels[at];
  const auto step = [level, &page](size_t to) {
    return static_cast<uint64_t>(std::abs(level - int{page.pixels[to]}));
  };
  uint64_t sum = level > 15 && level < 240 ? kGreyWorth : 0;
  if (x + 1 < rowBytes) sum += step(at + 1);
  if (y + 1 < page.header.cupsHeight) sum += step(at + rowBytes);
  return sum;
}

// Sums of tiles from the top left corner, so that any part costs four look-ups.
class TileSums {
 public:
  TileSums(const GreyPage& page, uint32_t width)
      : columns_(width / kTile), rows_(page.header.cupsHeight / kTile) {
    sums_.assign((size_t{columns_} + 1) * (rows_ + 1), 0);
    for (uint32_t y = 0; y < rows_ * kTile; ++y)
      for (uint32_t x = 0; x < columns_ * kTile; ++x)
        at(x / kTile + 1, y / kTile + 1) += worth(page, x, y);
    for (uint32_t row = 1; row <= rows_; ++row)
      for (uint32_t column = 1; column <= columns_; ++column)
        at(column, row) += at(column - 1, row) + at(column, row - 1) - at(column - 1, row - 1);
  }

  uint32_t columns() const { return columns_; }
  uint32_t rows() const { return rows_; }
  uint64_t part(uint32_t column, uint32_t row, uint32_t columns, uint32_t rows) {
    return at(column + columns, row + rows) + at(column, row) - at(column + columns, row) -
           at(column, row + rows);
  }

 private:
  uint64_t& at(uint32_t column, uint32_t row) {
    return sums_[size_t{row} * (columns_ + 1) + column];
  }

  uint32_t columns_;
  uint32_t rows_;
  std::vector<uint64_t> sums_;
};

}  // namespace

DotRectangle busiestPart(const GreyPage& page, uint32_t usableWidth, uint32_t width,
                         uint32_t height) {
  const uint32_t pageWidth = std::min(usableWidth, page.header.cupsBytesPerLine);
  DotRectangle part{0, 0, std::min(width, pageWidth), std::min(height, page.header.cupsHeight)};
  if (page.header.cupsBitsPerPixel != 8) return part;
  TileSums sums(page, pageWidth);
  const uint32_t columns = part.width / kTile;
  const uint32_t rows = part.height / kTile;
  uint64_t most = 0;
  for (uint32_t row = 0; row + rows <= sums.rows(); ++row) {
    for (uint32_t column = 0; column + columns <= sums.columns(); ++column) {
      const uint64_t sum = sums.part(column, row, columns, rows);
      if (sum <= most) continue;
      most = sum;
      part.x = std::min(column * kTile, pageWidth - part.width);
      part.y = std::min(row * kTile, page.header.cupsHeight - part.height);
    }
  }
  return part;
}
