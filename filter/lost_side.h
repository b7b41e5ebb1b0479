// SPDX-License-Identifier: Apache-2.0
// What a page loses because the head is narrower.
#ifndef FILTER_LOST_SIDE_H_
#define FILTER_LOST_SIDE_H_

#include <cups/raster.h>

#include <cstdint>
#include <vector>

#include "common/lost_ink.h"

// Ink in the columns of the page's picture behind the `printed` ones, which are those at its
// right, or at its left if the page prints `reversed` (mirrored, or turned by half); one
// entry or none. `pixels` are cupsHeight rows of cupsBytesPerLine bytes.
// REQUIRES: a byte a pixel, and cupsWidth is at most cupsBytesPerLine.
std::vector<LostInk> inkBeyondHead(const cups_page_header2_t& header, uint32_t printed,
                                   bool reversed, const uint8_t* pixels);

#endif  // FILTER_LOST_SIDE_H_
