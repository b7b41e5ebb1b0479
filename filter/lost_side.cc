// SPDX-License-Identifier: Apache-2.0
#include "filter/lost_side.h"

#include <algorithm>

#include "filter/page_geometry.h"

std::vector<LostInk> inkBeyondHead(const cups_page_header2_t& header, uint32_t printed,
                                   bool reversed, const uint8_t* pixels) {
  const uint32_t width = header.cupsWidth;
  if (printed >= width || pageBytes(header) == 0) return {};
  const uint32_t lost = width - printed;
  const uint32_t left = reversed ? lost : 0;
  const auto row = [&header, pixels, width](uint32_t y) {
    return std::span(pixels + size_t{y} * header.cupsBytesPerLine, width);
  };
  // Most pages have nothing there, and no more of them is looked at.
  bool hasInk = false;
  for (uint32_t y = 0; y < header.cupsHeight && !hasInk; ++y) {
    const auto side = row(y).subspan(reversed ? 0 : printed, lost);
    hasInk = std::any_of(side.begin(), side.end(), [](uint8_t one) { return one >= kLeastInk; });
  }
  if (!hasInk) return {};
  LostInkCount count(left, 0, left + printed, header.cupsHeight);
  for (uint32_t y = 0; y < header.cupsHeight; ++y) count.addRow(y, row(y));
  return count.lost();
}
