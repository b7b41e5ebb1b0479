// SPDX-License-Identifier: Apache-2.0
#include "proof/area_average.h"

#include <algorithm>
#include <cstddef>

namespace {

// What new pixel `at` of `to` covers of a line of `from` pixels: whole ones from
// `first` to before `last`, with shares of the two at the ends.
struct Cover {
  uint32_t first = 0;
  uint32_t last = 0;  // one behind
  double firstShare = 1;
  double lastShare = 1;

  double share(uint32_t pixel) const {
    if (pixel == first) return firstShare;
    return pixel + 1 == last ? lastShare : 1;
  }
};

std::vector<Cover> covers(uint32_t from, uint32_t to) {
  std::vector<Cover> list(to);
  for (uint32_t i = 0; i < to; ++i) {
    // In units of 1 / to, which are whole.
    const uint64_t start = uint64_t{i} * from;
    const uint64_t end = start + from;
    Cover& cover = list[i];
    cover.first = static_cast<uint32_t>(start / to);
    cover.last = static_cast<uint32_t>((end + to - 1) / to);
    const auto part = [to](uint64_t length) { return static_cast<double>(length) / to; };
    const uint64_t firstEnd = std::min(end, (uint64_t{cover.first} + 1) * to);
    cover.firstShare = part(firstEnd - start);
    cover.lastShare = part(end - uint64_t{cover.last - 1} * to);
  }
  return list;
}

}  // namespace

std::vector<uint8_t> areaAverage(std::span<const uint8_t> from, uint32_t fromWidth,
                                 uint32_t fromHeight, uint32_t toWidth, uint32_t toHeight) {
  const std::vector<Cover> columns = covers(fromWidth, toWidth);
  const std::vector<Cover> rows = covers(fromHeight, toHeight);
  const double area = static_cast<double>(fromWidth) / toWidth * fromHeight / toHeight;
  std::vector<uint8_t> to(size_t{toWidth} * toHeight);
  std::vector<double> sums(fromWidth);  // of the rows that a new row covers
  for (uint32_t y = 0; y < toHeight; ++y) {
    std::fill(sums.begin(), sums.end(), 0.0);
    for (uint32_t row = rows[y].first; row < rows[y].last; ++row) {
      const double share = rows[y].share(row);
      const auto levels = from.subspan(size_t{row} * fromWidth, fromWidth);
      for (uint32_t x = 0; x < fromWidth; ++x) sums[x] += share * levels[x];
    }
    for (uint32_t x = 0; x < toWidth; ++x) {
      double sum = 0;
      for (uint32_t column = columns[x].first; column < columns[x].last; ++column)
        sum += columns[x].share(column) * sums[column];
      to[size_t{y} * toWidth + x] = static_cast<uint8_t>(std::min(255.0, sum / area + 0.5));
    }
  }
  return to;
}
