// SPDX-License-Identifier: Apache-2.0
// Sizes that the driver computes from a raster page header.
#ifndef FILTER_PAGE_GEOMETRY_H_
#define FILTER_PAGE_GEOMETRY_H_

#include <cups/raster.h>

#include <cstdint>

// Dots of the widest printable row: `maxMediaWidth` points at the page's
// horizontal resolution, truncated. 0, no limit, when the width is missing,
// negative or not finite.
uint64_t maxMediaLinePixels(double maxMediaWidth, const cups_page_header2_t& header);

// Pixels at the right of each row that exceed that limit.
uint64_t skippedRightPixels(uint64_t maxLinePixels, const cups_page_header2_t& header);

// Bytes of the page, a 32-bit product.
uint32_t pageBytes(const cups_page_header2_t& header);

// Header values that libcups lets through and no buffer could hold: a picture
// wider than its rows, or a page size that does not fit 32 bits. A size that
// wraps to exactly 0 is not meant: it reads as a page without data.
bool isUnprintable(const cups_page_header2_t& header);

#endif  // FILTER_PAGE_GEOMETRY_H_
