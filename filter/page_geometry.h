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

// Pixels at the right of each row that lie beyond `maxLinePixels`; 0 without a limit.
uint64_t skippedRightPixels(uint64_t maxLinePixels, const cups_page_header2_t& header);

// Columns of the page's picture that print, with those pixels left out of its rows.
uint32_t printedColumns(uint64_t skippedPixels, const cups_page_header2_t& header);

// Bytes of the page, a 32-bit product.
uint32_t pageBytes(const cups_page_header2_t& header);

// True for a page that libcups accepts but no buffer can hold: its picture is
// wider than its rows, or its size in bytes does not fit 32 bits. False for a size
// that wraps to exactly 0: such a page counts as one without data.
bool isUnprintable(const cups_page_header2_t& header);

#endif  // FILTER_PAGE_GEOMETRY_H_
