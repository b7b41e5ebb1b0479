// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/engine/page_turn.h"

#include <algorithm>
#include <cstddef>

#include "filter/lost_side.h"

namespace {

using Row = std::vector<uint8_t>::const_iterator;

Row rowOf(const GreyPage& page, uint32_t y) {
  return page.pixels.begin() +
         static_cast<std::ptrdiff_t>(size_t{y} * page.header.cupsBytesPerLine);
}

bool isPrintable(const GreyPage& page) {
  return page.header.cupsBitsPerPixel == 8 && page.header.cupsWidth <= page.header.cupsBytesPerLine;
}

}  // namespace

PageTurn turnOf(const DriverFile& driver) {
  return {driver.isMarked("StencilMirror", "True"), driver.isMarked("HalfTurn", "True")};
}

GreyPage turnedPage(const GreyPage& page, const PageTurn& turn) {
  GreyPage turned = page;
  const cups_page_header2_t& header = page.header;
  for (uint32_t y = 0; y < header.cupsHeight; ++y) {
    const Row row = rowOf(page, turn.halfTurn ? header.cupsHeight - 1 - y : y);
    std::vector<uint8_t> printed(row, row + header.cupsWidth);
    if (turn.isReversed()) std::reverse(printed.begin(), printed.end());
    const size_t start = size_t{y} * header.cupsBytesPerLine;
    std::copy(printed.begin(), printed.end(),
              turned.pixels.begin() + static_cast<std::ptrdiff_t>(start));
  }
  return turned;
}

std::vector<LostInk> lostInkOf(const GreyPage& page, const DriverFile& driver) {
  std::vector<LostInk> lost = page.lost;
  if (page.lostIsAll || !isPrintable(page)) return lost;
  const auto side = inkBeyondHead(page.header, driver.printedColumns(page.header),
                                  turnOf(driver).isReversed(), page.pixels.data());
  lost.insert(lost.end(), side.begin(), side.end());
  return lost;
}

LostInk onPaper(LostInk lost, const cups_page_header2_t& header, const PageTurn& turn) {
  const auto reverse = [&lost](uint32_t length) {
    lost.from = length - std::exchange(lost.to, length - lost.from);
  };
  const bool isAcross = lost.side == Side::left || lost.side == Side::right;
  if (isAcross && turn.isReversed())
    lost.side = lost.side == Side::left ? Side::right : Side::left;
  else if (!isAcross && turn.halfTurn)
    lost.side = lost.side == Side::top ? Side::bottom : Side::top;
  if (isAcross && turn.halfTurn) reverse(header.cupsHeight);
  if (!isAcross && turn.isReversed()) reverse(header.cupsWidth);
  return lost;
}

std::vector<std::string> pageNotes(const GreyPage& page, const DriverFile& driver) {
  std::vector<std::string> notes;
  if (!isPrintable(page)) return notes;
  if (driver.isMarked("InvertPage", "True"))
    notes.emplace_back(
        "InvertPage prints large black areas, which heat the print head: lower PrintDensity, and "
        "print one page at a time");
  return notes;
}
