// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/engine/page_turn.h"

#include <algorithm>
#include <cstddef>

#include "tools/drav/job/paper_scale.h"

namespace {

using Row = std::vector<uint8_t>::const_iterator;

Row rowOf(const GreyPage& page, uint32_t y) {
  return page.pixels.begin() +
         static_cast<std::ptrdiff_t>(size_t{y} * page.header.cupsBytesPerLine);
}

bool isPrintable(const GreyPage& page) {
  return page.header.cupsBitsPerPixel == 8 && page.header.cupsWidth <= page.header.cupsBytesPerLine;
}

// Whether any of the columns [from, to) holds ink.
bool hasInk(const GreyPage& page, uint32_t from, uint32_t to) {
  for (uint32_t y = 0; y < page.header.cupsHeight; ++y) {
    const Row row = rowOf(page, y);
    if (std::any_of(row + from, row + to, [](uint8_t level) { return level != 0; })) return true;
  }
  return false;
}

std::string lengthText(uint32_t columns, uint32_t dotsPerInch) {
  if (dotsPerInch == 0) return std::to_string(columns) + " columns";
  return fixedText(columns * kMillimetresPerInch / dotsPerInch, 1) + " mm";
}

// What of the drawing lies beyond the head; nothing if there is no ink.
std::string lostSideNote(const GreyPage& page, const DriverFile& driver) {
  const uint32_t width = page.header.cupsWidth;
  const uint32_t lost = width - driver.printedColumns(page.header);
  const bool left = turnOf(driver).isReversed();
  const uint32_t from = left ? 0 : width - lost;
  if (lost == 0 || !hasInk(page, from, from + lost)) return "";
  const std::string side = left ? "left " : "right ";
  return "the page is wider than the print head: the " + side +
         lengthText(lost, page.header.HWResolution[0]) +
         " of the drawing do not print, and something is drawn there; leave that side free, or "
         "make the drawing smaller";
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

std::vector<std::string> pageNotes(const GreyPage& page, const DriverFile& driver) {
  std::vector<std::string> notes;
  if (!isPrintable(page)) return notes;
  if (std::string lost = lostSideNote(page, driver); !lost.empty())
    notes.push_back(std::move(lost));
  if (driver.isMarked("InvertPage", "True"))
    notes.emplace_back(
        "InvertPage prints large black areas, which heat the print head: lower PrintDensity, and "
        "print one page at a time");
  return notes;
}
