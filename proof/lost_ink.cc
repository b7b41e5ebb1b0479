// SPDX-License-Identifier: Apache-2.0
#include "proof/lost_ink.h"

#include <algorithm>

std::vector<LostInk> lostInk(const ArtPicture& art, const ArtPlace& place,
                             const documents::Paper& paper) {
  const Area reach = reachOf(paper);
  const int64_t height = paper.roll ? place.pageHeight - paper.top - paper.bottom : reach.height;
  // The art's columns and rows within the reach.
  const auto within = [](int64_t at, int64_t size) {
    return static_cast<uint32_t>(std::clamp<int64_t>(at, 0, size));
  };
  const int64_t left = int64_t{reach.left} - place.x;
  const int64_t top = int64_t{reach.top} - place.y;
  LostInkCount count(within(left, art.width), within(top, art.height),
                     within(left + reach.width, art.width), within(top + height, art.height));
  for (uint32_t y = 0; y < art.height; ++y)
    count.addRow(y, std::span(art.ink).subspan(size_t{y} * art.width, art.width));
  std::vector<LostInk> lost = count.lost();
  for (LostInk& one : lost) {
    const bool isAcross = one.side == Side::left || one.side == Side::right;
    const int64_t start = isAcross ? place.y : place.x;
    const uint32_t length = isAcross ? place.pageHeight : paper.width;
    one.from = within(start + one.from, length);
    one.to = within(start + one.to, length);
  }
  return lost;
}
