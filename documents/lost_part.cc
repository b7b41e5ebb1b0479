// SPDX-License-Identifier: Apache-2.0
#include "documents/lost_part.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace documents {
namespace {

constexpr double kMostSide = 1600;  // of the small drawing

struct Axis {
  int64_t start = 0;     // where the picture begins on the page
  uint32_t size = 0;     // of it
  uint32_t visible = 0;  // of it on the page
  uint32_t page = 0;
  uint32_t drawn = 0;  // pixels of the small drawing

  double scale() const { return static_cast<double>(size) / drawn; }
  // Edges of the visible part in the small drawing.
  uint32_t first() const { return drawnAt(static_cast<double>(std::max<int64_t>(0, -start))); }
  uint32_t last() const {
    return drawnAt(static_cast<double>(std::max<int64_t>(0, -start) + visible));
  }
  uint32_t pageAt(uint32_t dot) const {
    return static_cast<uint32_t>(std::clamp(std::round(dot * scale()) + static_cast<double>(start),
                                            0.0, static_cast<double>(page)));
  }

 private:
  uint32_t drawnAt(double dots) const {
    return static_cast<uint32_t>(std::min(std::round(dots / scale()), static_cast<double>(drawn)));
  }
};

// From the small drawing to the page.
LostInk onPage(LostInk lost, const Axis& across, const Axis& along, bool mirror) {
  const bool isAcross = lost.side == Side::left || lost.side == Side::right;
  const Axis& beyond = isAcross ? across : along;
  const Axis& side = isAcross ? along : across;
  const bool isBefore = lost.side == Side::left || lost.side == Side::top;
  const int64_t most = isBefore ? -beyond.start : beyond.start + beyond.size - int64_t{beyond.page};
  lost.beyond =
      static_cast<uint32_t>(std::min<int64_t>(most, std::llround(lost.beyond * beyond.scale())));
  lost.from = side.pageAt(lost.from);
  lost.to = side.pageAt(lost.to);
  if (mirror && isAcross)
    lost.side = lost.side == Side::left ? Side::right : Side::left;
  else if (mirror)
    lost.from = across.page - std::exchange(lost.to, across.page - lost.from);
  return lost;
}

}  // namespace

std::vector<LostInk> inkBeyondPage(const Placing& placing, const Paper& paper, const PageWish& wish,
                                   const Reopen& reopen) {
  if (placing.visibleWidth() == placing.width && placing.visibleHeight() == placing.height)
    return {};
  const double longest = std::max(placing.width, placing.height);
  Paper small;
  small.dpiX = paper.dpiX;
  small.dpiY = paper.dpiY;
  small.width =
      static_cast<uint32_t>(std::max(1.0, placing.width * std::min(1.0, kMostSide / longest)));
  small.height = kMostHeight;
  small.roll = true;  // as long as it becomes
  PageWish whole;
  whole.fitToPage = true;
  whole.ppi = wish.ppi;
  whole.naturalPercent = wish.naturalPercent;
  whole.turn = placing.turn;
  GreyPage page;
  std::string error;
  const auto pages = reopen(small, whole, error);
  if (!pages || pages->nextPage(page, error) != Step::page) return {};

  const Axis across = {placing.x, placing.width, placing.visibleWidth(), placing.pageWidth,
                       page.width};
  const Axis along = {placing.y, placing.height, placing.visibleHeight(), placing.pageHeight,
                      page.height};
  LostInkCount count(across.first(), along.first(), across.last(), along.last());
  std::vector<uint8_t> row(page.width);
  for (uint32_t y = 0; y < page.height; ++y) {
    if (!pages->nextRow(row, error)) return {};
    count.addRow(y, row);
  }
  std::vector<LostInk> lost = count.lost();
  for (LostInk& one : lost) one = onPage(one, across, along, wish.mirror);
  return lost;
}

}  // namespace documents
