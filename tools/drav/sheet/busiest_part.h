// SPDX-License-Identifier: Apache-2.0
// Finds the part of a page that shows most of what a halftone does.
#ifndef TOOLS_DRAV_SHEET_BUSIEST_PART_H_
#define TOOLS_DRAV_SHEET_BUSIEST_PART_H_

#include <cstdint>

#include "tools/drav/document/grey_page.h"

// A part of the page in dots.
struct DotRectangle {
  uint32_t x = 0;
  uint32_t y = 0;
  uint32_t width = 0;
  uint32_t height = 0;
};

// The part of `width` x `height` pixels, or as much as the page has, with the most edges
// and middle greys, within the first `usableWidth` columns. Pages of other depths than
// 8 bits give the top left corner.
DotRectangle busiestPart(const GreyPage& page, uint32_t usableWidth, uint32_t width,
                         uint32_t height);

#endif  // TOOLS_DRAV_SHEET_BUSIEST_PART_H_
