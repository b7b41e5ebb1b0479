// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/html/ink.h"

#include <span>

#include "tools/drav/inspect/coverage.h"

Ink inkOf(const DotPage& page) {
  Ink ink;
  uint32_t row = 0;
  for (const uint32_t rows : page.bands) {
    const auto band = std::span(page.dots).subspan(size_t{row} * page.bytesPerRow,
                                                   size_t{rows} * page.bytesPerRow);
    const uint64_t black = coverageOf(band).black;
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
