// SPDX-License-Identifier: Apache-2.0
// Measures the blank rows at the top and the bottom of a page.
#ifndef PRINTER_BLANK_LINES_H_
#define PRINTER_BLANK_LINES_H_

#include <cstdint>

// A row is blank when its first rowBytes - skipRight bytes are 0; a skip larger
// than the row is ignored. Rows lie `stride` bytes apart.
// REQUIRES: `pixels` holds (height - 1) * stride + rowBytes bytes.

// Index of the first row below row 0 that is not blank, less one; `height` when
// there is none. Row 0 is never looked at: the count looks one row ahead, and
// the row past the last counts as blank.
uint64_t dravImageCountBlankLinesFromFront(const uint8_t* pixels, uint64_t rowBytes,
                                           uint64_t height, uint64_t skipRight, uint64_t stride);

// Rows from the top through the last one that is not blank; 0 when all are.
uint64_t dravImageCountBlankLinesFromBack(const uint8_t* pixels, uint64_t rowBytes, uint64_t height,
                                          uint64_t skipRight, uint64_t stride);

// Whether all `bytes` of a row are 0.
bool isBlankRow(const uint8_t* row, uint64_t bytes);

#endif  // PRINTER_BLANK_LINES_H_
