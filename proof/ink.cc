// SPDX-License-Identifier: Apache-2.0
#include "proof/ink.h"

#include <span>

#include "proof/coverage.h"

namespace {

// `blackOf` gives the black of a band from its set dots and its rows.
template <class BlackOf>
Ink measureBands(const DotPage& page, const BlackOf& blackOf) {
  Ink ink;
  uint32_t row = 0;
  for (const uint32_t rows : page.bands) {
    const auto band = std::span(page.dots).subspan(size_t{row} * page.bytesPerRow,
                                                   size_t{rows} * page.bytesPerRow);
    const uint64_t black = blackOf(coverageOf(band).black, rows);
    ink.black += black;
    // Shares of bands of different heights, without a division.
    if (ink.bandRows == 0 || black * ink.bandRows > ink.bandBlack * rows) {
      ink.bandRow = row;
      ink.bandRows = rows;
      ink.bandBlack = black;
    }
    row += rows;
  }
  return ink;
}

}  // namespace

Ink inkOf(const DotPage& page) {
  return measureBands(page, [](uint64_t black, uint32_t) { return black; });
}

Ink invertedInkOf(const DotPage& page, uint32_t columns) {
  if (countDots(page) == 0) return inkOf(page);
  return measureBands(
      page, [columns](uint64_t black, uint32_t rows) { return uint64_t{columns} * rows - black; });
}
