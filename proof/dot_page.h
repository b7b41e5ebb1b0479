// SPDX-License-Identifier: Apache-2.0
// The dots of a page, out of the bytes that the printer gets.
#ifndef PROOF_DOT_PAGE_H_
#define PROOF_DOT_PAGE_H_

#include <cups/raster.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The dots of a page as the printer's head gets them.
struct DotPage {
  uint32_t bytesPerRow = 0;
  uint32_t rows = 0;          // 0 for a page without ink whose blank rows are left out
  uint32_t firstRow = 0;      // the row of the page that prints first
  uint32_t pageRows = 0;      // that the page has; TrimPaper may leave some out
  uint32_t dotsPerInchX = 0;  // as the page says; 0 when it does not
  uint32_t dotsPerInchY = 0;
  std::vector<uint8_t> dots;    // a set bit is a dot; the top bit of a byte is the leftmost
  std::vector<uint32_t> bands;  // rows of each band that was sent, from the top

  uint32_t width() const { return bytesPerRow * 8; }
  bool isDot(uint32_t x, uint32_t y) const {
    return (dots[size_t{y} * bytesPerRow + x / 8] >> (7U - x % 8) & 1U) != 0;
  }
};

// Dots of the page that are set.
uint64_t countDots(const DotPage& page);

// Puts back the blank rows that TrimPaper left out.
void restoreRows(DotPage& page);

// Takes the dots out of the stream of a job of this one page; `log` has the lines that the
// filter wrote about it. `printedColumns` are those of a page that prints no row. False with
// one line in `error`, the filter's own if it wrote one.
[[nodiscard]] bool readDots(std::span<const uint8_t> stream, std::string_view log,
                            const cups_page_header2_t& header, uint32_t printedColumns,
                            DotPage& dots, std::string& error);

// The filter's first complaint in its log, without its level.
std::string complaintOf(std::string_view log);

// Whether the filter left out a frame, by its log.
bool saysFrameLeftOut(std::string_view log);

#endif  // PROOF_DOT_PAGE_H_
